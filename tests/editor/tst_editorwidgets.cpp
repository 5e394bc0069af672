#include "config/csettings.h"
#include "editor/dtitleeditor.h"
#include "editor/syntaxhighlighter.h"
#include "editor/wlisteditor.h"
#include "editor/wsyntaxeditor.h"
#include "editor/wtextfinder.h"
#include "goldentable.h"
#include "tablecell.h"
#include "testmain.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QSignalSpy>
#include <QTextBlock>
#include <QTextLayout>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

// Shows the widget in its own active window, as keyboard shortcuts need one.
void showActive(QWidget *vWindow)
{
    vWindow->show();
    vWindow->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(vWindow));
}

// Text with its selection drawn in: "|" where the cursor is, "[" where the anchor is if apart.
void setMarkedText(QTextEdit &vEditor, QString vMarked)
{
    int position = int(vMarked.indexOf('|'));
    int anchor = int(vMarked.indexOf('['));
    if (anchor < 0)
        anchor = position;
    else if (anchor < position)
        --position;
    else
        --anchor;
    vEditor.setPlainText(vMarked.remove('|').remove('['));
    QTextCursor cursor = vEditor.textCursor();
    cursor.setPosition(anchor);
    cursor.setPosition(position, QTextCursor::KeepAnchor);
    vEditor.setTextCursor(cursor);
}

QString markedText(const QTextEdit &vEditor)
{
    const int anchor = vEditor.textCursor().anchor();
    const int position = vEditor.textCursor().position();
    QString text = vEditor.toPlainText();
    if (anchor > position)
        text.insert(anchor, '[');
    text.insert(position, '|');
    if (anchor < position)
        text.insert(anchor, '[');
    return text;
}

template<typename T>
T *child(QWidget *vParent, const QString &vName)
{
    auto *found = vParent->findChild<T *>(vName);
    Q_ASSERT(found);
    return found;
}

QToolButton *button(QWidget *vParent, const QString &vName)
{
    return child<QToolButton>(vParent, vName);
}

QLineEdit *field(QWidget *vParent, const QString &vName)
{
    return child<QLineEdit>(vParent, vName);
}

// An editor with its find bar under it, as a document window holds them; replacing with "Q".
struct FinderWindow
{
    explicit FinderWindow(const QString &vText)
    {
        auto *layout = new QVBoxLayout(&window);
        layout->addWidget(editor);
        layout->addWidget(finder);
        finder->setEditor(editor);
        setMarkedText(*editor, vText);
        field(finder, "leReplace")->setText("Q");
    }

    QWidget window;
    WSyntaxEditor *editor = new WSyntaxEditor(&window);
    WTextFinder *finder = new WTextFinder(&window);
};

} // namespace

class TestEditorWidgets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void editorCommands_data()
    {
        addTableRows(QFINDTESTDATA("editorcommands.txt"), {"before", "action", "after"});
    }

    // Each command is also one undo step.
    void editorCommands()
    {
        QFETCH(QString, action);
        WSyntaxEditor editor;
        showActive(&editor);
        setMarkedText(editor, cell("before"));
        const QString text = editor.toPlainText();
        const bool mplus = action.startsWith("mplus:");
        if (mplus)
            editor.setSyntaxMode(SyntaxMode::Mplus);
        action.remove("mplus:");

        if (action.front().isLower())
            QVERIFY(QMetaObject::invokeMethod(&editor, action.toLatin1().constData()));
        else
            QTest::keySequence(&editor, QKeySequence(action));
        QCOMPARE(markedText(editor), cell("after"));
        const QString edited = editor.toPlainText();
        QTest::keySequence(&editor, QKeySequence::Undo);
        QCOMPARE(editor.toPlainText(), text);
        QTest::keySequence(&editor, QKeySequence::Redo);
        QCOMPARE(editor.toPlainText(), edited);
        // Back in the engine's mode the marker setting applies again.
        editor.setSyntaxMode(SyntaxMode::Engine);
        QCOMPARE(editor.commentMarker(), CSettings::instance().comment());
    }

    void currentLineHighlight()
    {
        WSyntaxEditor editor;
        showActive(&editor);
        setMarkedText(editor, "ab\nc|d");
        QCOMPARE(editor.extraSelections().size(), 1);
        QCOMPARE(editor.extraSelections().first().cursor.blockNumber(), 1);
        QCOMPARE(editor.extraSelections().first().format.background().color(),
                 editor.lineHighlightColour());
        QTest::keyClick(&editor, Qt::Key_Left, Qt::ShiftModifier);
        QVERIFY(editor.extraSelections().isEmpty());
        QTest::keyClick(&editor, Qt::Key_Up);
        QCOMPARE(editor.extraSelections().first().cursor.blockNumber(), 0);
    }

    void schemeFollowsPaletteLightness_data()
    {
        QTest::addColumn<QColor>("window");
        QTest::addColumn<bool>("dark");
        QTest::newRow("light window") << QColor("#f0f0f0") << false;
        QTest::newRow("dark window") << QColor("#2b2b2b") << true;
    }

    void schemeFollowsPaletteLightness()
    {
        QFETCH(QColor, window);
        QFETCH(bool, dark);
        QWidget parent;
        QPalette palette = parent.palette();
        palette.setColor(QPalette::Window, window);
        parent.setPalette(palette);
        auto *editor = new WSyntaxEditor(&parent);
        editor->setPlainText("DATA: x;");
        editor->highlighter()->rehighlight();
        const QVariantMap scheme = dark ? CSettings::instance().highlightColorsDark()
                                        : CSettings::instance().highlightColors();
        QCOMPARE(editor->lineHighlightColour(), scheme.value("lineHi").value<QColor>());
        QCOMPARE(editor->palette().color(QPalette::Highlight),
                 scheme.value("selected").value<QColor>());
        QCOMPARE(editor->palette().brush(QPalette::HighlightedText).style(), Qt::NoBrush);
        const auto keyword = editor->document()->firstBlock().layout()->formats().value(0).format;
        QCOMPARE(keyword.foreground().color(), scheme.value("function").value<QColor>());
    }

    // No other test depends on the font size, so it is not restored.
    void settingsApplyFontAndTabWidth()
    {
        WSyntaxEditor editor;
        const QFont before = editor.font();
        CSettings::instance().setEditorFont(before.family(), before.pointSize() + 7);
        Q_EMIT CSettings::instance().do_apply();
        QCOMPARE(editor.font().pointSize(), before.pointSize() + 7);
        QCOMPARE(editor.tabStopDistance(),
                 4 * QFontMetricsF(editor.font()).horizontalAdvance(QLatin1Char(' ')));
    }

    void finderIncrementalSearch()
    {
        FinderWindow f("DATA: abc;\nMODEL: ab ~ AB;|");
        QSignalSpy found(f.finder, &WTextFinder::did_find);
        QLineEdit *find = field(f.finder, "leFind");
        QTest::keyClicks(find, "ab");
        QCOMPARE(markedText(*f.editor), QString("DATA: [ab|c;\nMODEL: ab ~ AB;"));
        QCOMPARE(found.count(), 2);
        QCOMPARE(found.last().first().toString(), QString("ab"));
        // Neither a text without a match nor an empty field leaves anything selected.
        QTest::keyClick(find, Qt::Key_X);
        QCOMPARE(found.count(), 2);
        QCOMPARE(markedText(*f.editor), QString("|DATA: abc;\nMODEL: ab ~ AB;"));
        for (int i = 0; i < 3; ++i)
            QTest::keyClick(find, Qt::Key_Backspace);
        QCOMPARE(markedText(*f.editor), QString("|DATA: abc;\nMODEL: ab ~ AB;"));
    }

    void finderActions_data()
    {
        addTableRows(QFINDTESTDATA("finderactions.txt"), {"before", "action", "after"});
    }

    void finderActions()
    {
        QFETCH(QString, action);
        FinderWindow f(cell("before"));
        field(f.finder, "leFind")->setText("ab");
        showActive(&f.window);
        if (action.startsWith("tb"))
            QTest::mouseClick(button(f.finder, action), Qt::LeftButton);
        else if (action.startsWith("le"))
            QTest::keyClick(field(f.finder, action), Qt::Key_Return);
        else
            QTest::keySequence(f.editor, QKeySequence(action));
        // A button's shortcut clicks it with a short animation, so the result comes a moment later.
        QTRY_COMPARE(markedText(*f.editor), cell("after"));
    }

    void finderWithoutEditorIsInert()
    {
        WTextFinder finder;
        QTest::keyClicks(field(&finder, "leFind"), "ab");
        for (const char *name : {"tbFindPrev", "tbFindNext", "tbReplacePrev", "tbReplaceNext"})
            QTest::mouseClick(button(&finder, name), Qt::LeftButton);
        QVERIFY(!finder.replace());
        // An editor that goes away leaves the bar inert again rather than dangling.
        auto *editor = new WSyntaxEditor;
        finder.setEditor(editor);
        delete editor;
        QVERIFY(!finder.findNext());
    }

    void finderCloseAndFocus()
    {
        FinderWindow f("|");
        f.finder->hide();
        showActive(&f.window);
        f.finder->show();
        QCOMPARE(f.window.focusWidget(), field(f.finder, "leFind"));

        QSignalSpy close(f.finder, &WTextFinder::do_close);
        QTest::mouseClick(button(f.finder, "toolButton"), Qt::LeftButton);
        QTest::keyClick(field(f.finder, "leFind"), Qt::Key_Escape);
        QCOMPARE(close.count(), 2);
        QCOMPARE(close.first().first().toBool(), false);
    }

    void listEditorButtons_data()
    {
        addTableRows(QFINDTESTDATA("listeditor.txt"),
                     {"items", "currentRow", "buttonName", "expected", "expectedCurrent"});
    }

    void listEditorButtons()
    {
        QFETCH(QString, items);
        QFETCH(QString, currentRow);
        QFETCH(QString, expected);
        QFETCH(QString, expectedCurrent);
        WListEditor editor;
        editor.setItems(items.split(',', Qt::SkipEmptyParts));
        auto *list = child<QListWidget>(&editor, "listWidget");
        list->setCurrentRow(currentRow.toInt());
        QTest::mouseClick(button(&editor, cell("buttonName")), Qt::LeftButton);
        QCOMPARE(editor.items(), expected.split(','));
        if (!expectedCurrent.isEmpty()) {
            QCOMPARE(list->currentItem()->text(), expectedCurrent);
            QVERIFY(!list->isPersistentEditorOpen(list->currentItem()));
        }
    }

    void listEditorRenamesThroughUpdate()
    {
        WListEditor editor;
        showActive(&editor);
        QToolButton *update = button(&editor, "tbUpdate");
        QTest::mouseClick(update, Qt::LeftButton);
        QVERIFY(!update->isChecked()); // nothing to edit
        editor.setItems({"$COMMANDS", "--flag"});
        auto *list = child<QListWidget>(&editor, "listWidget");
        list->setCurrentRow(1);
        QTest::mouseClick(update, Qt::LeftButton);
        auto *edit = qobject_cast<QLineEdit *>(list->indexWidget(list->model()->index(1, 0)));
        QVERIFY(edit);
        edit->selectAll();
        QTest::keyClicks(edit, "--seed");
        // Return both ends the edit and unchecks the update button; what was typed stays.
        QTest::keyClick(edit, Qt::Key_Return);
        QTRY_VERIFY(!update->isChecked());
        QVERIFY(!list->isPersistentEditorOpen(list->item(1)));
        QCOMPARE(editor.items(), QStringList({"$COMMANDS", "--seed"}));

        // A double-click edits; another row becoming current closes the editor.
        const QPoint first = list->visualItemRect(list->item(0)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, first);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, first);
        QVERIFY(update->isChecked());
        QVERIFY(list->isPersistentEditorOpen(list->item(0)));
        list->setCurrentRow(1);
        QVERIFY(!update->isChecked());
        QVERIFY(!list->isPersistentEditorOpen(list->item(0)));
    }

    void titleEditorCheck()
    {
        DTitleEditor dialog;
        dialog.setCheck([](const QString &vText) {
            return vText.contains(' ') ? QStringLiteral("No blanks.") : QString();
        });
        dialog.setTitle("x y");
        showActive(&dialog);
        QSignalSpy ok(&dialog, &DTitleEditor::ok);
        auto *message = child<QLabel>(&dialog, "lblMessage");
        QTest::mouseClick(button(&dialog, "tb_OK"), Qt::LeftButton);
        QVERIFY(dialog.isVisible());
        QVERIFY(message->isVisible());
        QCOMPARE(message->text(), QString("No blanks."));

        QLineEdit *title = field(&dialog, "le_Title");
        QTest::keyClick(title, Qt::Key_Backspace);
        QVERIFY(message->isHidden());
        title->selectAll();
        QTest::keyClicks(title, "xz");
        QTest::keyClick(title, Qt::Key_Return);
        QCOMPARE(ok.count(), 1);
        QCOMPARE(ok.first().first().toString(), QString("xz"));
        QVERIFY(!dialog.isVisible());
    }

    // Without a check every text is accepted, the empty one included.
    void titleEditorCloses_data()
    {
        QTest::addColumn<QString>("way"); // a button, or the Escape key
        for (const char *way : {"tb_OK", "tb_Cancel", "Escape"})
            QTest::newRow(way) << QString(way);
    }

    void titleEditorCloses()
    {
        QFETCH(QString, way);
        const bool accepted = way == "tb_OK";
        DTitleEditor dialog;
        showActive(&dialog);
        QSignalSpy ok(&dialog, &DTitleEditor::ok);
        QSignalSpy cancelled(&dialog, &DTitleEditor::cancel);
        if (way == "Escape")
            QTest::keyClick(field(&dialog, "le_Title"), Qt::Key_Escape);
        else
            QTest::mouseClick(button(&dialog, way), Qt::LeftButton);
        QCOMPARE(ok.count(), int(accepted));
        QCOMPARE(cancelled.count(), int(!accepted));
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(accepted ? QDialog::Accepted : QDialog::Rejected));
    }
};

TOVREL_TEST_MAIN(TestEditorWidgets)
#include "tst_editorwidgets.moc"
