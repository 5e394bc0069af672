// Convergence table speed: 4 chains x 10,000 sampled iterations (after 1,000 of burn-in) of
// the given number of parameters, written as the engine writes them (7 significant digits).
// Prints the size of the chain files, the time to read them alone, the time from starting the
// view to its full table, the longest pause of the event loop meanwhile, and the peak memory.
//   bench_convergence [parameters=100] [repeats=3]
// Run each size in its own process so the peak memory is that size's.

#include "diagnostics/chainreader.h"
#include "diagnostics/wconvergencepanel.h"
#include "testmain.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sys/resource.h>

namespace {
constexpr int kChains = 4;
constexpr int kBurn = 1000;
constexpr int kIterations = 10000;

// AR(1) draws; every tenth parameter mixes slowly and its chains start apart.
qint64 writeChains(const QString &vFolder, int vParameters)
{
    qint64 bytes = 0;
    quint64 state = 12345;
    auto uniform = [&state] {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        return double(state >> 11) / double(1ULL << 53);
    };
    for (int c = 1; c <= kChains; ++c) {
        QFile file(vFolder + QStringLiteral("/burn%1.csv").arg(c));
        if (!file.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(file.fileName()));
        std::vector<double> x(size_t(vParameters), 0.0);
        for (int p = 0; p < vParameters; p += 10)
            x[size_t(p)] = 3.0 * c;
        QByteArray line;
        for (int i = 1; i <= kBurn + kIterations; ++i) {
            line = QByteArray::number(i);
            for (int p = 0; p < vParameters; ++p) {
                const double phi = p % 10 == 0 ? 0.998 : 0.3;
                x[size_t(p)] = phi * x[size_t(p)] + (uniform() - 0.5);
                line += ',';
                line += QByteArray::number(x[size_t(p)], 'g', 7);
            }
            line += '\n';
            file.write(line);
        }
        bytes += file.size();
    }
    return bytes;
}

// Processor time of the whole process so far (all threads), in seconds.
double cpuSeconds()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
        + double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double median(std::vector<double> vValues)
{
    std::sort(vValues.begin(), vValues.end());
    return vValues[vValues.size() / 2];
}
} // namespace

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    QApplication app(argc, argv);
    const int parameters = argc > 1 ? std::atoi(argv[1]) : 100;
    const int repeats = argc > 2 ? std::atoi(argv[2]) : 3;
    QTemporaryDir dir;
    const qint64 bytes = writeChains(dir.path(), parameters);

    std::vector<double> reads, readCpu, tables, stalls, cpu;
    for (int r = 0; r < repeats; ++r) {
        QElapsedTimer clock;
        clock.start();
        const double readCpuBefore = cpuSeconds();
        {
            ChainDraws draws;
            QString error;
            if (!ChainReader::read(dir.path(), kChains, kBurn, kIterations, draws, error))
                qFatal("%s", qPrintable(error));
            reads.push_back(clock.elapsed() / 1000.0);
            readCpu.push_back(cpuSeconds() - readCpuBefore);
        }

        WConvergencePanel panel;
        QSignalSpy filled(&panel, &WConvergencePanel::did_fill);
        // A timer that should fire every millisecond: its longest gap is the longest stall.
        QElapsedTimer tick;
        qint64 longest = 0;
        QTimer probe;
        probe.setInterval(1);
        QObject::connect(&probe, &QTimer::timeout, [&] {
            longest = std::max(longest, tick.restart());
        });
        clock.restart();
        const double cpuBefore = cpuSeconds();
        tick.start();
        probe.start();
        panel.start(dir.path(), kChains, kBurn, kIterations, {});
        if (!filled.wait(600000) || !filled.first().first().toBool())
            qFatal("no table: %s", qPrintable(panel.statusText()));
        tables.push_back(clock.elapsed() / 1000.0);
        cpu.push_back(cpuSeconds() - cpuBefore);
        QCoreApplication::processEvents();
        longest = std::max(longest, tick.elapsed());
        stalls.push_back(double(longest));
        if (r == 0)
            std::printf("%s\n", qPrintable(panel.statusText()));
    }
    // The same probe with nothing to do: how long the loaded machine itself keeps the loop waiting.
    qint64 idle = 0;
    {
        QElapsedTimer tick;
        QTimer probe;
        probe.setInterval(1);
        QObject::connect(&probe, &QTimer::timeout, [&] { idle = std::max(idle, tick.restart()); });
        tick.start();
        probe.start();
        QTest::qWait(int(median(tables) * 1000));
    }
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("parameters %d, chain files %.1f MB, read alone %.3f s (processor time %.3f s), files to full table %.3f s "
                "(processor time %.3f s), longest event-loop stall %.0f ms (%lld ms with nothing to do), peak memory %.1f MB "
                "(medians of %d)\n",
                parameters, bytes / 1048576.0, median(reads), median(readCpu), median(tables), median(cpu), median(stalls),
                static_cast<long long>(idle),
                usage.ru_maxrss / 1024.0, repeats);
    return 0;
}
