#include "woutputpane.h"

#include "outputhighlighter.h"
#include "scriptlinelinks.h"

#include <QMouseEvent>

#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTimer>

WOutputPane::WOutputPane(QWidget *parent)
    : QPlainTextEdit(parent)
    , m_flushTimer(new QTimer(this))
    , m_highlightTimer(new QTimer(this))
{
    // Engine output is columns of numbers: wrapping would break the tables apart.
    setLineWrapMode(QPlainTextEdit::NoWrap);
    // Streamed output is not the user's typing; keeping an undo history of it would only cost
    // memory on the order of the output itself.
    document()->setUndoRedoEnabled(false);
    m_flushTimer->setSingleShot(true);
    m_flushTimer->setInterval(kFlushIntervalMs);
    connect(m_flushTimer, &QTimer::timeout, this, &WOutputPane::flush);
    m_highlightTimer->setSingleShot(true);
    m_highlightTimer->setInterval(0);
    connect(m_highlightTimer, &QTimer::timeout, this, &WOutputPane::highlightVisible);
}

WOutputPane::~WOutputPane()
{
    // The scroll bar and the document go after this object's own part is gone; their last
    // signals must not reach it.
    verticalScrollBar()->disconnect(this);
    document()->disconnect(this);
    if (m_highlighter)
        m_highlighter->disconnect(this);
}

void WOutputPane::appendText(const QString &vText)
{
    if (vText.isEmpty())
        return;
    m_pending += vText;
    if (m_pending.size() >= kMaxPendingChars)
        flush();
    else if (!m_flushTimer->isActive())
        m_flushTimer->start();
}

void WOutputPane::flush()
{
    m_flushTimer->stop();
    if (m_pending.isEmpty())
        return;
    QScrollBar *bar = verticalScrollBar();
    const bool atEnd = bar->value() >= bar->maximum();
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(m_pending);
    m_pending.clear();
    if (atEnd)
        bar->setValue(bar->maximum());
    // Coloured before the next paint, so new lines never show uncoloured first.
    highlightVisible();
}

QString WOutputPane::text()
{
    flush();
    return toPlainText();
}

void WOutputPane::setText(const QString &vText)
{
    m_flushTimer->stop();
    m_pending.clear();
    setPlainText(vText);
}

void WOutputPane::setHighlighter(OutputHighlighter *vHighlighter)
{
    if (m_highlighter)
        m_highlighter->disconnect(this);
    m_highlighter = vHighlighter;
    if (!m_highlighter || m_highlighter->colouredDocument() != document())
        return;
    // If the highlighter cannot work on demand it highlights everything itself; the calls
    // below then only repeat its work for a screenful of lines.
    m_highlighter->setOnDemand(true);
    connect(m_highlighter, &OutputHighlighter::did_rebuild, this, &WOutputPane::highlightVisible);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &WOutputPane::highlightVisible,
            Qt::UniqueConnection);
    connect(document(), &QTextDocument::contentsChange, this, &WOutputPane::scheduleHighlight,
            Qt::UniqueConnection);
    highlightVisible();
}

void WOutputPane::resizeEvent(QResizeEvent *vEvent)
{
    QPlainTextEdit::resizeEvent(vEvent);
    scheduleHighlight();
}

void WOutputPane::scheduleHighlight()
{
    if (m_highlighter)
        m_highlightTimer->start();
}

void WOutputPane::highlightVisible()
{
    m_highlightTimer->stop();
    if (!m_highlighter || !m_highlighter->isOnDemand())
        return;
    const QTextBlock first = firstVisibleBlock();
    if (!first.isValid())
        return;
    const qreal bottom = viewport()->height();
    QTextBlock last = first;
    for (QTextBlock block = first; block.isValid(); block = block.next()) {
        last = block;
        if (blockBoundingGeometry(block).translated(contentOffset()).bottom() >= bottom)
            break;
    }
    m_highlighter->highlightBlocks(first, last);
}

// Links are found again under the mouse rather than kept for the whole output: only a line
// the user points at is ever looked at.
int WOutputPane::scriptLineAt(const QPoint &vPos) const
{
    const QTextCursor at = cursorForPosition(vPos);
    // Past the end of a line the cursor still lands on its last character; that is not a link.
    if (vPos.x() > cursorRect(at).right() + fontMetrics().averageCharWidth())
        return 0;
    return ScriptLineLinks::at(at.block().text(), at.positionInBlock()).line;
}

void WOutputPane::mouseMoveEvent(QMouseEvent *vEvent)
{
    QPlainTextEdit::mouseMoveEvent(vEvent);
    if (vEvent->buttons() == Qt::NoButton)
        viewport()->setCursor(scriptLineAt(vEvent->position().toPoint()) > 0
                                  ? Qt::PointingHandCursor
                                  : Qt::IBeamCursor);
}

void WOutputPane::mouseReleaseEvent(QMouseEvent *vEvent)
{
    QPlainTextEdit::mouseReleaseEvent(vEvent);
    // A drag that selected text is not a click on a link.
    if (vEvent->button() != Qt::LeftButton || textCursor().hasSelection())
        return;
    const int line = scriptLineAt(vEvent->position().toPoint());
    if (line > 0)
        Q_EMIT did_activateScriptLine(line);
}
