// Not a timing run: one document after a real run of the demo engine on a User Guide example
// (script, coloured output, the first trace plot), in the light and the dark colour scheme, saved
// as the pictures used in the documentation. Built with the benchmarks, never run by the tests.
//
//   xvfb-run -a -s "-screen 0 1280x800x24" build/benchmarks/bench_documentscreenshots docs
//
// writes docs/document-light.png and docs/document-dark.png.

#include "screenshots.h"
#include "shotsession.h"
#include "testmain.h"

#include "config/csettings.h"
#include "workspace/workspace.h"

#include <QSignalSpy>
#include <QStyle>

namespace {

bool shoot(const QString &vFile, const QPalette &vPalette, bool vDark, const QString &vScript)
{
    QApplication::setPalette(vPalette);
    CSettings::instance().setDarkModeSet(vDark);
    CSettings::instance().setVerticalLayout(true);
    // The picture is taken from the widgets, which an OpenGL viewport does not draw into.
    QVariantMap plots = CSettings::instance().plotSettings();
    plots.insert(QStringLiteral("openGl"), false);
    CSettings::instance().setPlotSettings(plots);
    CSettings::instance().apply();
    Workspace document;
    document.resize(1200, 760);
    if (!document.on_open(vScript))
        return false;
    document.showNormal();
    document.resize(1200, 760);
    QSignalSpy plotted(&document, &Workspace::graphs_done);
    document.on_run();
    if (!plotted.wait(60000))
        return false;
    QTest::qWait(300);
    return saveShot(document, vFile);
}

} // namespace

int main(int argc, char *argv[])
{
    const ShotSession session(argc, argv);
    const QDir folder = shotFolder(argc, argv);
    const QString bin = QCoreApplication::applicationDirPath() + QStringLiteral("/../bin");
    const QString chapter
        = bin + QStringLiteral("/User Guide Examples/1.1-Potential Scale Reduction");
    QTemporaryDir work;
    for (const char *name : {"slow_convergence.imp", "slow.dat"})
        QFile::copy(chapter + QLatin1Char('/') + QLatin1String(name),
                    work.filePath(QLatin1String(name)));
    CSettings::instance().setCommandLineToolName(bin + QStringLiteral("/tovrel"));
    const QString script = work.filePath(QStringLiteral("slow_convergence.imp"));
    const QPalette light = QApplication::style()->standardPalette();
    const bool ok
        = shoot(folder.filePath(QStringLiteral("document-light.png")), light, false, script)
        && shoot(folder.filePath(QStringLiteral("document-dark.png")), studioDarkPalette(), true,
                 script);
    return ok ? 0 : 1;
}
