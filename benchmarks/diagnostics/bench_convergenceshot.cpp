// Not a timing run: a document after a real run of the demo engine on the slow-convergence
// example, with its Convergence tab in front and the worst parameter's trace plot beside it,
// saved as the picture used in the documentation. Built with the benchmarks, never run by the
// tests.
//
//   xvfb-run -a -s "-screen 0 1280x800x24" build/benchmarks/bench_convergenceshot docs
//
// writes docs/convergence.png.

#include "screenshots.h"
#include "shotsession.h"
#include "testmain.h"

#include "config/csettings.h"
#include "diagnostics/wconvergencepanel.h"
#include "workspace/workspace.h"

#include <QSignalSpy>
#include <QDockWidget>
#include <QTableView>

int main(int argc, char *argv[])
{
    const ShotSession session(argc, argv);
    const QString bin = QCoreApplication::applicationDirPath() + QStringLiteral("/../bin");
    const QString chapter
        = bin + QStringLiteral("/User Guide Examples/1.1-Potential Scale Reduction");
    QTemporaryDir work;
    for (const char *name : {"slow_convergence.imp", "slow.dat"})
        QFile::copy(chapter + QLatin1Char('/') + QLatin1String(name),
                    work.filePath(QLatin1String(name)));
    CSettings &settings = CSettings::instance();
    settings.setCommandLineToolName(bin + QStringLiteral("/tovrel"));
    settings.setVerticalLayout(true);
    // The picture is taken from the widgets, which an OpenGL viewport does not draw into.
    QVariantMap plots = settings.plotSettings();
    plots.insert(QStringLiteral("openGl"), false);
    settings.setPlotSettings(plots);
    settings.apply();

    Workspace document;
    if (!document.on_open(work.filePath(QStringLiteral("slow_convergence.imp"))))
        return 1;
    document.showNormal();
    document.resize(1280, 800);
    QSignalSpy plotted(&document, &Workspace::graphs_done);
    QSignalSpy filled(document.convergencePanel(), &WConvergencePanel::did_fill);
    document.on_run();
    if ((filled.isEmpty() && !filled.wait(60000)) || (plotted.isEmpty() && !plotted.wait(60000)))
        return 1;
    document.resizeDocks({document.convergenceDock()}, {430}, Qt::Vertical);
    document.resizeDocks({document.convergenceDock(), document.findChild<QDockWidget *>("dockGraph")},
                         {760, 520}, Qt::Horizontal);
    document.convergencePanel()->view()->selectRow(0);
    QTest::qWait(300);
    return saveShot(document, shotFolder(argc, argv).filePath(QStringLiteral("convergence.png")))
        ? 0
        : 1;
}
