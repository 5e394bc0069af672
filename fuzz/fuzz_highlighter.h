#ifndef FUZZ_HIGHLIGHTER_H
#define FUZZ_HIGHLIGHTER_H

#include "fuzzapp.h"

#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

namespace fuzz {

// Highlights one line (line breaks become blanks) and checks every format stays inside it.
template<class Highlighter>
void highlightLine(const uint8_t *vData, size_t vSize)
{
    static QTextDocument document;
    static Highlighter *highlighter = new Highlighter(&document);
    QString line = text(vData, vSize);
    for (QChar &c : line) {
        if (c == QLatin1Char('\n') || c == QLatin1Char('\r') || c == QChar::ParagraphSeparator
            || c == QChar::LineSeparator)
            c = QLatin1Char(' ');
    }
    document.setPlainText(line);
    highlighter->rehighlight();
    const QTextBlock block = document.firstBlock();
    for (const QTextLayout::FormatRange &range : block.layout()->formats()) {
        if (range.start < 0 || range.length < 0 || range.start + range.length > block.length())
            abort();
    }
}

} // namespace fuzz

#endif // FUZZ_HIGHLIGHTER_H
