#include "highlightpass.h"

#include <QVarLengthArray>

#include <algorithm>

QList<QTextLayout::FormatRange> HighlightPass::formatRanges(const QString &vText,
                                                            const QList<HighlightPass> &vPasses)
{
    // Which pass coloured each character last; -1 for none.
    QVarLengthArray<qsizetype, 256> owner(vText.size());
    std::fill(owner.begin(), owner.end(), -1);
    for (qsizetype pass = 0; pass < vPasses.size(); ++pass) {
        const HighlightPass &current = vPasses.at(pass);
        if (!current.requiredText.isEmpty() && !vText.contains(current.requiredText))
            continue;
        QRegularExpressionMatchIterator matches = current.pattern.globalMatch(vText);
        while (matches.hasNext()) {
            const QRegularExpressionMatch match = matches.next();
            std::fill(owner.begin() + match.capturedStart(0), owner.begin() + match.capturedEnd(0),
                      pass);
        }
    }

    QList<QTextLayout::FormatRange> ranges;
    for (qsizetype start = 0, end = 0; start < owner.size(); start = end) {
        while (end < owner.size() && owner[end] == owner[start])
            ++end;
        if (owner[start] >= 0)
            ranges.append({int(start), int(end - start), vPasses.at(owner[start]).format});
    }
    return ranges;
}
