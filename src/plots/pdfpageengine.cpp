#include "pdfpageengine.h"

#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>

namespace {

// Plots come with two decimals; a finer grid keeps every point exactly where it was.
const qreal kGrid = 100.0;

qreal onGrid(qreal vValue)
{
    return qreal(qRound64(vValue * kGrid));
}

QPointF onGrid(const QPointF &vPoint)
{
    return QPointF(onGrid(vPoint.x()), onGrid(vPoint.y()));
}

// A solid colour or nothing looks the same at any scale; a pattern or a gradient does not.
bool scalesFreely(const QBrush &vBrush)
{
    return vBrush.style() == Qt::NoBrush || vBrush.style() == Qt::SolidPattern;
}

} // namespace

PdfPageEngine::PdfPageEngine(QPainter *vPage)
    : QPaintEngine(AllFeatures)
    , m_page(vPage)
{
}

bool PdfPageEngine::begin(QPaintDevice * /*vDevice*/)
{
    if (!m_page->isActive())
        return false;
    m_page->save();
    m_transform = QTransform();
    m_pen = QPen();
    m_brush = QBrush();
    return true;
}

bool PdfPageEngine::end()
{
    m_page->restore();
    return true;
}

void PdfPageEngine::updateState(const QPaintEngineState &vState)
{
    const DirtyFlags dirty = vState.state();
    if (dirty & DirtyTransform)
        m_transform = vState.transform();
    if (dirty & DirtyPen)
        m_pen = vState.pen();
    if (dirty & DirtyBrush)
        m_brush = vState.brush();
    if (dirty & DirtyBrushOrigin)
        m_page->setBrushOrigin(vState.brushOrigin());
    if (dirty & DirtyBackground)
        m_page->setBackground(vState.backgroundBrush());
    if (dirty & DirtyBackgroundMode)
        m_page->setBackgroundMode(vState.backgroundMode());
    if (dirty & DirtyHints) {
        m_page->setRenderHints(m_page->renderHints(), false);
        m_page->setRenderHints(vState.renderHints(), true);
    }
    if (dirty & DirtyCompositionMode)
        m_page->setCompositionMode(vState.compositionMode());
    if (dirty & DirtyOpacity)
        m_page->setOpacity(vState.opacity());
    if (dirty & (DirtyClipPath | DirtyClipRegion | DirtyClipEnabled))
        updateClip(vState);
}

void PdfPageEngine::updateClip(const QPaintEngineState &vState)
{
    // A clip is given in the coordinates of the transform in force when it was set.
    const DirtyFlags dirty = vState.state();
    m_page->setWorldTransform(m_transform);
    if (dirty & DirtyClipPath)
        m_page->setClipPath(vState.clipPath(), vState.clipOperation());
    if (dirty & DirtyClipRegion)
        m_page->setClipRegion(vState.clipRegion(), vState.clipOperation());
    if (dirty & DirtyClipEnabled)
        m_page->setClipping(vState.isClipEnabled());
}

bool PdfPageEngine::prepare(bool vGrid)
{
    QPen pen = m_pen;
    // Glyph outlines come with a pen that has no brush of its own. The PDF writer strokes such a
    // pen as a filled outline in the fill's colour, drawn out point by point; a native stroke in
    // that colour is the same line in a fraction of the bytes.
    if (pen.style() != Qt::NoPen && pen.brush().style() == Qt::NoBrush
        && m_brush.style() == Qt::SolidPattern)
        pen.setBrush(m_brush);
    const bool grid = vGrid && (pen.style() == Qt::NoPen || pen.brush().style() == Qt::SolidPattern)
        && scalesFreely(m_brush);
    if (grid) {
        // Line widths, and with them dashes, are in drawing units; a hairline is not.
        if (!pen.isCosmetic())
            pen.setWidthF(pen.widthF() * kGrid);
        m_page->setWorldTransform(QTransform::fromScale(1.0 / kGrid, 1.0 / kGrid) * m_transform);
    } else {
        m_page->setWorldTransform(m_transform);
    }
    m_page->setPen(pen);
    m_page->setBrush(m_brush);
    return grid;
}

void PdfPageEngine::drawPath(const QPainterPath &vPath)
{
    if (!prepare(true)) {
        m_page->drawPath(vPath);
        return;
    }
    QPainterPath path = vPath;
    for (int k = 0; k < path.elementCount(); ++k) {
        const QPainterPath::Element element = path.elementAt(k);
        path.setElementPositionAt(k, onGrid(element.x), onGrid(element.y));
    }
    m_page->drawPath(path);
}

void PdfPageEngine::drawPolygon(const QPointF *vPoints, int vCount, PolygonDrawMode vMode)
{
    const bool grid = prepare(true);
    QPolygonF polygon(vCount);
    for (int k = 0; k < vCount; ++k)
        polygon[k] = grid ? onGrid(vPoints[k]) : vPoints[k];
    if (vMode == PolylineMode)
        m_page->drawPolyline(polygon);
    else
        m_page->drawPolygon(polygon, vMode == WindingMode ? Qt::WindingFill : Qt::OddEvenFill);
}

void PdfPageEngine::drawRects(const QRectF *vRects, int vCount)
{
    const bool grid = prepare(true);
    for (int k = 0; k < vCount; ++k) {
        const QRectF &rect = vRects[k];
        m_page->drawRect(grid ? QRectF(onGrid(rect.topLeft()), onGrid(rect.bottomRight())) : rect);
    }
}

void PdfPageEngine::drawPixmap(const QRectF &vTarget, const QPixmap &vPixmap,
                               const QRectF &vSource)
{
    prepare(false);
    m_page->drawPixmap(vTarget, vPixmap, vSource);
}

void PdfPageEngine::drawImage(const QRectF &vTarget, const QImage &vImage, const QRectF &vSource,
                              Qt::ImageConversionFlags vFlags)
{
    prepare(false);
    m_page->drawImage(vTarget, vImage, vSource, vFlags);
}
