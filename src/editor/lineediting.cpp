#include "lineediting.h"

#include <QRegularExpression>

namespace {
const QChar kTab = QLatin1Char('\t');
const QChar kBlank = QLatin1Char(' ');
constexpr int kUnindentWidth = 4;
} // namespace

int LineEditing::unindentLength(const QString &vText, int vFrom)
{
    int length = 0;
    while (length < kUnindentWidth && vFrom + length < vText.size()) {
        const QChar c = vText.at(vFrom + length);
        if (c == kTab)
            return length + 1;
        if (c != kBlank)
            break;
        ++length;
    }
    return length;
}

QString LineEditing::indentLines(QString vText, const QList<int> &vLineOffsets)
{
    for (auto it = vLineOffsets.crbegin(); it != vLineOffsets.crend(); ++it)
        vText.insert(*it, kTab);
    return vText;
}

QString LineEditing::unindentLines(QString vText, const QList<int> &vLineOffsets, int &vRemoved,
                                   int &vRemovedFirst)
{
    vRemoved = 0;
    vRemovedFirst = 0;
    for (int line = int(vLineOffsets.size()) - 1; line >= 0; --line) {
        const int offset = vLineOffsets.at(line);
        const int length = unindentLength(vText, offset);
        vText.remove(offset, length);
        vRemoved += length;
        if (line == 0)
            vRemovedFirst = length;
    }
    return vText;
}

QString LineEditing::commentLines(QString vText, const QList<int> &vLineOffsets, int vColumn,
                                  const QString &vMarker)
{
    const QString insertion = vMarker + kBlank;
    for (auto it = vLineOffsets.crbegin(); it != vLineOffsets.crend(); ++it)
        vText.insert(*it + vColumn, insertion);
    return vText;
}

QString LineEditing::uncommentLines(QString vText, const QList<int> &vMarkerEnds, int &vChange,
                                    int &vChangeFirst)
{
    vChange = 0;
    vChangeFirst = 0;
    for (int line = int(vMarkerEnds.size()) - 1; line >= 0; --line) {
        const int marker = vMarkerEnds.at(line) - 1;
        if (marker < 0 || marker >= vText.size())
            continue;
        int removed = 1;
        vText.remove(marker, 1);
        if (marker < vText.size() && vText.at(marker) == kBlank) {
            vText.remove(marker, 1);
            ++removed;
        }
        vChange -= removed;
        if (line == 0)
            vChangeFirst = -removed;
    }
    return vText;
}

LineEditing::Edit LineEditing::toggleLineComment(const QString &vLine, const QString &vMarker)
{
    const QString insertion = vMarker + kBlank;
    // The marker goes into the expressions as it is, so a marker with pattern syntax is taken
    // as a pattern.
    const QRegularExpressionMatch bare
        = QRegularExpression(QStringLiteral("^[ \t]+") + vMarker + QStringLiteral("(?! )"))
              .match(vLine);
    if (bare.hasMatch())
        return {int(bare.capturedLength()) - 1, 1, {}};
    const QRegularExpressionMatch spaced
        = QRegularExpression(QStringLiteral("^[ \t]+") + vMarker + QStringLiteral(" "))
              .match(vLine);
    if (spaced.hasMatch())
        return {int(spaced.capturedLength()) - 2, 2, {}};
    const QRegularExpressionMatch indent
        = QRegularExpression(QStringLiteral("^[ \t]+")).match(vLine);
    if (indent.hasMatch())
        return {int(indent.capturedLength()), 0, insertion};
    if (vLine.isEmpty())
        return {0, 0, insertion};
    if (!vMarker.isEmpty() && vLine.at(0) == vMarker.at(0))
        return {0, vLine.size() >= 2 && vLine.at(1) == kBlank ? 2 : 1, {}};
    return {0, 0, insertion};
}
