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
#include <QThread>
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

// Draws vScene onto the PDF page vPage is active on. The page is drawn through a device that
// puts the plot's coordinates on a fine integer grid, which the PDF writer stores and
// compresses in half the bytes and time of the fractions it would write otherwise.
void renderPage(QGraphicsScene &vScene, QPainter &vPage)
{
    PdfPageDevice device(&vPage);
    QPainter painter(&device);
    painter.setRenderHints(vPage.renderHints());
    vScene.render(&painter, QRectF(), vScene.sceneRect(), Qt::KeepAspectRatio);
}

// Reads a plot for the export, handing its renderer over to the exporting thread vOwner: a plot
// is read on the side while the page before it is drawn and compressed.
std::shared_ptr<QSvgRenderer> readPlot(const QString &vFile, QThread *vOwner)
{
    auto renderer = std::make_shared<QSvgRenderer>();
    renderer->load(vFile);
    renderer->moveToThread(vOwner);
    return renderer;
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
    renderPage(*m_scene, painter);
    return painter.end();
}

bool SvgRender::saveAllPdf(const QString &vTarget)
{
    QPrinter printer(QPrinter::HighResolution);
    QPainter painter;
    if (!beginPdf(printer, painter, vTarget))
        return false;

    // The shown plot keeps its own renderer, so the view is untouched while the export runs.
    QThreadPool reader;
    reader.setMaxThreadCount(1);
    const QStringList files = m_files;
    const auto read = [&](int vIndex) {
        return QtConcurrent::run(&reader, readPlot, m_dir.filePath(files.at(vIndex)),
                                 QThread::currentThread());
    };
    QFuture<std::shared_ptr<QSvgRenderer>> next;
    if (!files.isEmpty())
        next = read(0);
    const QString total = QString::number(files.size());
    for (int k = 0; k < files.size(); ++k) {
        Q_EMIT on_imageSave(QString::number(k + 1) + QStringLiteral(" of ") + total);
        QCoreApplication::processEvents();
        const std::shared_ptr<QSvgRenderer> plot = next.result();
        if (k + 1 < files.size())
            next = read(k + 1);
        const std::unique_ptr<QGraphicsScene> page(sceneOf(plot.get(), nullptr));
        renderPage(*page, painter);
        if (k + 1 < files.size())
            printer.newPage();
    }
    return painter.end();
}
