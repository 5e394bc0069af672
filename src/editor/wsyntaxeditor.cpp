#include "wsyntaxeditor.h"

#include "config/csettings.h"
#include "editor/lineediting.h"
#include "editor/syntaxhighlighter.h"
#include "editor/wlinenumberarea.h"

#include <QFontMetricsF>
#include <QKeyEvent>
#include <QPalette>
#include <QRegularExpression>
#include <QResizeEvent>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QVariantMap>

namespace {
constexpr int kTabWidthInSpaces = 4;
constexpr int kCursorWidth = 2;
constexpr int kNoWrapWidth = 16777215;
const QString kTab = QStringLiteral("\t");
const QString kMplusMarker = QStringLiteral("!");

int lineEnd(const QTextBlock &vBlock)
{
    return vBlock.position() + vBlock.length() - 1;
}
} // namespace

WSyntaxEditor::WSyntaxEditor(QWidget *parent)
    : QTextEdit(parent)
{
    setWordWrapMode(QTextOption::NoWrap);
    if (objectName().isEmpty())
        setObjectName(QStringLiteral("WSyntaxEditor"));
    resize(400, 300);
    setStyleSheet(QString());
    setLineWrapMode(QTextEdit::NoWrap);
    setLineWrapColumnOrWidth(kNoWrapWidth);
    setWindowTitle(tr("Syntax Editor"));
    setFont(CSettings::instance().editorFont());

    m_highlighter = new SyntaxHighlighter(document());
    connect(&CSettings::instance(), &CSettings::did_apply, this, &WSyntaxEditor::applySettings);
    updateTabStop();

    connect(this, &QTextEdit::cursorPositionChanged, this, &WSyntaxEditor::highlightCurrentLine);
    connect(this, &QTextEdit::selectionChanged, this, &WSyntaxEditor::highlightCurrentLine);

    // Selected text keeps its syntax colours: only the selection's background changes.
    QPalette colours = palette();
    colours.setBrush(QPalette::All, QPalette::HighlightedText, QBrush());

    // The scheme follows the window's lightness, so a dark style gets the dark colours.
    QVariantMap scheme;
    if (colours.color(QPalette::Window).lightnessF() > 0.5) {
        m_highlighter->useLightColours();
        scheme = CSettings::instance().highlightColors();
    } else {
        m_highlighter->useDarkColours();
        scheme = CSettings::instance().highlightColorsDark();
    }
    colours.setBrush(QPalette::All, QPalette::Highlight,
                     scheme.value(QStringLiteral("selected")).value<QColor>());
    m_lineHighlightColour = scheme.value(QStringLiteral("lineHi")).value<QColor>();

    setPalette(colours);
    highlightCurrentLine();
    setCursorWidth(kCursorWidth);
    setAcceptRichText(false);

    m_commentMarker = CSettings::instance().comment();

    m_lineNumbers = new WLineNumberArea(
        this, scheme.value(QStringLiteral("comment")).value<QColor>(), m_lineHighlightColour);
    // Only a change of digit count moves the text; everything else is a repaint of the strip.
    connect(document(), &QTextDocument::blockCountChanged, this, &WSyntaxEditor::placeLineNumbers);
    auto repaint = [this] {
        m_lineNumbers->update();
    };
    connect(verticalScrollBar(), &QScrollBar::valueChanged, m_lineNumbers, repaint);
    connect(this, &QTextEdit::cursorPositionChanged, m_lineNumbers, repaint);
    connect(document(), &QTextDocument::contentsChanged, m_lineNumbers, repaint);
    connect(&CSettings::instance(), &CSettings::did_changeLineNumbers, this,
            &WSyntaxEditor::setLineNumbersVisible);
    setLineNumbersVisible(CSettings::instance().lineNumbers());
}

bool WSyntaxEditor::lineNumbersVisible() const
{
    return !m_lineNumbers->isHidden();
}

void WSyntaxEditor::setLineNumbersVisible(bool vVisible)
{
    m_lineNumbers->setVisible(vVisible);
    m_lineNumberWidth = -1;
    placeLineNumbers();
}

void WSyntaxEditor::placeLineNumbers()
{
    if (!m_lineNumbers)
        return;
    const int width = lineNumbersVisible() ? m_lineNumbers->neededWidth() : 0;
    if (width != m_lineNumberWidth) {
        m_lineNumberWidth = width;
        setViewportMargins(width, 0, 0, 0);
    }
    const QRect area = contentsRect();
    m_lineNumbers->setFont(font());
    m_lineNumbers->setGeometry(area.left(), area.top(), width, area.height());
}

void WSyntaxEditor::resizeEvent(QResizeEvent *e)
{
    QTextEdit::resizeEvent(e);
    placeLineNumbers();
}

void WSyntaxEditor::changeEvent(QEvent *e)
{
    QTextEdit::changeEvent(e);
    // Zooming and the settings change the font, and the numbers follow it.
    if (e->type() == QEvent::FontChange && m_lineNumbers)
        setLineNumbersVisible(lineNumbersVisible());
}

void WSyntaxEditor::goToLine(int vLine)
{
    const int line = qBound(1, vLine, document()->blockCount());
    setTextCursor(QTextCursor(document()->findBlockByNumber(line - 1)));
    ensureCursorVisible();
}

void WSyntaxEditor::setSyntaxMode(SyntaxMode vMode)
{
    m_highlighter->setSyntaxMode(vMode);
    m_commentMarker = vMode == SyntaxMode::Mplus ? kMplusMarker : CSettings::instance().comment();
}

SyntaxMode WSyntaxEditor::syntaxMode() const
{
    return m_highlighter->syntaxMode();
}

void WSyntaxEditor::applySettings()
{
    setFont(CSettings::instance().editorFont());
    updateTabStop();
}

void WSyntaxEditor::updateTabStop()
{
    setTabStopDistance(kTabWidthInSpaces
                       * QFontMetricsF(font()).horizontalAdvance(QLatin1Char(' ')));
}

void WSyntaxEditor::highlightCurrentLine()
{
    if (textCursor().hasSelection()) {
        setExtraSelections({});
        return;
    }
    if (isReadOnly())
        return;
    QTextEdit::ExtraSelection line;
    line.format.setBackground(m_lineHighlightColour);
    line.format.setProperty(QTextFormat::FullWidthSelection, true);
    line.cursor = textCursor();
    setExtraSelections({line});
}

WSyntaxEditor::LineSpan WSyntaxEditor::selectedLines() const
{
    const QTextCursor cursor = textCursor();
    LineSpan span;
    span.anchor = cursor.anchor();
    span.position = cursor.position();
    span.end = cursor.selectionEnd();
    QTextBlock block = document()->findBlock(cursor.selectionStart());
    span.firstLineStart = block.position();
    // A selection ending at a line start does not take that line in.
    for (; block.isValid() && block.position() < span.end; block = block.next())
        span.lineOffsets.append(block.position() - span.firstLineStart);
    return span;
}

QString WSyntaxEditor::textBetween(int vFrom, int vTo) const
{
    QTextCursor cursor(document());
    cursor.setPosition(vFrom);
    cursor.setPosition(vTo, QTextCursor::KeepAnchor);
    return cursor.selectedText().replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
}

// One cursor's replacement is a single undo step.
void WSyntaxEditor::replaceBetween(int vFrom, int vTo, const QString &vText)
{
    QTextCursor cursor(document());
    cursor.setPosition(vFrom);
    cursor.setPosition(vTo, QTextCursor::KeepAnchor);
    cursor.insertText(vText);
}

// Positions outside the document are refused one by one, the way the text layer refuses them,
// but without its warning.
void WSyntaxEditor::selectBetween(int vAnchor, int vPosition)
{
    QTextCursor cursor = textCursor();
    const int last = document()->characterCount() - 1;
    if (vAnchor >= 0 && vAnchor <= last)
        cursor.setPosition(vAnchor);
    if (vPosition >= 0 && vPosition <= last)
        cursor.setPosition(vPosition, QTextCursor::KeepAnchor);
    setTextCursor(cursor);
}

// Selects again after the selected lines were edited: the side at the selection's end moves by
// vEndShift, the side at its start by vStartShift, whichever of them is the anchor.
void WSyntaxEditor::reselect(const LineSpan &vSpan, int vEndShift, int vStartShift)
{
    if (vSpan.anchor > vSpan.position)
        selectBetween(vSpan.anchor + vEndShift, vSpan.position + vStartShift);
    else
        selectBetween(vSpan.anchor + vStartShift, vSpan.position + vEndShift);
}

void WSyntaxEditor::selectLine()
{
    QTextCursor cursor = textCursor();
    if (cursor.hasSelection()) {
        const int start = document()->findBlock(cursor.selectionStart()).position();
        const int length = document()->characterCount() - 1;
        const int end = qMin(lineEnd(document()->findBlock(cursor.selectionEnd())) + 1, length);
        selectBetween(start, end);
        return;
    }
    cursor.movePosition(QTextCursor::StartOfBlock);
    cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    // Takes the line break too; on the last line there is none and the move fails.
    cursor.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor);
    setTextCursor(cursor);
}

void WSyntaxEditor::duplicateSelection()
{
    QTextCursor cursor = textCursor();
    const int position = cursor.position();
    const bool hadSelection = cursor.hasSelection();
    const QString text = hadSelection ? textBetween(cursor.selectionStart(), cursor.selectionEnd())
                                      : QLatin1Char('\n') + cursor.block().text();

    cursor.beginEditBlock();
    cursor.clearSelection();
    cursor.movePosition(QTextCursor::EndOfBlock);
    cursor.insertText(text);
    cursor.endEditBlock();
    setTextCursor(cursor);

    const int n = int(text.size());
    if (hadSelection)
        selectBetween(position + 2 * n, position + n);
    else
        selectBetween(position + n, position + n);
}

void WSyntaxEditor::addIndent()
{
    QTextCursor cursor = textCursor();
    if (!cursor.hasSelection()) {
        QTextCursor lineStart(cursor.block());
        lineStart.insertText(kTab);
        return;
    }
    const LineSpan span = selectedLines();
    replaceBetween(
        span.firstLineStart, span.end,
        LineEditing::indentLines(textBetween(span.firstLineStart, span.end), span.lineOffsets));
    // The start side moves past the tab even when it stood at the line start.
    reselect(span, int(span.lineOffsets.size()), 1);
}

void WSyntaxEditor::unIndent()
{
    QTextCursor cursor = textCursor();
    if (!cursor.hasSelection()) {
        const QTextBlock block = cursor.block();
        const int length = LineEditing::unindentLength(block.text(), 0);
        if (length > 0)
            replaceBetween(block.position(), block.position() + length, {});
        return;
    }
    const LineSpan span = selectedLines();
    const int first = span.firstLineStart;
    int removed = 0;
    int removedFirst = 0;
    const QString text = LineEditing::unindentLines(textBetween(first, span.end), span.lineOffsets,
                                                    removed, removedFirst);
    if (removed == 0)
        return;
    replaceBetween(first, span.end, text);
    reselect(span, -removed, span.startsAtLineStart() ? 0 : -removedFirst);
}

void WSyntaxEditor::comment()
{
    if (textCursor().hasSelection())
        commentSelection();
    else
        commentLine();
}

void WSyntaxEditor::commentLine()
{
    const QTextBlock block = textCursor().block();
    const LineEditing::Edit edit = LineEditing::toggleLineComment(block.text(), m_commentMarker);
    const int start = block.position() + edit.position;
    replaceBetween(start, start + edit.removeCount, edit.text);
}

void WSyntaxEditor::commentSelection()
{
    const LineSpan span = selectedLines();
    const int first = span.firstLineStart;

    // Commented lines are recognised by the fixed "#" or "!", whatever the marker setting says.
    const QRegularExpression commented = m_highlighter->commentExpression();
    const QRegularExpression indent = SyntaxHighlighter::indentExpression();
    QList<int> markerEnds;
    int minIndent = -1;
    QTextBlock block = document()->findBlock(first);
    for (int offset : span.lineOffsets) {
        const QString line = block.text();
        const QRegularExpressionMatch match = commented.match(line);
        if (match.hasMatch()) {
            markerEnds.append(offset + int(match.capturedLength()));
        } else {
            const int length = int(indent.match(line).capturedLength());
            minIndent = minIndent < 0 ? length : qMin(minIndent, length);
        }
        block = block.next();
    }

    // The last line is edited whole even when the selection ends inside its indentation, so
    // every line the selection touches changes alike.
    const int lastLine = first + span.lineOffsets.last();
    const int rangeEnd = qMax(span.end, lineEnd(document()->findBlock(lastLine)));
    const QString text = textBetween(first, rangeEnd);
    int change = 0;
    int changeFirst = 0;
    int lastEdit = 0; // where the last line changes, as a document position
    int lastChange = 0; // and by how much
    QString edited;
    if (minIndent < 0) {
        edited = LineEditing::uncommentLines(text, markerEnds, change, changeFirst);
        int unused = 0;
        LineEditing::uncommentLines(text, {markerEnds.last()}, lastChange, unused);
        lastEdit = first + markerEnds.last() - 1;
    } else {
        edited = LineEditing::commentLines(text, span.lineOffsets, minIndent, m_commentMarker);
        change = 2 * int(span.lineOffsets.size());
        changeFirst = 2;
        lastEdit = lastLine + minIndent;
        lastChange = 2;
    }

    replaceBetween(first, rangeEnd, edited);
    // The selection's end moves only by what changed before it.
    const int endShift = change - lastChange
        + (lastChange > 0 ? (span.end >= lastEdit ? lastChange : 0)
                          : -qBound(0, span.end - lastEdit, -lastChange));
    // Commenting moves the start side past the marker even from the line start.
    const int startShift = changeFirst <= 0 && span.startsAtLineStart() ? 0 : changeFirst;
    const int start = qMin(span.anchor, span.position);
    reselect(span, qMax(endShift, start + startShift - span.end), startShift);
}

bool WSyntaxEditor::selectionSpansLines() const
{
    const QTextCursor cursor = textCursor();
    return cursor.hasSelection()
        && cursor.selectionEnd() > lineEnd(document()->findBlock(cursor.selectionStart()));
}

void WSyntaxEditor::insertLineBreak()
{
    QTextCursor cursor = textCursor();
    const QString left = cursor.block().text().left(cursor.positionInBlock());
    static const QRegularExpression leadingSpace(QStringLiteral("^\\s+"));
    cursor.insertText(QLatin1Char('\n') + leadingSpace.match(left).captured(0));
    setTextCursor(cursor);
}

void WSyntaxEditor::keyPressEvent(QKeyEvent *e)
{
    if (isReadOnly()) {
        QTextEdit::keyPressEvent(e);
        return;
    }
    const int key = e->key();
    if (key == Qt::Key_Tab) {
        if (selectionSpansLines()) {
            addIndent();
        } else {
            QTextCursor cursor = textCursor();
            cursor.insertText(kTab);
            setTextCursor(cursor);
        }
        return;
    }
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        insertLineBreak();
        return;
    }
    // Any Shift combination keeps its usual meaning, so Shift+arrows (and Ctrl+Shift+arrows)
    // extend the selection.
    const Qt::KeyboardModifiers modifiers = e->modifiers() & ~Qt::KeypadModifier;
    QTextCursor cursor = textCursor();
    if (modifiers.testFlag(Qt::ShiftModifier) || !cursor.hasSelection()) {
        QTextEdit::keyPressEvent(e);
        return;
    }
    switch (key) {
    case Qt::Key_Left:
    case Qt::Key_Up:
        cursor.setPosition(cursor.selectionStart());
        if (key == Qt::Key_Up)
            cursor.movePosition(QTextCursor::Up);
        setTextCursor(cursor);
        return;
    case Qt::Key_Right:
    case Qt::Key_Down:
        cursor.setPosition(cursor.selectionEnd());
        if (key == Qt::Key_Down)
            cursor.movePosition(QTextCursor::Down);
        setTextCursor(cursor);
        return;
    default:
        QTextEdit::keyPressEvent(e);
    }
}
