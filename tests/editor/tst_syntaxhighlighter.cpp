#include "config/csettings.h"
#include "editor/syntaxhighlighter.h"
#include "goldentable.h"
#include "tablecell.h"
#include "testmain.h"

#include <QRandomGenerator>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

namespace {

using Formats = QList<QTextCharFormat>;

// What a plain reading of the rules gives: each rule in order, every match recolouring its span.
Formats referenceFormats(const QList<SyntaxHighlighter::HighlightingRule> &vRules,
                         const QString &vText)
{
    Formats formats(vText.size());
    for (const SyntaxHighlighter::HighlightingRule &rule : vRules) {
        if (!rule.pattern.isValid())
            continue;
        QRegularExpressionMatchIterator it = rule.pattern.globalMatch(vText);
        while (it.hasNext()) {
            const QRegularExpressionMatch match = it.next();
            for (int i = int(match.capturedStart()); i < match.capturedEnd(); ++i)
                formats[i] = rule.format;
        }
    }
    return formats;
}

Formats blockFormats(const QTextBlock &vBlock)
{
    Formats formats(vBlock.text().size());
    const QList<QTextLayout::FormatRange> ranges = vBlock.layout()->formats();
    for (const QTextLayout::FormatRange &range : ranges) {
        for (int i = range.start; i < range.start + range.length && i < formats.size(); ++i)
            formats[i] = range.format;
    }
    return formats;
}

QString describe(const QTextCharFormat &vFormat)
{
    if (!vFormat.hasProperty(QTextFormat::ForegroundBrush))
        return QStringLiteral("plain");
    return vFormat.foreground().color().name()
        + (vFormat.fontWeight() == QFont::Bold ? QStringLiteral(" bold") : QString())
        + (vFormat.fontItalic() ? QStringLiteral(" italic") : QString());
}

// A colour role of the light scheme, or "special" for the special comments' own colour.
QString colourOf(const QString &vRole)
{
    if (vRole == "special")
        return QColor(Qt::darkYellow).name();
    return CSettings::instance().highlightColors().value(vRole).value<QColor>().name();
}

void configure(bool vAdvanced, bool vCaseSensitive, const QString &vMarker = "#")
{
    CSettings &settings = CSettings::instance();
    settings.setAdvanceHighlight(vAdvanced);
    settings.setCasesensetive(vCaseSensitive);
    settings.setComment(vMarker);
    Q_EMIT settings.do_apply();
}

// The first character where the highlighter and the plain reading of its rules disagree.
QString firstMismatch(const QTextDocument &vDocument, const SyntaxHighlighter &vHighlighter)
{
    int line = 0;
    for (QTextBlock block = vDocument.begin(); block.isValid(); block = block.next(), ++line) {
        const Formats expected = referenceFormats(vHighlighter.rules(), block.text());
        const Formats actual = blockFormats(block);
        for (int i = 0; i < expected.size(); ++i) {
            if (expected.at(i) != actual.at(i))
                return QStringLiteral("line %1 '%2', column %3: %4 instead of %5")
                    .arg(QString::number(line), block.text(), QString::number(i),
                         describe(actual.at(i)), describe(expected.at(i)));
        }
    }
    return {};
}

// The heading rule as written backtracks exponentially over long chains of words joined by single
// characters until the pattern engine gives up on the line; the highlighter's own form has no such
// limit. Random lines keep their chains short enough for the plain reading to finish.
constexpr int kLongestChain = 20;

int longestChain(const QString &vLine)
{
    static const QRegularExpression chain(QStringLiteral("\\w++(?:[^\\w]\\w++)*+"));
    int longest = 0;
    QRegularExpressionMatchIterator it = chain.globalMatch(vLine);
    while (it.hasNext())
        longest = qMax(longest, int(it.next().capturedLength()));
    return longest;
}

// The awkward lines and random lines of fragments; TOVREL_CORPUS_LINES asks for more for a longer
// soak.
QStringList corpus()
{
    const int randomLines = qEnvironmentVariableIsSet("TOVREL_CORPUS_LINES")
        ? qEnvironmentVariableIntValue("TOVREL_CORPUS_LINES")
        : 2000;
    static const QStringList joins = {" ", "", ":", "."};
    QStringList lines, fragments;
    for (const QStringList &row : readTable(QFINDTESTDATA("highlightcorpus.txt")))
        (row.value(0) == "awkward" ? lines : fragments) << row.value(1);
    QRandomGenerator random(20261121);
    for (int n = 0; n < randomLines; ++n) {
        QStringList parts;
        for (int i = 1 + int(random.bounded(6)); i > 0; --i)
            parts.append(fragments.at(int(random.bounded(int(fragments.size())))));
        const QString line = parts.join(joins.at(int(random.bounded(int(joins.size())))));
        if (longestChain(line) <= kLongestChain)
            lines.append(line);
    }
    return lines;
}

} // namespace

class TestSyntaxHighlighter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { configure(true, false); }

    void matchesRulesAppliedOneByOne_data()
    {
        addTableRows(QFINDTESTDATA("rulesapplied.txt"),
                     {"mode", "advanced", "caseSensitive", "marker"});
    }

    void matchesRulesAppliedOneByOne()
    {
        configure(cell("advanced") == "1", cell("caseSensitive") == "1", cell("marker"));
        const QStringList lines = corpus();
        QVERIFY(lines.size() > 1000);
        QTextDocument document(lines.join('\n'));
        auto *highlighter = new SyntaxHighlighter(&document);
        highlighter->setSyntaxMode(cell("mode") == "mplus" ? SyntaxMode::Mplus
                                                           : SyntaxMode::Engine);

        // Both ways of colouring: the whole document at once, and line by line as text is edited.
        QString mismatch = firstMismatch(document, *highlighter);
        QVERIFY2(mismatch.isEmpty(), qPrintable(mismatch));
        highlighter->rehighlight();
        mismatch = firstMismatch(document, *highlighter);
        QVERIFY2(mismatch.isEmpty(), qPrintable(mismatch));
    }

    void colours_data()
    {
        addTableRows(QFINDTESTDATA("highlightcolours.txt"),
                     {"setup", "line", "start", "length", "expected"});
    }

    void colours()
    {
        QFETCH(QString, setup);
        QFETCH(QString, start);
        QFETCH(QString, length);
        QFETCH(QString, expected);
        configure(!setup.contains("plain"), setup.contains("case"));
        QTextDocument document(cell("line"));
        auto *highlighter = new SyntaxHighlighter(&document);
        highlighter->setSyntaxMode(setup.contains("mplus") ? SyntaxMode::Mplus
                                                           : SyntaxMode::Engine);

        QStringList parts = expected.split(' ');
        if (parts.first() != "plain")
            parts.first() = colourOf(parts.first());
        const Formats formats = blockFormats(document.firstBlock());
        for (int i = start.toInt(); i < start.toInt() + length.toInt(); ++i)
            QCOMPARE(describe(formats.at(i)) + QStringLiteral(" @%1").arg(i),
                     parts.join(' ') + QStringLiteral(" @%1").arg(i));
    }

    // Settings changed elsewhere take effect on an open document at the next apply.
    void rulesFollowSettingsOnApply()
    {
        QTextDocument document("y -> x\ndata: 1");
        auto *highlighter = new SyntaxHighlighter(&document);
        highlighter->rehighlight();
        QCOMPARE(describe(blockFormats(document.firstBlock()).at(2)), colourOf("operator"));
        QCOMPARE(describe(blockFormats(document.lastBlock()).at(0)),
                 colourOf("function") + " bold");

        CSettings::instance().setAdvanceHighlight(false);
        CSettings::instance().setCasesensetive(true);
        Q_EMIT CSettings::instance().do_apply();
        QCOMPARE(describe(blockFormats(document.firstBlock()).at(2)), QString("plain"));
        QCOMPARE(describe(blockFormats(document.lastBlock()).at(0)),
                 colourOf("constant") + " italic");
    }
};

TOVREL_TEST_MAIN(TestSyntaxHighlighter)
#include "tst_syntaxhighlighter.moc"
