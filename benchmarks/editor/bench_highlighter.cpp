// Measures how long colouring takes on a large engine script: the full highlight, the
// re-highlight after a settings apply, and the time to type one character in the middle.
// Prints the median of several runs in milliseconds.

#include "config/csettings.h"
#include "editor/syntaxhighlighter.h"
#include "editor/wsyntaxeditor.h"
#include "testmain.h"

#include <QElapsedTimer>
#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace {

constexpr int kLines = 10000;
constexpr int kRuns = 7;
constexpr int kKeystrokes = 60;

QString generatedScript()
{
    const QStringList templates = {
        "DATA: study%1.dat;",
        "VARIABLES: id y%1 x1 x2 x3 w cluster;",
        "MISSING: -99;",
        "FOO%1: x;",
        "MODEL: y%1 ~ x1 x2@0.5 (-1.25) + x3*w -> z <- v;",
        "# comment %1 with DATA: inside and \"quotes\"",
        "#! BETA",
        "  CLUSTERID: cluster; SEED: 90291;",
        "BURN: 5000; ITERATIONS: %1; NIMPS: 20;",
        "OPTIONS: savepred hov; SAVE: \"out # %1.dat\";",
        "  y%1 := a and b or c, .5, 3.75;",
        "PLOTS: traceplot;",
    };
    QStringList lines;
    lines.reserve(kLines);
    for (int i = 0; i < kLines; ++i)
        lines.append(QString(templates.at(i % templates.size())).replace("%1", QString::number(i)));
    return lines.join('\n');
}

double median(QList<double> vTimes)
{
    std::sort(vTimes.begin(), vTimes.end());
    return vTimes.at(vTimes.size() / 2);
}

double timeMs(const std::function<void()> &vWork)
{
    QElapsedTimer timer;
    timer.start();
    vWork();
    return timer.nsecsElapsed() / 1e6;
}

// The rule list applied one rule at a time, as a plain reading of it would: the yardstick.
class RuleByRuleHighlighter : public QSyntaxHighlighter
{
public:
    RuleByRuleHighlighter(QTextDocument *vDocument,
                          const QList<SyntaxHighlighter::HighlightingRule> &vRules)
        : QSyntaxHighlighter(vDocument)
        , m_rules(vRules)
    { }

protected:
    void highlightBlock(const QString &vText) override
    {
        for (const SyntaxHighlighter::HighlightingRule &rule : qAsConst(m_rules)) {
            QRegularExpressionMatchIterator it = rule.pattern.globalMatch(vText);
            while (it.hasNext()) {
                const QRegularExpressionMatch match = it.next();
                setFormat(match.capturedStart(), match.capturedLength(), rule.format);
            }
        }
    }

private:
    QList<SyntaxHighlighter::HighlightingRule> m_rules;
};

void report(const char *vWhat, double vMs)
{
    std::printf("%-58s %9.2f ms\n", vWhat, vMs);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    QApplication app(argc, argv);
    // Rule rebuilds leave a trace line each; keep the report readable.
    qInstallMessageHandler(
        [](QtMsgType vType, const QMessageLogContext &, const QString &vMessage) {
            if (vType != QtDebugMsg)
                std::fprintf(stderr, "%s\n", qPrintable(vMessage));
        });
    CSettings::instance().setAdvanceHighlight(true);
    Q_EMIT CSettings::instance().do_apply();

    const QString script = generatedScript();
    std::printf("Engine script of %d lines (%lld characters), advanced highlighting on, "
                "median of %d runs\n",
                kLines, static_cast<long long>(script.size()), kRuns);

    QTextDocument document;
    document.setPlainText(script);
    auto *highlighter = new SyntaxHighlighter(&document);
    QList<double> colouring;
    for (int run = 0; run < kRuns; ++run)
        colouring.append(timeMs([&] { highlighter->rehighlightDocument(); }));
    report("full highlight of the document (colouring alone)", median(colouring));

    WSyntaxEditor editor;
    editor.resize(900, 700);
    editor.show();
    QCoreApplication::processEvents();

    QList<double> load;
    for (int run = 0; run < kRuns; ++run)
        load.append(timeMs([&] {
            editor.setPlainText(script);
            QCoreApplication::processEvents();
        }));
    report("load the script into the editor and highlight it", median(load));

    QList<double> full;
    for (int run = 0; run < kRuns; ++run)
        full.append(timeMs([&] {
            editor.highlighter()->rehighlightDocument();
            QCoreApplication::processEvents();
        }));
    report("full highlight in the shown editor (with layout)", median(full));

    QList<double> apply;
    for (int run = 0; run < kRuns; ++run)
        apply.append(timeMs([&] {
            Q_EMIT CSettings::instance().do_apply();
            QCoreApplication::processEvents();
        }));
    report("settings apply: rebuild the rules and re-highlight", median(apply));

    QTextCursor cursor(editor.document()->findBlockByNumber(kLines / 2 - 1));
    cursor.movePosition(QTextCursor::EndOfBlock);
    editor.setTextCursor(cursor);
    editor.ensureCursorVisible();
    QCoreApplication::processEvents();
    // Typing with and without the line-number gutter, interleaved so both meet the same
    // machine load: a character (a repaint of the gutter) and a line break (the line count
    // changes, so the gutter checks its width).
    auto typingMs = [&](bool vGutter, Qt::Key vKey) {
        editor.setLineNumbersVisible(vGutter);
        QCoreApplication::processEvents();
        QList<double> times;
        for (int stroke = 0; stroke < kKeystrokes; ++stroke)
            times.append(timeMs([&] {
                QTest::keyClick(&editor, stroke % 2 ? Qt::Key_Backspace : vKey);
                QCoreApplication::processEvents();
            }));
        return times;
    };
    QList<double> typing, typingBare, lines, linesBare;
    typingMs(false, Qt::Key_X); // warm-up, not counted
    for (int round = 0; round < 3; ++round) {
        typing += typingMs(true, Qt::Key_X);
        typingBare += typingMs(false, Qt::Key_X);
        lines += typingMs(true, Qt::Key_Return);
        linesBare += typingMs(false, Qt::Key_Return);
    }
    report("type one character on line 5,000 (with repaint events)", median(typing));
    report("  the same without line numbers", median(typingBare));
    report("Return / Backspace on line 5,000, line numbers shown", median(lines));
    report("  the same without line numbers", median(linesBare));
    editor.setLineNumbersVisible(true);

    QList<double> indenting;
    for (int run = 0; run < kRuns; ++run) {
        editor.selectAll();
        indenting.append(timeMs([&] {
            QTest::keyClick(&editor, Qt::Key_Tab);
            QCoreApplication::processEvents();
        }));
        editor.undo();
    }
    report("indent the whole script (select all, Tab)", median(indenting));

    QTextDocument plain;
    plain.setPlainText(script);
    auto *yardstick = new RuleByRuleHighlighter(&plain, editor.highlighter()->rules());
    QList<double> ruleByRule;
    for (int run = 0; run < kRuns; ++run)
        ruleByRule.append(timeMs([&] { yardstick->rehighlight(); }));
    std::printf("%-58s %9.2f ms  (%lld rules)\n", "for comparison: the rules applied one by one",
                median(ruleByRule), static_cast<long long>(editor.highlighter()->rules().size()));

    QTextDocument bare;
    bare.setPlainText(script);
    auto *noRules = new RuleByRuleHighlighter(&bare, {});
    QList<double> overhead;
    for (int run = 0; run < kRuns; ++run)
        overhead.append(timeMs([&] { noRules->rehighlight(); }));
    report("for comparison: a highlighter with no rules at all", median(overhead));

    // What the shown editor would cost with the stock whole-document re-highlight, which has the
    // layout catch up after every single line. Once only: it takes seconds.
    report("for comparison: QSyntaxHighlighter::rehighlight() in the shown editor", timeMs([&] {
               editor.highlighter()->rehighlight();
               QCoreApplication::processEvents();
           }));
    return 0;
}
