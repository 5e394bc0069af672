// Showing, paging and exporting the plots of a large model: 100 parameters, 4 chains and
// 5,000 iterations, plotted by gnuplot into 100 SVG files as a run would. Prints:
//   (b) time to the first plot on screen once the SVG files exist,
//   (c) time per plot when paging with Next,
//   (d) time and file size of saving all 100 plots into one PDF (median of [repeats]), beside
//       gnuplot writing the same plots as PDF files itself.
// Usage: bench_plotview [repeats] [--plots DIR] [--pdf-only]   (headless by default)
//   --plots DIR   keep the trace files and SVG plots in DIR, and reuse them when already there
//   --pdf-only    measure (d) alone

#include "config/executablepath.h"
#include "plots/chainsplitter.h"
#include "plots/plotscript.h"
#include "plots/svgrender.h"
#include "plots/wgraphpanel.h"
#include "testmain.h"
#include "traceplots.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QGraphicsView>
#include <QProcess>
#include <QRegularExpression>
#include <QToolButton>

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace {

const int kParameters = 100;
const int kChains = 4;
const int kIterations = 5000;

double median(QList<double> vValues)
{
    std::sort(vValues.begin(), vValues.end());
    return vValues.isEmpty() ? 0.0 : vValues.at(vValues.size() / 2);
}

// Processor time, which a loaded machine does not stretch as it does the clock: this thread's,
// or the whole process's with the threads it works with.
double cpuMs(clockid_t vClock)
{
    timespec now {};
    clock_gettime(vClock, &now);
    return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
}

double threadCpuMs()
{
    return cpuMs(CLOCK_THREAD_CPUTIME_ID);
}

double processCpuMs()
{
    return cpuMs(CLOCK_PROCESS_CPUTIME_ID);
}

double msSince(const QElapsedTimer &vTimer)
{
    return vTimer.nsecsElapsed() / 1e6;
}

// (d) All plots into one PDF (medians of vRepeats), beside gnuplot writing each plot as a PDF
// file itself.
int savePdf(const QString &vDir, int vRepeats)
{
    SvgRender render(nullptr, vDir, false);
    render.show(0);
    const QString pdf = QDir(vDir).filePath("plots.pdf");
    QList<double> wall;
    QList<double> threadCpu;
    QList<double> processCpu;
    for (int r = 0; r < vRepeats; ++r) {
        QFile::remove(pdf);
        QElapsedTimer clock;
        clock.start();
        const double threadBefore = threadCpuMs();
        const double processBefore = processCpuMs();
        if (!render.saveAllPdf(pdf))
            return 1;
        wall << msSince(clock);
        threadCpu << threadCpuMs() - threadBefore;
        processCpu << processCpuMs() - processBefore;
    }
    const double saveAll = median(wall);
    const double saveAllCpu = median(threadCpu);
    const double saveAllProcessCpu = median(processCpu);
    QElapsedTimer timer;

    if (qEnvironmentVariableIsSet("TOVREL_BENCH_NO_GNUPLOT")) {
        std::printf("(d) saveAllPdf: %.0f ms, %.0f ms of processor time (%.0f ms in all threads), "
                    "%.1f MB (median of %d)\n",
                    saveAll, saveAllCpu, saveAllProcessCpu,
                    QFileInfo(pdf).size() / (1024.0 * 1024.0), vRepeats);
        return 0;
    }
    timer.start();
    qint64 gnuplotBytes = 0;
    // gnuplot is fed as the studio feeds it, each plot from its own parameter's data.
    ChainSplitter splitter;
    if (!splitter.open(QDir(vDir).filePath(QStringLiteral("burn")), kChains, kParameters))
        return 1;
    while (!splitter.index(1 << 20)) { }
    PlotScript script(kChains);
    script.setSize(900, 400);
    for (int k = 1; k <= kParameters; ++k) {
        const QString data = QDir(vDir).filePath(QStringLiteral("trace%1.dat").arg(k));
        const QString out = QDir(vDir).filePath(QStringLiteral("gnuplot%1.pdf").arg(k));
        if (!splitter.write(k - 1, data))
            return 1;
        QString text = script.script(QStringLiteral("Parameter %1").arg(k), data, out);
        text.replace(QRegularExpression(QStringLiteral("set terminal svg[^\\n]*")),
                     QStringLiteral("set terminal pdfcairo size 12.5in,5.5556in"));
        QProcess gnuplot;
        gnuplot.start(ExecutablePath::find(QStringLiteral("gnuplot")), QStringList());
        gnuplot.write(text.toUtf8());
        gnuplot.closeWriteChannel();
        gnuplot.waitForFinished(60000);
        gnuplotBytes += QFileInfo(out).size();
        QFile::remove(out);
        QFile::remove(data);
    }
    const double gnuplotMs = msSince(timer);
    std::printf("(d) saveAllPdf, %d pages: %.0f ms (%.0f ms of processor time, %.0f ms in all "
                "threads, %.1f ms a page), %.1f MB (median of %d) | beside it, gnuplot writing the "
                "same plots as PDF files: %.0f ms, %.1f MB\n",
                kParameters, saveAll, saveAllCpu, saveAllProcessCpu, saveAll / kParameters,
                QFileInfo(pdf).size() / (1024.0 * 1024.0), vRepeats, gnuplotMs,
                gnuplotBytes / (1024.0 * 1024.0));
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    QApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const int repeats = argc > 1 ? qMax(1, QByteArray(argv[1]).toInt()) : 5;
    const qsizetype plotsAt = arguments.indexOf(QStringLiteral("--plots"));
    const bool pdfOnly = arguments.contains(QStringLiteral("--pdf-only"));

    QTemporaryDir temporary;
    const QString folder = plotsAt > 0 ? arguments.value(plotsAt + 1) : temporary.path();
    QDir().mkpath(folder);
    const QDir dir(folder);
    QElapsedTimer timer;
    timer.start();
    if (!QFileInfo::exists(QDir(folder).filePath(QStringLiteral("plot%1.svg").arg(kParameters)))) {
        if (!TracePlots::writeTraces(dir.path(), kParameters, kChains, kIterations))
            return 1;
        std::printf("trace files: %d parameters x %d chains x %d iterations, %.0f ms\n",
                    kParameters, kChains, kIterations, msSince(timer));
        timer.restart();
        for (int k = 1; k <= kParameters; ++k) {
            if (!TracePlots::plot(dir.path(), k, kChains, QSize(900, 400))) {
                std::fprintf(stderr, "gnuplot failed on parameter %d\n", k);
                return 1;
            }
            // One second apart, so their order by age is known when the folder is reused.
            TracePlots::stamp(dir.path(), k, QDateTime::currentDateTime().addSecs(-1000), 1);
        }
        std::printf("gnuplot, 100 runs one after another: %.0f ms (%.1f ms a plot), SVG size "
                    "%lld bytes each\n",
                    msSince(timer), msSince(timer) / kParameters,
                    QFileInfo(QDir(dir.path()).filePath("plot1.svg")).size());
    }
    if (pdfOnly)
        return savePdf(dir.path(), repeats);

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

    return savePdf(dir.path(), repeats);
}
