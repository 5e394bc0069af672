#ifndef WLINENUMBERAREA_H
#define WLINENUMBERAREA_H

#include <QColor>
#include <QWidget>

class QPaintEvent;
class QTextEdit;

// The strip left of a text edit that numbers its lines, the cursor's line emphasised. It paints
// only the lines in view, so its cost does not grow with the length of the script. The edit
// makes room for it (its viewport margin) and places it.
class WLineNumberArea : public QWidget
{
    Q_OBJECT
public:
    WLineNumberArea(QTextEdit *vEditor, const QColor &vNumberColour,
                    const QColor &vCurrentBackground);

    // Width for the widest line number of the document, in the edit's current font.
    int neededWidth() const;
    QSize sizeHint() const override { return {neededWidth(), 0}; }
    // Number of the first line in view (1-based), found by bisection, not by walking the lines.
    int firstVisibleLine() const;

protected:
    void paintEvent(QPaintEvent *vEvent) override;

private:
    QTextEdit *m_editor;
    QColor m_numberColour;
    QColor m_currentBackground;
};

#endif // WLINENUMBERAREA_H
