#ifndef WPSRCHART_H
#define WPSRCHART_H

#include "runmonitor.h"

#include <QColor>
#include <QList>
#include <QPointF>
#include <QPolygonF>
#include <QWidget>

// A small chart of the burn-in's highest potential scale reduction against the iterations
// compared, with guide lines at the PSR the engine warns above and at the conventional 1.1.
// Points above the warning line stand out; hovering a point tells its row.
class WPsrChart : public QWidget
{
    Q_OBJECT
public:
    explicit WPsrChart(QWidget *parent = nullptr);

    // vBurn, when known, is the end of the iteration axis, so the chart fills from the left as
    // the burn-in goes on.
    void setSeries(const QList<RunMonitor::PsrRow> &vRows, qint64 vBurn, double vWarningPsr);
    void clear();
    // Said in place of the chart while it has no rows: none yet, or none in the whole run.
    void setRunOver(bool vOver);
    // (last iteration compared, highest PSR) of each row drawn, in order.
    QList<QPointF> points() const;
    // Colours follow the output's colour table, light or dark.
    void loadColors();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *vEvent) override;
    bool event(QEvent *vEvent) override;

private:
    struct Frame
    {
        QRectF plot;
        double xMax = 1;
        double yMin = 1;
        double yMax = 1.2;
    };
    Frame frame() const;
    QPointF place(const Frame &vFrame, double vX, double vY) const;
    int rowNear(const QPoint &vPos) const;
    // vPoints (iteration, PSR) as the line and the marks to draw at this size.
    void thinOut(const Frame &vFrame, const QList<QPointF> &vPoints, QPolygonF *vLine,
                 QList<QPointF> *vMarks) const;

    QList<RunMonitor::PsrRow> m_rows;
    qint64 m_burn = -1;
    bool m_runOver = false;
    double m_warningPsr = RunMonitor::kConventionalPsr;
    QColor m_lineColor;
    QColor m_warningColor;
    QColor m_guideColor;
    QColor m_highColor;
};

#endif // WPSRCHART_H
