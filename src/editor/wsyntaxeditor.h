#ifndef WSYNTAXEDITOR_H
#define WSYNTAXEDITOR_H

#include "editor/syntaxmode.h"

#include <QColor>
#include <QList>
#include <QString>
#include <QTextEdit>

class QKeyEvent;
class QTextCursor;
class QEvent;
class QResizeEvent;
class SyntaxHighlighter;
class WLineNumberArea;

// The script editor: plain text with syntax colours and line-oriented commands. Every command
// is one undo step.
class WSyntaxEditor : public QTextEdit
{
    Q_OBJECT
public:
    explicit WSyntaxEditor(QWidget *parent = nullptr);

    void setSyntaxMode(SyntaxMode vMode);
    SyntaxMode syntaxMode() const;

    SyntaxHighlighter *highlighter() const { return m_highlighter; }
    QString commentMarker() const { return m_commentMarker; }
    QColor lineHighlightColour() const { return m_lineHighlightColour; }

    // The line-number gutter; shown or hidden with the studio-wide setting.
    WLineNumberArea *lineNumberArea() const { return m_lineNumbers; }
    bool lineNumbersVisible() const;
    void setLineNumbersVisible(bool vVisible);
    // Puts the cursor at the start of line vLine (1-based, clamped to the document), in view.
    void goToLine(int vLine);

public Q_SLOTS:
    void duplicateSelection();
    void selectLine();
    void addIndent();
    void unIndent();
    void comment();
    void applySettings();
    void highlightCurrentLine();

protected:
    void keyPressEvent(QKeyEvent *e) override;
    void resizeEvent(QResizeEvent *e) override;
    void changeEvent(QEvent *e) override;

private:
    // The lines a multi-line command works on: the document position of the first line's start,
    // the end of the selection, each line's start as an offset from the first, and the selection
    // as it was before the edit.
    struct LineSpan
    {
        int firstLineStart = 0;
        int end = 0;
        QList<int> lineOffsets;
        int anchor = 0;
        int position = 0;
        bool startsAtLineStart() const { return qMin(anchor, position) == firstLineStart; }
    };

    LineSpan selectedLines() const;
    QString textBetween(int vFrom, int vTo) const;
    void replaceBetween(int vFrom, int vTo, const QString &vText);
    void selectBetween(int vAnchor, int vPosition);
    void reselect(const LineSpan &vSpan, int vEndShift, int vStartShift);
    void updateTabStop();
    void commentLine();
    void commentSelection();
    bool selectionSpansLines() const;
    void insertLineBreak();
    void placeLineNumbers();

    SyntaxHighlighter *m_highlighter = nullptr;
    QColor m_lineHighlightColour;
    QString m_commentMarker;
    WLineNumberArea *m_lineNumbers = nullptr;
    int m_lineNumberWidth = -1;
};

#endif // WSYNTAXEDITOR_H
