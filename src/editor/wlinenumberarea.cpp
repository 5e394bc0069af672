#include "wlinenumberarea.h"

#include <QAbstractTextDocumentLayout>
#include <QFontMetrics>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextEdit>
#include <QTextLayout>

namespace {
constexpr int kPadding = 6;
// Between the numbers and the text.
constexpr int kGap = 10;
constexpr int kMinimumDigits = 3;
} // namespace

WLineNumberArea::WLineNumberArea(QTextEdit *vEditor, const QColor &vNumberColour,
                                 const QColor &vCurrentBackground)
    : QWidget(vEditor)
    , m_editor(vEditor)
    , m_numberColour(vNumberColour)
    , m_currentBackground(vCurrentBackground)
{
    setObjectName(QStringLiteral("lineNumberArea"));
    setAttribute(Qt::WA_OpaquePaintEvent);
}

int WLineNumberArea::neededWidth() const
{
    const int digits
        = qMax(kMinimumDigits, int(QString::number(m_editor->document()->blockCount()).size()));
    return kPadding + kGap
        + digits * QFontMetrics(m_editor->font()).horizontalAdvance(QLatin1Char('9'));
}

int WLineNumberArea::firstVisibleLine() const
{
    const QTextDocument *document = m_editor->document();
    QAbstractTextDocumentLayout *layout = document->documentLayout();
    const qreal top = m_editor->verticalScrollBar()->value();
    int low = 0;
    int high = document->blockCount() - 1;
    while (low < high) {
        const int middle = (low + high) / 2;
        if (layout->blockBoundingRect(document->findBlockByNumber(middle)).bottom() <= top)
            low = middle + 1;
        else
            high = middle;
    }
    return low + 1;
}

void WLineNumberArea::paintEvent(QPaintEvent *vEvent)
{
    QPainter painter(this);
    painter.fillRect(vEvent->rect(), m_editor->palette().color(QPalette::Base));
    painter.setFont(m_editor->font());
    QFont bold = m_editor->font();
    bold.setBold(true);

    const QTextDocument *document = m_editor->document();
    QAbstractTextDocumentLayout *layout = document->documentLayout();
    const qreal scroll = m_editor->verticalScrollBar()->value();
    const int current = m_editor->textCursor().blockNumber();
    const QFontMetrics plainMetrics(m_editor->font());
    const QFontMetrics boldMetrics(bold);
    const QColor plain = m_numberColour.isValid()
        ? m_numberColour
        : m_editor->palette().color(QPalette::PlaceholderText);
    for (QTextBlock block = document->findBlockByNumber(firstVisibleLine() - 1); block.isValid();
         block = block.next()) {
        const QRectF box = layout->blockBoundingRect(block).translated(0, -scroll);
        if (box.top() > vEvent->rect().bottom())
            break;
        const bool isCurrent = block.blockNumber() == current;
        if (isCurrent)
            painter.fillRect(QRectF(0, box.top(), width(), box.height()), m_currentBackground);
        painter.setFont(isCurrent ? bold : m_editor->font());
        painter.setPen(isCurrent ? m_editor->palette().color(QPalette::Text) : plain);
        // On the baseline of the line's text, so numbers and text line up whatever the line
        // height.
        const QTextLine first
            = block.layout()->lineCount() > 0 ? block.layout()->lineAt(0) : QTextLine();
        const qreal baseline
            = box.top() + (first.isValid() ? first.y() + first.ascent() : plainMetrics.ascent());
        const QString number = QString::number(block.blockNumber() + 1);
        const int advance = (isCurrent ? boldMetrics : plainMetrics).horizontalAdvance(number);
        painter.drawText(QPointF(width() - kGap - advance, baseline), number);
    }
}
