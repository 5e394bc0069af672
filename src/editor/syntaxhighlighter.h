#ifndef SYNTAXHIGHLIGHTER_H
#define SYNTAXHIGHLIGHTER_H

#include "editor/highlightpass.h"
#include "editor/syntaxmode.h"

#include <QChar>
#include <QColor>
#include <QList>
#include <QRegularExpression>
#include <QSyntaxHighlighter>
#include <QTextCharFormat>
#include <QTextLayout>

class QTextDocument;

// Colours a script line by line. Every line gets all rules in order, a later rule's format
// replacing an earlier one's where they overlap; no state is carried between lines.
class SyntaxHighlighter : public QSyntaxHighlighter
{
    Q_OBJECT
public:
    struct HighlightingRule
    {
        QRegularExpression pattern;
        QTextCharFormat format;
    };

    explicit SyntaxHighlighter(QTextDocument *parent);

    void setSyntaxMode(SyntaxMode vMode);
    SyntaxMode syntaxMode() const { return m_mode; }

    // Colour schemes; both renew the rules but leave re-highlighting to the caller.
    void useLightColours();
    void useDarkColours();

    // Detects a commented line for the block comment toggle; always "#" or "!", whatever marker
    // the settings name.
    QRegularExpression commentExpression() const;
    static QRegularExpression indentExpression();

    // The rules in the order they apply, one per keyword. Highlighting itself runs a faster
    // equivalent of this list (see compiled passes in the source).
    const QList<HighlightingRule> &rules() const;

    // Re-colours every line; the quick equivalent of rehighlight() for a whole document.
    void rehighlightDocument();

public Q_SLOTS:
    void applySettings();
    void setupHighlighter();

protected:
    void highlightBlock(const QString &vText) override;

private:
    void ensureRules() const;
    void buildRules() const;
    void useColours(const QVariantMap &vColours, const QColor &vSpecialComment);
    void addRule(const QString &vPattern, const QTextCharFormat &vFormat, QChar vRequired = {},
                 const QString &vFastPattern = {}) const;
    void addKeywordRules(const QStringList &vKeywords, bool vCaseSensitive) const;
    QList<QTextLayout::FormatRange> formatRanges(const QString &vText) const;

    SyntaxMode m_mode = SyntaxMode::Engine;
    // Built from the settings on first use after a change (see setupHighlighter).
    mutable bool m_rulesStale = true;
    mutable QList<HighlightingRule> m_rules;
    // What colouring runs: a pass may stand for several rules that share a format.
    mutable QList<HighlightPass> m_passes;

    QTextCharFormat m_keywordFormat;
    QTextCharFormat m_headingFormat;
    QTextCharFormat m_commentFormat;
    QTextCharFormat m_specialCommentFormat;
    QTextCharFormat m_quotesFormat;
    QTextCharFormat m_numberFormat;
    QTextCharFormat m_operatorFormat;
};

#endif // SYNTAXHIGHLIGHTER_H
