#include "commandfill.h"

#include <QRegularExpression>

QString fillCommand(const QString &vText, const QString &vCommand, const QString &vValue,
                    bool vCaseSensitive)
{
    const QString command = vCommand.trimmed();
    const QString value = vValue.trimmed();
    if (command.isEmpty() || value.isEmpty())
        return vText;
    const QRegularExpression empty(QLatin1Char('(') + command + QStringLiteral(")\\s*:\\s*;"),
                                   vCaseSensitive ? QRegularExpression::NoPatternOption
                                                  : QRegularExpression::CaseInsensitiveOption);
    if (!empty.isValid())
        return vText;
    // Built by hand rather than with QString::replace, which would read a backslash or a "%"
    // in a file name or variable list as a back-reference.
    const QString filled = command + QStringLiteral(": ") + value + QLatin1Char(';');
    QString result;
    qsizetype from = 0;
    for (QRegularExpressionMatchIterator it = empty.globalMatch(vText); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        if (match.capturedLength() == 0)
            continue;
        result += QStringView(vText).mid(from, match.capturedStart() - from);
        result += filled;
        from = match.capturedEnd();
    }
    result += QStringView(vText).mid(from);
    return result;
}
