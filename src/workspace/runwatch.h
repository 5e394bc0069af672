#ifndef RUNWATCH_H
#define RUNWATCH_H

#include "runmonitor.h"

#include <QElapsedTimer>
#include <QObject>

class QBoxLayout;
class QLabel;
class QTimer;
class WPsrChart;

// Shows a document's run as it goes: a slim progress line above the output pane and, for a run
// with a burn-in, a chart of its PSR table beside the pane. The line goes when the run ends; the
// chart stays until the next run, even when no row came. The output is read by a RunMonitor,
// so the cost per piece of output is one pass over its characters.
class RunWatch : public QObject
{
    Q_OBJECT
public:
    // Places the line in vLayout before vPane, and the chart to the pane's right.
    // How soon what the output told is shown.
    static constexpr int kRefreshMs = 200;
    // The chart is redrawn less often: an engine printing its table in a flood would otherwise
    // cost a full repaint of it several times a second.
    static constexpr int kChartRefreshMs = 1000;

    RunWatch(QBoxLayout *vLayout, QWidget *vPane, QObject *parent);

    // The length of the next run, from its script; or not known (another program's run).
    void expectScript(const QString &vScript);
    void expectUnknown();
    void start();
    void feed(const QString &vText);
    void finish(bool vStopped);

    const RunMonitor &monitor() const { return m_monitor; }
    QLabel *progressLine() const { return m_line; }
    WPsrChart *chart() const { return m_chart; }

Q_SIGNALS:
    void runningChanged(bool vRunning);

private:
    void refresh();

    RunMonitor m_monitor;
    RunMonitor::Totals m_expected;
    QElapsedTimer m_clock;
    QElapsedTimer m_chartDrawn;
    QLabel *m_line = nullptr;
    WPsrChart *m_chart = nullptr;
    QTimer *m_tick = nullptr;
    QTimer *m_soon = nullptr;
    qsizetype m_rowsShown = 0;
};

#endif // RUNWATCH_H
