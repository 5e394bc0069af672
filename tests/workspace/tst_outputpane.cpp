#include "testmain.h"

#include "config/csettings.h"
#include "config/msettings.h"
#include "goldentable.h"
#include "tablecell.h"
#include "workspace/outputhighlighter.h"
#include "workspace/runmonitor.h"
#include "workspace/woutputpane.h"

#include <QScrollBar>
#include <QSettings>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

namespace {

// Each character's look as one letter: . plain, f banner (function, bold), c block name
// (constant, italic), w warning (bold), n note (heading, bold), e error (bold), h heading,
// v variable, ? any other look.
QString mask(const QTextBlock &vBlock, const QVariantMap &vColors)
{
    auto look = [&vColors](const char *vRole, const char *vStyle) {
        return vColors.value(QLatin1String(vRole)).value<QColor>().name() + QLatin1String(vStyle);
    };
    const QHash<QString, QChar> letters {
        {look("function", "B"), 'f'}, {look("constant", "I"), 'c'}, {look("warning", "B"), 'w'},
        {look("heading", "B"), 'n'},  {look("error", "B"), 'e'},    {look("heading", ""), 'h'},
        {look("number", ""), 'v'},
    };
    QString result(vBlock.length() - 1, '.');
    for (const QTextLayout::FormatRange &range : vBlock.layout()->formats()) {
        const QTextCharFormat &format = range.format;
        const QString style = QString(format.fontWeight() == QFont::Bold ? "B" : "")
            + (format.fontItalic() ? "I" : "");
        for (int i = range.start; i < range.start + range.length && i < result.size(); ++i)
            result[i] = letters.value(format.foreground().color().name() + style, '?');
    }
    return result;
}

void switchToDarkColors()
{
    CSettings::instance().setDarkModeSet(true);
    Q_EMIT CSettings::instance().did_apply();
}

// A run monitor's rows as "first-last:PSR:parameter:name;...", and the PSR it warns above.
QString describeRows(const RunMonitor &vMonitor)
{
    QStringList rows;
    for (const RunMonitor::PsrRow &row : vMonitor.psrSeries())
        rows << QStringLiteral("%1-%2:%3:%4:%5")
                    .arg(row.first)
                    .arg(row.last)
                    .arg(QString::number(row.psr))
                    .arg(row.parameter)
                    .arg(row.name);
    QString text = rows.isEmpty() ? QStringLiteral("-") : rows.join(';');
    if (vMonitor.warningPsr() != RunMonitor::kConventionalPsr)
        text += "|w" + QString::number(vMonitor.warningPsr());
    return text;
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

    void precedence_data()
    {
        addTableRows(QFINDTESTDATA("outputprecedence.txt"), {"line", "expected"});
    }
    void precedence()
    {
        QFETCH(QString, expected);
        QTextDocument document(cell("line"));
        OutputHighlighter highlighter(&document);
        highlighter.rehighlight();
        QCOMPARE(mask(document.firstBlock(), MSettings::lightColors()), expected);
        // A change of colours rebuilds the same rules in the new colours.
        switchToDarkColors();
        QCOMPARE(mask(document.firstBlock(), MSettings::darkColors()), expected);
    }

    // The run monitor reads progress from output cut anywhere; see the table for the steps.
    void runMonitor_data()
    {
        addTableRows(QFINDTESTDATA("runmonitor.txt"), {"transcript", "line", "rows"});
    }
    void runMonitor()
    {
        RunMonitor monitor;
        qint64 now = 0;
        for (const QString &step : cells("transcript")) {
            if (step.startsWith("!start")) {
                const QStringList n = step.split(' ');
                monitor.start({n.at(1).toLongLong(), n.at(2).toLongLong(), n.at(3).toInt()}, now);
            } else if (step == "!stop" || step == "!end") {
                monitor.finish(now, step == "!stop");
            } else if (step.startsWith('@')) {
                now = step.mid(1).toLongLong() * 1000;
            } else if (step.startsWith('*')) {
                monitor.feed(QString(step.mid(1).toInt(), 'x'), now);
            } else {
                monitor.feed(step, now);
            }
        }
        QCOMPARE(monitor.summary(now), cell("line"));
        QCOMPARE(describeRows(monitor), cell("rows"));
    }

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

    // The text read back is what the document holds, whether shown as it came or replaced.
    void textReadsBackAsTheDocumentHoldsIt_data()
    {
        QTest::addColumn<QStringList>("pieces");
        QTest::addColumn<QString>("expected");
        const QString longLine(3 * WOutputPane::kMaxShownLineChars + 5, 'x');
        QTest::newRow("return and line feed make one break") << QStringList {"a\r\nb"} << "a\nb";
        QTest::newRow("a lone return ends a line") << QStringList {"a\rb\r"} << "a\nb\n";
        QTest::newRow("a pair split between pieces makes two")
            << QStringList {"a\r", "\nb"} << "a\n\nb";
        QTest::newRow("separators end lines, a no-break space is a space")
            << QStringList {QString::fromUtf8("a\u2028b\u2029c\u00a0d")} << "a\nb\nc d";
        QTest::newRow("a long line reads back whole")
            << QStringList {"ab", longLine, "\n" + longLine} << "ab" + longLine + "\n" + longLine;
    }
    void textReadsBackAsTheDocumentHoldsIt()
    {
        QFETCH(QStringList, pieces);
        QFETCH(QString, expected);
        WOutputPane streamed;
        for (const QString &piece : pieces) {
            streamed.appendText(piece);
            streamed.flush();
        }
        WOutputPane replaced;
        replaced.setText(pieces.join(QString()));
        if (!expected.contains(QString(WOutputPane::kMaxShownLineChars + 1, 'x')))
            QCOMPARE(streamed.toPlainText(), expected);
        QCOMPARE(streamed.text(), expected);
        QCOMPARE(QString::fromUtf8(streamed.utf8Text()), expected);
        if (pieces.size() == 1)
            QCOMPARE(replaced.text(), expected);
        // A document changed behind the pane's back is read again.
        QTextCursor(streamed.document()).insertText("<");
        QCOMPARE(streamed.text(), "<" + expected);
    }

    void pendingTextShowsByItselfUnlessReplaced()
    {
        WOutputPane pane;
        pane.appendText("first piece");
        QVERIFY(pane.hasPendingText());
        QTRY_COMPARE(pane.toPlainText(), "first piece");
        pane.appendText(" streamed");
        pane.setText("final output");
        QTest::qWait(2 * WOutputPane::kFlushIntervalMs);
        QCOMPARE(pane.toPlainText(), "final output");
    }

    void followsTheEndOnlyWhenAtTheEnd_data()
    {
        QTest::addColumn<bool>("scrolledUp");
        row("at the end: follows", false);
        row("scrolled up: stays", true);
    }
    void followsTheEndOnlyWhenAtTheEnd()
    {
        QFETCH(bool, scrolledUp);
        WOutputPane pane;
        pane.resize(400, 200);
        pane.show();
        QVERIFY(QTest::qWaitForWindowExposed(&pane));
        QScrollBar *bar = pane.verticalScrollBar();
        for (const char *prefix : {"line", "more"}) {
            for (int i = 0; i < 200; ++i)
                pane.appendText(QStringLiteral("%1 %2\n").arg(prefix).arg(i));
            pane.flush();
            QCoreApplication::processEvents();
            if (scrolledUp && bar->value() == bar->maximum())
                bar->setValue(10);
        }
        QCOMPARE(bar->value(), scrolledUp ? 10 : bar->maximum());
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
        pane.appendText("WARNING: at the top\n");
        for (int i = 0; i < 3000; ++i)
            pane.appendText(QStringLiteral("   %1   1.023   0.998\n").arg(i));
        pane.appendText("WARNING: at the end");
        pane.flush();
        QCoreApplication::processEvents();
        QCOMPARE(mask(pane.document()->lastBlock(), MSettings::lightColors()).at(0), 'w');
        pane.verticalScrollBar()->setValue(0);
        QCoreApplication::processEvents();
        QCOMPARE(mask(pane.document()->firstBlock(), MSettings::lightColors()).at(0), 'w');
        // New colours reach the lines in view.
        switchToDarkColors();
        QCOMPARE(mask(pane.document()->firstBlock(), MSettings::darkColors()).at(0), 'w');
        // So does text replaced whole, as when the run's output file takes the stream's place.
        pane.setText("ERROR: replaced\n" + QString("   1   0.998\n").repeated(3000));
        QTRY_COMPARE(mask(pane.document()->firstBlock(), MSettings::darkColors()).at(0), 'e');
    }
};

TOVREL_TEST_MAIN(TestOutputPane)
#include "tst_outputpane.moc"
