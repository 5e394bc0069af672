#include "wpsrchart.h"

#include "config/csettings.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

#include <cmath>

namespace {
constexpr double kLeft = 38;
constexpr double kRight = 10;
constexpr double kTop = 28;
constexpr double kBottom = 18;
constexpr double kPointRadius = 2.5;

QString psrText(double vValue)
{
    return QString::number(vValue, 'f', 2);
}
} // namespace

WPsrChart::WPsrChart(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("psrChart"));
    setAccessibleName(tr("Highest PSR during the burn-in"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    loadColors();
}

void WPsrChart::setSeries(const QList<RunMonitor::PsrRow> &vRows, qint64 vBurn, double vWarningPsr)
{
    m_rows = vRows;
    m_burn = vBurn;
    m_warningPsr = vWarningPsr;
    update();
}

void WPsrChart::clear()
{
    m_runOver = false;
    setSeries({}, -1, RunMonitor::kConventionalPsr);
}

void WPsrChart::setRunOver(bool vOver)
{
    m_runOver = vOver;
    update();
}

QList<QPointF> WPsrChart::points() const
{
    QList<QPointF> drawn;
    for (const RunMonitor::PsrRow &row : m_rows)
        if (std::isfinite(row.psr))
            drawn.append(QPointF(double(row.last), row.psr));
    return drawn;
}

void WPsrChart::loadColors()
{
    const CSettings &settings = CSettings::instance();
    const QVariantMap colors
        = settings.darkModeSet() ? settings.highlightColorsDark() : settings.highlightColors();
    const auto color = [&colors](const char *vRole) {
        return colors.value(QLatin1String(vRole)).value<QColor>();
    };
    m_lineColor = color("function");
    m_warningColor = color("warning");
    m_guideColor = color("heading");
    m_highColor = color("error");
    update();
}

QSize WPsrChart::sizeHint() const
{
    return QSize(260, 170);
}

QSize WPsrChart::minimumSizeHint() const
{
    return QSize(160, 100);
}

WPsrChart::Frame WPsrChart::frame() const
{
    Frame f;
    f.plot = QRectF(kLeft, kTop, width() - kLeft - kRight, height() - kTop - kBottom);
    f.xMax = double(qMax<qint64>(m_burn, 1));
    double highest = qMax(1.2, m_warningPsr * 1.05);
    for (const QPointF &point : points()) {
        f.xMax = qMax(f.xMax, point.x());
        f.yMin = qMin(f.yMin, point.y());
        highest = qMax(highest, point.y());
    }
    // A round top, so the scale does not twitch with every new row.
    f.yMax = std::ceil(highest * 10.0 - 1e-9) / 10.0;
    f.yMin = std::floor(f.yMin * 100.0 + 1e-9) / 100.0;
    return f;
}

QPointF WPsrChart::place(const Frame &vFrame, double vX, double vY) const
{
    const QRectF &r = vFrame.plot;
    return QPointF(r.left() + r.width() * vX / vFrame.xMax,
                   r.bottom() - r.height() * (vY - vFrame.yMin) / (vFrame.yMax - vFrame.yMin));
}

void WPsrChart::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().base());
    painter.setRenderHint(QPainter::Antialiasing);
    QFont small = font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    painter.setFont(small);
    const QColor text = palette().color(QPalette::Text);
    const Frame f = frame();
    const QRectF &r = f.plot;

    painter.setPen(text);
    painter.drawText(QRectF(4, 2, width() - 8, 16), Qt::AlignLeft | Qt::AlignVCenter,
                     tr("Highest PSR"));
    QColor faint = text;
    faint.setAlphaF(0.35);
    painter.setPen(QPen(faint, 1));
    painter.drawRect(r);

    const auto yLabel = [&](double vY, const QColor &vColor) {
        painter.setPen(vColor);
        const QPointF at = place(f, 0, vY);
        painter.drawText(QRectF(0, at.y() - 8, kLeft - 4, 16), Qt::AlignRight | Qt::AlignVCenter,
                         psrText(vY));
    };
    const auto guide = [&](double vY, const QColor &vColor, Qt::PenStyle vStyle) {
        if (vY <= f.yMin || vY >= f.yMax)
            return;
        painter.setPen(QPen(vColor, 1.2, vStyle));
        painter.drawLine(place(f, 0, vY), place(f, f.xMax, vY));
        yLabel(vY, vColor);
    };
    yLabel(f.yMin, text);
    yLabel(f.yMax, text);
    // One dashed line when the engine warns above the conventional PSR itself.
    const bool ownLimit = std::abs(m_warningPsr - RunMonitor::kConventionalPsr) > 1e-9;
    guide(RunMonitor::kConventionalPsr, ownLimit ? m_guideColor : m_warningColor, Qt::DashLine);
    if (ownLimit)
        guide(m_warningPsr, m_warningColor, Qt::SolidLine);

    painter.setPen(text);
    painter.drawText(QRectF(r.left(), r.bottom() + 1, r.width(), kBottom - 1),
                     Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("0"));
    painter.drawText(QRectF(r.left(), r.bottom() + 1, r.width(), kBottom - 1),
                     Qt::AlignRight | Qt::AlignVCenter, QString::number(qint64(f.xMax)));
    painter.drawText(QRectF(r.left(), r.bottom() + 1, r.width(), kBottom - 1), Qt::AlignCenter,
                     tr("iterations"));

    const QList<QPointF> drawn = points();
    if (drawn.isEmpty()) {
        painter.setPen(faint);
        painter.drawText(r, Qt::AlignCenter | Qt::TextWordWrap,
                         m_runOver ? tr("No PSR table in this run's output") : tr("No PSR yet"));
        return;
    }
    // A flood of rows (a long burn-in printing often) would cost a repaint per row drawn; what
    // a pixel can show is drawn instead, so a repaint costs the same for 20 rows or 20,000.
    QPolygonF line;
    QList<QPointF> marks;
    thinOut(f, drawn, &line, &marks);
    // Where rows crowd, the line is a band of strokes: a thin pen draws it alike at a fraction
    // of the cost of a wide one's outline.
    const bool crowded = line.size() > r.width() / 2;
    painter.setPen(QPen(m_lineColor, crowded ? 1.0 : 1.5));
    painter.drawPolyline(line);
    painter.setPen(Qt::NoPen);
    for (const QPointF &mark : marks) {
        painter.setBrush(mark.y() > m_warningPsr ? m_highColor : m_lineColor);
        painter.drawEllipse(place(f, mark.x(), mark.y()), kPointRadius, kPointRadius);
    }
}

void WPsrChart::thinOut(const Frame &vFrame, const QList<QPointF> &vPoints, QPolygonF *vLine,
                        QList<QPointF> *vMarks) const
{
    // Of the points in one pixel column the line keeps the first, the lowest, the highest and
    // the last, in their order: the same strokes at this size. A mark stands for the highest
    // point within a mark's width, where marks would otherwise lie on top of each other.
    QList<QPointF> placed;
    placed.reserve(vPoints.size());
    for (const QPointF &point : vPoints)
        placed.append(place(vFrame, point.x(), point.y()));
    qsizetype begin = 0;
    while (begin < placed.size()) {
        const double column = std::floor(placed.at(begin).x());
        qsizetype end = begin + 1;
        qsizetype lowest = begin; // on screen: the highest PSR is the smallest y
        qsizetype highest = begin;
        for (; end < placed.size() && std::floor(placed.at(end).x()) == column; ++end) {
            if (placed.at(end).y() > placed.at(lowest).y())
                lowest = end;
            if (placed.at(end).y() < placed.at(highest).y())
                highest = end;
        }
        qsizetype kept[] = {begin, qMin(lowest, highest), qMax(lowest, highest), end - 1};
        for (qsizetype k = 0; k < 4; ++k)
            if (k == 0 || kept[k] != kept[k - 1])
                vLine->append(placed.at(kept[k]));
        begin = end;
    }
    double span = -1;
    for (qsizetype i = 0; i < placed.size(); ++i) {
        const double here = std::floor(placed.at(i).x() / (2 * kPointRadius));
        if (here != span)
            vMarks->append(vPoints.at(i));
        else if (vPoints.at(i).y() > vMarks->last().y())
            vMarks->last() = vPoints.at(i);
        span = here;
    }
}

int WPsrChart::rowNear(const QPoint &vPos) const
{
    const Frame f = frame();
    int nearest = -1;
    double best = 8.0; // pixels
    for (int i = 0; i < m_rows.size(); ++i) {
        if (!std::isfinite(m_rows.at(i).psr))
            continue;
        const QPointF at = place(f, double(m_rows.at(i).last), m_rows.at(i).psr);
        const double distance = QLineF(at, vPos).length();
        if (distance < best) {
            best = distance;
            nearest = i;
        }
    }
    return nearest;
}

bool WPsrChart::event(QEvent *vEvent)
{
    if (vEvent->type() != QEvent::ToolTip)
        return QWidget::event(vEvent);
    auto *help = static_cast<QHelpEvent *>(vEvent);
    const int i = rowNear(help->pos());
    if (i < 0) {
        QToolTip::hideText();
        vEvent->ignore();
        return true;
    }
    const RunMonitor::PsrRow &row = m_rows.at(i);
    QToolTip::showText(help->globalPos(),
                       tr("Iterations %1 to %2: highest PSR %3, parameter %4 %5")
                           .arg(row.first)
                           .arg(row.last)
                           .arg(QString::number(row.psr, 'f', 3))
                           .arg(row.parameter)
                           .arg(row.name),
                       this);
    return true;
}
