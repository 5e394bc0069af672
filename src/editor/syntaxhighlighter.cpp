#include "syntaxhighlighter.h"

#include "config/csettings.h"

#include <QDebug>
#include <QFont>
#include <QRegularExpressionMatchIterator>
#include <QStringList>
#include <QTextDocument>
#include <QVariantMap>

namespace {
const QString kNumberPattern = QStringLiteral(
    R"((?<=[\:\@\s\+\(\$\%\,\-\+\*\/\^]|^)(\-{0,1}\d+(\.{0,1}\d+){0,1}|(\.{0,1}\d+)))");
const QString kOperatorPattern
    = QStringLiteral(R"((<->|->|<-|[&\+\-\*\/\^\~\=\<\>\!]|(\band\b)|(\bor\b)|:=))");
const QString kQuotesPattern = QStringLiteral(R"(".*")");
const QString kHeadingPattern = QStringLiteral(R"((\w+|\w+.\w+)+(?:(?!\n)\s+)?:(\s|$))");
// The same language as the heading pattern without its nested quantifiers, which backtrack
// exponentially on long words: word runs joined by single non-word characters. A run must end
// right before the blanks and colon, so taking runs possessively never loses a match, and each
// start position has at most one match, so global matching finds the same spans.
const QString kFastHeadingPattern = QStringLiteral(R"(\w++(?:(?!\w).\w++)*+(?:(?!\n)\s+)?:(\s|$))");
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

QColor colour(const QVariantMap &vColours, const QString &vName)
{
    return vColours.value(vName).value<QColor>();
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
    rehighlight();
}

void SyntaxHighlighter::useLightColours()
{
    useColours(CSettings::instance().highlightColors(), QColor(Qt::darkYellow));
}

void SyntaxHighlighter::useDarkColours()
{
    useColours(CSettings::instance().highlightColorsDark(), QColor(Qt::darkGray));
}

void SyntaxHighlighter::useColours(const QVariantMap &vColours, const QColor &vSpecialComment)
{
    m_numberColour = colour(vColours, QStringLiteral("number"));
    m_functionColour = colour(vColours, QStringLiteral("function"));
    m_commentColour = colour(vColours, QStringLiteral("comment"));
    m_quotesColour = colour(vColours, QStringLiteral("quotes"));
    m_operatorColour = colour(vColours, QStringLiteral("operator"));
    m_constantColour = colour(vColours, QStringLiteral("constant"));
    m_specialCommentColour = vSpecialComment;
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
    rehighlight();
}

void SyntaxHighlighter::buildFormats()
{
    m_numberFormat = QTextCharFormat();
    m_numberFormat.setForeground(m_numberColour);

    m_operatorFormat = QTextCharFormat();
    m_operatorFormat.setForeground(m_operatorColour);

    m_quotesFormat = QTextCharFormat();
    m_quotesFormat.setForeground(m_quotesColour);

    m_headingFormat = QTextCharFormat();
    m_headingFormat.setForeground(m_constantColour);
    m_headingFormat.setFontItalic(true);

    m_keywordFormat = QTextCharFormat();
    m_keywordFormat.setForeground(m_functionColour);
    m_keywordFormat.setFontWeight(QFont::Bold);

    m_commentFormat = QTextCharFormat();
    m_commentFormat.setForeground(m_commentColour);

    m_specialCommentFormat = QTextCharFormat();
    m_specialCommentFormat.setForeground(m_specialCommentColour);
    m_specialCommentFormat.setFontWeight(QFont::Bold);
    m_specialCommentFormat.setFontItalic(true);
}

void SyntaxHighlighter::setupHighlighter()
{
    m_rules.clear();
    m_passes.clear();
    buildFormats();

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
                                QChar vRequired, const QString &vFastPattern)
{
    const QRegularExpression pattern = compiled(vPattern, QRegularExpression::NoPatternOption);
    m_rules.append({pattern, vFormat});
    m_passes.append({vFastPattern.isEmpty()
                         ? pattern
                         : compiled(vFastPattern, QRegularExpression::NoPatternOption),
                     vFormat, vRequired});
}

// Keywords highlight only when followed by a colon. Every keyword rule has the same format, and a
// match runs from the keyword to the first colon after it, so at most one keyword can match at
// any start and matches of different keywords either nest at the same colon or do not touch:
// one alternation over the plain keywords colours exactly what the separate rules colour.
// Keywords holding pattern syntax keep a rule of their own, so a broken one matches nothing
// without spoiling the rest.
void SyntaxHighlighter::addKeywordRules(const QStringList &vKeywords, bool vCaseSensitive)
{
    const QRegularExpression::PatternOptions options = vCaseSensitive
        ? QRegularExpression::NoPatternOption
        : QRegularExpression::CaseInsensitiveOption;
    const QChar colon = QLatin1Char(':');

    QStringList plain;
    for (const QString &keyword : vKeywords) {
        const QRegularExpression pattern
            = compiled(kKeywordLead + keyword + QStringLiteral(":"), options);
        m_rules.append({pattern, m_keywordFormat});
        if (kPlainKeyword.match(keyword).hasMatch())
            plain.append(keyword);
        else
            m_passes.append({pattern, m_keywordFormat, colon});
    }
    if (!plain.isEmpty()) {
        plain.removeDuplicates();
        const QString alternation = kKeywordLead + QStringLiteral("(?:")
            + plain.join(QLatin1Char('|')) + QStringLiteral("):");
        m_passes.append({compiled(alternation, options), m_keywordFormat, colon});
    }
}

void SyntaxHighlighter::highlightBlock(const QString &vText)
{
    for (const Pass &pass : qAsConst(m_passes)) {
        if (!pass.required.isNull() && !vText.contains(pass.required))
            continue;
        QRegularExpressionMatchIterator matches = pass.pattern.globalMatch(vText);
        while (matches.hasNext()) {
            const QRegularExpressionMatch match = matches.next();
            setFormat(match.capturedStart(0), match.capturedLength(0), pass.format);
        }
    }
}
