#include "config/csettings.h"
#include "editor/dtitleeditor.h"
#include "editor/syntaxhighlighter.h"
#include "editor/wlisteditor.h"
#include "editor/wsyntaxeditor.h"
#include "editor/wtextfinder.h"
#include "testmain.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QSignalSpy>
#include <QTextBlock>
#include <QTextLayout>
#include <QToolButton>
#include <QVBoxLayout>

#include <memory>

namespace {

// Shows the widget in its own active window, as keyboard shortcuts need one.
void showActive(QWidget *vWindow)
{
    vWindow->show();
    vWindow->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(vWindow));
}

void setSelection(QTextEdit &vEditor, int vAnchor, int vPosition)
{
    QTextCursor cursor = vEditor.textCursor();
    cursor.setPosition(vAnchor);
    cursor.setPosition(vPosition, QTextCursor::KeepAnchor);
    vEditor.setTextCursor(cursor);
}

QToolButton *button(QWidget *vParent, const char *vName)
{
    auto *found = vParent->findChild<QToolButton *>(QLatin1String(vName));
    Q_ASSERT(found);
    return found;
}

} // namespace

class TestEditorWidgets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void editorCommands_data();
    void editorCommands();
    void commandIsOneUndoStep_data();
    void commandIsOneUndoStep();
    void mplusModeCommentsWithExclamation();
    void currentLineHighlight();
    void schemeFollowsPaletteLightness_data();
    void schemeFollowsPaletteLightness();
    void settingsApplyFontAndTabWidth();
    void editorShortcutsThroughTyping();

    void finderIncrementalSearch();
    void finderStopsAtDocumentEnds();
    void finderReplace_data();
    void finderReplace();
    void finderShortcuts_data();
    void finderShortcuts();
    void finderFieldKeys_data();
    void finderFieldKeys();
    void finderWithoutEditorIsInert();
    void finderCloseAndFocus();

    void listEditorInsert_data();
    void listEditorInsert();
    void listEditorMoveAndDelete_data();
    void listEditorMoveAndDelete();
    void listEditorRenamesThroughUpdate();
    void listEditorUpdateNeedsARow();

    void titleEditorCheck();
    void titleEditorAcceptsWithoutCheck();
    void titleEditorCancel_data();
    void titleEditorCancel();
    void titleEditorWidensForTitle();
};

// Every line command and key the editor handles itself, one row per case: the text, the
// selection before (anchor, position), what is done, then the text and selection after.
void TestEditorWidgets::editorCommands_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("anchor");
    QTest::addColumn<int>("position");
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("expectedText");
    QTest::addColumn<int>("expectedAnchor");
    QTest::addColumn<int>("expectedPosition");

    auto row = [](const char *vName, const QString &vText, int vAnchor, int vPosition,
                  const QString &vAction, const QString &vExpected, int vExpectedAnchor,
                  int vExpectedPosition) {
        QTest::newRow(vName) << vText << vAnchor << vPosition << vAction << vExpected
                             << vExpectedAnchor << vExpectedPosition;
    };

    row("select line takes the line break", "ab\ncd\nef", 4, 4, "selectLine", "ab\ncd\nef", 3, 6);
    row("select line on the last line has no line break", "ab\ncd", 4, 4, "selectLine", "ab\ncd", 3,
        5);
    row("select line widens a selection to whole lines", "ab\ncd\nef", 1, 4, "selectLine",
        "ab\ncd\nef", 0, 6);
    row("select line stops at the document end", "ab\ncd\nef", 1, 7, "selectLine", "ab\ncd\nef", 0,
        8);

    row("duplicate the line under the cursor", "x", 1, 1, "duplicateSelection", "x\nx", 3, 3);
    row("duplicate keeps the column", "abc\nd", 1, 1, "duplicateSelection", "abc\nabc\nd", 5, 5);
    row("duplicate a selection made backwards selects the copy", "ab\ncd", 2, 0,
        "duplicateSelection", "abab\ncd", 4, 2);
    row("duplicate a forward selection", "ab\ncd", 0, 2, "duplicateSelection", "abab\ncd", 6, 4);

    row("indent the cursor line", "ab", 1, 1, "addIndent", "\tab", 2, 2);
    row("indent two lines", "ab\ncd", 1, 4, "addIndent", "\tab\n\tcd", 2, 6);
    row("indent two lines selected backwards", "ab\ncd", 4, 1, "addIndent", "\tab\n\tcd", 6, 2);
    row("indent leaves out a line the selection only touches", "ab\ncd\nef", 0, 6, "addIndent",
        "\tab\n\tcd\nef", 1, 8);

    row("unindent four spaces", "    x", 5, 5, "unIndent", "x", 1, 1);
    row("unindent at most four spaces", "     x", 6, 6, "unIndent", " x", 2, 2);
    row("unindent a tab", "\tx", 2, 2, "unIndent", "x", 1, 1);
    row("unindent blanks up to a tab", "  \tx", 4, 4, "unIndent", "x", 1, 1);
    row("unindent stops at text", "a  x", 1, 1, "unIndent", "a  x", 1, 1);
    row("unindent an empty line", "", 0, 0, "unIndent", "", 0, 0);
    row("unindent a selection", "    a\n\tb", 0, 8, "unIndent", "a\nb", 0, 3);
    row("unindent a selection starting mid-line", "    a\n  b", 5, 9, "unIndent", "a\nb", 1, 3);
    row("unindent a selection made backwards", "    a\n\tb", 8, 4, "unIndent", "a\nb", 3, 0);
    row("unindent with nothing to remove", "a\nb", 0, 3, "unIndent", "a\nb", 0, 3);

    row("comment: marker and blank removed", "  # x", 5, 5, "comment", "  x", 3, 3);
    row("comment: marker removed", "  #x", 4, 4, "comment", "  x", 3, 3);
    row("comment: indented line commented", "  x", 3, 3, "comment", "  # x", 5, 5);
    row("comment: marker at line start removed", "#x", 2, 2, "comment", "x", 1, 1);
    row("comment: marker and blank at line start removed", "# x", 3, 3, "comment", "x", 1, 1);
    row("comment: empty line", "", 0, 0, "comment", "# ", 2, 2);
    row("comment: plain line", "x", 0, 0, "comment", "# x", 2, 2);
    row("comment: only the cursor line", "a\nb", 3, 3, "comment", "a\n# b", 5, 5);
    row("block comment at the smallest indentation", "a\n  # b\n  c", 0, 11, "comment",
        "# a\n#   # b\n#   c", 2, 17);
    row("block uncomment one level", "# a\n#   # b\n#   c", 0, 17, "comment", "a\n  # b\n  c", 0,
        11);
    row("block comment of indented lines", "  a\n    b", 0, 9, "comment", "  # a\n  #   b", 2, 13);
    row("block uncomment without blanks", "#a\n  #b", 7, 0, "comment", "a\n  b", 5, 0);

    row("tab inserts a tab", "ab", 1, 1, "Tab", "a\tb", 2, 2);
    row("tab replaces a one-line selection", "abcd", 1, 3, "Tab", "a\td", 2, 2);
    row("tab indents a selection over two lines", "ab\ncd", 1, 4, "Tab", "\tab\n\tcd", 2, 6);
    row("return keeps the indentation", "    abcdef", 7, 7, "Return", "    abc\n    def", 12, 12);
    row("return inside the indentation copies what is left of it", "    abc", 2, 2, "Return",
        "  \n    abc", 5, 5);
    row("return keeps tabs", "\t x", 3, 3, "Return", "\t x\n\t ", 6, 6);
    row("return replaces a selection", "ab cd", 2, 3, "Return", "ab\ncd", 3, 3);
    row("left collapses to the selection start", "abcd", 1, 3, "Left", "abcd", 1, 1);
    row("right collapses to the selection end", "abcd", 3, 1, "Right", "abcd", 3, 3);
    row("left without a selection moves", "abcd", 2, 2, "Left", "abcd", 1, 1);
    row("up collapses and goes one line up", "ab\ncd\nef", 4, 7, "Up", "ab\ncd\nef", 1, 1);
    row("down collapses and goes one line down", "ab\ncd\nef", 1, 4, "Down", "ab\ncd\nef", 7, 7);
    row("shift+up extends the selection", "ab\ncd\nef", 7, 8, "Shift+Up", "ab\ncd\nef", 7, 5);
    row("ctrl+shift+left extends by a word", "ab cd", 5, 4, "Ctrl+Shift+Left", "ab cd", 5, 3);
}

void TestEditorWidgets::editorCommands()
{
    QFETCH(QString, text);
    QFETCH(int, anchor);
    QFETCH(int, position);
    QFETCH(QString, action);
    QFETCH(QString, expectedText);
    QFETCH(int, expectedAnchor);
    QFETCH(int, expectedPosition);

    WSyntaxEditor editor;
    showActive(&editor);
    editor.setPlainText(text);
    setSelection(editor, anchor, position);

    const QKeySequence keys(action);
    if (action.front().isLower()) {
        QVERIFY(QMetaObject::invokeMethod(&editor, action.toLatin1().constData()));
    } else {
        QVERIFY(!keys.isEmpty());
        QTest::keySequence(&editor, keys);
    }

    QCOMPARE(editor.toPlainText(), expectedText);
    QCOMPARE(editor.textCursor().anchor(), expectedAnchor);
    QCOMPARE(editor.textCursor().position(), expectedPosition);
}

void TestEditorWidgets::commandIsOneUndoStep_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("anchor");
    QTest::addColumn<int>("position");
    QTest::addColumn<QString>("action");

    QTest::newRow("indent") << "ab\ncd\nef" << 0 << 7 << "addIndent";
    QTest::newRow("unindent") << "    ab\n\tcd" << 0 << 10 << "unIndent";
    QTest::newRow("block comment") << "ab\n  cd" << 0 << 7 << "comment";
    QTest::newRow("block uncomment") << "# ab\n# cd" << 0 << 9 << "comment";
    QTest::newRow("line comment") << "  # ab" << 0 << 0 << "comment";
    QTest::newRow("duplicate") << "ab\ncd" << 1 << 1 << "duplicateSelection";
    QTest::newRow("tab over lines") << "ab\ncd" << 0 << 4 << "Tab";
}

void TestEditorWidgets::commandIsOneUndoStep()
{
    QFETCH(QString, text);
    QFETCH(int, anchor);
    QFETCH(int, position);
    QFETCH(QString, action);

    WSyntaxEditor editor;
    showActive(&editor);
    editor.setPlainText(text);
    setSelection(editor, anchor, position);
    if (action == "Tab")
        QTest::keyClick(&editor, Qt::Key_Tab);
    else
        QVERIFY(QMetaObject::invokeMethod(&editor, action.toLatin1().constData()));
    QVERIFY(editor.toPlainText() != text);

    QTest::keySequence(&editor, QKeySequence::Undo);
    QCOMPARE(editor.toPlainText(), text);
    QTest::keySequence(&editor, QKeySequence::Redo);
    QVERIFY(editor.toPlainText() != text);
}

void TestEditorWidgets::mplusModeCommentsWithExclamation()
{
    WSyntaxEditor editor;
    editor.setPlainText("x\n  y");
    editor.setSyntaxMode(SyntaxMode::Mplus);
    QCOMPARE(editor.syntaxMode(), SyntaxMode::Mplus);
    QCOMPARE(editor.highlighter()->syntaxMode(), SyntaxMode::Mplus);

    setSelection(editor, 0, 0);
    editor.comment();
    QCOMPARE(editor.toPlainText(), QString("! x\n  y"));
    // Lines commented with "!" are recognised as commented in this mode.
    setSelection(editor, 0, 7);
    editor.comment();
    QCOMPARE(editor.toPlainText(), QString("! ! x\n  ! y"));
    editor.comment();
    QCOMPARE(editor.toPlainText(), QString("! x\n  y"));

    editor.setSyntaxMode(SyntaxMode::Engine);
    QCOMPARE(editor.commentMarker(), CSettings::instance().comment());
}

void TestEditorWidgets::currentLineHighlight()
{
    WSyntaxEditor editor;
    showActive(&editor);
    editor.setPlainText("ab\ncd");
    setSelection(editor, 4, 4);
    QCOMPARE(editor.extraSelections().size(), 1);
    const QTextEdit::ExtraSelection line = editor.extraSelections().first();
    QCOMPARE(line.format.background().color(), editor.lineHighlightColour());
    QVERIFY(line.format.property(QTextFormat::FullWidthSelection).toBool());
    QCOMPARE(line.cursor.blockNumber(), 1);

    QTest::keyClick(&editor, Qt::Key_Left, Qt::ShiftModifier);
    QVERIFY(editor.extraSelections().isEmpty());
    QTest::keyClick(&editor, Qt::Key_Up);
    QCOMPARE(editor.extraSelections().size(), 1);
    QCOMPARE(editor.extraSelections().first().cursor.blockNumber(), 0);
}

void TestEditorWidgets::schemeFollowsPaletteLightness_data()
{
    QTest::addColumn<QColor>("window");
    QTest::addColumn<bool>("dark");
    QTest::newRow("light window") << QColor("#f0f0f0") << false;
    QTest::newRow("dark window") << QColor("#2b2b2b") << true;
}

void TestEditorWidgets::schemeFollowsPaletteLightness()
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
    const QList<QTextLayout::FormatRange> formats
        = editor->document()->firstBlock().layout()->formats();
    QVERIFY(!formats.isEmpty());
    QCOMPARE(formats.first().format.foreground().color(), scheme.value("function").value<QColor>());
}

void TestEditorWidgets::settingsApplyFontAndTabWidth()
{
    WSyntaxEditor editor;
    const QFont before = editor.font();
    CSettings::instance().setEditorFont(before.family(), before.pointSize() + 7);
    Q_EMIT CSettings::instance().do_apply();
    QCOMPARE(editor.font().pointSize(), before.pointSize() + 7);
    QCOMPARE(editor.tabStopDistance(),
             4 * QFontMetricsF(editor.font()).horizontalAdvance(QLatin1Char(' ')));
    CSettings::instance().setEditorFont(before.family(), before.pointSize());
    Q_EMIT CSettings::instance().do_apply();
}

void TestEditorWidgets::editorShortcutsThroughTyping()
{
    // Typing a script line by line keeps its indentation, and the text stays plain.
    WSyntaxEditor editor;
    showActive(&editor);
    QTest::keyClicks(&editor, "MODEL:");
    QTest::keyClick(&editor, Qt::Key_Return);
    QTest::keyClick(&editor, Qt::Key_Tab);
    QTest::keyClicks(&editor, "y ~ x;");
    QTest::keyClick(&editor, Qt::Key_Return);
    QTest::keyClicks(&editor, "z ~ x;");
    QCOMPARE(editor.toPlainText(), QString("MODEL:\n\ty ~ x;\n\tz ~ x;"));
    QVERIFY(!editor.acceptRichText());
}

void TestEditorWidgets::finderIncrementalSearch()
{
    QWidget window;
    auto *layout = new QVBoxLayout(&window);
    auto *editor = new WSyntaxEditor(&window);
    auto *finder = new WTextFinder(&window);
    layout->addWidget(editor);
    layout->addWidget(finder);
    finder->setEditor(editor);
    showActive(&window);
    editor->setPlainText("DATA: abc;\nMODEL: ab ~ AB;");
    setSelection(*editor, 20, 20);

    auto *find = window.findChild<QLineEdit *>("leFind");
    QSignalSpy found(finder, &WTextFinder::did_find);
    QTest::keyClicks(find, "ab");
    QCOMPARE(found.count(), 2);
    QCOMPARE(found.last().first().toString(), QString("ab"));
    QCOMPARE(editor->textCursor().selectionStart(), 6);
    QCOMPARE(editor->textCursor().selectedText(), QString("ab"));

    QTest::keyClick(find, Qt::Key_X);
    QCOMPARE(found.count(), 2);
    QVERIFY(!editor->textCursor().hasSelection());
    QCOMPARE(editor->textCursor().position(), 0);

    QTest::keyClick(find, Qt::Key_Backspace);
    QTest::keyClick(find, Qt::Key_Backspace);
    QTest::keyClick(find, Qt::Key_Backspace);
    QCOMPARE(find->text(), QString());
    QVERIFY(!editor->textCursor().hasSelection());
    QCOMPARE(editor->textCursor().position(), 0);
}

void TestEditorWidgets::finderStopsAtDocumentEnds()
{
    WSyntaxEditor editor;
    WTextFinder finder;
    finder.setEditor(&editor);
    editor.setPlainText("ab Ab aB");
    QTest::keyClicks(finder.findChild<QLineEdit *>("leFind"), "ab");
    QSignalSpy next(&finder, &WTextFinder::did_findNext);
    QSignalSpy previous(&finder, &WTextFinder::did_findPrev);

    QVERIFY(finder.findNext());
    QVERIFY(finder.findNext());
    QCOMPARE(editor.textCursor().selectionStart(), 6);
    QVERIFY(!finder.findNext());
    QCOMPARE(next.count(), 2);
    QCOMPARE(editor.textCursor().selectionStart(), 6);
    QCOMPARE(editor.textCursor().selectedText(), QString("aB"));

    QVERIFY(finder.findPrev());
    QVERIFY(finder.findPrev());
    QCOMPARE(editor.textCursor().selectionStart(), 0);
    QVERIFY(!finder.findPrev());
    QCOMPARE(previous.count(), 2);
    QCOMPARE(editor.textCursor().selectionStart(), 0);
}

void TestEditorWidgets::finderReplace_data()
{
    QTest::addColumn<int>("anchor");
    QTest::addColumn<int>("position");
    QTest::addColumn<QString>("buttonName");
    QTest::addColumn<QString>("expectedText");
    QTest::addColumn<int>("expectedStart");

    // Text "xy ab ab", searching "ab", replacing with "Q".
    QTest::newRow("replace-next replaces a selection that is no match") << 0 << 2 << "tbReplaceNext"
                                                                        << "Q ab ab" << 2;
    QTest::newRow("replace-next without a selection only finds") << 1 << 1 << "tbReplaceNext"
                                                                 << "xy ab ab" << 3;
    QTest::newRow("replace-next on a match moves to the next one") << 3 << 5 << "tbReplaceNext"
                                                                   << "xy Q ab" << 5;
    QTest::newRow("replace-previous replaces and searches backwards") << 6 << 8 << "tbReplacePrev"
                                                                      << "xy ab Q" << 3;
}

void TestEditorWidgets::finderReplace()
{
    QFETCH(int, anchor);
    QFETCH(int, position);
    QFETCH(QString, buttonName);
    QFETCH(QString, expectedText);
    QFETCH(int, expectedStart);

    WSyntaxEditor editor;
    WTextFinder finder;
    finder.setEditor(&editor);
    editor.setPlainText("xy ab ab");
    finder.findChild<QLineEdit *>("leFind")->setText("ab");
    finder.findChild<QLineEdit *>("leReplace")->setText("Q");
    setSelection(editor, anchor, position);

    QTest::mouseClick(button(&finder, buttonName.toLatin1().constData()), Qt::LeftButton);
    QCOMPARE(editor.toPlainText(), expectedText);
    QCOMPARE(editor.textCursor().selectedText(), QString("ab"));
    QCOMPARE(editor.textCursor().selectionStart(), expectedStart);
}

void TestEditorWidgets::finderShortcuts_data()
{
    QTest::addColumn<QKeySequence>("keys");
    QTest::addColumn<int>("expectedStart");
    QTest::addColumn<QString>("expectedText");

    // Text "ab ab ab" with the middle match selected; search "ab", replacement "Q".
    QTest::newRow("F3 finds the next match") << QKeySequence("F3") << 6 << "ab ab ab";
    QTest::newRow("Shift+F3 finds the previous match")
        << QKeySequence("Shift+F3") << 0 << "ab ab ab";
    QTest::newRow("Ctrl+G replaces and finds the next match")
        << QKeySequence("Ctrl+G") << 5 << "ab Q ab";
    QTest::newRow("Ctrl+Shift+G replaces and finds the previous match")
        << QKeySequence("Ctrl+Shift+G") << 0 << "ab Q ab";
}

void TestEditorWidgets::finderShortcuts()
{
    QFETCH(QKeySequence, keys);
    QFETCH(int, expectedStart);
    QFETCH(QString, expectedText);

    QWidget window;
    auto *layout = new QVBoxLayout(&window);
    auto *editor = new WSyntaxEditor(&window);
    auto *finder = new WTextFinder(&window);
    layout->addWidget(editor);
    layout->addWidget(finder);
    finder->setEditor(editor);
    showActive(&window);
    editor->setPlainText("ab ab ab");
    finder->findChild<QLineEdit *>("leFind")->setText("ab");
    finder->findChild<QLineEdit *>("leReplace")->setText("Q");
    setSelection(*editor, 3, 5);
    editor->setFocus();

    // A button's shortcut clicks it with a short animation, so the result comes a moment later.
    QTest::keySequence(editor, keys);
    QTRY_COMPARE(editor->toPlainText(), expectedText);
    QTRY_COMPARE(editor->textCursor().selectionStart(), expectedStart);
}

void TestEditorWidgets::finderFieldKeys_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("expectedText");
    QTest::addColumn<int>("expectedStart");
    QTest::addColumn<int>("expectedCloses");

    // Text "ab ab ab" with the first match selected; search "ab", replacement "Q".
    QTest::newRow("return in the find field finds the next match")
        << "leFind" << int(Qt::Key_Return) << "ab ab ab" << 3 << 0;
    QTest::newRow("return in the replace field replaces and finds the next match")
        << "leReplace" << int(Qt::Key_Return) << "Q ab ab" << 2 << 0;
    QTest::newRow("escape closes the bar")
        << "leFind" << int(Qt::Key_Escape) << "ab ab ab" << 0 << 1;
}

void TestEditorWidgets::finderFieldKeys()
{
    QFETCH(QString, field);
    QFETCH(int, key);
    QFETCH(QString, expectedText);
    QFETCH(int, expectedStart);
    QFETCH(int, expectedCloses);

    WSyntaxEditor editor;
    WTextFinder finder;
    finder.setEditor(&editor);
    editor.setPlainText("ab ab ab");
    finder.findChild<QLineEdit *>("leReplace")->setText("Q");
    QTest::keyClicks(finder.findChild<QLineEdit *>("leFind"), "ab");
    QSignalSpy close(&finder, &WTextFinder::do_close);

    QTest::keyClick(finder.findChild<QLineEdit *>(field), Qt::Key(key));
    QCOMPARE(editor.toPlainText(), expectedText);
    QCOMPARE(editor.textCursor().selectionStart(), expectedStart);
    QCOMPARE(close.count(), expectedCloses);
}

void TestEditorWidgets::finderWithoutEditorIsInert()
{
    WTextFinder finder;
    QSignalSpy found(&finder, &WTextFinder::did_find);
    QSignalSpy next(&finder, &WTextFinder::did_findNext);
    QSignalSpy previous(&finder, &WTextFinder::did_findPrev);
    QTest::keyClicks(finder.findChild<QLineEdit *>("leFind"), "ab");
    for (const char *name : {"tbFindPrev", "tbFindNext", "tbReplacePrev", "tbReplaceNext"})
        QTest::mouseClick(button(&finder, name), Qt::LeftButton);
    QVERIFY(!finder.findNext());
    QVERIFY(!finder.findPrev());
    QVERIFY(!finder.replace());
    QCOMPARE(found.count() + next.count() + previous.count(), 0);

    // An editor that goes away leaves the bar inert again rather than dangling.
    auto *editor = new WSyntaxEditor;
    finder.setEditor(editor);
    delete editor;
    QVERIFY(!finder.findNext());
}

void TestEditorWidgets::finderCloseAndFocus()
{
    QWidget window;
    auto *layout = new QVBoxLayout(&window);
    auto *editor = new WSyntaxEditor(&window);
    auto *finder = new WTextFinder(&window);
    layout->addWidget(editor);
    layout->addWidget(finder);
    finder->hide();
    showActive(&window);
    editor->setFocus();

    finder->show();
    QCOMPARE(window.focusWidget(), finder->findChild<QLineEdit *>("leFind"));

    QSignalSpy close(finder, &WTextFinder::do_close);
    QTest::mouseClick(button(finder, "toolButton"), Qt::LeftButton);
    QCOMPARE(close.count(), 1);
    QCOMPARE(close.first().first().toBool(), false);
}

void TestEditorWidgets::listEditorInsert_data()
{
    QTest::addColumn<QStringList>("items");
    QTest::addColumn<int>("currentRow");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<int>("expectedRow");

    QTest::newRow("into an empty list") << QStringList() << -1 << QStringList {"New Item 1"} << 0;
    QTest::newRow("above the current row")
        << QStringList {"a", "b", "c"} << 1 << QStringList {"a", "New Item 4", "b", "c"} << 1;
    QTest::newRow("at the top without a current row")
        << QStringList {"a"} << -1 << QStringList {"New Item 2", "a"} << 0;
}

void TestEditorWidgets::listEditorInsert()
{
    QFETCH(QStringList, items);
    QFETCH(int, currentRow);
    QFETCH(QStringList, expected);
    QFETCH(int, expectedRow);

    WListEditor editor;
    editor.setItems(items);
    auto *list = editor.findChild<QListWidget *>("listWidget");
    list->setCurrentRow(currentRow);
    QTest::mouseClick(button(&editor, "tbInsert"), Qt::LeftButton);
    QCOMPARE(editor.items(), expected);
    QCOMPARE(list->currentRow(), expectedRow);
    QVERIFY(!list->isPersistentEditorOpen(list->currentItem()));
}

void TestEditorWidgets::listEditorMoveAndDelete_data()
{
    QTest::addColumn<int>("currentRow");
    QTest::addColumn<QString>("buttonName");
    QTest::addColumn<QStringList>("expected");

    // On the list a, b, c, d.
    QTest::newRow("up") << 2 << "tbUp" << QStringList {"a", "c", "b", "d"};
    QTest::newRow("down") << 1 << "tbDown" << QStringList {"a", "c", "b", "d"};
    QTest::newRow("up from the top stays") << 0 << "tbUp" << QStringList {"a", "b", "c", "d"};
    QTest::newRow("down from the bottom stays")
        << 3 << "tbDown" << QStringList {"a", "b", "c", "d"};
    QTest::newRow("up from the bottom counts from the row made current")
        << 3 << "tbUp" << QStringList {"a", "d", "b", "c"};
    QTest::newRow("delete") << 1 << "tbDelete" << QStringList {"a", "c", "d"};
}

void TestEditorWidgets::listEditorMoveAndDelete()
{
    QFETCH(int, currentRow);
    QFETCH(QString, buttonName);
    QFETCH(QStringList, expected);

    WListEditor editor;
    editor.setItems({"a", "b", "c", "d"});
    auto *list = editor.findChild<QListWidget *>("listWidget");
    list->setCurrentRow(currentRow);
    const QString moved = list->currentItem()->text();
    QTest::mouseClick(button(&editor, buttonName.toLatin1().constData()), Qt::LeftButton);
    QCOMPARE(editor.items(), expected);
    if (buttonName != "tbDelete")
        QCOMPARE(list->currentItem()->text(), moved);
}

void TestEditorWidgets::listEditorRenamesThroughUpdate()
{
    WListEditor editor;
    showActive(&editor);
    editor.setItems({"$COMMANDS", "--flag"});
    auto *list = editor.findChild<QListWidget *>("listWidget");
    QToolButton *update = button(&editor, "tbUpdate");
    list->setCurrentRow(1);

    QTest::mouseClick(update, Qt::LeftButton);
    QVERIFY(update->isChecked());
    QVERIFY(list->isPersistentEditorOpen(list->item(1)));
    auto *field = qobject_cast<QLineEdit *>(list->indexWidget(list->model()->index(1, 0)));
    QVERIFY(field);
    field->selectAll();
    QTest::keyClicks(field, "--seed");

    // Return both ends the edit and unchecks the update button; what was typed stays.
    QTest::keyClick(field, Qt::Key_Return);
    QTRY_VERIFY(!update->isChecked());
    QVERIFY(!list->isPersistentEditorOpen(list->item(1)));
    QCOMPARE(editor.items(), QStringList({"$COMMANDS", "--seed"}));

    // Another row becoming current closes the editor and unchecks the button.
    const QPoint first = list->visualItemRect(list->item(0)).center();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, first);
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, first);
    QVERIFY(update->isChecked());
    QVERIFY(list->isPersistentEditorOpen(list->item(0)));
    list->setCurrentRow(1);
    QVERIFY(!update->isChecked());
    QVERIFY(!list->isPersistentEditorOpen(list->item(0)));
}

void TestEditorWidgets::listEditorUpdateNeedsARow()
{
    WListEditor editor;
    QToolButton *update = button(&editor, "tbUpdate");
    QTest::mouseClick(update, Qt::LeftButton);
    QVERIFY(!update->isChecked());
    QVERIFY(editor.items().isEmpty());
}

void TestEditorWidgets::titleEditorCheck()
{
    DTitleEditor dialog;
    dialog.setCheck([](const QString &vText) {
        return vText.contains(' ') ? QStringLiteral("Names must not hold blanks.") : QString();
    });
    dialog.setTitle("x y");
    showActive(&dialog);
    QSignalSpy ok(&dialog, &DTitleEditor::ok);
    auto *message = dialog.findChild<QLabel *>("lblMessage");
    QVERIFY(message->isHidden());

    QTest::mouseClick(button(&dialog, "tb_OK"), Qt::LeftButton);
    QVERIFY(dialog.isVisible());
    QVERIFY(message->isVisible());
    QCOMPARE(message->text(), QString("Names must not hold blanks."));
    QCOMPARE(ok.count(), 0);

    auto *field = dialog.findChild<QLineEdit *>("le_Title");
    QTest::keyClick(field, Qt::Key_Backspace);
    QVERIFY(message->isHidden());
    QTest::keyClick(field, Qt::Key_Return);
    QVERIFY(message->isVisible());
    field->selectAll();
    QTest::keyClicks(field, "xz");
    QTest::keyClick(field, Qt::Key_Return);
    QCOMPARE(ok.count(), 1);
    QCOMPARE(ok.first().first().toString(), QString("xz"));
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
}

void TestEditorWidgets::titleEditorAcceptsWithoutCheck()
{
    DTitleEditor dialog;
    showActive(&dialog);
    QSignalSpy ok(&dialog, &DTitleEditor::ok);
    QTest::mouseClick(button(&dialog, "tb_OK"), Qt::LeftButton);
    QCOMPARE(ok.count(), 1);
    QCOMPARE(ok.first().first().toString(), QString());
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
}

void TestEditorWidgets::titleEditorCancel_data()
{
    QTest::addColumn<bool>("byEscape");
    QTest::newRow("cancel button") << false;
    QTest::newRow("escape key") << true;
}

void TestEditorWidgets::titleEditorCancel()
{
    QFETCH(bool, byEscape);
    DTitleEditor dialog;
    dialog.setCheck([](const QString &) { return QStringLiteral("never"); });
    showActive(&dialog);
    QTest::mouseClick(button(&dialog, "tb_OK"), Qt::LeftButton);
    QVERIFY(dialog.findChild<QLabel *>("lblMessage")->isVisible());

    QSignalSpy cancelled(&dialog, &DTitleEditor::cancel);
    QSignalSpy ok(&dialog, &DTitleEditor::ok);
    if (byEscape)
        QTest::keyClick(dialog.findChild<QLineEdit *>("le_Title"), Qt::Key_Escape);
    else
        QTest::mouseClick(button(&dialog, "tb_Cancel"), Qt::LeftButton);
    QCOMPARE(cancelled.count(), 1);
    QCOMPARE(ok.count(), 0);
    QVERIFY(!dialog.isVisible());
    QVERIFY(dialog.findChild<QLabel *>("lblMessage")->isHidden());
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
}

void TestEditorWidgets::titleEditorWidensForTitle()
{
    DTitleEditor dialog;
    const QString title = "A rather long data header name";
    dialog.setTitle(title);
    auto *field = dialog.findChild<QLineEdit *>("le_Title");
    QCOMPARE(field->text(), title);
    QCOMPARE(field->minimumWidth(), QFontMetrics(field->font()).horizontalAdvance(title + "__"));
    QCOMPARE(dialog.findChild<QLabel *>("label")->text(), QString("Data Header Names"));
}

TOVREL_TEST_MAIN(TestEditorWidgets)
#include "tst_editorwidgets.moc"
