// Not a timing run: the main window holding two documents, one after a real run of the demo
// engine with its trace plots, in the light and the dark palette, and the Preferences dialog;
// saved as the pictures used in the documentation. Built with the benchmarks, never run by the
// tests.
//
//   xvfb-run -a -s "-screen 0 1280x800x24" build/benchmarks/bench_mainwindowscreenshots docs
//
// writes docs/mainwindow-light.png, docs/mainwindow-dark.png and docs/preferences.png.

#include "screenshots.h"
#include "shotsession.h"
#include "testmain.h"

#include "app/darkstyle.h"
#include "app/mainwindow.h"
#include "config/csettings.h"
#include "config/vsettings.h"
#include "workspace/workspace.h"

#include <QMenu>
#include <QSignalSpy>
#include <QStyle>

namespace {

bool shoot(const QString &vFile, const QPalette &vPalette, bool vDark, const QStringList &vScripts)
{
    QApplication::setPalette(vPalette);
    CSettings::instance().setDarkModeSet(vDark);
    CSettings::instance().apply();
    MainWindow window;
    window.resize(1280, 800);
    window.show();
    window.on_open(vScripts.at(0));
    window.on_open(vScripts.at(1));
    Workspace *document = window.activeDocument();
    QSignalSpy plotted(document, &Workspace::graphs_done);
    window.findChild<QAction *>(QStringLiteral("actionStart"))->trigger();
    if (!plotted.wait(60000))
        return false;
    QTest::qWait(300);
    return saveShot(window, vFile);
}

} // namespace

int main(int argc, char *argv[])
{
    const ShotSession session(argc, argv);
    const QDir folder = shotFolder(argc, argv);
    const QString bin = QCoreApplication::applicationDirPath() + QStringLiteral("/../bin");
    const QString examples = bin + QStringLiteral("/User Guide Examples/");
    QTemporaryDir work;
    const QStringList files {"2.1-Linear Regression/linear_regression.imp",
                             "2.1-Linear Regression/complete.dat",
                             "1.1-Potential Scale Reduction/slow_convergence.imp",
                             "1.1-Potential Scale Reduction/slow.dat"};
    for (const QString &file : files)
        QFile::copy(examples + file, work.filePath(file.section(QLatin1Char('/'), 1)));
    CSettings &settings = CSettings::instance();
    settings.setCommandLineToolName(bin + QStringLiteral("/tovrel"));
    settings.setVersion(MainWindow::versionText());
    settings.setVerticalLayout(true);
    // The picture is taken from the widgets, which an OpenGL viewport does not draw into.
    QVariantMap plots = settings.plotSettings();
    plots.insert(QStringLiteral("openGl"), false);
    settings.setPlotSettings(plots);
    const QStringList scripts {work.filePath(QStringLiteral("linear_regression.imp")),
                               work.filePath(QStringLiteral("slow_convergence.imp"))};
    const QPalette light = QApplication::style()->standardPalette();
    bool ok = shoot(folder.filePath(QStringLiteral("mainwindow-light.png")), light, false, scripts);
    {
        VSettings preferences;
        preferences.resize(760, 520);
        preferences.show();
        QTest::qWait(100);
        ok = ok && saveShot(preferences, folder.filePath(QStringLiteral("preferences.png")));
    }
    // The dark picture goes through the studio's own dark style, as start-up installs it.
    auto *dark = new DarkStyle;
    QApplication::setStyle(dark);
    QPalette darkPalette = dark->standardPalette();
    dark->polish(darkPalette);
    ok = ok
        && shoot(folder.filePath(QStringLiteral("mainwindow-dark.png")), darkPalette, true,
                 scripts);
    return ok ? 0 : 1;
}
