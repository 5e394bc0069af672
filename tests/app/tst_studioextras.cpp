#include "app/mainwindow.h"
#include "app/recentfiles.h"
#include "app/studioextras.h"
#include "config/csettings.h"
#include "config/msettings.h"
#include "editor/wlinenumberarea.h"
#include "editor/wsyntaxeditor.h"
#include "mainwindowfixture.h"
#include "modalanswerer.h"
#include "testfiles.h"
#include "testmain.h"
#include "workspace/outputhighlighter.h"
#include "workspace/scriptlinelinks.h"
#include "workspace/workspace.h"
#include "workspace/woutputpane.h"

#include <QAbstractTextDocumentLayout>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QSettings>
#include <QSignalSpy>
#include <QTextBlock>
#include <QToolButton>

#include <memory>

// Line numbers, recent files, go to line, find in the output and links from the output to the
// script, each driven through the real main window.
class TestStudioExtras : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<MainWindow> m_window;

    QString script(const QString &vName, const QByteArray &vText = "DATA: x.dat;\nSEED: 1;\n")
    {
        writeFile(m_dir.filePath(vName), vText);
        return m_dir.filePath(vName);
    }
    StudioExtras *extras() { return m_window->findChild<StudioExtras *>(); }
    QStringList recentTexts()
    {
        QStringList texts;
        for (QAction *entry : extras()->recentMenu()->actions())
            texts << QString(entry->isEnabled() ? "" : "~")
                    + (entry->text().contains('/') ? QFileInfo(entry->text()).fileName()
                                                   : entry->text());
        return texts;
    }

private Q_SLOTS:
    void init()
    {
        m_window = freshMainWindow();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    }
    void cleanup() { discardMainWindow(m_window); }

    // Each row adds ("+name") or removes ("-name") paths in turn; "*N" adds N numbered files.
    void recentList_data()
    {
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("most recent first")
            << QStringList {"+a", "+b", "+c"} << QStringList {"c", "b", "a"};
        QTest::newRow("again moves to the front")
            << QStringList {"+a", "+b", "+a"} << QStringList {"a", "b"};
        QTest::newRow("case does not make a new entry")
            << QStringList {"+a", "+b", "+A"} << QStringList {"A", "b"};
        QTest::newRow("ten kept, the oldest dropped")
            << QStringList {"*12"}
            << QStringList {"12", "11", "10", "9", "8", "7", "6", "5", "4", "3"};
        QTest::newRow("a vanished file pruned")
            << QStringList {"+a", "+b", "+c", "-b"} << QStringList {"c", "a"};
        QTest::newRow("blank ignored") << QStringList {"+a", "+ "} << QStringList {"a"};
    }
    void recentList()
    {
        QFETCH(QStringList, steps);
        QFETCH(QStringList, expected);
        RecentFiles recent;
        for (const QString &step : steps) {
            if (step.startsWith('*'))
                for (int i = 1; i <= step.mid(1).toInt(); ++i)
                    recent.add(m_dir.filePath(QString::number(i)));
            else if (step.startsWith('+'))
                recent.add(step.mid(1).trimmed().isEmpty() ? " " : m_dir.filePath(step.mid(1)));
            else
                recent.remove(m_dir.filePath(step.mid(1)));
        }
        QStringList names;
        for (const QString &path : recent.paths())
            names << QFileInfo(path).fileName();
        QCOMPARE(names, expected);
        // A stored list reads back the same, and a longer stored list is cut to the limit.
        QCOMPARE(RecentFiles(recent.paths()).paths(), recent.paths());
    }

    // On by default, remembered, and the View menu switches every open editor.
    void lineNumbersSettingAndGutter()
    {
        QVERIFY(MSettings().lineNumbers());
        m_window->on_open(script("a.imp", QByteArray("x\n").repeated(20)));
        WSyntaxEditor *editor = m_window->activeDocument()->editor();
        WLineNumberArea *gutter = editor->lineNumberArea();
        QVERIFY(gutter->isVisible());
        QCOMPARE(editor->viewport()->geometry().left() - editor->contentsRect().left(),
                 gutter->width());
        QCOMPARE(gutter->font().family(), editor->font().family());
        // The current line's number is drawn on the current-line colour.
        editor->goToLine(3);
        const QRectF third = editor->document()->documentLayout()->blockBoundingRect(
            editor->document()->findBlockByNumber(2));
        const QImage image = gutter->grab().toImage();
        QCOMPARE(image.pixelColor(1, int(third.center().y())), editor->lineHighlightColour());
        QVERIFY(image.pixelColor(1, int(third.center().y() + third.height()))
                != editor->lineHighlightColour());

        extras()->lineNumbersAction()->trigger();
        QVERIFY(!gutter->isVisible());
        QCOMPARE(editor->viewport()->geometry().left(), editor->contentsRect().left());
        QVERIFY(!MSettings().lineNumbers());
        WSyntaxEditor later;
        QVERIFY(!later.lineNumbersVisible());
        extras()->lineNumbersAction()->trigger();
        QVERIFY(gutter->isVisible() && MSettings().lineNumbers());
    }

    // Opening and saving fill the list; a gone file is dropped with a message; Clear empties it.
    void openRecent()
    {
        const QString a = script("a.imp"), b = script("b.imp"), c = script("c.imp");
        m_window->on_open(a);
        m_window->on_open(b);
        m_window->on_new();
        QCOMPARE(recentTexts(), QStringList({"b.imp", "a.imp", "", "Clear Recent Files"}));
        m_window->on_open(c);
        QVERIFY(m_window->activeDocument()->on_save(false));
        QCOMPARE(recentTexts().first(), "c.imp");
        QCOMPARE(CSettings::instance().recentFiles().size(), 3);

        QFile::remove(b);
        SeenBox seen;
        {
            ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
            extras()->recentMenu()->actions().at(1)->trigger();
        }
        QCOMPARE(seen.count, 1);
        QVERIFY(seen.text.contains("b.imp"));
        QCOMPARE(recentTexts(), QStringList({"c.imp", "a.imp", "", "Clear Recent Files"}));

        m_window->findChild<QAction *>("actionClose_All")->trigger();
        QCOMPARE(m_window->documents().size(), 0);
        extras()->recentMenu()->actions().at(1)->trigger();
        QCOMPARE(m_window->activeDocument()->filePath(), a);
        QCOMPARE(recentTexts().first(), "a.imp");

        m_window->findChild<QAction *>("actionClear_Recent_Files")->trigger();
        QCOMPARE(recentTexts(), QStringList({"", "~Clear Recent Files"}));
        QVERIFY(CSettings::instance().recentFiles().isEmpty());
    }

    // Go to Line asks within 1..lines and moves the cursor; the status bar follows the cursor.
    void goToLineAndStatusBar()
    {
        m_window->on_open(script("a.imp", "one\ntwo\nthree\nfour\n"));
        WSyntaxEditor *editor = m_window->activeDocument()->editor();
        int maximum = 0;
        ModalAnswerer answerer([&maximum](QWidget *vModal) {
            auto *dialog = qobject_cast<QInputDialog *>(vModal);
            maximum = dialog->intMaximum();
            dialog->setIntValue(3);
            dialog->accept();
        });
        QTest::keyClick(m_window.get(), Qt::Key_J, Qt::ControlModifier);
        QCOMPARE(answerer.count(), 1);
        QCOMPARE(maximum, 5);
        QCOMPARE(editor->textCursor().blockNumber(), 2);
        QCOMPARE(extras()->positionLabel()->text(), "Line 3, Column 1");
        QTest::keyClick(editor, Qt::Key_End);
        QCOMPARE(extras()->positionLabel()->text(), "Line 3, Column 6");
    }

    // With the output pane focused the bar finds there and cannot replace.
    void findInOutput()
    {
        m_window->on_open(script("a.imp"));
        Workspace *document = m_window->activeDocument();
        WOutputPane *pane = document->outputPane();
        pane->setText("alpha\nbeta\ngamma beta\n");
        QApplication::setActiveWindow(m_window.get());
        pane->setFocus();
        QTRY_VERIFY(pane->hasFocus());
        document->on_find();
        auto *find = document->findChild<QLineEdit *>("leFind");
        QTest::keyClicks(find, "beta");
        QCOMPARE(pane->textCursor().selectedText(), "beta");
        QCOMPARE(pane->textCursor().blockNumber(), 1);
        QVERIFY(!document->findChild<QLineEdit *>("leReplace")->isEnabled());
        document->findChild<QToolButton *>("tbFindNext")->click();
        QCOMPARE(pane->textCursor().blockNumber(), 2);
        QVERIFY(!document->editor()->textCursor().hasSelection());
        document->editor()->setFocus();
        QTRY_VERIFY(document->findChild<QLineEdit *>("leReplace")->isEnabled());
    }

    // What counts as a script line in the engine's output.
    void linksFound_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("start");
        QTest::addColumn<int>("line");
        QTest::newRow("problem in a script") << "ERROR: script 'm.imp', line 12: oops" << 7 << 12;
        QTest::newRow("command that led to the data")
            << "ERROR: data file 'd', line 9: bad (DATA on line 2 of script 'm')" << 42 << 2;
        QTest::newRow("warning") << "WARNING: Line 4: SEED is given more than once" << 9 << 4;
        QTest::newRow("data line alone") << "ERROR: data file 'd', line 9: bad" << -1 << 0;
    }
    void linksFound()
    {
        QFETCH(QString, text);
        QFETCH(int, start);
        QFETCH(int, line);
        const QList<ScriptLineLinks::Link> links = ScriptLineLinks::find(text);
        QCOMPARE(links.size(), line > 0 ? 1 : 0);
        if (line > 0)
            QCOMPARE(ScriptLineLinks::at(text, start + 1).line, line);
    }

    // The real engine names the faulty line; clicking it puts the editor's cursor there.
    void outputLinkJumpsToTheScript()
    {
        CSettings::instance().setCommandLineToolName(qEnvironmentVariable("TOVREL_TEST_BIN_DIR")
                                                     + "/tovrel");
        m_window->on_open(script("bad.imp", "DATA: x.dat;\nVARIABLES: a b;\nMODEL: a ~ ;\n"));
        Workspace *document = m_window->activeDocument();
        QSignalSpy finished(document, &Workspace::process_finished);
        document->on_run();
        QVERIFY(!finished.isEmpty() || finished.wait(60000));
        WOutputPane *pane = document->outputPane();
        QTextBlock error = pane->document()->find("line 3").block();
        QVERIFY2(error.isValid(), qPrintable(pane->text()));
        const int column = int(error.text().indexOf("line 3"));
        QTextCursor at(error);
        at.setPosition(error.position() + column + 2);
        pane->ensureCursorVisible();
        pane->setTextCursor(at);
        QCoreApplication::processEvents();
        QVERIFY(!error.layout()->formats().isEmpty());
        QTest::mouseClick(pane->viewport(), Qt::LeftButton, {}, pane->cursorRect(at).center());
        QCOMPARE(document->editor()->textCursor().blockNumber(), 2);
        QTRY_VERIFY(document->editor()->hasFocus());
    }
};

TOVREL_TEST_MAIN(TestStudioExtras)
#include "tst_studioextras.moc"
