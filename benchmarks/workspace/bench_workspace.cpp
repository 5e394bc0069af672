// A document window bound to real child processes, measured end to end:
//
//   stream  20 MB of engine output written at full speed by a stand-in engine (cat of a prepared
//           file): Run to process_finished, the longest event-loop stall, peak memory, and how long
//           Stop takes to end a second run in the middle of the flood. The floor is the same
//           producer with its output sent to /dev/null.
//   plots   a run leaving 100 parameters x 4 chains x 5,000 iterations of trace files: from the
//           engine's exit to the first plot on screen, against a bare loop of gnuplot runs over
//           the same data.
//   ten     ten documents running the demo engine on a User Guide example at once, plots
//           included: the longest event-loop stall until every document has its plots.
//
//   bench_workspace [--mode stream|plots|ten] [--megabytes N]
// Without --mode every mode runs in a process of its own, so each peak memory is its own.

#include "testmain.h"
#include "traceplots.h"

#include "config/csettings.h"
#include "plots/wgraphpanel.h"
#include "workspace/outputhighlighter.h"
#include "workspace/workspace.h"
#include "workspace/woutputpane.h"

#include <QElapsedTimer>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QSignalSpy>
#include <QTextDocument>
#include <QTimer>

#include <cstdio>
#include <ctime>
#include <memory>
#include <vector>

namespace {

// Names the slowest event handled, so a stall can be told apart from the others. The
// processor time this thread spent on it is kept too: unlike the wall clock it does not grow
// when other programs on a loaded machine take the processor away.
class TimingApplication : public QApplication
{
public:
    using QApplication::QApplication;
    bool notify(QObject *vReceiver, QEvent *vEvent) override
    {
        // Read now: the receiver may be gone once the event has been handled.
        const char *receiver = vReceiver->metaObject()->className();
        const int type = int(vEvent->type());
        QElapsedTimer clock;
        clock.start();
        const double cpuBefore = threadCpuMs();
        ++s_depth;
        const bool handled = QApplication::notify(vReceiver, vEvent);
        const double ms = clock.nsecsElapsed() / 1e6;
        if (--s_depth == 0) {
            const double cpu = threadCpuMs() - cpuBefore;
            const QString name = QStringLiteral("%1 to %2").arg(type).arg(QLatin1String(receiver));
            if (ms > s_slowestMs) {
                s_slowestMs = ms;
                s_slowest = name;
            }
            if (cpu > s_busiestCpuMs) {
                s_busiestCpuMs = cpu;
                s_busiest = name;
            }
        }
        return handled;
    }
    static double threadCpuMs()
    {
        timespec now {};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
    }
    static void reset()
    {
        s_slowestMs = s_busiestCpuMs = 0;
        s_slowest.clear();
        s_busiest.clear();
    }
    static QString report()
    {
        return QStringLiteral("slowest event: type %1, %2 ms; most processor time in one event: "
                              "type %3, %4 ms")
            .arg(s_slowest)
            .arg(s_slowestMs, 0, 'f', 1)
            .arg(s_busiest)
            .arg(s_busiestCpuMs, 0, 'f', 1);
    }
    static inline double s_slowestMs = 0;
    static inline QString s_slowest;
    static inline double s_busiestCpuMs = 0;
    static inline QString s_busiest;
    static inline int s_depth = 0;
};

// Ticks every millisecond and keeps the longest gap between two ticks, on the wall clock and in
// this thread's processor time (which a loaded machine does not stretch).
class StallMeter : public QObject
{
public:
    StallMeter()
    {
        m_timer.setInterval(1);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            m_longest = qMax(m_longest, m_clock.nsecsElapsed() / 1e6);
            m_clock.restart();
            const double cpu = TimingApplication::threadCpuMs();
            m_longestCpu = qMax(m_longestCpu, cpu - m_cpu);
            m_cpu = cpu;
        });
        m_clock.start();
        m_cpu = TimingApplication::threadCpuMs();
        m_timer.start();
    }
    double longestMs() const { return m_longest; }
    double longestCpuMs() const { return m_longestCpu; }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    double m_longest = 0;
    double m_cpu = 0;
    double m_longestCpu = 0;
};

qint64 peakMemoryMiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly | QIODevice::Text))
        return -1;
    for (QByteArray line = status.readLine(); !line.isEmpty(); line = status.readLine())
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toLongLong() / 1024;
    return -1;
}

QString writeScript(const QDir &vDir, const QString &vName, const QByteArray &vBody)
{
    const QString path = vDir.filePath(vName);
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write("#!/bin/sh\n" + vBody + '\n');
    file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
    return path;
}

// Engine-like output: a banner, then iteration rows of numbers with a note now and then.
void writeOutput(const QString &vPath, qint64 vBytes)
{
    QFile file(vPath);
    file.open(QIODevice::WriteOnly);
    file.write(
        "TOVREL COMPUTATIONAL ENGINE\n\nBURN-IN POTENTIAL SCALE REDUCTION (PSR) OUTPUT:\n\n");
    for (int iteration = 1; file.size() < vBytes; ++iteration) {
        QByteArray row = QByteArray::number(iteration).rightJustified(8);
        for (int column = 0; column < 9; ++column)
            row += "  " + QByteArray::number(1.0 + (iteration * 7 + column) % 200 / 1000.0, 'f', 3);
        file.write(row + '\n');
        if (iteration % 500 == 0)
            file.write("\n  WARNING: PSR above 1.1 for parameter 7.\n\n");
    }
}

std::unique_ptr<Workspace> document(const QString &vScript)
{
    auto workspace = std::make_unique<Workspace>();
    workspace->resize(1200, 800);
    workspace->on_open(vScript);
    return workspace;
}

int stream(const QDir &vDir, int vMegabytes)
{
    const QString data = vDir.filePath(QStringLiteral("flood.txt"));
    writeOutput(data, qint64(vMegabytes) << 20);
    const QString engine
        = writeScript(vDir, QStringLiteral("flood.sh"), "exec cat '" + data.toUtf8() + "'");
    QElapsedTimer clock;
    QProcess floor;
    floor.setStandardOutputFile(QProcess::nullDevice());
    clock.start();
    floor.start(engine, {});
    floor.waitForFinished(-1);
    const double floorMs = clock.nsecsElapsed() / 1e6;

    const QString script = vDir.filePath(QStringLiteral("flood.imp"));
    QFile(script).open(QIODevice::WriteOnly);
    CSettings::instance().setCommandLineToolName(engine);
    auto workspace = document(script);
    QSignalSpy finished(workspace.get(), &Workspace::process_finished);
    // Settings written above are synced from the event loop: not the run's cost.
    QCoreApplication::processEvents();
    double runMs = 0;
    double stall = 0;
    double stallCpu = 0;
    double runCpuMs = 0;
    {
        StallMeter meter;
        TimingApplication::reset();
        clock.restart();
        const double cpuBefore = TimingApplication::threadCpuMs();
        workspace->on_run();
        finished.wait(600000);
        runMs = clock.nsecsElapsed() / 1e6;
        runCpuMs = TimingApplication::threadCpuMs() - cpuBefore;
        // One more tick, so that a pause in the handling of the run's end is counted.
        QTest::qWait(5);
        stall = meter.longestMs();
        stallCpu = meter.longestCpuMs();
    }
    const QString report = TimingApplication::report();
    const qint64 peak = peakMemoryMiB();
    const qsizetype shown = workspace->outputPane()->document()->characterCount() - 1;

    // Stop once a quarter of the flood has arrived.
    QSignalSpy stopped(workspace.get(), &Workspace::process_finished);
    const qint64 quarter = (qint64(vMegabytes) << 20) / 4;
    QObject::connect(workspace.get(), &Workspace::output_receieved, workspace.get(), [&] {
        if (!clock.isValid() && workspace->outputPane()->document()->characterCount() >= quarter) {
            clock.start();
            workspace->on_stop();
        }
    });
    clock.invalidate();
    workspace->on_run();
    stopped.wait(600000);
    const double stopMs = clock.isValid() ? clock.nsecsElapsed() / 1e6 : -1;
    workspace.reset();

    // Beside it: the same text into an output pane alone, in the pieces a pipe delivers.
    double paneStall = 0;
    double paneStallCpu = 0;
    double paneMs = 0;
    double paneCpuMs = 0;
    {
        QFile file(data);
        file.open(QIODevice::ReadOnly);
        WOutputPane pane;
        pane.resize(900, 500);
        pane.show();
        pane.setHighlighter(new OutputHighlighter(pane.document()));
        QCoreApplication::processEvents();
        StallMeter meter;
        clock.restart();
        const double cpuBefore = TimingApplication::threadCpuMs();
        for (QByteArray piece = file.read(65536); !piece.isEmpty(); piece = file.read(65536)) {
            pane.appendText(QString::fromUtf8(piece));
            QCoreApplication::processEvents();
        }
        pane.flush();
        QTest::qWait(5);
        paneMs = clock.nsecsElapsed() / 1e6;
        paneCpuMs = TimingApplication::threadCpuMs() - cpuBefore;
        paneStall = meter.longestMs();
        paneStallCpu = meter.longestCpuMs();
    }
    std::printf("stream %d MB: producer to /dev/null %.0f ms | Run to process_finished %.0f ms "
                "(%.0f ms of processor time, %lld chars shown) | longest stall %.1f ms, %.1f ms of "
                "processor time (%s) | Stop "
                "to process_finished %.1f ms | peak %lld MiB after the run (%.1fx the text) | "
                "beside it, the pane alone: %.0f ms (%.0f ms of processor time), longest stall "
                "%.1f ms, %.1f ms of processor "
                "time\n",
                vMegabytes, floorMs, runMs, runCpuMs, static_cast<long long>(shown), stall,
                stallCpu, qPrintable(report), stopMs, static_cast<long long>(peak),
                double(peak) / vMegabytes, paneMs, paneCpuMs, paneStall, paneStallCpu);
    return 0;
}

int plots(const QDir &vDir)
{
    constexpr int kParameters = 100, kChains = 4, kIterations = 5000;
    const QDir traces(vDir.filePath(QStringLiteral("traces")));
    vDir.mkpath(QStringLiteral("traces"));
    TracePlots::writeTraces(traces.path(), kParameters, kChains, kIterations);
    QFile labels(traces.filePath(QStringLiteral("labels.dat")));
    labels.open(QIODevice::WriteOnly);
    labels.write("\"Variable\" \"Parameter\" \"Argument\"\n");
    for (int p = 1; p <= kParameters; ++p)
        labels.write("\"y\" \"Beta\" \"x" + QByteArray::number(p) + "\"\n");
    labels.close();

    QElapsedTimer clock;
    clock.start();
    for (int p = 1; p <= kParameters; ++p)
        TracePlots::plot(traces.path(), p, kChains, QSize(900, 400));
    const double bareMs = clock.nsecsElapsed() / 1e6;

    // The stand-in engine leaves the prepared traces in the folder it is given.
    const QString engine
        = writeScript(vDir, QStringLiteral("traces.sh"),
                      "while [ $# -gt 1 ]; do [ \"$1\" = --traceplot ] && T=$2; shift; done; cp '"
                          + traces.path().toUtf8() + "'/burn*.csv '" + traces.path().toUtf8()
                          + "'/labels.dat \"$T\"");
    const QString script = vDir.filePath(QStringLiteral("traces.imp"));
    {
        QFile file(script);
        file.open(QIODevice::WriteOnly);
        file.write("CHAINS: 4;\nPLOTS: traceplot;\n");
    }
    CSettings::instance().setCommandLineToolName(engine);
    auto workspace = document(script);
    workspace->show();
    QSignalSpy plotted(workspace.get(), &Workspace::graphs_done);
    QObject::connect(workspace.get(), &Workspace::process_finished, workspace.get(),
                     [&] { clock.restart(); });
    double stall = 0;
    {
        StallMeter meter;
        workspace->on_run();
        plotted.wait(600000);
        stall = meter.longestMs();
    }
    const double studioMs = clock.nsecsElapsed() / 1e6;
    std::printf("plots %dx%dx%d: bare gnuplot loop %.0f ms | engine exit to first plot %.0f ms "
                "(%s) | longest stall %.1f ms\n",
                kParameters, kChains, kIterations, bareMs, studioMs,
                qPrintable(workspace->graphPanel()->pageText()), stall);
    return 0;
}

int ten(const QDir &vDir)
{
    constexpr int kDocuments = 10;
    const QString bin = QCoreApplication::applicationDirPath() + QStringLiteral("/../bin");
    const QString chapter
        = bin + QStringLiteral("/User Guide Examples/1.1-Potential Scale Reduction");
    CSettings::instance().setCommandLineToolName(bin + QStringLiteral("/tovrel"));
    QMdiArea area;
    area.setViewMode(QMdiArea::TabbedView);
    area.resize(1280, 800);
    area.show();
    std::vector<std::unique_ptr<Workspace>> documents;
    int plotted = 0;
    for (int i = 0; i < kDocuments; ++i) {
        const QDir folder(vDir.filePath(QString::number(i)));
        vDir.mkpath(QString::number(i));
        QFile::copy(chapter + QStringLiteral("/slow.dat"),
                    folder.filePath(QStringLiteral("slow.dat")));
        QFile example(chapter + QStringLiteral("/slow_convergence.imp"));
        example.open(QIODevice::ReadOnly);
        QFile copy(folder.filePath(QStringLiteral("model.imp")));
        copy.open(QIODevice::WriteOnly);
        // Longer than the example, so that the runs overlap for a while.
        copy.write(example.readAll().replace("ITERATIONS: 1000;", "ITERATIONS: 5000;"));
        copy.close();
        // Hosted as the main window hosts them: sub-windows of one multi-document area.
        documents.push_back(std::make_unique<Workspace>());
        area.addSubWindow(documents.back().get());
        documents.back()->on_open(copy.fileName());
        QObject::connect(documents.back().get(), &Workspace::graphs_done, [&] { ++plotted; });
    }
    // The first layout of ten freshly opened documents is opening's cost, not running's: it is
    // timed on its own, before the runs.
    QElapsedTimer layoutClock;
    layoutClock.start();
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    const double layoutMs = layoutClock.nsecsElapsed() / 1e6;
    TimingApplication::reset();
    QElapsedTimer clock;
    StallMeter meter;
    clock.start();
    // One start per pass of the event loop, as clicks would come.
    for (auto &workspace : documents)
        QTimer::singleShot(0, workspace.get(), &Workspace::on_run);
    while (plotted < kDocuments && clock.elapsed() < 600000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    std::printf("ten documents: first layout %.1f ms | all run and plotted in %.0f ms | longest "
                "stall %.1f ms, %.1f ms of processor time (%s) | peak %lld MiB\n",
                layoutMs, clock.nsecsElapsed() / 1e6, meter.longestMs(), meter.longestCpuMs(),
                qPrintable(TimingApplication::report()), static_cast<long long>(peakMemoryMiB()));
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    TimingApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const int modeAt = arguments.indexOf(QStringLiteral("--mode"));
    const int megabytesAt = arguments.indexOf(QStringLiteral("--megabytes"));
    const int megabytes = megabytesAt > 0 ? arguments.value(megabytesAt + 1).toInt() : 20;
    if (modeAt < 0) {
        int failed = 0;
        for (const char *mode : {"stream", "plots", "ten"}) {
            QStringList child = arguments.mid(1);
            child << QStringLiteral("--mode") << QLatin1String(mode);
            failed += QProcess::execute(app.applicationFilePath(), child) != 0;
        }
        return failed;
    }
    QTemporaryDir dir;
    const QString mode = arguments.value(modeAt + 1);
    if (mode == QLatin1String("stream"))
        return stream(QDir(dir.path()), megabytes);
    if (mode == QLatin1String("plots"))
        return plots(QDir(dir.path()));
    return ten(QDir(dir.path()));
}
