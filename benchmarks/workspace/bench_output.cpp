// Streams engine output into an output pane the way a document window does during a run and
// reports how long it takes, the longest pause of the event loop and the peak memory, with and
// without the output highlighter. Each variant runs in its own process so peak memory is its own.
// With the run monitor, its own processor time is counted too (reading the output, and the events
// its progress line and chart handle): the difference between two processes' totals varies by a
// few percent from run to run by itself.
//
//   bench_output              run every variant (add --naive for the unbatched baselines)
//   bench_output --mode M     run one variant: plain, highlight, nolinks-highlight (links to
//                             script lines off), eager-highlight, monitor-highlight (the run's
//                             progress line and PSR chart follow the output as in a document),
//                             naive-plain, naive-highlight
//   --megabytes N             amount of output (default 20)
//   --rounds N                rounds of every variant, the median is reported (default 5)
//   --modes A,B               run only these variants

#include "testmain.h"
#include "timingapplication.h"
#include "workspace/outputhighlighter.h"
#include "workspace/runmonitor.h"
#include "workspace/runwatch.h"
#include "workspace/woutputpane.h"
#include "workspace/wpsrchart.h"

#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProcess>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QTextCursor>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace {

constexpr qsizetype kChunkChars = 4096;

QString hyphens(int vCount)
{
    return QString(vCount, QLatin1Char('-'));
}

QString banner()
{
    return hyphens(75) + "\n            TOVREL COMPUTATIONAL ENGINE\n" + hyphens(67)
        + "\n\nALGORITHMIC OPTIONS SPECIFIED:\n\n  Imputed data sets                    20\n"
          "  Burn-in iterations                   2000\n  Iterations                          "
          " 10000\n\nDATA INFORMATION:\n\n  Sample size                          1000\n"
          "  NOTE: 12 cases with missing values on every variable were dropped.\n\n"
          "MODEL INFORMATION:\n\n  Outcome Variable: math_score\n  Complete predictor: "
          "female\n  Missing predictor: ses\n  Latent Variable: ability\n"
          "  Covariance Matrix: level-2 residuals\n\n  Level-1 outcome model block:\n"
          "  Level-2 predictor model block:\n\n"
        + hyphens(12) + "\n";
}

QString iterationRow(QRandomGenerator &vRandom, int vIteration)
{
    QString row = QStringLiteral("  %1").arg(vIteration, 8);
    for (int column = 0; column < 9; ++column)
        row += QStringLiteral("  %1").arg(0.95 + vRandom.bounded(0.2), 7, 'f', 3);
    return row + QLatin1Char('\n');
}

QString interlude(int vIteration)
{
    return QStringLiteral("\nBURN-IN POTENTIAL SCALE REDUCTION (PSR) OUTPUT:\n\n"
                          "  %2 to %1   1.0%3   7  Std. x2\n"
                          "  WARNING: PSR above 1.1 at iteration %1 for parameter 7.\n"
                          "  ERROR: none  NOTE: see the manual\n"
                          "ERROR: script 'model.imp', line 12: MODEL needs predictors.\n"
                          "  Dependent Variable: reading\n\nITERATION HISTORY\n")
        .arg(vIteration)
        .arg(vIteration / 2 + 1)
        .arg(vIteration % 97, 2, 10, QLatin1Char('0'));
}

// Headings, variable lines, warnings and long runs of iteration history, as the engine writes.
QString engineOutput(qsizetype vChars)
{
    QRandomGenerator random(20231);
    QString text = banner();
    text.reserve(vChars + 4096);
    int iteration = 0;
    while (text.size() < vChars) {
        ++iteration;
        text += iterationRow(random, iteration);
        if (iteration % 500 == 0)
            text += interlude(iteration);
    }
    text += QStringLiteral("\nANALYSIS MODEL ESTIMATES:\n\n  Outcome Variable: math_score\n");
    return text;
}

// Processor time of this process: unlike the wall clock, it barely moves with the load others put
// on the machine.
double cpuSeconds()
{
    timespec now {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

struct Result
{
    double totalSeconds = 0;
    double cpuSeconds = 0;
    double longestStallMs = 0;
    qint64 peakKiB = 0;
    qsizetype chars = 0;
    int blocks = 0;
    // The monitor's own processor time: reading the output, and every event its progress line
    // and chart handle (painting them above all).
    double monitorCpuMs = 0;
};

Result stream(const QString &vMode, qsizetype vChars)
{
    const QString output = engineOutput(vChars);
    Result result;
    const bool naive = vMode.startsWith(QLatin1String("naive"));
    const bool highlighted = vMode.endsWith(QLatin1String("highlight"));
    // The batched pane with a highlighter that colours every line as it arrives.
    const bool eager = vMode.startsWith(QLatin1String("eager"));
    const bool monitored = vMode.startsWith(QLatin1String("monitor"));

    // The batched pane sits in a window with or without the run's progress line and chart, at
    // the same size, so the monitor's variant differs from "highlight" by the monitor alone.
    // Made before the pane it holds, so it goes after it.
    QWidget host;
    WOutputPane batched;
    QPlainTextEdit direct;
    QPlainTextEdit &pane = naive ? direct : batched;
    RunWatch *watch = nullptr;
    if (naive) {
        pane.resize(900, 500);
        pane.show();
    } else {
        auto *layout = new QVBoxLayout(&host);
        layout->addWidget(&batched);
        if (monitored) {
            watch = new RunWatch(layout, &batched, &host);
            watch->expectScript(QStringLiteral("BURN: 2000; ITERATIONS: 10000;"));
            for (const QObject *part : watch->findChildren<QObject *>())
                TimingApplication::s_watchedCpuMs.insert(part, 0.0); // its refresh timers
            TimingApplication::s_watchedCpuMs.insert(watch->progressLine(), 0.0);
            TimingApplication::s_watchedCpuMs.insert(watch->chart(), 0.0);
            const double before = TimingApplication::threadCpuMs();
            watch->start();
            result.monitorCpuMs += TimingApplication::threadCpuMs() - before;
        }
        // The chart comes beside the pane: the window grows by its width, so the pane keeps the
        // same size (a narrower pane scrolls sideways, which costs by itself).
        host.resize(monitored ? 1160 + WPsrChart().sizeHint().width() + 2 : 1160, 500);
        host.show();
    }
    if (highlighted && (naive || eager))
        new OutputHighlighter(pane.document());
    else if (highlighted) {
        auto *highlighter = new OutputHighlighter(pane.document());
        highlighter->setScriptLinks(!vMode.startsWith(QLatin1String("nolinks")));
        batched.setHighlighter(highlighter);
    }
    QCoreApplication::processEvents();

    // The unbatched baseline inserts every piece at once at the end and follows it.
    auto appendDirect = [&direct](const QString &vChunk) {
        QTextCursor cursor(direct.document());
        cursor.movePosition(QTextCursor::End);
        cursor.insertText(vChunk);
        direct.verticalScrollBar()->setValue(direct.verticalScrollBar()->maximum());
    };

    qint64 longest = 0;
    QElapsedTimer total;
    QElapsedTimer step;
    const double cpuStart = cpuSeconds();
    total.start();
    for (qsizetype at = 0; at < output.size(); at += kChunkChars) {
        const QString chunk = output.mid(at, kChunkChars);
        step.start();
        if (naive)
            appendDirect(chunk);
        else
            batched.appendText(chunk);
        if (watch) {
            const double before = TimingApplication::threadCpuMs();
            watch->feed(chunk);
            result.monitorCpuMs += TimingApplication::threadCpuMs() - before;
        }
        longest = std::max(longest, step.nsecsElapsed());
        step.start();
        QCoreApplication::processEvents();
        longest = std::max(longest, step.nsecsElapsed());
    }
    step.start();
    if (watch) {
        const double before = TimingApplication::threadCpuMs();
        watch->finish(false);
        result.monitorCpuMs += TimingApplication::threadCpuMs() - before;
    }
    if (!naive)
        batched.flush();
    QCoreApplication::processEvents();
    longest = std::max(longest, step.nsecsElapsed());
    result.totalSeconds = double(total.nsecsElapsed()) / 1e9;
    result.cpuSeconds = cpuSeconds() - cpuStart;
    result.longestStallMs = double(longest) / 1e6;
    result.peakKiB = memoryKiB("VmHWM:");
    for (const double ms : qAsConst(TimingApplication::s_watchedCpuMs))
        result.monitorCpuMs += ms;
    result.chars = pane.document()->characterCount();
    result.blocks = pane.document()->blockCount();
    if (result.chars != output.size() + 1)
        std::fprintf(stderr, "pane holds %lld characters, expected %lld\n",
                     static_cast<long long>(result.chars),
                     static_cast<long long>(output.size() + 1));
    return result;
}

int runOne(const QString &vMode, qsizetype vChars)
{
    const Result r = stream(vMode, vChars);
    std::printf("RESULT %s %.3f %.1f %lld %d %.3f %.2f\n", qPrintable(vMode), r.totalSeconds,
                r.longestStallMs, static_cast<long long>(r.peakKiB), r.blocks, r.cpuSeconds,
                r.monitorCpuMs);
    return 0;
}

// The monitor's own reading of the output, without any widget: the whole output in the same
// pieces, and the longest single piece.
void measureReading(qsizetype vChars, int vRounds)
{
    const QString output = engineOutput(vChars);
    QList<double> totals;
    QList<double> longest;
    for (int round = 0; round < vRounds; ++round) {
        RunMonitor monitor;
        monitor.start({2000, 10000, 2}, 0);
        QElapsedTimer total;
        QElapsedTimer step;
        qint64 slowest = 0;
        const double cpuStart = cpuSeconds();
        total.start();
        for (qsizetype at = 0; at < output.size(); at += kChunkChars) {
            step.start();
            monitor.feed(QStringView(output).mid(at, kChunkChars), total.elapsed());
            slowest = std::max(slowest, step.nsecsElapsed());
        }
        totals.append((cpuSeconds() - cpuStart) * 1e3);
        longest.append(double(slowest) / 1e6);
    }
    std::sort(totals.begin(), totals.end());
    std::sort(longest.begin(), longest.end());
    std::printf("run monitor alone reads it in %.1f ms of processor time, at most %.2f ms for one "
                "piece (median of %d)\n",
                totals.at(totals.size() / 2), longest.at(longest.size() / 2), vRounds);
}

// One child process per variant and round; rounds alternate the variants so that load from
// elsewhere on the machine falls on all of them alike. The median of each is reported.
int runAll(const QStringList &vModes, int vMegabytes, int vRounds)
{
    std::printf("Streaming %d MB of engine output in %lld-character pieces, processing events "
                "after each piece, scrolled to the end; median of %d rounds.\n\n",
                vMegabytes, static_cast<long long>(kChunkChars), vRounds);
    QMap<QString, QList<QList<QByteArray>>> results;
    for (int round = 0; round < vRounds; ++round) {
        for (const QString &mode : vModes) {
            QProcess child;
            child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
            child.start(QCoreApplication::applicationFilePath(),
                        {QStringLiteral("--mode"), mode, QStringLiteral("--megabytes"),
                         QString::number(vMegabytes)});
            child.waitForFinished(-1);
            const QList<QByteArray> fields = child.readAllStandardOutput().trimmed().split(' ');
            if (fields.size() == 8 && fields.at(0) == "RESULT")
                results[mode].append(fields);
        }
    }
    auto median = [](QList<double> vValues) {
        std::sort(vValues.begin(), vValues.end());
        return vValues.isEmpty() ? 0.0 : vValues.at(vValues.size() / 2);
    };
    auto column = [&results](const QString &vMode, int vField) {
        QList<double> values;
        for (const QList<QByteArray> &fields : results.value(vMode))
            values.append(fields.at(vField).toDouble());
        return values;
    };
    std::printf("%-18s %8s %8s %18s %10s %8s\n", "variant", "total s", "cpu s", "longest stall ms",
                "peak MiB", "lines");
    for (const QString &mode : vModes) {
        if (results.value(mode).isEmpty()) {
            std::printf("%-16s failed\n", qPrintable(mode));
            continue;
        }
        std::printf("%-18s %8.3f %8.3f %18.1f %10.1f %8s\n", qPrintable(mode),
                    median(column(mode, 2)), median(column(mode, 6)), median(column(mode, 3)),
                    median(column(mode, 4)) / 1024.0,
                    results.value(mode).first().at(5).constData());
    }
    const double plain = median(column(QStringLiteral("plain"), 2));
    const double highlighted = median(column(QStringLiteral("highlight"), 2));
    if (plain > 0 && highlighted > 0)
        std::printf("\nhighlighter adds %.1f %% to the unhighlighted time (allowed: 25 %%)\n",
                    100.0 * (highlighted / plain - 1.0));
    const double monitored = median(column(QStringLiteral("monitor-highlight"), 2));
    if (highlighted > 0 && monitored > 0)
        std::printf("run monitor adds %.1f %% to the highlighted time, %.1f %% to its processor "
                    "time (allowed: 5 %%)\n",
                    100.0 * (monitored / highlighted - 1.0),
                    100.0
                        * (median(column(QStringLiteral("monitor-highlight"), 6))
                               / median(column(QStringLiteral("highlight"), 6))
                           - 1.0));
    const double own = median(column(QStringLiteral("monitor-highlight"), 7));
    if (own > 0)
        std::printf("the monitor's own processor time in the run: %.1f ms, %.1f %% of the "
                    "highlighted run's (reading the output, and every event its line and chart "
                    "handle)\n",
                    own, 100.0 * own / (1e3 * median(column(QStringLiteral("highlight"), 6))));
    if (vModes.contains(QStringLiteral("monitor-highlight")))
        measureReading(qsizetype(vMegabytes) * 1024 * 1024, vRounds);
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    TimingApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    int megabytes = 20;
    const qsizetype sizeAt = arguments.indexOf(QStringLiteral("--megabytes"));
    if (sizeAt > 0 && sizeAt + 1 < arguments.size())
        megabytes = arguments.at(sizeAt + 1).toInt();
    const qsizetype modeAt = arguments.indexOf(QStringLiteral("--mode"));
    if (modeAt > 0 && modeAt + 1 < arguments.size())
        return runOne(arguments.at(modeAt + 1), qsizetype(megabytes) * 1024 * 1024);
    QStringList modes {QStringLiteral("plain"), QStringLiteral("highlight"),
                       QStringLiteral("nolinks-highlight"), QStringLiteral("eager-highlight"),
                       QStringLiteral("monitor-highlight")};
    if (arguments.contains(QStringLiteral("--naive")))
        modes << QStringLiteral("naive-plain") << QStringLiteral("naive-highlight");
    const qsizetype modesAt = arguments.indexOf(QStringLiteral("--modes"));
    if (modesAt > 0 && modesAt + 1 < arguments.size())
        modes = arguments.at(modesAt + 1).split(QLatin1Char(','));
    const qsizetype roundsAt = arguments.indexOf(QStringLiteral("--rounds"));
    const int rounds = roundsAt > 0 && roundsAt + 1 < arguments.size()
        ? std::max(1, arguments.at(roundsAt + 1).toInt())
        : 5;
    return runAll(modes, megabytes, rounds);
}
