#ifndef HIGHLIGHTPASS_H
#define HIGHLIGHTPASS_H

#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QTextCharFormat>
#include <QTextLayout>

// One colouring pass of a highlighter: every match of the pattern gets the format.
struct HighlightPass
{
    QRegularExpression pattern;
    QTextCharFormat format;
    // Text every match contains. A line without it cannot match, so the pattern is not run
    // there: most lines are passed over by most passes.
    QString requiredText;

    // Colours vText by the passes in order; where matches overlap the later pass wins, as if
    // each pass had painted over the ones before it.
    static QList<QTextLayout::FormatRange> formatRanges(const QString &vText,
                                                        const QList<HighlightPass> &vPasses);
};

#endif // HIGHLIGHTPASS_H
