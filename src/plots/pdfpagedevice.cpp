#include "pdfpagedevice.h"

#include "pdfpageengine.h"

#include <QPainter>

PdfPageDevice::Measures PdfPageDevice::measure(const QPaintDevice &vPage)
{
    Measures measures {};
    measures[PdmWidth] = vPage.width();
    measures[PdmHeight] = vPage.height();
    measures[PdmWidthMM] = vPage.widthMM();
    measures[PdmHeightMM] = vPage.heightMM();
    measures[PdmNumColors] = vPage.colorCount();
    measures[PdmDepth] = vPage.depth();
    measures[PdmDpiX] = vPage.logicalDpiX();
    measures[PdmDpiY] = vPage.logicalDpiY();
    measures[PdmPhysicalDpiX] = vPage.physicalDpiX();
    measures[PdmPhysicalDpiY] = vPage.physicalDpiY();
    measures[PdmDevicePixelRatio] = qRound(vPage.devicePixelRatio());
    measures[PdmDevicePixelRatioScaled]
        = qRound(vPage.devicePixelRatio() * devicePixelRatioFScale());
    return measures;
}

PdfPageDevice::PdfPageDevice(const Measures &vPage)
    : m_page(vPage)
    , m_engine(std::make_unique<PdfPageEngine>())
{ }

PdfPageDevice::~PdfPageDevice() = default;

PdfPageDrawing PdfPageDevice::takeDrawing()
{
    return m_engine->takeDrawing();
}

void PdfPageDevice::play(const PdfPageDrawing &vDrawing, QPainter &vPage)
{
    vPage.save();
    for (const auto &step : vDrawing)
        step(vPage);
    vPage.restore();
}

QPaintEngine *PdfPageDevice::paintEngine() const
{
    return m_engine.get();
}

int PdfPageDevice::metric(PaintDeviceMetric vMetric) const
{
    if (vMetric >= 0 && std::size_t(vMetric) < m_page.size())
        return m_page[std::size_t(vMetric)];
    return QPaintDevice::metric(vMetric);
}
