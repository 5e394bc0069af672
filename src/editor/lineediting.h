#ifndef LINEEDITING_H
#define LINEEDITING_H

#include <QList>
#include <QString>

// The text side of the editor's line commands, apart from cursors and widgets. Functions that
// work on several lines take the text of a range and the offsets of its line starts (or of the
// places to edit) within it, and edit the lines from the last to the first so the earlier offsets
// stay valid.
class LineEditing
{
public:
    // An edit of one line: remove removeCount characters at position, then insert text there.
    struct Edit
    {
        int position = 0;
        int removeCount = 0;
        QString text;
    };

    // Characters at vFrom that unindenting removes: up to four, spaces go on, a tab ends it.
    static int unindentLength(const QString &vText, int vFrom);

    static QString indentLines(QString vText, const QList<int> &vLineOffsets);

    // Unindents every line; vRemoved and vRemovedFirst count what went in all and on line one.
    static QString unindentLines(QString vText, const QList<int> &vLineOffsets, int &vRemoved,
                                 int &vRemovedFirst);

    // Inserts vMarker and a blank into every line at vColumn.
    static QString commentLines(QString vText, const QList<int> &vLineOffsets, int vColumn,
                                const QString &vMarker);

    // Removes the character before each offset (the marker) and a blank that then follows.
    // vChange and vChangeFirst count the change in length (negative), in all and on line one.
    static QString uncommentLines(QString vText, const QList<int> &vMarkerEnds, int &vChange,
                                  int &vChangeFirst);

    // The comment toggle on a single line without a selection.
    static Edit toggleLineComment(const QString &vLine, const QString &vMarker);
};

#endif // LINEEDITING_H
