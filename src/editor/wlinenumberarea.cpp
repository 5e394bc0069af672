#include "wlinenumberarea.h"

#include <QAbstractTextDocumentLayout>
#include <QFontMetrics>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextEdit>

namespace {
constexpr int kPadding = 6;
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
    return 2 * kPadding + digits * QFontMetrics(m_editor->font()).horizontalAdvance(QLatin1Char('9'));
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
    const int lineHeight = QFontMetrics(m_editor->font()).height();
    const QColor plain = m_numberColour.isValid() ? m_numberColour
                                                  : m_editor->palette().color(QPalette::PlaceholderText);
    for (QTextBlock block = document->findBlockByNumber(firstVisibleLine() - 1); block.isValid();
         block = block.next()) {
        const QRectF box = layout->blockBoundingRect(block).translated(0, -scroll);
        if (box.top() > vEvent->rect().bottom())
            break;
        const QRect row(0, int(box.top()), width() - kPadding, int(box.height()));
        const bool isCurrent = block.blockNumber() == current;
        if (isCurrent) {
            painter.fillRect(QRect(0, row.top(), width(), row.height()), m_currentBackground);
            painter.setFont(bold);
            painter.setPen(m_editor->palette().color(QPalette::Text));
        } else {
            painter.setFont(m_editor->font());
            painter.setPen(plain);
        }
        painter.drawText(QRect(0, row.top(), row.width(), lineHeight), Qt::AlignRight | Qt::AlignVCenter,
                         QString::number(block.blockNumber() + 1));
    }
}
