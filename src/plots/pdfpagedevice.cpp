#include "pdfpagedevice.h"

#include "pdfpageengine.h"

#include <QPainter>

PdfPageDevice::PdfPageDevice(QPainter *vPage)
    : m_page(vPage)
    , m_engine(std::make_unique<PdfPageEngine>(vPage))
{
}

PdfPageDevice::~PdfPageDevice() = default;

QPaintEngine *PdfPageDevice::paintEngine() const
{
    return m_engine.get();
}

int PdfPageDevice::metric(PaintDeviceMetric vMetric) const
{
    // Everything is drawn as it would be on the page itself.
    const QPaintDevice *page = m_page->device();
    switch (vMetric) {
    case PdmWidth:
        return page->width();
    case PdmHeight:
        return page->height();
    case PdmWidthMM:
        return page->widthMM();
    case PdmHeightMM:
        return page->heightMM();
    case PdmNumColors:
        return page->colorCount();
    case PdmDepth:
        return page->depth();
    case PdmDpiX:
        return page->logicalDpiX();
    case PdmDpiY:
        return page->logicalDpiY();
    case PdmPhysicalDpiX:
        return page->physicalDpiX();
    case PdmPhysicalDpiY:
        return page->physicalDpiY();
    case PdmDevicePixelRatio:
        return qRound(page->devicePixelRatioF());
    case PdmDevicePixelRatioScaled:
        return qRound(page->devicePixelRatioF() * devicePixelRatioFScale());
    }
    return QPaintDevice::metric(vMetric);
}
