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

#include "stallmeter.h"
#include "testmain.h"
#include "timingapplication.h"
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
    const qint64 peak = memoryKiB("VmHWM:") / 1024;
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
                qPrintable(TimingApplication::report()), static_cast<long long>(memoryKiB("VmHWM:") / 1024));
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
