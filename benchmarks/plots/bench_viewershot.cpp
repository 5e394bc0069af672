// Takes a picture of the pop-out plot viewer showing a real four-chain trace plot made by
// gnuplot from generated data. Run it under a virtual X server to exercise the OpenGL view:
//   xvfb-run -a -s "-screen 0 1280x800x24" env QT_QPA_PLATFORM=xcb
//       build/benchmarks/bench_viewershot docs/plot-viewer.png   (one command line)

#include "config/csettings.h"
#include "plots/graphviewer.h"
#include "plots/wplotview.h"
#include "testmain.h"
#include "traceplots.h"

#include <QScreen>

#include <cstdio>

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    QApplication app(argc, argv);
    const QString target = argc > 1 ? QString::fromLocal8Bit(argv[1]) : "plot-viewer.png";
    if (argc > 2 && QByteArray(argv[2]) == "--no-opengl") {
        QVariantMap plot = CSettings::instance().plotSettings();
        plot["openGl"] = false;
        CSettings::instance().setPlotSettings(plot);
    }

    const int parameters = 6;
    const int chains = 4;
    QTemporaryDir dir;
    if (!TracePlots::writeTraces(dir.path(), parameters, chains, 2000))
        return 1;
    for (int k = 1; k <= parameters; ++k) {
        if (!TracePlots::plot(dir.path(), k, chains, QSize(900, 400)))
            return 1;
    }

    auto *viewer = new GraphViewer(nullptr, dir.path());
    viewer->goTo(2);
    viewer->show();
    if (!QTest::qWaitForWindowExposed(viewer))
        return 1;
    QTest::qWait(500);
    if (qEnvironmentVariableIsSet("SHOT_HOLD"))
        QTest::qWait(qEnvironmentVariableIntValue("SHOT_HOLD"));
    // An OpenGL viewport is drawn on the GPU side, which a widget grab does not see: take
    // what the display shows where it can, the widget's own rendering otherwise.
    QPixmap shot = viewer->screen()->grabWindow(viewer->winId());
    if (shot.isNull() || app.platformName() != QLatin1String("xcb"))
        shot = viewer->grab();
    const bool openGl = viewer->findChild<WPlotView *>()->usesOpenGl();
    std::printf("platform %s, OpenGL view %s, %dx%d\n", qPrintable(app.platformName()),
                openGl ? "yes" : "no", shot.width(), shot.height());
    const bool saved = shot.save(target);
    viewer->close();
    return saved ? 0 : 1;
}
