#include "scriptlinelinks.h"

#include <QRegularExpression>

namespace {
// The engine names a script line in three ways: "script 'NAME', line N" (where a problem is),
// "line N of script 'NAME'" (which command led to a data-file problem) and a warning's
// leading "Line N:". A data file's own "line N" is not a script line and is left alone.
const QString kPattern = QStringLiteral("script '[^'\\n]*', line (\\d+)|line (\\d+) of script "
                                        "'[^'\\n]*'|^WARNING: \\KLine (\\d+)");

const QRegularExpression &expression()
{
    static const QRegularExpression compiled = [] {
        QRegularExpression e(kPattern);
        e.optimize();
        return e;
    }();
    return compiled;
}

// Output lines that cannot hold a link are by far the most common; skip them cheaply.
bool mayHoldLink(const QString &vText)
{
    return vText.contains(QLatin1String("script '"))
        || vText.startsWith(QLatin1String("WARNING: Line"));
}
} // namespace

const QString &ScriptLineLinks::pattern()
{
    return kPattern;
}

QList<ScriptLineLinks::Link> ScriptLineLinks::find(const QString &vText)
{
    QList<Link> links;
    if (!mayHoldLink(vText))
        return links;
    QRegularExpressionMatchIterator matches = expression().globalMatch(vText);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        int line = 0;
        for (int group = 1; group <= 3 && line == 0; ++group)
            line = match.captured(group).toInt();
        if (line > 0)
            links.append({int(match.capturedStart(0)), int(match.capturedLength(0)), line});
    }
    return links;
}

ScriptLineLinks::Link ScriptLineLinks::at(const QString &vText, int vColumn)
{
    for (const Link &link : find(vText))
        if (vColumn >= link.start && vColumn <= link.start + link.length)
            return link;
    return {};
}
