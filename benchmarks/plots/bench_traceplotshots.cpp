// Not a timing run: the pictures of trace plots in the documentation. A document whose stand-in
// engine leaves 300 parameters x 4 chains x 5,000 iterations of trace files, caught while its
// plots arrive (the dock paging the first ones, the rest being drawn), and one finished plot
// with its shaded burn-in and chain legend. Built with the benchmarks, never run by the tests.
//
//   xvfb-run -a -s "-screen 0 1280x800x24" build/benchmarks/bench_traceplotshots docs/user-guide
//
// writes plots-arriving.png and plot-burn-in.png there (the user guide's are in docs/user-guide).

#include "screenshots.h"
#include "shotsession.h"
#include "testmain.h"
#include "traceplots.h"

#include "config/csettings.h"
#include "plots/svgrender.h"
#include "plots/wgraphpanel.h"
#include "workspace/workspace.h"

#include <QImage>
#include <QPainter>
#include <QSignalSpy>
#include <QSvgRenderer>
#include <QToolButton>

int main(int argc, char *argv[])
{
    const ShotSession session(argc, argv);
    const QDir folder = shotFolder(argc, argv);
    constexpr int kParameters = 300;

    QTemporaryDir work;
    const QDir dir(work.path());
    dir.mkpath(QStringLiteral("traces"));
    const QString traces = dir.filePath(QStringLiteral("traces"));
    TracePlots::writeTraces(traces, kParameters, 4, 5000);
    {
        QFile labels(traces + QStringLiteral("/labels.dat"));
        labels.open(QIODevice::WriteOnly);
        labels.write("\"Variable\" \"Parameter\" \"Argument\"\n");
        const char *owners[] = {"math", "read", "science"};
        for (int p = 1; p <= kParameters; ++p)
            labels.write(QByteArray("\"") + owners[p % 3] + "\" \"Beta\" \"x"
                         + QByteArray::number(p) + "\"\n");
    }
    const QString engine = dir.filePath(QStringLiteral("engine.sh"));
    {
        QFile file(engine);
        file.open(QIODevice::WriteOnly);
        file.write("#!/bin/sh\nwhile [ $# -gt 1 ]; do [ \"$1\" = --traceplot ] && T=$2; shift; "
                   "done\ncp '"
                   + traces.toUtf8() + "'/burn*.csv '" + traces.toUtf8()
                   + "'/labels.dat \"$T\"\necho 'Model fitted: 300 parameters, 4 chains.'\n");
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    const QString script = dir.filePath(QStringLiteral("multilevel.imp"));
    {
        QFile file(script);
        file.open(QIODevice::WriteOnly);
        file.write("# Three outcomes on a hundred predictors: 300 regression slopes.\n"
                   "DATA: school.dat;\nMISSING: 999;\nMODEL: math read science ~ x1:x100;\n"
                   "BURN: 1000;\nITERATIONS: 4000;\nCHAINS: 4;\nPLOTS: traceplot;\n");
    }
    CSettings &settings = CSettings::instance();
    settings.setCommandLineToolName(engine);
    settings.setVerticalLayout(true);
    QVariantMap plots = settings.plotSettings();
    plots.insert(QStringLiteral("openGl"), false); // a grab does not see an OpenGL viewport
    settings.setPlotSettings(plots);
    settings.apply();

    Workspace document;
    document.resize(1200, 760);
    if (!document.on_open(script))
        return 1;
    document.showNormal();
    document.resize(1200, 760);
    QSignalSpy plotted(&document, &Workspace::graphs_done);
    document.on_run();
    WGraphPanel *panel = document.graphPanel();
    if (!QTest::qWaitFor([&] { return panel->pageCount() >= 3; }, 120000))
        return 1;
    auto *next = panel->findChild<QToolButton *>(QStringLiteral("tb_right"));
    QTest::mouseClick(next, Qt::LeftButton);
    QTest::mouseClick(next, Qt::LeftButton);
    QTest::qWait(50);
    bool ok = panel->isDrawing()
        && saveShot(document, folder.filePath(QStringLiteral("plots-arriving.png")));

    if (!plotted.wait(300000))
        return 1;
    QSvgRenderer svg(panel->render()->folder() + QStringLiteral("/plot2.svg"));
    QImage image(900, 400, QImage::Format_RGB32);
    image.fill(Qt::white);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        svg.render(&painter);
    }
    const QString single = folder.filePath(QStringLiteral("plot-burn-in.png"));
    ok = image.save(single) && ok;
    std::printf("%-40s %s\n", qPrintable(single), ok ? "written" : "NOT written");
    return ok ? 0 : 1;
}
