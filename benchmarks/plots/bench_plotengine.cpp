// How long the studio makes a user wait for trace plots, against gnuplot's own time.
//
// A model with 100 parameters, 4 chains and 5,000 iterations: the time from the plot request
// to did_finish is compared with a shell loop that runs the same 100 gnuplot scripts one after
// another. Rounds alternate between the two so that load from other processes hits both.
//
// Usage: bench_plotengine [rounds]   (default 3)

#include "testmain.h"

#include "config/msettings.h"
#include "plots/graphingengine.h"
#include "plots/plotsettings.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

const int kParameters = 100;
const int kChains = 4;
const int kIterations = 5000;

bool writeFile(const QString &vPath, const QByteArray &vContents)
{
    QFile file(vPath);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        && file.write(vContents) == vContents.size();
}

bool writeTraceFiles(const QString &vDir)
{
    QByteArray labels = "\"Variable\" \"Type\" \"Argument\"\n";
    for (int k = 1; k <= kParameters; ++k)
        labels += "\"y" + QByteArray::number(k) + "\" \"Beta\" \"x\"\n";
    if (!writeFile(vDir + "/labels.dat", labels))
        return false;

    for (int chain = 1; chain <= kChains; ++chain) {
        QByteArray text;
        text.reserve(kIterations * kParameters * 8);
        unsigned state = 12345u * chain;
        for (int i = 1; i <= kIterations; ++i) {
            text += QByteArray::number(i);
            for (int k = 1; k <= kParameters; ++k) {
                state = state * 1103515245u + 12345u;
                text += ',' + QByteArray::number(k + (state >> 16) % 1000 / 1000.0, 'f', 4);
            }
            text += '\n';
        }
        if (!writeFile(vDir + "/burn" + QByteArray::number(chain) + ".csv", text))
            return false;
    }
    return true;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

struct StudioRun
{
    double requestMs = 0; // plot() itself: counting iterations and writing the scripts
    double totalMs = 0; // plot() to did_finish
    double gapsMs = 0; // between one gnuplot's end and the next one's start
    QStringList scripts;
};

StudioRun runStudio(const QString &vDir, const PlotSettings &vSettings)
{
    StudioRun run;
    GraphingEngine engine(nullptr, vDir);
    QEventLoop loop;
    QObject::connect(&engine, &GraphingEngine::did_finish, &loop, &QEventLoop::quit);
    QElapsedTimer timer;
    // The engine's own process shows when each gnuplot run starts and ends; what lies between
    // an end and the next start is the studio's share.
    qint64 lastEnd = -1;
    QObject::connect(engine.findChild<QProcess *>(), &QProcess::stateChanged,
                     [&](QProcess::ProcessState vState) {
                         if (vState == QProcess::NotRunning) {
                             lastEnd = timer.nsecsElapsed();
                         } else if (vState == QProcess::Starting && lastEnd >= 0) {
                             run.gapsMs += (timer.nsecsElapsed() - lastEnd) / 1e6;
                             lastEnd = -1;
                         }
                     });
    timer.start();
    if (engine.plot("burn", kChains, &vSettings) != 1)
        return run;
    run.requestMs = timer.nsecsElapsed() / 1e6;
    loop.exec();
    run.totalMs = timer.nsecsElapsed() / 1e6;
    run.scripts = engine.scripts();
    return run;
}

double runShellLoop(const QString &vScriptDir, const QString &vGnuplot)
{
    // The same "-e" invocation the studio makes, each run writing its SVG to standard output.
    const QString loop = QStringLiteral("cd '%1' && for f in s*.gp; do '%2' -e \"$(<\"$f\")\" "
                                        "> \"${f%.gp}.svg\"; done")
                             .arg(vScriptDir, vGnuplot);
    QElapsedTimer timer;
    timer.start();
    QProcess shell;
    shell.start(QStringLiteral("bash"), {QStringLiteral("-c"), loop});
    shell.waitForFinished(-1);
    return timer.nsecsElapsed() / 1e6;
}

} // namespace

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    QApplication app(argc, argv);
    const int rounds = argc > 1 ? std::max(1, atoi(argv[1])) : 3;

    const QString gnuplot = QStandardPaths::findExecutable(QStringLiteral("gnuplot"));
    QTemporaryDir dir;
    QTemporaryDir scriptDir;
    if (gnuplot.isEmpty() || !dir.isValid() || !scriptDir.isValid()
        || !writeTraceFiles(dir.path())) {
        std::fprintf(stderr, "cannot set up: gnuplot or temporary folders missing\n");
        return 1;
    }
    std::printf("trace plots: %d parameters, %d chains, %d iterations (%.1f MB per chain)\n",
                kParameters, kChains, kIterations, QFile(dir.filePath("burn1.csv")).size() / 1e6);

    const PlotSettings settings(nullptr, MSettings::plotDefaults());
    std::vector<double> studio, request, gaps, shell;
    for (int round = 0; round < rounds; ++round) {
        const StudioRun run = runStudio(dir.path(), settings);
        if (run.scripts.size() != kParameters) {
            std::fprintf(stderr, "the studio made %lld scripts\n",
                         static_cast<long long>(run.scripts.size()));
            return 1;
        }
        for (int k = 0; k < run.scripts.size(); ++k)
            writeFile(scriptDir.filePath(QStringLiteral("s%1.gp").arg(k + 1, 3, 10, QChar('0'))),
                      run.scripts.at(k).toUtf8());
        studio.push_back(run.totalMs);
        request.push_back(run.requestMs);
        gaps.push_back(run.gapsMs);
        shell.push_back(runShellLoop(scriptDir.path(), gnuplot));
        std::printf("round %d: studio %.0f ms (request %.1f ms), shell loop %.0f ms\n", round + 1,
                    run.totalMs, run.requestMs, shell.back());
    }

    const double s = median(studio);
    const double g = median(shell);
    std::printf("median of %d rounds:\n", rounds);
    std::printf("  plot request to did_finish: %.0f ms (%.1f ms per parameter)\n", s,
                s / kParameters);
    std::printf("  of which plot() itself:     %.1f ms (counting lines, writing scripts)\n",
                median(request));
    std::printf("  studio time between runs:   %.1f ms in all, %.0f us per run\n", median(gaps),
                median(gaps) * 1000 / (kParameters - 1));
    std::printf("  shell loop, same scripts:   %.0f ms (%.1f ms per parameter)\n", g,
                g / kParameters);
    std::printf("  studio / shell ratio:       %.3f\n", s / g);
    return 0;
}
