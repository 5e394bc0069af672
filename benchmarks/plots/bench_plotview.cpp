// Showing, paging and exporting the plots of a large model: 100 parameters, 4 chains and
// 5,000 iterations, plotted by gnuplot into 100 SVG files as a run would. Prints:
//   (b) time to the first plot on screen once the SVG files exist,
//   (c) time per plot when paging with Next,
//   (d) time and file size of saving all 100 plots into one PDF.
// Usage: bench_plotview [repeats]   (runs headless on the offscreen platform by default)

#include "plots/svgrender.h"
#include "plots/wgraphpanel.h"
#include "testmain.h"
#include "traceplots.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QGraphicsView>
#include <QToolButton>

#include <algorithm>
#include <cstdio>

namespace {

const int kParameters = 100;
const int kChains = 4;
const int kIterations = 5000;

double median(QList<double> vValues)
{
    std::sort(vValues.begin(), vValues.end());
    return vValues.isEmpty() ? 0.0 : vValues.at(vValues.size() / 2);
}

double msSince(const QElapsedTimer &vTimer)
{
    return vTimer.nsecsElapsed() / 1e6;
}

} // namespace

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    QApplication app(argc, argv);
    const int repeats = argc > 1 ? qMax(1, QByteArray(argv[1]).toInt()) : 5;

    QTemporaryDir dir;
    QElapsedTimer timer;
    timer.start();
    if (!TracePlots::writeTraces(dir.path(), kParameters, kChains, kIterations))
        return 1;
    std::printf("trace files: %d parameters x %d chains x %d iterations, %.0f ms\n", kParameters,
                kChains, kIterations, msSince(timer));
    timer.restart();
    for (int k = 1; k <= kParameters; ++k) {
        if (!TracePlots::plot(dir.path(), k, kChains, QSize(900, 400))) {
            std::fprintf(stderr, "gnuplot failed on parameter %d\n", k);
            return 1;
        }
    }
    std::printf("gnuplot, 100 runs one after another: %.0f ms (%.1f ms a plot), SVG size %lld "
                "bytes each\n",
                msSince(timer), msSince(timer) / kParameters,
                QFileInfo(QDir(dir.path()).filePath("plot1.svg")).size());

    // (b) First plot: the render object alone, and the document's panel until it has painted.
    QList<double> renderFirst;
    QList<double> panelFirst;
    for (int r = 0; r < repeats; ++r) {
        timer.restart();
        {
            SvgRender render(nullptr, dir.path(), false);
            render.show(0);
            renderFirst << msSince(timer);
        }
        WGraphPanel panel;
        panel.resize(900, 450);
        panel.show();
        if (!QTest::qWaitForWindowExposed(&panel))
            return 1;
        QWidget *viewport = panel.findChild<QGraphicsView *>("graphicsView")->viewport();
        timer.restart();
        panel.showPlots(dir.path());
        viewport->repaint();
        panelFirst << msSince(timer);
    }
    std::printf("(b) first plot: SvgRender creation + show %.1f ms; panel shown and painted "
                "%.1f ms (median of %d)\n",
                median(renderFirst), median(panelFirst), repeats);

    // (c) Paging through all plots.
    QList<double> renderNext;
    QList<double> panelNext;
    {
        SvgRender render(nullptr, dir.path(), false);
        render.show(0);
        for (int k = 1; k < kParameters; ++k) {
            timer.restart();
            render.next();
            renderNext << msSince(timer);
        }
        WGraphPanel panel;
        panel.resize(900, 450);
        panel.show();
        panel.showPlots(dir.path());
        auto *next = panel.findChild<QToolButton *>(QStringLiteral("tb_right"));
        if (!QTest::qWaitForWindowExposed(&panel))
            return 1;
        QWidget *viewport = panel.findChild<QGraphicsView *>("graphicsView")->viewport();
        for (int k = 1; k < kParameters; ++k) {
            timer.restart();
            next->click();
            viewport->repaint();
            panelNext << msSince(timer);
        }
    }
    std::printf("(c) paging: SvgRender::next %.1f ms a plot (median, max %.1f); Next in the "
                "panel, painted, %.1f ms a plot (median, max %.1f)\n",
                median(renderNext), *std::max_element(renderNext.begin(), renderNext.end()),
                median(panelNext), *std::max_element(panelNext.begin(), panelNext.end()));

    // (d) All plots into one PDF.
    SvgRender render(nullptr, dir.path(), false);
    render.show(0);
    const QString pdf = QDir(dir.path()).filePath("plots.pdf");
    timer.restart();
    if (!render.saveAllPdf(pdf))
        return 1;
    const double saveAll = msSince(timer);
    std::printf("(d) saveAllPdf, %d pages: %.0f ms (%.1f ms a page), %.1f MB\n", kParameters,
                saveAll, saveAll / kParameters, QFileInfo(pdf).size() / (1024.0 * 1024.0));
    return 0;
}
