#include "outputhighlighter.h"

#include "config/csettings.h"
#include "workspace/scriptlinelinks.h"

#include <QFile>
#include <QFont>
#include <QStringView>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextStream>

#include <algorithm>

namespace {
const QString kH1Resource = QStringLiteral(":/strings/sTovrelOutputH1");
const QString kVariablesResource = QStringLiteral(":/strings/sTovrelVariables");
const QString kHeadingResource = QStringLiteral(":/strings/sTovrelOutputHeading");

QTextCharFormat charFormat(const QColor &vColor, bool vBold = false, bool vItalic = false)
{
    QTextCharFormat result;
    result.setForeground(vColor);
    if (vBold)
        result.setFontWeight(QFont::Bold);
    if (vItalic)
        result.setFontItalic(true);
    return result;
}

// One pattern a line; the resources end their lines in CR LF, which is not part of a pattern.
QStringList patternLines(const QString &vResource)
{
    QStringList patterns;
    QFile file(vResource);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return patterns;
    QTextStream stream(&file);
    while (!stream.atEnd()) {
        QString line = stream.readLine();
        while (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        if (!line.isEmpty())
            patterns.append(line);
    }
    return patterns;
}

bool isQuantifier(QChar vChar)
{
    return vChar == QLatin1Char('*') || vChar == QLatin1Char('+') || vChar == QLatin1Char('?')
        || vChar == QLatin1Char('{');
}

bool isSpecial(QChar vChar)
{
    return QStringView(u"\\^$.|?*+()[]{}").contains(vChar);
}
} // namespace

OutputHighlighter::OutputHighlighter(QTextDocument *parent)
    : QSyntaxHighlighter(parent)
{
    loadColors();
    buildRules();
    connect(&CSettings::instance(), &CSettings::did_apply, this, &OutputHighlighter::rebuild);
}

void OutputHighlighter::rebuild()
{
    loadColors();
    buildRules();
    if (m_onDemand)
        Q_EMIT did_rebuild();
    else
        rehighlight();
}

bool OutputHighlighter::setOnDemand(bool vOnDemand)
{
    if (vOnDemand == m_onDemand)
        return m_onDemand;
    if (vOnDemand) {
        m_onDemandDocument = document();
        if (!m_onDemandDocument)
            return false;
        setDocument(nullptr);
    } else {
        // Attached again, the base class highlights the whole document.
        setDocument(m_onDemandDocument);
        m_onDemandDocument = nullptr;
    }
    m_onDemand = vOnDemand;
    return m_onDemand;
}

QTextDocument *OutputHighlighter::colouredDocument() const
{
    return m_onDemand ? m_onDemandDocument.data() : document();
}

void OutputHighlighter::highlightBlocks(const QTextBlock &vFirst, const QTextBlock &vLast)
{
    for (QTextBlock block = vFirst; block.isValid(); block = block.next()) {
        if (m_onDemand)
            applyFormats(block);
        else
            rehighlightBlock(block);
        if (block == vLast)
            break;
    }
}

void OutputHighlighter::applyFormats(const QTextBlock &vBlock)
{
    const QList<QTextLayout::FormatRange> ranges = formatRanges(vBlock.text());
    // Lines already coloured are left alone: marking them dirty would lay them out again.
    if (!m_onDemandDocument || vBlock.layout()->formats() == ranges)
        return;
    vBlock.layout()->setFormats(ranges);
    m_onDemandDocument->markContentsDirty(vBlock.position(), vBlock.length());
}

void OutputHighlighter::loadColors()
{
    const CSettings &settings = CSettings::instance();
    const QVariantMap colors
        = settings.darkModeSet() ? settings.highlightColorsDark() : settings.highlightColors();
    auto color = [&colors](const char *vRole) {
        return colors.value(QLatin1String(vRole)).value<QColor>();
    };
    m_headingColor = color("heading");
    m_functionColor = color("function");
    m_constantColor = color("constant");
    m_warningColor = color("warning");
    m_errorColor = color("error");
    m_numberColor = color("number");
}

void OutputHighlighter::buildRules()
{
    m_rules.clear();
    addResourceRules(kH1Resource, charFormat(m_functionColor, true));
    addRule(QStringLiteral(" \\K(.+)block:"), charFormat(m_constantColor, false, true));
    addRule(QStringLiteral("WARNING:"), charFormat(m_warningColor, true));
    addRule(QStringLiteral("NOTE:"), charFormat(m_headingColor, true));
    addRule(QStringLiteral("ERROR:"), charFormat(m_errorColor, true));
    addResourceRules(kHeadingResource, charFormat(m_headingColor));
    addResourceRules(kVariablesResource, charFormat(m_numberColor));
    m_passes = m_rules;
    if (m_scriptLinks) {
        QTextCharFormat link = charFormat(m_functionColor);
        link.setFontUnderline(true);
        QRegularExpression pattern(ScriptLineLinks::pattern());
        pattern.optimize();
        // Every form of link holds "line N" or "Line N".
        m_passes.append({pattern, link, QStringLiteral("ine ")});
    }
}

void OutputHighlighter::setScriptLinks(bool vOn)
{
    if (vOn == m_scriptLinks)
        return;
    m_scriptLinks = vOn;
    rebuild();
}

void OutputHighlighter::addRule(const QString &vPattern, const QTextCharFormat &vFormat)
{
    // Compiled on its first use: most rules wait for text they need, and at start-up the pane
    // is empty.
    m_rules.append({QRegularExpression(vPattern), vFormat, requiredText(vPattern)});
}

void OutputHighlighter::addResourceRules(const QString &vResource, const QTextCharFormat &vFormat)
{
    for (const QString &pattern : patternLines(vResource))
        addRule(pattern, vFormat);
}

QString OutputHighlighter::requiredText(const QString &vPattern)
{
    if (vPattern.contains(QLatin1Char('|')) || vPattern.contains(QLatin1String("(?"))
        || vPattern.contains(QLatin1String("\\Q")) || vPattern.contains(QLatin1String("\\E")))
        return {};
    QString best;
    QString run;
    int depth = 0;
    auto endRun = [&] {
        if (run.size() > best.size())
            best = run;
        run.clear();
    };
    for (qsizetype i = 0; i < vPattern.size(); ++i) {
        const QChar c = vPattern.at(i);
        if (c == QLatin1Char('\\')) {
            endRun();
            ++i; // an escape is never collected
            continue;
        }
        if (c == QLatin1Char('[')) {
            endRun();
            // Skip the class: a ']' right after '[' or '[^' belongs to it.
            qsizetype j = i + 1;
            if (j < vPattern.size() && vPattern.at(j) == QLatin1Char('^'))
                ++j;
            if (j < vPattern.size() && vPattern.at(j) == QLatin1Char(']'))
                ++j;
            while (j < vPattern.size() && vPattern.at(j) != QLatin1Char(']')) {
                if (vPattern.at(j) == QLatin1Char('\\'))
                    ++j;
                ++j;
            }
            i = j;
            continue;
        }
        if (c == QLatin1Char('(') || c == QLatin1Char(')')) {
            endRun();
            depth += c == QLatin1Char('(') ? 1 : -1;
            continue;
        }
        if (isQuantifier(c)) {
            // The character before a quantifier may be absent or repeated.
            if (!run.isEmpty())
                run.chop(1);
            endRun();
            if (c == QLatin1Char('{')) {
                const qsizetype close = vPattern.indexOf(QLatin1Char('}'), i);
                i = close < 0 ? vPattern.size() : close;
            }
            continue;
        }
        if (isSpecial(c) || depth > 0) {
            endRun();
            continue;
        }
        run.append(c);
    }
    endRun();
    return best;
}

QList<QTextLayout::FormatRange> OutputHighlighter::formatRanges(const QString &vText) const
{
    return HighlightPass::formatRanges(vText, m_passes);
}

void OutputHighlighter::highlightBlock(const QString &vText)
{
    for (const QTextLayout::FormatRange &range : formatRanges(vText))
        setFormat(range.start, range.length, range.format);
}
