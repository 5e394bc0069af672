#include "testmain.h"

#include "config/csettings.h"
#include "config/msettings.h"
#include "workspace/outputhighlighter.h"
#include "workspace/woutputpane.h"

#include <QFile>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSettings>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

namespace {

// A character's look as a short text: colour, then B for bold and I for italic; "." when plain.
QString describe(const QTextCharFormat &vFormat)
{
    if (!vFormat.hasProperty(QTextFormat::ForegroundBrush))
        return QStringLiteral(".");
    QString text = vFormat.foreground().color().name();
    if (vFormat.fontWeight() == QFont::Bold)
        text += QLatin1Char('B');
    if (vFormat.fontItalic())
        text += QLatin1Char('I');
    return text;
}

QStringList describeBlock(const QTextBlock &vBlock)
{
    QStringList looks(vBlock.length() - 1, QStringLiteral("."));
    for (const QTextLayout::FormatRange &range : vBlock.layout()->formats()) {
        for (int i = range.start; i < range.start + range.length && i < looks.size(); ++i)
            looks[i] = describe(range.format);
    }
    return looks;
}

QStringList resourcePatterns(const QString &vResource)
{
    QFile file(vResource);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = QString::fromUtf8(file.readAll()).split(QStringLiteral("\r\n"));
    lines.removeAll(QString());
    return lines;
}

// The output rules applied one by one, plainly, as the reference the highlighter must match.
class ReferenceHighlighter
{
public:
    explicit ReferenceHighlighter(const QVariantMap &vColors)
    {
        auto look = [&vColors](const char *vRole, const char *vStyle = "") {
            return vColors.value(QLatin1String(vRole)).value<QColor>().name()
                + QLatin1String(vStyle);
        };
        for (const QString &pattern : resourcePatterns(":/strings/sTovrelOutputH1"))
            m_rules.append({QRegularExpression(pattern), look("function", "B")});
        m_rules.append({QRegularExpression(" \\K(.+)block:"), look("constant", "I")});
        m_rules.append({QRegularExpression("WARNING:"), look("warning", "B")});
        m_rules.append({QRegularExpression("NOTE:"), look("heading", "B")});
        m_rules.append({QRegularExpression("ERROR:"), look("error", "B")});
        for (const QString &pattern : resourcePatterns(":/strings/sTovrelOutputHeading"))
            m_rules.append({QRegularExpression(pattern), look("heading")});
        for (const QString &pattern : resourcePatterns(":/strings/sTovrelVariables"))
            m_rules.append({QRegularExpression(pattern), look("number")});
    }
    int ruleCount() const { return int(m_rules.size()); }

    QStringList describeLine(const QString &vLine) const
    {
        QStringList looks(vLine.size(), QStringLiteral("."));
        for (const auto &[pattern, look] : m_rules) {
            QRegularExpressionMatchIterator matches = pattern.globalMatch(vLine);
            while (matches.hasNext()) {
                const QRegularExpressionMatch match = matches.next();
                for (qsizetype i = match.capturedStart(); i < match.capturedEnd(); ++i)
                    looks[i] = look;
            }
        }
        return looks;
    }

private:
    QList<std::pair<QRegularExpression, QString>> m_rules;
};

// Lines as the engine writes them, and lines written to find the corners of the rules.
QStringList corpus()
{
    QStringList lines {
        QString(75, '-'),
        "                     TOVREL COMPUTATIONAL ENGINE  (version 3.1)",
        QString(67, '-'),
        "ALGORITHMIC OPTIONS SPECIFIED:",
        "  Burn-in iterations                   2000",
        "DATA INFORMATION:",
        "  NOTE: 12 cases with missing values on every variable were dropped.",
        "MODEL INFORMATION:",
        "  Outcome Variable: math_score",
        "  Dependent Variable: reading  Outcome Variable: writing",
        "  Complete predictor: female",
        "  Missing predictor: ses",
        "  Latent Variable: ability",
        "  Covariance Matrix: level-2 residuals",
        "  Means Model: empty",
        "  Complete variable: age",
        "  Missing variable: income",
        "  Level-1 outcome model block:",
        "  Level-1 block: outcome block: x",
        "block: at the start",
        " xblock:",
        "ITERATION HISTORY",
        "        100    1.023    1.045   -0.012   -1.230    0.998",
        "BURN-IN POTENTIAL SCALE REDUCTION (PSR) OUTPUT:",
        "BURN-IN POTENTIAL SCALE REDUCTION xPSRx OUTPUT",
        "  WARNING: PSR above 1.1 at iteration 500. ERROR: chain 2 diverged",
        "ERROR: WARNING: NOTE: all three",
        "WARNING:WARNING:",
        "  WARNING: MODEL FIT could not be computed",
        "  Outcome Variable: MODEL FIT",
        "RESULTS: ANALYSIS MODEL ESTIMATES (continued)",
        "METROPOLIS-HASTINGS ACCEPTANCE RATES",
        "WARNING MESSAGES",
        "IMPUTED DATA SUMMARIES SIMULATED DATA SUMMARIES",
        "VARIABLE ORDER IN SIMULATED DATA",
        QString(12, '-') + " PARAMETER LABELS " + QString(12, '-'),
        QString(11, '-'),
        QString(10, '-'),
        "Outcome Variable:",
        "Outcome Variable: ",
        "outcome variable: lower case is not a label",
        "note: lower case is not a note",
        "",
    };
    return lines;
}

QVariantMap lightColors()
{
    return MSettings::lightColors();
}

} // namespace

class TestOutputPane : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QSettings().clear();
        CSettings::instance().setDarkModeSet(false);
    }

    void resourcesHoldTheEnginesVocabulary_data()
    {
        QTest::addColumn<QString>("resource");
        QTest::addColumn<QStringList>("lines");

        QTest::newRow("level-1 banners")
            << ":/strings/sTovrelOutputH1"
            << QStringList {QString(75, '-'), QString(67, '-'), QString(12, '-') + "*+"};
        QTest::newRow("variable labels")
            << ":/strings/sTovrelVariables"
            << QStringList {"Dependent Variable:\\K(.+)", "Outcome Variable:\\K(.+)",
                            "Latent Variable:\\K(.+)",    "Covariance Matrix:\\K(.+)",
                            "Complete predictor:\\K(.+)", "Missing predictor:\\K(.+)",
                            "Means Model:\\K(.+)",        "Complete variable:\\K(.+)",
                            "Missing variable:\\K(.+)"};
        QTest::newRow("section headings")
            << ":/strings/sTovrelOutputHeading"
            << QStringList {"ALGORITHMIC OPTIONS SPECIFIED",
                            "DATA INFORMATION",
                            "MODEL INFORMATION",
                            "ITERATION HISTORY",
                            "BURN-IN POTENTIAL SCALE REDUCTION .PSR. OUTPUT",
                            "METROPOLIS-HASTINGS ACCEPTANCE RATES",
                            "ANALYSIS MODEL ESTIMATES",
                            "OUTCOME MODEL ESTIMATES",
                            "WARNING MESSAGES",
                            "MODEL FIT",
                            "CORRELATIONS AMONG RESIDUALS",
                            "COVARIATE MODEL ESTIMATES",
                            "PREDICTOR MODEL ESTIMATES",
                            "PARAMETER LABELS",
                            "VARIABLES IN IMPUTATION MODEL",
                            "GENERATED PARAMETERS",
                            "SIMULATED DATA SUMMARIES",
                            "VARIABLE ORDER IN SIMULATED DATA",
                            "IMPUTED DATA SUMMARIES",
                            "PARAMETER INFORMATION"};
    }
    void resourcesHoldTheEnginesVocabulary()
    {
        QFETCH(QString, resource);
        QFETCH(QStringList, lines);
        QFile file(resource);
        QVERIFY(file.open(QIODevice::ReadOnly));
        // Every line, the last included, ends in CR LF.
        QCOMPARE(file.readAll(), (lines.join("\r\n") + "\r\n").toUtf8());
    }

    // Golden rows: each character of the line is described by one letter of the mask.
    //   . plain   f banner (function, bold)   c block name (constant, italic)
    //   w warning (bold)   n note (heading, bold)   e error (bold)   h heading   v variable
    void precedence_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("mask");

        QTest::newRow("warning and error on one line") << "  WARNING: a ERROR: b"
                                                       << "..wwwwwwww...eeeeee..";
        QTest::newRow("only the name after a variable label") << "  Outcome Variable: math"
                                                              << "...................vvvvv";
        QTest::newRow("heading inside a longer line") << "see: MODEL FIT here"
                                                      << ".....hhhhhhhhh.....";
        QTest::newRow("dots of the PSR heading match its parentheses")
            << "BURN-IN POTENTIAL SCALE REDUCTION (PSR) OUTPUT:" << QString(46, 'h') + ".";
        QTest::newRow("block name runs to the last block:") << "  L1 block: y block: z"
                                                            << ".ccccccccccccccccccc..";
        QTest::newRow("error wins over a block name") << " x ERROR: block:"
                                                      << ".cceeeeeeccccccc";
        QTest::newRow("variable wins over a heading") << "Outcome Variable: MODEL FIT"
                                                      << ".................vvvvvvvvvv";
        QTest::newRow("heading wins over a warning") << "WARNING: MODEL FIT"
                                                     << "wwwwwwww.hhhhhhhhh";
        QTest::newRow("note") << "NOTE: dropped"
                              << "nnnnn........";
        QTest::newRow("banner row") << QString(75, '-') << QString(75, 'f');
        QTest::newRow("eleven hyphens are a banner")
            << "x " + QString(11, '-') << ".." + QString(11, 'f');
        QTest::newRow("ten hyphens are not") << QString(10, '-') << QString(10, '.');
        QTest::newRow("iteration row stays plain") << "   100   1.023  -0.5"
                                                   << "....................";
        QTest::newRow("label without a name") << "Outcome Variable:" << QString(17, '.');
    }
    void precedence()
    {
        QFETCH(QString, line);
        QFETCH(QString, mask);
        QCOMPARE(mask.size(), line.size());

        const QVariantMap colors = lightColors();
        auto look = [&colors](const char *vRole, const char *vStyle) {
            return colors.value(QLatin1String(vRole)).value<QColor>().name()
                + QLatin1String(vStyle);
        };
        const QMap<QChar, QString> looks {
            {'.', "."},
            {'f', look("function", "B")},
            {'c', look("constant", "I")},
            {'w', look("warning", "B")},
            {'n', look("heading", "B")},
            {'e', look("error", "B")},
            {'h', look("heading", "")},
            {'v', look("number", "")},
        };
        QStringList expected;
        for (QChar letter : mask)
            expected << looks.value(letter);

        QTextDocument document(line);
        OutputHighlighter highlighter(&document);
        highlighter.rehighlight();
        QCOMPARE(describeBlock(document.firstBlock()), expected);
    }

    void sameAsApplyingTheRulesOneByOne_data()
    {
        QTest::addColumn<bool>("dark");
        QTest::newRow("light palette") << false;
        QTest::newRow("dark palette") << true;
    }
    void sameAsApplyingTheRulesOneByOne()
    {
        QFETCH(bool, dark);
        CSettings::instance().setDarkModeSet(dark);
        const QVariantMap colors = dark ? MSettings::darkColors() : MSettings::lightColors();
        const ReferenceHighlighter reference(colors);
        const QStringList lines = corpus();

        QTextDocument document(lines.join('\n'));
        OutputHighlighter highlighter(&document);
        highlighter.rehighlight();
        QCOMPARE(int(highlighter.rules().size()), reference.ruleCount());
        QTextBlock block = document.firstBlock();
        for (const QString &line : lines) {
            QCOMPARE(block.text(), line);
            const QStringList actual = describeBlock(block);
            const QStringList expected = reference.describeLine(line);
            if (actual != expected)
                qWarning() << "line" << line << "\nactual" << actual << "\nexpected" << expected;
            QCOMPARE(actual, expected);
            block = block.next();
        }
    }

    void rulesFollowTheSettings()
    {
        QTextDocument document("WARNING: x");
        OutputHighlighter highlighter(&document);
        highlighter.rehighlight();
        const QString light = MSettings::lightColors().value("warning").value<QColor>().name();
        const QString dark = MSettings::darkColors().value("warning").value<QColor>().name();
        QCOMPARE(describeBlock(document.firstBlock()).first(), light + "B");
        const qsizetype ruleCount = highlighter.rules().size();

        CSettings::instance().setDarkModeSet(true);
        Q_EMIT CSettings::instance().did_apply();
        QCOMPARE(describeBlock(document.firstBlock()).first(), dark + "B");
        QCOMPARE(highlighter.rules().size(), ruleCount);
    }

    // ---- the pane ------------------------------------------------------------------------

    void piecesArriveWholeAndInOrder()
    {
        WOutputPane pane;
        pane.setPlainText("ab\n");
        QTextCursor userCursor = pane.textCursor();
        userCursor.setPosition(0);
        userCursor.setPosition(1, QTextCursor::KeepAnchor);
        pane.setTextCursor(userCursor);

        QString expected = "ab\n";
        for (int i = 0; i < 2000; ++i) {
            const QString piece = QStringLiteral("row %1 ").arg(i) + (i % 7 ? "" : "\n");
            pane.appendText(piece);
            expected += piece;
            if (i % 100 == 0)
                QCoreApplication::processEvents();
        }
        QCOMPARE(pane.text(), expected);
        QVERIFY(!pane.hasPendingText());
        // The user's selection was neither used nor moved.
        QCOMPARE(pane.textCursor().selectionStart(), 0);
        QCOMPARE(pane.textCursor().selectionEnd(), 1);
    }

    void pendingTextShowsByItselfUnlessReplaced()
    {
        WOutputPane pane;
        pane.appendText("first piece");
        QVERIFY(pane.hasPendingText());
        QTRY_COMPARE(pane.toPlainText(), QStringLiteral("first piece"));
        pane.appendText(" streamed");
        pane.setText("final output");
        QTest::qWait(2 * WOutputPane::kFlushIntervalMs);
        QCOMPARE(pane.toPlainText(), QStringLiteral("final output"));
    }

    void followsTheEndOnlyWhenAtTheEnd_data()
    {
        QTest::addColumn<bool>("userScrolledUp");
        QTest::newRow("at the end: follows") << false;
        QTest::newRow("scrolled up: stays") << true;
    }
    void followsTheEndOnlyWhenAtTheEnd()
    {
        QFETCH(bool, userScrolledUp);
        WOutputPane pane;
        pane.resize(400, 200);
        pane.show();
        QVERIFY(QTest::qWaitForWindowExposed(&pane));
        for (int i = 0; i < 200; ++i)
            pane.appendText(QStringLiteral("line %1\n").arg(i));
        pane.flush();
        QScrollBar *bar = pane.verticalScrollBar();
        QCOMPARE(bar->value(), bar->maximum());
        if (userScrolledUp)
            bar->setValue(10);
        for (int i = 0; i < 200; ++i)
            pane.appendText(QStringLiteral("more %1\n").arg(i));
        pane.flush();
        QCoreApplication::processEvents();
        if (userScrolledUp)
            QCOMPARE(bar->value(), 10);
        else
            QCOMPARE(bar->value(), bar->maximum());
    }

    void linesInViewAreHighlighted()
    {
        WOutputPane pane;
        pane.resize(500, 200);
        auto *highlighter = new OutputHighlighter(pane.document());
        pane.setHighlighter(highlighter);
        QVERIFY(highlighter->isOnDemand());
        pane.show();
        QVERIFY(QTest::qWaitForWindowExposed(&pane));
        const QString warning = MSettings::lightColors().value("warning").value<QColor>().name();

        pane.appendText("WARNING: at the top\n");
        for (int i = 0; i < 3000; ++i)
            pane.appendText(QStringLiteral("   %1   1.023   0.998\n").arg(i));
        pane.appendText("WARNING: at the end");
        pane.flush();
        QCoreApplication::processEvents();
        QCOMPARE(describeBlock(pane.document()->lastBlock()).first(), warning + "B");

        pane.verticalScrollBar()->setValue(0);
        QCoreApplication::processEvents();
        QCOMPARE(describeBlock(pane.document()->firstBlock()).first(), warning + "B");

        // New colours reach the lines in view.
        CSettings::instance().setDarkModeSet(true);
        Q_EMIT CSettings::instance().did_apply();
        const QString dark = MSettings::darkColors().value("warning").value<QColor>().name();
        QCOMPARE(describeBlock(pane.document()->firstBlock()).first(), dark + "B");
    }
};

TOVREL_TEST_MAIN(TestOutputPane)
#include "tst_outputpane.moc"
