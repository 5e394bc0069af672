#include "config/csettings.h"
#include "editor/syntaxhighlighter.h"
#include "testmain.h"

#include <QColor>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include <memory>

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
    return QStringLiteral("%1%2%3").arg(
        vFormat.foreground().color().name(),
        vFormat.fontWeight() == QFont::Bold ? QStringLiteral(" bold") : QString(),
        vFormat.fontItalic() ? QStringLiteral(" italic") : QString());
}

// Lines a script may hold, including the awkward ones: comment markers inside quotes, colons
// with and without blanks, Mplus keywords with blanks, numbers glued to names.
const QStringList kCorpusLines = {
    "DATA: mydata.dat;",
    "data: mydata.dat;",
    "Variables: y x1 x2 x3;",
    "FOO: x;",
    "FOO BAR: 1;",
    "x.y: 1",
    "a:b: c",
    "x1 a:b BAR BAZ:",
    "a b c d: e",
    "ab c de: x",
    "a.b-c:d e",
    "DATA:x",
    "DATA:",
    "  PLOTS: traceplot;",
    "\tMODEL:\ty ~ x1 x2;",
    "PLOTS:PLOT: SEED: 90291;",
    "MODEL INDIRECT: y IND x;",
    "DATA IMPUTATION:",
    "data  imputation: x",
    "MONTECARLO MISSING: 3",
    "MODEL: y ON x1-x10;",
    "SEED: -1.25, .5 (3) x1 2x 1.2.3",
    "BURN: 5000; ITERATIONS: 10000;",
    "y <- x -> z <-> w; a := b",
    "y ~ x1 + x2*x3 / 4 ^ 2 & z = 1 < 2 > 0 ! 3",
    "a and b or c; android order",
    "\"quoted # not a comment?\" tail",
    "NIMPS: \"a\" \"b\" # \"c\"",
    "\"unclosed # quote",
    "# plain comment: DATA: 1",
    "#! BETA",
    "   #!note after blanks",
    "! Mplus comment DATA: 1",
    "x ! y #! z",
    "OPTIONS: savepred # trailing: comment",
    "C:\\data\\file.dat; http://host/path:80",
    "time 12:30:00 and 1:2",
    "ñame: 1; Über: 2",
    "",
    "    ",
    ";;;:::",
    "WEIGHTS: w; TIMEID: t; FILTER: f; DROPOUT: d",
};

const QStringList kFragments = {
    "DATA:", "model:", "FOO:", "BAR BAZ:", "x1",  "-2",        ".75", "3.5",
    "(4)",   "->",     "<-",   "+",        "*",   "\"s # t\"", "#",   "#!",
    "!",     "and",    "or",   ":=",       "a:b", ";",         "y",   "MODEL INDIRECT:",
    "\t",    "%5",     "a",    "bc",       ".",   "-",         ":",   " ",
};

// The heading rule as written nests quantifiers and backtracks exponentially over long chains of
// words joined by single characters, until the pattern engine gives up and reports no match for
// the rest of the line (the highlighter's own form has no such limit; see the colours test).
// Random lines keep their chains short enough for the plain reading to finish.
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

// Random lines from the fragments above; TOVREL_CORPUS_LINES asks for more for a longer soak.
QStringList corpus()
{
    const int randomLines = qEnvironmentVariableIsSet("TOVREL_CORPUS_LINES")
        ? qEnvironmentVariableIntValue("TOVREL_CORPUS_LINES")
        : 2000;
    QStringList lines = kCorpusLines;
    QRandomGenerator random(20261121);
    for (int n = 0; n < randomLines; ++n) {
        QStringList parts;
        const int count = 1 + int(random.bounded(6));
        for (int i = 0; i < count; ++i)
            parts.append(kFragments.at(int(random.bounded(int(kFragments.size())))));
        static const QStringList joins = {" ", "", ":", "."};
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
    void cleanup();
    void matchesRulesAppliedOneByOne_data();
    void matchesRulesAppliedOneByOne();
    void colours_data();
    void colours();
    void rulesFollowSettingsOnApply();
    void commentExpressionFollowsMode();
    void brokenKeywordMatchesNothing();

private:
    static void compareWithReference(const QTextDocument &vDocument,
                                     const SyntaxHighlighter &vHighlighter);
    void configure(bool vAdvanced, bool vCaseSensitive, const QString &vMarker = "#");
    static QString colourOf(const QString &vRole, bool vDark = false);
};

void TestSyntaxHighlighter::configure(bool vAdvanced, bool vCaseSensitive, const QString &vMarker)
{
    CSettings &settings = CSettings::instance();
    settings.setAdvanceHighlight(vAdvanced);
    settings.setCasesensetive(vCaseSensitive);
    settings.setComment(vMarker);
    Q_EMIT settings.do_apply();
}

QString TestSyntaxHighlighter::colourOf(const QString &vRole, bool vDark)
{
    if (vRole == "special")
        return QColor(vDark ? Qt::darkGray : Qt::darkYellow).name();
    const QVariantMap colours = vDark ? CSettings::instance().highlightColorsDark()
                                      : CSettings::instance().highlightColors();
    return colours.value(vRole).value<QColor>().name();
}

void TestSyntaxHighlighter::cleanup()
{
    configure(true, false);
}

void TestSyntaxHighlighter::matchesRulesAppliedOneByOne_data()
{
    QTest::addColumn<SyntaxMode>("mode");
    QTest::addColumn<bool>("advanced");
    QTest::addColumn<bool>("caseSensitive");
    QTest::addColumn<QString>("marker");
    QTest::newRow("engine") << SyntaxMode::Engine << true << false << "#";
    QTest::newRow("engine, plain highlighting") << SyntaxMode::Engine << false << false << "#";
    QTest::newRow("engine, case-sensitive") << SyntaxMode::Engine << true << true << "#";
    QTest::newRow("engine, marker //") << SyntaxMode::Engine << true << false << "//";
    QTest::newRow("mplus") << SyntaxMode::Mplus << true << false << "#";
    QTest::newRow("mplus, plain highlighting") << SyntaxMode::Mplus << false << false << "#";
    QTest::newRow("mplus, case-sensitive") << SyntaxMode::Mplus << true << true << "#";
}

void TestSyntaxHighlighter::matchesRulesAppliedOneByOne()
{
    QFETCH(SyntaxMode, mode);
    QFETCH(bool, advanced);
    QFETCH(bool, caseSensitive);
    QFETCH(QString, marker);
    configure(advanced, caseSensitive, marker);

    const QStringList lines = corpus();
    QTextDocument document;
    document.setPlainText(lines.join('\n'));
    auto *highlighter = new SyntaxHighlighter(&document);
    highlighter->setSyntaxMode(mode);

    // Both ways of colouring: the whole document at once, and line by line as text is edited.
    compareWithReference(document, *highlighter);
    highlighter->rehighlight();
    compareWithReference(document, *highlighter);
}

void TestSyntaxHighlighter::compareWithReference(const QTextDocument &vDocument,
                                                 const SyntaxHighlighter &vHighlighter)
{
    int line = 0;
    for (QTextBlock block = vDocument.begin(); block.isValid(); block = block.next(), ++line) {
        const Formats expected = referenceFormats(vHighlighter.rules(), block.text());
        const Formats actual = blockFormats(block);
        for (int i = 0; i < expected.size(); ++i) {
            if (expected.at(i) != actual.at(i))
                QFAIL(qPrintable(QStringLiteral("line %1 '%2', column %3: %4 instead of %5")
                                     .arg(line)
                                     .arg(block.text())
                                     .arg(i)
                                     .arg(describe(actual.at(i)), describe(expected.at(i)))));
        }
    }
}

void TestSyntaxHighlighter::colours_data()
{
    QTest::addColumn<SyntaxMode>("mode");
    QTest::addColumn<bool>("advanced");
    QTest::addColumn<bool>("caseSensitive");
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("length");
    // A colour role, "special", or "plain" for no format; then " bold" and " italic".
    QTest::addColumn<QString>("expected");

    const SyntaxMode engine = SyntaxMode::Engine;
    const SyntaxMode mplus = SyntaxMode::Mplus;
    QTest::newRow("keyword with colon is bold")
        << engine << true << false << "DATA: mydata.dat;" << 0 << 5 << "function bold";
    QTest::newRow("keyword without colon is plain")
        << engine << true << false << "DATA mydata" << 0 << 4 << "plain";
    QTest::newRow("unknown command is an italic heading with its blank")
        << engine << true << false << "FOO: x;" << 0 << 5 << "constant italic";
    QTest::newRow("lower-case keyword is bold by default")
        << engine << true << false << "data: x;" << 0 << 5 << "function bold";
    QTest::newRow("lower-case keyword is a heading when case counts")
        << engine << true << true << "data: x;" << 0 << 6 << "constant italic";
    QTest::newRow("keyword after a blank")
        << engine << true << false << "  SEED: 1" << 2 << 5 << "function bold";
    QTest::newRow("keyword glued to a word is not one")
        << engine << true << false << "xDATA: 1" << 0 << 7 << "constant italic";
    QTest::newRow("fraction after a blank is a number")
        << engine << true << false << "SEED: .5;" << 6 << 2 << "number";
    QTest::newRow("negative number after a parenthesis")
        << engine << false << false << "f(-1.25)" << 2 << 5 << "number";
    QTest::newRow("number after a comma")
        << engine << true << false << "a,3.5" << 2 << 3 << "number";
    QTest::newRow("digit after a letter is not a number")
        << engine << true << false << "x1" << 1 << 1 << "plain";
    QTest::newRow("arrow is plain without advanced highlighting")
        << engine << false << false << "y -> x" << 2 << 2 << "plain";
    QTest::newRow("arrow is an operator")
        << engine << true << false << "y -> x" << 2 << 2 << "operator";
    QTest::newRow("two-headed arrow")
        << engine << true << false << "y <-> x" << 2 << 3 << "operator";
    QTest::newRow("and is an operator")
        << engine << true << false << "a and b" << 2 << 3 << "operator";
    QTest::newRow("and inside a word is not")
        << engine << true << false << "android" << 0 << 3 << "plain";
    QTest::newRow("assignment") << engine << true << false << "a := b" << 2 << 2 << "operator";
    QTest::newRow("minus of a negative number takes the operator colour")
        << engine << true << false << "(-2)" << 1 << 1 << "operator";
    QTest::newRow("digits of a negative number stay numbers")
        << engine << true << false << "(-2)" << 2 << 1 << "number";
    QTest::newRow("quotes") << engine << true << false << "x \"a b\" y" << 2 << 5 << "quotes";
    QTest::newRow("quotes run from the first to the last quote")
        << engine << true << false << "\"a\" x \"b\"" << 0 << 9 << "quotes";
    QTest::newRow("marker inside quotes starts a comment")
        << engine << true << false << "x \"a # b\" y" << 5 << 6 << "comment";
    QTest::newRow("quotes before the marker keep their colour")
        << engine << true << false << "x \"a # b\" y" << 2 << 3 << "quotes";
    QTest::newRow("comment overrides keywords")
        << engine << true << false << "# DATA: 1" << 0 << 9 << "comment";
    QTest::newRow("special comment")
        << engine << true << false << "#! note" << 0 << 7 << "special bold italic";
    QTest::newRow("special comment in mplus mode")
        << mplus << true << false << "#! BETA" << 0 << 7 << "special bold italic";
    QTest::newRow("mplus comment") << mplus << true << false << "x ! y" << 2 << 3 << "comment";
    QTest::newRow("marker alone is no comment in mplus mode")
        << mplus << false << false << "x # y" << 2 << 1 << "plain";
    QTest::newRow("exclamation is an operator in engine mode")
        << engine << true << false << "x ! y" << 2 << 1 << "operator";
    QTest::newRow("mplus keyword with a blank")
        << mplus << true << false << "MODEL INDIRECT: y" << 0 << 15 << "function bold";
    QTest::newRow("mplus keyword needs its single blank")
        << mplus << true << false << "MODEL  INDIRECT: y" << 0 << 16 << "plain";
    QTest::newRow("heading after a long chain of words that is none")
        << engine << true << false << "MODEL INDIRECT:MODEL INDIRECT:;DATA:" << 31 << 5
        << "constant italic";
    QTest::newRow("mplus has no command headings")
        << mplus << true << false << "FOO: x" << 0 << 4 << "plain";
    QTest::newRow("engine keyword unknown to mplus")
        << mplus << true << false << "SEED: 1" << 0 << 4 << "plain";
}

void TestSyntaxHighlighter::colours()
{
    QFETCH(SyntaxMode, mode);
    QFETCH(bool, advanced);
    QFETCH(bool, caseSensitive);
    QFETCH(QString, line);
    QFETCH(int, start);
    QFETCH(int, length);
    QFETCH(QString, expected);
    configure(advanced, caseSensitive);

    QTextDocument document(line);
    auto *highlighter = new SyntaxHighlighter(&document);
    highlighter->setSyntaxMode(mode);

    QStringList parts = expected.split(' ');
    if (parts.first() != "plain")
        parts.first() = colourOf(parts.first());
    const QString wanted = parts.join(' ');
    const Formats formats = blockFormats(document.firstBlock());
    for (int i = start; i < start + length; ++i)
        QCOMPARE(describe(formats.at(i)) + QStringLiteral(" @%1").arg(i),
                 wanted + QStringLiteral(" @%1").arg(i));
}

void TestSyntaxHighlighter::rulesFollowSettingsOnApply()
{
    QTextDocument document("y -> x\ndata: 1");
    auto *highlighter = new SyntaxHighlighter(&document);
    highlighter->rehighlight();
    const QString operatorColour = colourOf("operator");
    QCOMPARE(describe(blockFormats(document.firstBlock()).at(2)), operatorColour);
    QCOMPARE(describe(blockFormats(document.lastBlock()).at(0)), colourOf("function") + " bold");

    // Settings changed elsewhere take effect on the open document at the next apply.
    CSettings::instance().setAdvanceHighlight(false);
    CSettings::instance().setCasesensetive(true);
    QSignalSpy applied(&CSettings::instance(), &CSettings::did_apply);
    Q_EMIT CSettings::instance().do_apply();
    QCOMPARE(applied.count(), 1);
    QCOMPARE(describe(blockFormats(document.firstBlock()).at(2)), QString("plain"));
    QCOMPARE(describe(blockFormats(document.lastBlock()).at(0)), colourOf("constant") + " italic");
}

void TestSyntaxHighlighter::commentExpressionFollowsMode()
{
    configure(true, false, "//");
    QTextDocument document;
    auto *highlighter = new SyntaxHighlighter(&document);
    QVERIFY(highlighter->commentExpression().match(" \t# x").hasMatch());
    QVERIFY(!highlighter->commentExpression().match("// x").hasMatch());
    highlighter->setSyntaxMode(SyntaxMode::Mplus);
    QCOMPARE(highlighter->syntaxMode(), SyntaxMode::Mplus);
    QCOMPARE(highlighter->commentExpression().match("\t ! x").capturedLength(), 3);
    QVERIFY(!highlighter->commentExpression().match("# x").hasMatch());
    QCOMPARE(SyntaxHighlighter::indentExpression().match(" \t x").capturedLength(), 3);
}

void TestSyntaxHighlighter::brokenKeywordMatchesNothing()
{
    // A marker with unbalanced pattern syntax must not take the other rules down with it.
    configure(true, false, "(");
    QTextDocument document("DATA: 1 ( x");
    auto *highlighter = new SyntaxHighlighter(&document);
    highlighter->rehighlight();
    const Formats formats = blockFormats(document.firstBlock());
    QCOMPARE(describe(formats.at(0)), colourOf("function") + " bold");
    QCOMPARE(describe(formats.at(10)), QString("plain"));
}

TOVREL_TEST_MAIN(TestSyntaxHighlighter)
#include "tst_syntaxhighlighter.moc"
