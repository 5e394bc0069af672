#include "waitingspinnerwidget.h"

#include <QPainter>
#include <QTimer>

#include <algorithm>
#include <cmath>

WaitingSpinnerWidget::WaitingSpinnerWidget(QWidget *parent, bool centerOnParent,
                                           bool disableParentWhenSpinning)
    : QWidget(parent)
    , m_centerOnParent(centerOnParent)
    , m_disableParentWhenSpinning(disableParentWhenSpinning)
{
    initialize();
}

WaitingSpinnerWidget::WaitingSpinnerWidget(Qt::WindowModality modality, QWidget *parent,
                                           bool centerOnParent, bool disableParentWhenSpinning)
    : QWidget(parent, Qt::Dialog | Qt::FramelessWindowHint)
    , m_centerOnParent(centerOnParent)
    , m_disableParentWhenSpinning(disableParentWhenSpinning)
{
    initialize();
    setWindowModality(modality);
    setAttribute(Qt::WA_TranslucentBackground);
}

void WaitingSpinnerWidget::initialize()
{
    m_timer = new QTimer(this);
    connect(m_timer, &QTimer::timeout, this, &WaitingSpinnerWidget::rotate);
    updateSize();
    updateTimer();
    hide();
}

void WaitingSpinnerWidget::start()
{
    updatePosition();
    m_isSpinning = true;
    show();
    if (parentWidget() && m_disableParentWhenSpinning)
        parentWidget()->setEnabled(false);
    if (!m_timer->isActive()) {
        m_timer->start();
        m_currentCounter = 0;
    }
}

void WaitingSpinnerWidget::stop()
{
    m_isSpinning = false;
    hide();
    if (parentWidget() && m_disableParentWhenSpinning)
        parentWidget()->setEnabled(true);
    if (m_timer->isActive()) {
        m_timer->stop();
        m_currentCounter = 0;
    }
}

void WaitingSpinnerWidget::setColor(const QColor &vColor)
{
    m_color = vColor;
}

void WaitingSpinnerWidget::setRoundness(double vRoundness)
{
    m_roundness = std::clamp(vRoundness, 0.0, 100.0);
}

void WaitingSpinnerWidget::setMinimumTrailOpacity(double vMinimumTrailOpacity)
{
    m_minimumTrailOpacity = vMinimumTrailOpacity;
}

void WaitingSpinnerWidget::setTrailFadePercentage(double vTrail)
{
    m_trailFadePercentage = vTrail;
}

void WaitingSpinnerWidget::setRevolutionsPerSecond(double vRevolutionsPerSecond)
{
    m_revolutionsPerSecond = vRevolutionsPerSecond;
    updateTimer();
}

void WaitingSpinnerWidget::setNumberOfLines(int vLines)
{
    m_numberOfLines = vLines;
    m_currentCounter = 0;
    updateTimer();
}

void WaitingSpinnerWidget::setLineLength(int vLength)
{
    m_lineLength = vLength;
    updateSize();
}

void WaitingSpinnerWidget::setLineWidth(int vWidth)
{
    m_lineWidth = vWidth;
    updateSize();
}

void WaitingSpinnerWidget::setInnerRadius(int vRadius)
{
    m_innerRadius = vRadius;
    updateSize();
}

int WaitingSpinnerWidget::interval() const
{
    // Fewer than one step a second would divide by zero; step once a second at the slowest.
    const int stepsPerSecond = static_cast<int>(m_numberOfLines * m_revolutionsPerSecond);
    return 1000 / std::max(1, stepsPerSecond);
}

void WaitingSpinnerWidget::rotate()
{
    ++m_currentCounter;
    if (m_currentCounter >= m_numberOfLines)
        m_currentCounter = 0;
    update();
}

void WaitingSpinnerWidget::updateSize()
{
    const int size = (m_innerRadius + m_lineLength) * 2;
    setFixedSize(size, size);
}

void WaitingSpinnerWidget::updateTimer()
{
    m_timer->setInterval(interval());
}

void WaitingSpinnerWidget::updatePosition()
{
    if (!parentWidget())
        return;
    if (m_centerOnParent)
        move(parentWidget()->width() / 2 - width() / 2,
             parentWidget()->height() / 2 - height() / 2);
    else
        move(width() / 2, height() / 2);
}

int WaitingSpinnerWidget::lineCountDistanceFromPrimary(int vPrimary, int vLine, int vLines)
{
    int distance = vPrimary - vLine;
    if (distance < 0)
        distance += vLines;
    return distance;
}

QColor WaitingSpinnerWidget::currentLineColor(int vDistance, int vLines,
                                              double vTrailFadePercentage,
                                              double vMinimumTrailOpacity, const QColor &vColor)
{
    QColor color = vColor;
    if (vDistance == 0)
        return color;
    const double minAlpha = vMinimumTrailOpacity / 100.0;
    const int threshold = static_cast<int>(std::ceil((vLines - 1) * vTrailFadePercentage / 100.0));
    if (vDistance > threshold) {
        color.setAlphaF(minAlpha);
        return color;
    }
    const double step = (color.alphaF() - minAlpha) / (threshold + 1);
    color.setAlphaF(std::clamp(color.alphaF() - step * vDistance, 0.0, 1.0));
    return color;
}

void WaitingSpinnerWidget::paintEvent(QPaintEvent *)
{
    updatePosition();
    QPainter painter(this);
    painter.fillRect(rect(), Qt::transparent);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(Qt::NoPen);

    if (m_currentCounter >= m_numberOfLines)
        m_currentCounter = 0;

    const int centre = m_innerRadius + m_lineLength;
    for (int i = 0; i < m_numberOfLines; ++i) {
        painter.save();
        painter.translate(centre, centre);
        painter.rotate(360.0 * i / m_numberOfLines);
        painter.translate(m_innerRadius, 0);
        const int distance = lineCountDistanceFromPrimary(m_currentCounter, i, m_numberOfLines);
        painter.setBrush(currentLineColor(distance, m_numberOfLines, m_trailFadePercentage,
                                          m_minimumTrailOpacity, m_color));
        painter.drawRoundedRect(QRect(0, -(m_lineWidth / 2), m_lineLength, m_lineWidth),
                                m_roundness, m_roundness, Qt::RelativeSize);
        painter.restore();
    }
}
