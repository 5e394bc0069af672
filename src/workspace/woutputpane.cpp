#include "woutputpane.h"

#include "outputhighlighter.h"
#include "scriptlinelinks.h"

#include <QMouseEvent>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTimer>

#include <algorithm>

namespace {

// vText as shown: a line longer than kMaxShownLineChars goes on over several blocks. vBlock and
// vColumn are the block and column vText starts at; the blocks that continue a line are added
// to vContinuations.
QString breakLongLines(const QString &vText, int vBlock, qsizetype vColumn,
                       QList<int> &vContinuations)
{
    constexpr qsizetype kMax = WOutputPane::kMaxShownLineChars;
    const QStringView text(vText);
    const auto lineEnd = [&text](qsizetype vFrom) {
        const qsizetype at = text.indexOf(u'\n', vFrom);
        return at < 0 ? text.size() : at;
    };
    bool needed = false;
    for (qsizetype start = 0, column = vColumn; start <= text.size() && !needed;
         start = lineEnd(start) + 1, column = 0)
        needed = column + lineEnd(start) - start > kMax;
    if (!needed)
        return vText;

    QString shown;
    shown.reserve(vText.size() + vText.size() / kMax + 2);
    int block = vBlock;
    qsizetype column = vColumn;
    for (qsizetype start = 0; start <= text.size();) {
        const qsizetype end = lineEnd(start);
        while (end - start > kMax - column) {
            qsizetype take = kMax - column;
            // A character made of two code units stays on one display line.
            if (take > 1 && text.at(start + take - 1).isHighSurrogate())
                --take;
            shown += text.mid(start, take);
            shown += u'\n';
            vContinuations << ++block;
            start += take;
            column = 0;
        }
        shown += text.mid(start, end - start);
        if (end == text.size())
            break;
        shown += u'\n';
        ++block;
        column = 0;
        start = end + 1;
    }
    return shown;
}

// vText as the document gives it back: a carriage return, alone or before a line feed, and the
// Unicode line and paragraph separators end a line; a no-break space reads as a plain space.
QString asDocumentText(QString vText)
{
    const auto special = [](QChar vChar) {
        const char16_t c = vChar.unicode();
        // Nearly every character of an engine's output is plain ASCII: one test settles it.
        if (c < QChar::Nbsp)
            return c == u'\r';
        return c == QChar::Nbsp || c == QChar::LineSeparator || c == QChar::ParagraphSeparator
            || c == 0xfdd0 || c == 0xfdd1;
    };
    if (std::none_of(vText.cbegin(), vText.cend(), special))
        return vText;
    vText.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    for (QChar &c : vText) {
        if (c == QChar::Nbsp)
            c = u' ';
        else if (special(c))
            c = u'\n';
    }
    return vText;
}

// How many characters the document adds for vText: a carriage return and line feed make one.
qsizetype documentLength(const QString &vText)
{
    return vText.size() - (vText.contains(u'\r') ? vText.count(QLatin1String("\r\n")) : 0);
}

} // namespace

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
    const QTextBlock last = document()->lastBlock();
    insertShown(breakLongLines(m_pending, last.blockNumber(), last.length() - 1, m_continuations));
    keep(m_pending);
    m_pending.clear();
    if (atEnd)
        bar->setValue(bar->maximum());
    // Coloured before the next paint, so new lines never show uncoloured first.
    highlightVisible();
}

void WOutputPane::insertShown(const QString &vText)
{
    // Against a document changed behind the pane's back the kept text is not grown further.
    const bool current = keptTextIsCurrent();
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(vText);
    if (current)
        m_shownChars += documentLength(vText);
}

void WOutputPane::keep(const QString &vText)
{
    if (m_shownChars == document()->characterCount() - 1)
        m_kept += asDocumentText(vText).toUtf8();
}

bool WOutputPane::keptTextIsCurrent() const
{
    return m_shownChars == document()->characterCount() - 1;
}

QString WOutputPane::text()
{
    return QString::fromUtf8(utf8Text());
}

QByteArray WOutputPane::utf8Text()
{
    flush();
    if (!keptTextIsCurrent()) {
        m_kept = documentText().toUtf8();
        m_shownChars = document()->characterCount() - 1;
    }
    return m_kept;
}

QString WOutputPane::documentText() const
{
    QString plain = toPlainText();
    if (m_continuations.isEmpty())
        return plain;
    // The display breaks of long lines are not part of the text.
    QString whole;
    whole.reserve(plain.size());
    qsizetype from = 0;
    for (int block : qAsConst(m_continuations)) {
        const qsizetype lineBreak = document()->findBlockByNumber(block).position() - 1;
        whole += QStringView(plain).mid(from, lineBreak - from);
        from = lineBreak + 1;
    }
    whole += QStringView(plain).mid(from);
    return whole;
}

void WOutputPane::setText(const QString &vText)
{
    m_flushTimer->stop();
    m_pending.clear();
    m_continuations.clear();
    const QString shown = breakLongLines(vText, 0, 0, m_continuations);
    QPlainTextEdit::setPlainText(shown);
    m_kept = asDocumentText(vText).toUtf8();
    m_shownChars = documentLength(shown);
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
