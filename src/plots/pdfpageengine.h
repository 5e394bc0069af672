#ifndef PDFPAGEENGINE_H
#define PDFPAGEENGINE_H

#include "pdfpagedevice.h"

#include <QBrush>
#include <QPaintEngine>
#include <QPen>
#include <QTransform>

// The paint engine of PdfPageDevice: records each drawing as a step to replay on the page's
// painter. Paths, polygons and rectangles go over as integers in 1/100 units with the transform
// scaled to match, and the pens widened to match. Anything that a finer grid could change
// (patterned pens or brushes, images) goes over exactly as it came.
class PdfPageEngine : public QPaintEngine
{
public:
    PdfPageEngine();

    PdfPageDrawing takeDrawing();

    bool begin(QPaintDevice *vDevice) override;
    bool end() override;
    void updateState(const QPaintEngineState &vState) override;

    void drawPath(const QPainterPath &vPath) override;
    void drawPolygon(const QPointF *vPoints, int vCount, PolygonDrawMode vMode) override;
    void drawRects(const QRectF *vRects, int vCount) override;
    void drawPixmap(const QRectF &vTarget, const QPixmap &vPixmap, const QRectF &vSource) override;
    void drawImage(const QRectF &vTarget, const QImage &vImage, const QRectF &vSource,
                   Qt::ImageConversionFlags vFlags) override;
    Type type() const override { return User; }

private:
    void add(std::function<void(QPainter &)> vStep);
    void updateClip(const QPaintEngineState &vState);
    // Adds the step setting the page's transform, pen and brush for a drawing on the grid (or
    // exactly as given); returns whether coordinates go on the grid.
    bool prepare(bool vGrid);

    PdfPageDrawing m_drawing;
    QTransform m_transform;
    QPen m_pen;
    QBrush m_brush;
};

#endif // PDFPAGEENGINE_H
