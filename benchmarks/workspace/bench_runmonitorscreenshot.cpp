// Not a timing run: a document in the middle of a real run of the demo engine on the long-run
// example, showing the progress line above the output and the PSR chart beside it, saved as the
// picture used in the documentation. Built with the benchmarks, never run by the tests.
//
//   xvfb-run -a -s "-screen 0 1280x800x24" build/benchmarks/bench_runmonitorscreenshot docs
//
// writes docs/run-monitor.png; with --dark as second argument, run-monitor-dark.png in the
// studio's dark colours instead.

#include "screenshots.h"
#include "shotsession.h"
#include "testmain.h"

#include "config/csettings.h"
#include "workspace/runwatch.h"
#include "workspace/workspace.h"
#include "workspace/wpsrchart.h"

#include <QDeadlineTimer>
#include <QLabel>
#include <QStyle>
#include <QTemporaryDir>
#include <QtTest>

int main(int argc, char *argv[])
{
    const ShotSession session(argc, argv);
    const bool dark = argc > 2 && qstrcmp(argv[2], "--dark") == 0;
    QApplication::setPalette(dark ? studioDarkPalette() : QApplication::style()->standardPalette());
    const QDir folder = shotFolder(argc, argv);
    const QString bin = QCoreApplication::applicationDirPath() + QStringLiteral("/../bin");
    const QString chapter = bin + QStringLiteral("/User Guide Examples/1.3-Watching a Long Run");
    QTemporaryDir work;
    for (const char *name : {"long_run.imp", "long.dat"})
        QFile::copy(chapter + QLatin1Char('/') + QLatin1String(name),
                    work.filePath(QLatin1String(name)));
    CSettings &settings = CSettings::instance();
    settings.setCommandLineToolName(bin + QStringLiteral("/tovrel"));
    settings.setDarkModeSet(dark);
    settings.setVerticalLayout(true);
    settings.apply();

    Workspace document;
    if (!document.on_open(work.filePath(QStringLiteral("long_run.imp"))))
        return 1;
    document.showNormal();
    document.resize(1000, 640);
    document.on_run();
    // Part-way through the burn-in: the chart has some rows and the pace is known.
    const WPsrChart *chart = document.runWatch()->chart();
    QDeadlineTimer deadline(60000);
    while (!document.isRunning() && !deadline.hasExpired())
        QTest::qWait(20);
    while (chart->points().size() < 9 && document.isRunning() && !deadline.hasExpired())
        QTest::qWait(20);
    QTest::qWait(150);
    const bool ok = document.isRunning()
        && saveShot(document,
                    folder.filePath(dark ? QStringLiteral("run-monitor-dark.png")
                                         : QStringLiteral("run-monitor.png")));
    std::printf("%s\n", qPrintable(document.runWatch()->progressLine()->text()));
    document.on_stop();
    return ok ? 0 : 1;
}
