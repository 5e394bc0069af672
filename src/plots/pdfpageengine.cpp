#include "pdfpageengine.h"

#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>

#include <utility>

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

PdfPageEngine::PdfPageEngine()
    : QPaintEngine(AllFeatures)
{ }

PdfPageDrawing PdfPageEngine::takeDrawing()
{
    return std::exchange(m_drawing, {});
}

void PdfPageEngine::add(std::function<void(QPainter &)> vStep)
{
    m_drawing.push_back(std::move(vStep));
}

bool PdfPageEngine::begin(QPaintDevice * /*vDevice*/)
{
    m_transform = QTransform();
    m_pen = QPen();
    m_brush = QBrush();
    return true;
}

bool PdfPageEngine::end()
{
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
        add([origin = vState.brushOrigin()](QPainter &page) { page.setBrushOrigin(origin); });
    if (dirty & DirtyBackground)
        add([brush = vState.backgroundBrush()](QPainter &page) { page.setBackground(brush); });
    if (dirty & DirtyBackgroundMode)
        add([mode = vState.backgroundMode()](QPainter &page) { page.setBackgroundMode(mode); });
    if (dirty & DirtyHints) {
        add([hints = vState.renderHints()](QPainter &page) {
            page.setRenderHints(page.renderHints(), false);
            page.setRenderHints(hints, true);
        });
    }
    if (dirty & DirtyCompositionMode)
        add([mode = vState.compositionMode()](QPainter &page) { page.setCompositionMode(mode); });
    if (dirty & DirtyOpacity)
        add([opacity = vState.opacity()](QPainter &page) { page.setOpacity(opacity); });
    if (dirty & (DirtyClipPath | DirtyClipRegion | DirtyClipEnabled))
        updateClip(vState);
}

void PdfPageEngine::updateClip(const QPaintEngineState &vState)
{
    // A clip is given in the coordinates of the transform in force when it was set.
    const DirtyFlags dirty = vState.state();
    add([transform = m_transform](QPainter &page) { page.setWorldTransform(transform); });
    const Qt::ClipOperation operation = vState.clipOperation();
    if (dirty & DirtyClipPath) {
        add([path = vState.clipPath(), operation](QPainter &page) {
            page.setClipPath(path, operation);
        });
    }
    if (dirty & DirtyClipRegion) {
        add([region = vState.clipRegion(), operation](QPainter &page) {
            page.setClipRegion(region, operation);
        });
    }
    if (dirty & DirtyClipEnabled)
        add([on = vState.isClipEnabled()](QPainter &page) { page.setClipping(on); });
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
    QTransform transform = m_transform;
    if (grid) {
        // Line widths, and with them dashes, are in drawing units; a hairline is not.
        if (!pen.isCosmetic())
            pen.setWidthF(pen.widthF() * kGrid);
        transform = QTransform::fromScale(1.0 / kGrid, 1.0 / kGrid) * m_transform;
    }
    add([transform, pen, brush = m_brush](QPainter &page) {
        page.setWorldTransform(transform);
        page.setPen(pen);
        page.setBrush(brush);
    });
    return grid;
}

void PdfPageEngine::drawPath(const QPainterPath &vPath)
{
    QPainterPath path = vPath;
    if (prepare(true)) {
        for (int k = 0; k < path.elementCount(); ++k) {
            const QPainterPath::Element element = path.elementAt(k);
            path.setElementPositionAt(k, onGrid(element.x), onGrid(element.y));
        }
    }
    add([path](QPainter &page) { page.drawPath(path); });
}

void PdfPageEngine::drawPolygon(const QPointF *vPoints, int vCount, PolygonDrawMode vMode)
{
    const bool grid = prepare(true);
    QPolygonF polygon(vCount);
    for (int k = 0; k < vCount; ++k)
        polygon[k] = grid ? onGrid(vPoints[k]) : vPoints[k];
    if (vMode == PolylineMode) {
        add([polygon](QPainter &page) { page.drawPolyline(polygon); });
        return;
    }
    const Qt::FillRule rule = vMode == WindingMode ? Qt::WindingFill : Qt::OddEvenFill;
    add([polygon, rule](QPainter &page) { page.drawPolygon(polygon, rule); });
}

void PdfPageEngine::drawRects(const QRectF *vRects, int vCount)
{
    const bool grid = prepare(true);
    QList<QRectF> rects;
    for (int k = 0; k < vCount; ++k) {
        const QRectF &rect = vRects[k];
        rects << (grid ? QRectF(onGrid(rect.topLeft()), onGrid(rect.bottomRight())) : rect);
    }
    add([rects](QPainter &page) { page.drawRects(rects.constData(), int(rects.size())); });
}

void PdfPageEngine::drawPixmap(const QRectF &vTarget, const QPixmap &vPixmap, const QRectF &vSource)
{
    prepare(false);
    add([vTarget, vPixmap, vSource](QPainter &page) {
        page.drawPixmap(vTarget, vPixmap, vSource);
    });
}

void PdfPageEngine::drawImage(const QRectF &vTarget, const QImage &vImage, const QRectF &vSource,
                              Qt::ImageConversionFlags vFlags)
{
    prepare(false);
    add([vTarget, vImage, vSource, vFlags](QPainter &page) {
        page.drawImage(vTarget, vImage, vSource, vFlags);
    });
}
