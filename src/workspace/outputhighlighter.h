#ifndef OUTPUTHIGHLIGHTER_H
#define OUTPUTHIGHLIGHTER_H

#include "editor/highlightpass.h"

#include <QList>
#include <QPointer>
#include <QRegularExpression>
#include <QSyntaxHighlighter>
#include <QTextCharFormat>
#include <QTextLayout>

class QTextBlock;
class QTextDocument;

// Colours the engine's output: banners, block names, warnings, notes, errors, section headings
// and variable names. Rules apply in the order they were added; a later rule wins where two
// overlap.
class OutputHighlighter : public QSyntaxHighlighter
{
    Q_OBJECT
public:
    explicit OutputHighlighter(QTextDocument *parent);

    const QList<HighlightPass> &rules() const { return m_rules; }

    // On by default: places where the output names a script line are underlined as links
    // (see ScriptLineLinks), painted over the rules above.
    void setScriptLinks(bool vOn);
    bool scriptLinks() const { return m_scriptLinks; }

    // Off by default: like any syntax highlighter, every block is highlighted as it changes. On:
    // blocks are highlighted only through highlightBlocks(), so a view holding megabytes of
    // output can limit the work to the lines it shows. Returns whether the mode is now on.
    bool setOnDemand(bool vOnDemand);
    bool isOnDemand() const { return m_onDemand; }
    // The document coloured, in either mode (document() is empty while on demand).
    QTextDocument *colouredDocument() const;
    // Highlights vFirst to vLast, both included.
    void highlightBlocks(const QTextBlock &vFirst, const QTextBlock &vLast);

Q_SIGNALS:
    // The rules were rebuilt while on demand: whoever shows the blocks highlights them again.
    void did_rebuild();

public Q_SLOTS:
    // Re-reads the colours and rebuilds the rules after the settings changed.
    void rebuild();

protected:
    void highlightBlock(const QString &vText) override;

private:
    // The longest run of plain characters any match of vPattern must contain, or an empty text
    // when that is not certain. Deliberately conservative: alternatives, inline options and
    // quoting give up.
    static QString requiredText(const QString &vPattern);
    // The formats of vText's characters as ranges that do not overlap.
    QList<QTextLayout::FormatRange> formatRanges(const QString &vText) const;
    void applyFormats(const QTextBlock &vBlock);
    void loadColors();
    void buildRules();
    void addRule(const QString &vPattern, const QTextCharFormat &vFormat);
    void addResourceRules(const QString &vResource, const QTextCharFormat &vFormat);

    QList<HighlightPass> m_rules;
    // The rules, then the link pass when links are on.
    QList<HighlightPass> m_passes;
    bool m_scriptLinks = true;
    bool m_onDemand = false;
    // While on demand the base class is detached from the document, so it no longer follows
    // every change; the formats go straight to the blocks' layouts.
    QPointer<QTextDocument> m_onDemandDocument;
    QColor m_headingColor;
    QColor m_functionColor;
    QColor m_constantColor;
    QColor m_warningColor;
    QColor m_errorColor;
    QColor m_numberColor;
};

#endif // OUTPUTHIGHLIGHTER_H
