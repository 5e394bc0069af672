#include "svgrender.h"

#include "pdfpagedevice.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QGraphicsScene>
#include <QGraphicsSvgItem>
#include <QImage>
#include <QPageSize>
#include <QPainter>
#include <QPrinter>
#include <QSvgRenderer>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>

namespace {

const QStringList kSvgPattern {QStringLiteral("*.svg")};

// The number of a plot named "plot<n>.svg", or 0 for any other name.
int plotNumber(const QString &vName)
{
    if (!vName.startsWith(QLatin1String("plot")) || !vName.endsWith(QLatin1String(".svg")))
        return 0;
    return QStringView(vName).mid(4, vName.size() - 8).toInt();
}

// The plots of a folder in parameter order. Plots are drawn side by side and finish in any
// order, so neither their age nor their names' text order ("plot10.svg" before "plot2.svg")
// will do: numbered plots go by number, any other SVG before them oldest first.
QFileInfoList plotsInOrder(const QDir &vDir)
{
    QFileInfoList plots = vDir.entryInfoList(kSvgPattern, QDir::Files, QDir::Time | QDir::Reversed);
    std::stable_sort(plots.begin(), plots.end(), [](const QFileInfo &a, const QFileInfo &b) {
        return plotNumber(a.fileName()) < plotNumber(b.fileName());
    });
    return plots;
}

QGraphicsScene *sceneOf(QSvgRenderer *vRenderer, QObject *vParent)
{
    auto *item = new QGraphicsSvgItem;
    item->setSharedRenderer(vRenderer);
    auto *scene = new QGraphicsScene(vParent);
    scene->addItem(item);
    return scene;
}

// Draws vPlot on vPainter as the plot view's scene draws it: scaled to the device keeping its
// shape, from the top left corner, clipped to the device.
void drawPlot(QSvgRenderer &vPlot, QPainter &vPainter)
{
    const QRectF page(0, 0, vPainter.device()->width(), vPainter.device()->height());
    const QRectF plot(QPointF(0, 0), vPlot.defaultSize());
    const qreal scale = qMin(page.width() / plot.width(), page.height() / plot.height());
    vPainter.save();
    vPainter.setClipRect(page, Qt::IntersectClip);
    vPainter.setWorldTransform(QTransform::fromScale(scale, scale), true);
    if (vPlot.isValid())
        vPlot.render(&vPainter, plot);
    vPainter.restore();
}

// Draws vPlot as a PDF page measuring vPage, through a device that puts its coordinates on a
// fine integer grid: the PDF writer stores and compresses them in half the bytes and time of the
// fractions it would write otherwise.
PdfPageDrawing drawPage(QSvgRenderer &vPlot, const PdfPageDevice::Measures &vPage,
                        QPainter::RenderHints vHints)
{
    PdfPageDevice device(vPage);
    QPainter painter(&device);
    painter.setRenderHints(vHints);
    drawPlot(vPlot, painter);
    painter.end();
    return device.takeDrawing();
}

// Reads and draws the plot vFile as a page: the export does so for plot k+1 on the side while
// page k is written and compressed.
PdfPageDrawing readPage(const QString &vFile, const PdfPageDevice::Measures &vPage,
                        QPainter::RenderHints vHints)
{
    QSvgRenderer plot(vFile);
    return drawPage(plot, vPage, vHints);
}

} // namespace

SvgRender::SvgRender(QObject *parent, const QString &vPlotDir, bool vCopy)
    : QObject(parent)
    , m_dir(vPlotDir)
{
    if (vCopy)
        m_valid = copyPlots(vPlotDir);
    if (m_valid) {
        for (const QFileInfo &plot : plotsInOrder(m_dir))
            m_files << plot.fileName();
    }
    m_renderer = new QSvgRenderer(this);
}

SvgRender::~SvgRender() = default;

void SvgRender::setReady(int vReady)
{
    // Only the new arrivals are looked at: a list of a thousand plots is not read a thousand
    // times. A plot gnuplot never began has no file and no page.
    if (m_ready < 0) {
        m_files.clear(); // the folder's listing holds plots still being drawn
        m_ready = 0;
    }
    for (int k = m_ready + 1; k <= vReady; ++k) {
        const QString name = QStringLiteral("plot%1.svg").arg(k);
        if (m_dir.exists(name))
            m_files << name;
    }
    m_ready = qMax(m_ready, vReady);
}

bool SvgRender::copyPlots(const QString &vPlotDir)
{
    m_ownCopy = std::make_unique<QTemporaryDir>();
    if (!m_ownCopy->isValid())
        return false;
    m_dir.setPath(m_ownCopy->path());
    for (const QFileInfo &source : plotsInOrder(QDir(vPlotDir))) {
        const QString target = m_dir.filePath(source.fileName());
        if (!QFile::copy(source.filePath(), target))
            continue;
        // A copy is stamped with the time it was made; keep the original time so that the copy
        // sorts exactly like its source even when many files are copied within a millisecond.
        QFile copy(target);
        if (copy.open(QIODevice::ReadWrite))
            copy.setFileTime(source.lastModified(), QFileDevice::FileModificationTime);
    }
    return true;
}

QGraphicsScene *SvgRender::show(int vIndex)
{
    if (vIndex < 0 || vIndex >= m_files.size())
        return m_scene;
    m_renderer->load(m_dir.filePath(m_files.at(vIndex)));
    m_scene = sceneOf(m_renderer, this);
    m_current = vIndex;
    return m_scene;
}

QGraphicsScene *SvgRender::previous()
{
    return show(m_current - 1);
}

QGraphicsScene *SvgRender::next()
{
    return show(m_current + 1);
}

QGraphicsScene *SvgRender::goTo(int vIndex)
{
    return show(vIndex);
}

bool SvgRender::saveSvg(const QString &vTarget) const
{
    if (m_current >= m_files.size())
        return false;
    return QFile::copy(m_dir.filePath(m_files.at(m_current)), vTarget);
}

bool SvgRender::saveImage(const QString &vTarget, int vWidth, int vHeight) const
{
    if (!m_scene || vWidth < 1 || vHeight < 1)
        return false;
    QImage image(vWidth, vHeight, QImage::Format_ARGB32);
    image.fill(Qt::white);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        m_renderer->render(&painter);
    }
    const bool existed = QFileInfo::exists(vTarget);
    if (image.save(vTarget))
        return true;
    // A writer that fails half-way leaves a truncated file behind.
    if (!existed)
        QFile::remove(vTarget);
    return false;
}

bool SvgRender::beginPdf(QPrinter &vPrinter, QPainter &vPainter, const QString &vTarget) const
{
    if (!m_scene)
        return false;
    const QRectF rect = m_scene->sceneRect();
    vPrinter.setOutputFormat(QPrinter::PdfFormat);
    vPrinter.setOutputFileName(vTarget);
    vPrinter.setFullPage(true);
    vPrinter.setPageSize(
        QPageSize(rect.size(), QPageSize::Point, QString(), QPageSize::FuzzyMatch));
    if (!vPainter.begin(&vPrinter))
        return false;
    vPainter.setRenderHint(QPainter::Antialiasing);
    return true;
}

bool SvgRender::savePdf(const QString &vTarget) const
{
    QPrinter printer(QPrinter::HighResolution);
    QPainter painter;
    if (!beginPdf(printer, painter, vTarget))
        return false;
    PdfPageDevice::play(
        drawPage(*m_renderer, PdfPageDevice::measure(printer), painter.renderHints()), painter);
    return painter.end();
}

bool SvgRender::saveAllPdf(const QString &vTarget)
{
    QPrinter printer(QPrinter::HighResolution);
    QPainter painter;
    if (!beginPdf(printer, painter, vTarget))
        return false;

    // The shown plot keeps its own renderer, so the view is untouched while the export runs.
    QThreadPool drawer;
    drawer.setMaxThreadCount(1);
    const QStringList files = m_files;
    const PdfPageDevice::Measures page = PdfPageDevice::measure(printer);
    const auto draw = [&](int vIndex) {
        return QtConcurrent::run(&drawer, readPage, m_dir.filePath(files.at(vIndex)), page,
                                 painter.renderHints());
    };
    QFuture<PdfPageDrawing> next;
    if (!files.isEmpty())
        next = draw(0);
    const QString total = QString::number(files.size());
    for (int k = 0; k < files.size(); ++k) {
        Q_EMIT on_imageSave(QString::number(k + 1) + QStringLiteral(" of ") + total);
        QCoreApplication::processEvents();
        const PdfPageDrawing drawn = next.takeResult();
        if (k + 1 < files.size())
            next = draw(k + 1);
        PdfPageDevice::play(drawn, painter);
        if (k + 1 < files.size())
            printer.newPage();
    }
    return painter.end();
}
