#include "textsearch.h"

#include <QString>
#include <QTextDocument>

QTextCursor TextSearch::find(const QTextDocument &vDocument, const QTextCursor &vFrom,
                             const QString &vText, Direction vDirection)
{
    if (vText.isEmpty())
        return {};
    QTextDocument::FindFlags flags;
    if (vDirection == Direction::Backward)
        flags |= QTextDocument::FindBackward;
    return vDocument.find(vText, vFrom, flags);
}
