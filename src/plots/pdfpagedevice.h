#ifndef PDFPAGEDEVICE_H
#define PDFPAGEDEVICE_H

#include <QPaintDevice>

#include <array>
#include <functional>
#include <memory>
#include <vector>

class QPainter;
class PdfPageEngine;

// What was drawn on a PdfPageDevice, step by step, to be played on the PDF page's painter.
using PdfPageDrawing = std::vector<std::function<void(QPainter &)>>;

// Stands in for a PDF page: everything painted on it is recorded to be played on the page's
// painter later, possibly on another thread, with its coordinates on a grid of 1/100 of a
// drawing unit and the transform rescaled to match. A PDF writer stores a fraction with nine
// digits but an integer with its own few, so a plot's trace lines (coordinates with two
// decimals) take half the bytes to write and to compress, and land on exactly their points.
class PdfPageDevice : public QPaintDevice
{
public:
    // What a painter asks of a device, taken from the page once, so that the page can be drawn
    // on another thread than the one writing the PDF.
    using Measures = std::array<int, PdmDevicePixelRatioScaled + 1>;
    static Measures measure(const QPaintDevice &vPage);

    // Measures as vPage did.
    explicit PdfPageDevice(const Measures &vPage);
    ~PdfPageDevice() override;

    // What was drawn since the last call; the painter on this device must have ended.
    PdfPageDrawing takeDrawing();
    // Plays vDrawing on vPage, the PDF page's painter, leaving its state as it was.
    static void play(const PdfPageDrawing &vDrawing, QPainter &vPage);

    QPaintEngine *paintEngine() const override;

protected:
    int metric(PaintDeviceMetric vMetric) const override;

private:
    Measures m_page;
    std::unique_ptr<PdfPageEngine> m_engine;
};

#endif // PDFPAGEDEVICE_H
