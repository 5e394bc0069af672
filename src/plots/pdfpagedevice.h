#ifndef PDFPAGEDEVICE_H
#define PDFPAGEDEVICE_H

#include <QPaintDevice>

#include <memory>

class QPainter;
class PdfPageEngine;

// Stands in for a PDF page: everything painted on it is passed on to the page's painter with
// its coordinates on a grid of 1/100 of a drawing unit, rescaled by the transform. A PDF writer
// stores a fraction with nine digits but an integer with its own few, so a plot's trace lines
// (coordinates with two decimals) take half the bytes to write and to compress, and land on
// exactly the points they had.
class PdfPageDevice : public QPaintDevice
{
public:
    // vPage must stay active on the PDF while this device is painted on.
    explicit PdfPageDevice(QPainter *vPage);
    ~PdfPageDevice() override;

    QPaintEngine *paintEngine() const override;

protected:
    int metric(PaintDeviceMetric vMetric) const override;

private:
    QPainter *m_page;
    std::unique_ptr<PdfPageEngine> m_engine;
};

#endif // PDFPAGEDEVICE_H
