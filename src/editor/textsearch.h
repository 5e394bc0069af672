#ifndef TEXTSEARCH_H
#define TEXTSEARCH_H

#include <QTextCursor>

class QString;
class QTextDocument;

// The find bar's search: plain text, any letter case, from a cursor to one end of the document
// and no further (it never wraps around).
class TextSearch
{
public:
    enum class Direction { Forward, Backward };

    // The next match after vFrom (before it, backwards), selected; a null cursor when there is
    // none or vText is empty. A selection in vFrom is skipped over, so repeating a search steps
    // from match to match.
    static QTextCursor find(const QTextDocument &vDocument, const QTextCursor &vFrom,
                            const QString &vText, Direction vDirection);
};

#endif // TEXTSEARCH_H
