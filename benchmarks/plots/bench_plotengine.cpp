// How long a user waits for trace plots after the engine ends, through the document's own plot
// path, against the one-gnuplot-per-parameter loop the studio used before (kept only here, to
// compare with): 4 chains x 5,000 iterations and 20, 100, 300 and 1,000 parameters.
//
// For the studio: engine exit (process_finished) to the first plot in the dock, to all plots
// ready (graphs_done), the process's peak memory over its size before the run, and the longest
// event-loop stall while the plots arrive. For the old loop: its total, which was also its first
// plot (nothing showed before the last run ended). Each measurement runs in a process of its own
// so peak memory is its own; rounds alternate between the two; medians are printed.
//
// Usage: bench_plotengine [--rounds R] [--sizes 20,100,300,1000] [--old-up-to 100]
// The old loop takes minutes beyond 100 parameters (its cost grows with their square), so by
// default it runs only up to 100.

#include "testmain.h"
#include "timingapplication.h"

#include "config/csettings.h"
#include "config/executablepath.h"
#include "config/msettings.h"
#include "plots/graphingengine.h"
#include "plots/plotsettings.h"
#include "plots/wgraphpanel.h"
#include "workspace/workspace.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QSignalSpy>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <vector>

#include <sys/resource.h>
#include <time.h>

namespace {

constexpr int kChains = 4;

constexpr int kIterations = 5000;

// CPU time of this process and of the children it has waited for (the gnuplots), in ms: on a
// machine others load, the work done says more than the wall time.
double cpuMs()
{
    double ms = 0;
    for (int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage {};
        getrusage(who, &usage);
        ms += (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3
            + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
    }
    return ms;
}

// Chain files as the engine writes them: the iteration, then each parameter to 5 decimals.
qint64 writeTraces(const QDir &vDir, int vParameters)
{
    qint64 bytes = 0;
    for (int chain = 1; chain <= kChains; ++chain) {
        QFile file(vDir.filePath(QStringLiteral("burn%1.csv").arg(chain)));
        file.open(QIODevice::WriteOnly);
        std::mt19937 random(7919u * unsigned(chain));
        std::normal_distribution<double> shock(0.0, 0.25);
        std::vector<double> value(std::size_t(vParameters), chain * 0.4);
        std::string line;
        char number[32];
        for (int i = 1; i <= kIterations; ++i) {
            line = std::to_string(i);
            for (double &x : value) {
                x = 0.8 * x + shock(random);
                std::snprintf(number, sizeof number, ",%.5f", x);
                line += number;
            }
            line += '\n';
            file.write(line.data(), qint64(line.size()));
        }
        bytes += file.size();
    }
    QFile labels(vDir.filePath(QStringLiteral("labels.dat")));
    labels.open(QIODevice::WriteOnly);
    labels.write("\"Variable\" \"Parameter\" \"Argument\"\n");
    for (int p = 1; p <= vParameters; ++p)
        labels.write("\"y\" \"Beta\" \"x" + QByteArray::number(p) + "\"\n");
    return bytes;
}

// The script each parameter got before: gnuplot reads every chain file whole for one column.
QString oldScript(const QString &vBase, int vParameter)
{
    return QStringLiteral("set datafile separator ','; set encoding utf8;set terminal svg size "
                          "900,400 dynamic background rgb 'white'; set title 'Y regressed on "
                          "X%1\nParameter %1' noenhanced;set ylabel 'Estimate'; set xlabel "
                          "'Iterations'; set key off; set grid; set xrange[1:]; set xtics add; "
                          "plot for [i=1:%2] '%3'.i.'.csv' using 1:%4 with lines lw 1 lt i title "
                          "'Chain '.i;")
        .arg(vParameter)
        .arg(kChains)
        .arg(vBase)
        .arg(vParameter + 1);
}

int runOld(const QDir &vTraces, int vParameters)
{
    const QString gnuplot = ExecutablePath::find(QStringLiteral("gnuplot"));
    const double cpuBefore = cpuMs();
    QElapsedTimer clock;
    clock.start();
    for (int p = 1; p <= vParameters; ++p) {
        QProcess process;
        process.setStandardOutputFile(vTraces.filePath(QStringLiteral("old%1.svg").arg(p)));
        process.start(gnuplot, {QStringLiteral("-e"), oldScript(vTraces.filePath("burn"), p)});
        process.waitForFinished(-1);
    }
    const double allMs = clock.nsecsElapsed() / 1e6;
    for (int p = 1; p <= vParameters; ++p)
        QFile::remove(vTraces.filePath(QStringLiteral("old%1.svg").arg(p)));
    std::printf("RESULT old %.1f %.1f %lld 0 %.0f\n", allMs, allMs,
                static_cast<long long>(memoryKiB("VmHWM:")), cpuMs() - cpuBefore);
    return 0;
}

int runStudio(const QDir &vTraces, const QDir &vWork)
{
    // A stand-in engine that leaves the prepared chain files in the folder it is given.
    const QString engine = vWork.filePath(QStringLiteral("engine.sh"));
    {
        QFile file(engine);
        file.open(QIODevice::WriteOnly);
        file.write("#!/bin/sh\nwhile [ $# -gt 1 ]; do [ \"$1\" = --traceplot ] && T=$2; shift; "
                   "done\ncp '"
                   + vTraces.path().toUtf8() + "'/burn*.csv '" + vTraces.path().toUtf8()
                   + "'/labels.dat \"$T\"\n");
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    const QString script = vWork.filePath(QStringLiteral("traces.imp"));
    {
        QFile file(script);
        file.open(QIODevice::WriteOnly);
        file.write("BURN: 1000;\nCHAINS: 4;\nPLOTS: traceplot;\n");
    }
    CSettings::instance().setCommandLineToolName(engine);
    Workspace workspace;
    workspace.resize(1200, 800);
    workspace.on_open(script);
    workspace.show();
    QSignalSpy plotted(&workspace, &Workspace::graphs_done);
    QElapsedTimer clock, tick;
    double firstMs = -1, stallMs = 0;
    // Every millisecond: is the first plot on screen yet, and how long since the last look.
    QTimer meter;
    meter.setInterval(1);
    QObject::connect(&meter, &QTimer::timeout, [&] {
        if (clock.isValid()) {
            stallMs = qMax(stallMs, tick.nsecsElapsed() / 1e6);
            if (firstMs < 0 && workspace.graphPanel()->pageCount() > 0)
                firstMs = clock.nsecsElapsed() / 1e6;
        }
        tick.restart();
    });
    QObject::connect(&workspace, &Workspace::process_finished, [&] {
        clock.start();
        tick.restart();
        TimingApplication::reset();
    });
    tick.start();
    meter.start();
    const qint64 before = memoryKiB("VmRSS:");
    double cpuAtExit = 0;
    QObject::connect(&workspace, &Workspace::process_finished, [&] { cpuAtExit = cpuMs(); });
    workspace.on_run();
    plotted.wait(1200000);
    const double allMs = clock.nsecsElapsed() / 1e6;
    // The gnuplots end once their input closes, after the last plot: wait for them to be counted.
    QTest::qWait(300);
    if (firstMs < 0)
        firstMs = allMs;
    std::printf("RESULT studio %.1f %.1f %lld %.1f %.0f %.1f\n", firstMs, allMs,
                static_cast<long long>(memoryKiB("VmHWM:") - before), stallMs,
                cpuMs() - cpuAtExit, TimingApplication::s_busiestCpuMs);
    std::printf("PAGE %s | longest event in CPU time %.1f ms (%s)\n",
                qPrintable(workspace.graphPanel()->pageText()), TimingApplication::s_busiestCpuMs,
                qPrintable(TimingApplication::s_busiest));
    return 0;
}

// The plot engine alone, without the document and its dock.
int runEngine(const QDir &vTraces)
{
    QTemporaryDir copy;
    for (const QString &name : QDir(vTraces).entryList({"burn*.csv", "labels.dat"}))
        QFile::copy(vTraces.filePath(name), QDir(copy.path()).filePath(name));
    GraphingEngine engine(nullptr, copy.path());
    const PlotSettings settings(nullptr, MSettings::plotDefaults());
    QSignalSpy finished(&engine, &GraphingEngine::did_finish);
    double firstMs = -1;
    QElapsedTimer clock;
    QObject::connect(&engine, &GraphingEngine::did_ready, [&] {
        if (firstMs < 0)
            firstMs = clock.nsecsElapsed() / 1e6;
    });
    clock.start();
    engine.plot(QStringLiteral("burn"), kChains, &settings);
    finished.wait(1200000);
    std::printf("RESULT engine %.1f %.1f %lld 0 0\n", firstMs, clock.nsecsElapsed() / 1e6,
                static_cast<long long>(memoryKiB("VmHWM:")));
    return 0;
}

double median(std::vector<double> v)
{
    if (v.empty())
        return -1;
    std::sort(v.begin(), v.end());
    return v.size() % 2 ? v[v.size() / 2] : (v[v.size() / 2 - 1] + v[v.size() / 2]) / 2;
}

struct Results
{
    std::vector<double> first, all, memoryMiB, stall, cpu, event;
};

// Runs one measurement in a child process and reads its RESULT line.
bool measure(const QString &vSelf, const QStringList &vArguments, Results &vInto)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(vSelf, vArguments);
    child.waitForFinished(-1);
    const QList<QByteArray> lines = child.readAllStandardOutput().split('\n');
    for (const QByteArray &line : lines) {
        const QList<QByteArray> f = line.split(' ');
        if (f.value(0) != "RESULT" || f.size() < 7)
            continue;
        vInto.first.push_back(f[2].toDouble());
        vInto.all.push_back(f[3].toDouble());
        vInto.memoryMiB.push_back(f[4].toDouble() / 1024);
        vInto.stall.push_back(f[5].toDouble());
        vInto.cpu.push_back(f[6].toDouble());
        vInto.event.push_back(f.value(7).toDouble());
        return true;
    }
    return false;
}

} // namespace

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    TimingApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const auto option = [&](const char *vName, const QString &vDefault) {
        const int at = arguments.indexOf(QLatin1String(vName));
        return at > 0 ? arguments.value(at + 1) : vDefault;
    };
    const QString child = option("--child", QString());
    if (!child.isEmpty()) {
        const QDir traces(option("--traces", QString()));
        QTemporaryDir work;
        if (child == QLatin1String("engine"))
            return runEngine(traces);
        return child == QLatin1String("old")
            ? runOld(traces, option("--parameters", "0").toInt())
            : runStudio(traces, QDir(work.path()));
    }

    const int rounds = option("--rounds", "3").toInt();
    const int oldUpTo = option("--old-up-to", "100").toInt();
    std::printf("| parameters | chain files | studio: first plot | studio: all plots | studio CPU "
                "| peak memory (x chain files) | longest stall (longest event, own CPU) | old loop: first = all | old loop "
                "CPU | speed-up (all) |\n|---|---|---|---|---|---|---|---|---|---|\n");
    for (const QString &size : option("--sizes", "20,100,300,1000").split(',')) {
        const int parameters = size.toInt();
        QTemporaryDir traces;
        const double mib = writeTraces(QDir(traces.path()), parameters) / 1048576.0;
        Results studio, old;
        for (int round = 0; round < rounds; ++round) {
            measure(app.applicationFilePath(),
                    {"--child", "studio", "--traces", traces.path()}, studio);
            if (parameters <= oldUpTo && (round == 0 || parameters <= 20))
                measure(app.applicationFilePath(),
                        {"--child", "old", "--traces", traces.path(), "--parameters", size},
                        old);
        }
        const double oldMs = median(old.all);
        std::printf("| %d | %.0f MiB | %.0f ms | %.0f ms | %.0f ms | %.0f MiB (%.1fx) | %.0f ms (%.0f ms) | %s "
                    "| %s | %s |\n",
                    parameters, mib, median(studio.first), median(studio.all), median(studio.cpu),
                    median(studio.memoryMiB), median(studio.memoryMiB) / mib,
                    median(studio.stall), median(studio.event),
                    oldMs < 0 ? "not run" : qPrintable(QStringLiteral("%1 ms").arg(oldMs, 0, 'f', 0)),
                    oldMs < 0 ? "-" : qPrintable(QStringLiteral("%1 ms").arg(median(old.cpu), 0, 'f', 0)),
                    oldMs < 0 ? "-"
                              : qPrintable(QStringLiteral("%1x").arg(oldMs / median(studio.all),
                                                                      0, 'f', 1)));
        std::fflush(stdout);
    }
    return 0;
}
