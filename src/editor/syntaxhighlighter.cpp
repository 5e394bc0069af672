#include "syntaxhighlighter.h"

#include "config/csettings.h"

#include <QDebug>
#include <QFont>
#include <QRegularExpressionMatchIterator>
#include <QStringList>
#include <QTextBlock>
#include <QTextDocument>
#include <QVarLengthArray>
#include <QVariantMap>

#include <algorithm>

namespace {
const QString kNumberPattern = QStringLiteral(
    R"((?<=[\:\@\s\+\(\$\%\,\-\+\*\/\^]|^)(\-{0,1}\d+(\.{0,1}\d+){0,1}|(\.{0,1}\d+)))");
const QString kOperatorPattern
    = QStringLiteral(R"((<->|->|<-|[&\+\-\*\/\^\~\=\<\>\!]|(\band\b)|(\bor\b)|:=))");
const QString kQuotesPattern = QStringLiteral(R"(".*")");
const QString kHeadingPattern = QStringLiteral(R"((\w+|\w+.\w+)+(?:(?!\n)\s+)?:(\s|$))");
// The same language as the heading pattern without its nested quantifiers, which backtrack
// exponentially on long words. Units of word characters, optionally two word runs joined by one
// character, put end to end: word runs joined by single non-word characters, where every run
// between two joins is split over two units and so needs two characters. A run or join must be
// taken whenever it can be (what follows it is never blanks and a colon), so possessive matching
// loses nothing; and each start has at most one match, so global matching finds the same spans.
const QString kFastHeadingPattern
    = QStringLiteral(R"(\w++(?:(?!\w).\w\w++)*+(?:(?!\w).\w)?+(?:(?!\n)\s+)?:(\s|$))");
const QString kToLineEnd = QStringLiteral("[^\n]*");
const QString kKeywordLead = QStringLiteral(R"((?<=\s|^))");
const QString kMplusComment = QStringLiteral("!");

const QRegularExpression kPlainKeyword(QStringLiteral("^[A-Za-z0-9_ ]+$"));

QRegularExpression compiled(const QString &vPattern, QRegularExpression::PatternOptions vOptions)
{
    QRegularExpression pattern(vPattern, vOptions);
    // Compile (and JIT) now rather than on the first line highlighted.
    pattern.optimize();
    return pattern;
}

QTextCharFormat charFormat(const QVariantMap &vColours, const QString &vName)
{
    QTextCharFormat format;
    format.setForeground(vColours.value(vName).value<QColor>());
    return format;
}
} // namespace

SyntaxHighlighter::SyntaxHighlighter(QTextDocument *parent)
    : QSyntaxHighlighter(parent)
{
    connect(&CSettings::instance(), &CSettings::did_apply, this, &SyntaxHighlighter::applySettings);
    useLightColours();
}

void SyntaxHighlighter::setSyntaxMode(SyntaxMode vMode)
{
    m_mode = vMode;
    setupHighlighter();
    rehighlightDocument();
}

void SyntaxHighlighter::useLightColours()
{
    useColours(CSettings::instance().highlightColors(), QColor(Qt::darkYellow));
}

void SyntaxHighlighter::useDarkColours()
{
    useColours(CSettings::instance().highlightColorsDark(), QColor(Qt::darkGray));
}

// The formats depend on the colours alone, so they are made here rather than with every rebuild.
void SyntaxHighlighter::useColours(const QVariantMap &vColours, const QColor &vSpecialComment)
{
    m_numberFormat = charFormat(vColours, QStringLiteral("number"));
    m_operatorFormat = charFormat(vColours, QStringLiteral("operator"));
    m_quotesFormat = charFormat(vColours, QStringLiteral("quotes"));
    m_commentFormat = charFormat(vColours, QStringLiteral("comment"));
    m_headingFormat = charFormat(vColours, QStringLiteral("constant"));
    m_headingFormat.setFontItalic(true);
    m_keywordFormat = charFormat(vColours, QStringLiteral("function"));
    m_keywordFormat.setFontWeight(QFont::Bold);
    m_specialCommentFormat = QTextCharFormat();
    m_specialCommentFormat.setForeground(vSpecialComment);
    m_specialCommentFormat.setFontWeight(QFont::Bold);
    m_specialCommentFormat.setFontItalic(true);
    setupHighlighter();
}

QRegularExpression SyntaxHighlighter::commentExpression() const
{
    return QRegularExpression(m_mode == SyntaxMode::Mplus ? QStringLiteral("^[ \t]{0,}!")
                                                          : QStringLiteral("^[ \t]{0,}#"));
}

QRegularExpression SyntaxHighlighter::indentExpression()
{
    return QRegularExpression(QStringLiteral("^[ \t]{0,}"));
}

void SyntaxHighlighter::applySettings()
{
    setupHighlighter();
    rehighlightDocument();
}

// The rules are built when a line is first coloured after a change, not at once: an editor is
// given its colours, its mode and its settings one after another before it shows anything.
void SyntaxHighlighter::setupHighlighter()
{
    m_rulesStale = true;
}

void SyntaxHighlighter::ensureRules() const
{
    if (m_rulesStale)
        buildRules();
}

const QList<SyntaxHighlighter::HighlightingRule> &SyntaxHighlighter::rules() const
{
    ensureRules();
    return m_rules;
}

void SyntaxHighlighter::buildRules() const
{
    m_rulesStale = false;
    m_rules.clear();
    m_passes.clear();

    const CSettings &settings = CSettings::instance();
    const QString marker = settings.comment();

    addRule(kNumberPattern, m_numberFormat);
    if (settings.advanceHighlight())
        addRule(kOperatorPattern, m_operatorFormat);
    addRule(kQuotesPattern, m_quotesFormat, QLatin1Char('"'));

    if (m_mode == SyntaxMode::Engine) {
        qDebug() << "Called";
        addRule(kHeadingPattern, m_headingFormat, QLatin1Char(':'), kFastHeadingPattern);
        addKeywordRules(settings.keywords(), settings.casesensetive());
        addRule(marker + kToLineEnd, m_commentFormat);
    } else {
        addKeywordRules(settings.mplusKeywords(), settings.casesensetive());
        addRule(kMplusComment + kToLineEnd, m_commentFormat);
    }

    addRule(marker + QStringLiteral("!") + kToLineEnd, m_specialCommentFormat);
}

void SyntaxHighlighter::addRule(const QString &vPattern, const QTextCharFormat &vFormat,
                                QChar vRequired, const QString &vFastPattern) const
{
    const QRegularExpression pattern = compiled(vPattern, QRegularExpression::NoPatternOption);
    m_rules.append({pattern, vFormat});
    // A broken pattern (a marker with pattern syntax) matches nothing: leave it out.
    if (!pattern.isValid())
        return;
    m_passes.append({vFastPattern.isEmpty()
                         ? pattern
                         : compiled(vFastPattern, QRegularExpression::NoPatternOption),
                     vFormat, vRequired.isNull() ? QString() : QString(vRequired)});
}

// Keywords highlight only when followed by a colon. Every keyword rule has the same format, and a
// match runs from the keyword to the first colon after it, so at most one keyword can match at
// any start and matches of different keywords either nest at the same colon or do not touch:
// one alternation over the plain keywords colours exactly what the separate rules colour.
// Keywords holding pattern syntax keep a rule of their own, so a broken one matches nothing
// without spoiling the rest.
void SyntaxHighlighter::addKeywordRules(const QStringList &vKeywords, bool vCaseSensitive) const
{
    const QRegularExpression::PatternOptions options = vCaseSensitive
        ? QRegularExpression::NoPatternOption
        : QRegularExpression::CaseInsensitiveOption;
    const QChar colon = QLatin1Char(':');

    QStringList plain;
    for (const QString &keyword : vKeywords) {
        // A plain keyword's own rule is never matched while highlighting (the alternation below
        // does its work), so it is not compiled now: compiling a hundred and more of them was
        // a sixth of the start-up's work.
        QRegularExpression pattern(kKeywordLead + keyword + QStringLiteral(":"), options);
        m_rules.append({pattern, m_keywordFormat});
        if (kPlainKeyword.match(keyword).hasMatch()) {
            plain.append(keyword);
            continue;
        }
        pattern.optimize();
        if (pattern.isValid())
            m_passes.append({pattern, m_keywordFormat, QString(colon)});
    }
    if (!plain.isEmpty()) {
        plain.removeDuplicates();
        const QString alternation = kKeywordLead + QStringLiteral("(?:")
            + plain.join(QLatin1Char('|')) + QStringLiteral("):");
        m_passes.append({compiled(alternation, options), m_keywordFormat, QString(colon)});
    }
}

QList<QTextLayout::FormatRange> SyntaxHighlighter::formatRanges(const QString &vText) const
{
    ensureRules();
    return HighlightPass::formatRanges(vText, m_passes);
}

void SyntaxHighlighter::highlightBlock(const QString &vText)
{
    const QList<QTextLayout::FormatRange> ranges = formatRanges(vText);
    for (const QTextLayout::FormatRange &range : ranges)
        setFormat(range.start, range.length, range.format);
}

// QSyntaxHighlighter::rehighlight() tells the layout about every block on its own, and a shown
// editor then lays out from the top each time: seconds on a long script. Setting the formats
// block by block and reporting one change lays the document out once.
void SyntaxHighlighter::rehighlightDocument()
{
    QTextDocument *doc = document();
    if (!doc)
        return;
    for (QTextBlock block = doc->begin(); block.isValid(); block = block.next())
        block.layout()->setFormats(formatRanges(block.text()));
    doc->markContentsDirty(0, doc->characterCount());
}
