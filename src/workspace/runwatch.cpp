#include "runwatch.h"

#include "config/csettings.h"
#include "plotrequests.h"
#include "wpsrchart.h"

#include <QBoxLayout>
#include <QLabel>
#include <QTimer>

RunWatch::RunWatch(QBoxLayout *vLayout, QWidget *vPane, QObject *parent)
    : QObject(parent)
    , m_line(new QLabel(vPane->parentWidget()))
    , m_chart(new WPsrChart(vPane->parentWidget()))
    , m_tick(new QTimer(this))
    , m_soon(new QTimer(this))
{
    m_line->setObjectName(QStringLiteral("lblRunProgress"));
    m_line->setTextFormat(Qt::PlainText);
    m_line->setContentsMargins(4, 1, 4, 1);
    m_line->hide();
    m_chart->hide();
    const int at = vLayout->indexOf(vPane);
    vLayout->removeWidget(vPane);
    auto *row = new QHBoxLayout;
    row->setSpacing(2);
    row->addWidget(vPane, 1);
    row->addWidget(m_chart, 0, Qt::AlignTop);
    vLayout->insertWidget(at, m_line);
    vLayout->insertLayout(at + 1, row, 1);

    // The elapsed time moves on even while the engine is silent.
    m_tick->setInterval(1000);
    connect(m_tick, &QTimer::timeout, this, &RunWatch::refresh);
    m_soon->setSingleShot(true);
    m_soon->setInterval(kRefreshMs);
    connect(m_soon, &QTimer::timeout, this, &RunWatch::refresh);
    connect(&CSettings::instance(), &CSettings::did_apply, m_chart, &WPsrChart::loadColors);
}

void RunWatch::expectScript(const QString &vScript)
{
    const PlotRequests::RunLength length = PlotRequests::runLength(vScript);
    m_expected = {length.burn, length.iterations, length.chains};
}

void RunWatch::expectUnknown()
{
    m_expected = RunMonitor::Totals();
}

void RunWatch::start()
{
    m_clock.start();
    m_monitor.start(m_expected, 0);
    m_rowsShown = 0;
    m_chartDrawn.invalidate();
    m_chart->clear();
    // The chart takes its room beside the pane now, while the pane is empty: narrowing the pane
    // later would lay out again every line it holds by then.
    m_chart->setVisible(m_expected.burn > 0);
    m_line->show();
    m_tick->start();
    refresh();
    Q_EMIT runningChanged(true);
}

void RunWatch::feed(const QString &vText)
{
    if (!m_monitor.isRunning())
        return;
    const RunMonitor::Phase before = m_monitor.phase();
    m_monitor.feed(vText, m_clock.elapsed());
    // Drawn only when something changed (most pieces of output hold nothing to show), and at
    // most a few times a second however fast the engine prints.
    if ((m_monitor.psrSeries().size() != m_rowsShown || m_monitor.phase() != before)
        && !m_soon->isActive())
        m_soon->start();
}

void RunWatch::finish(bool vStopped)
{
    if (!m_monitor.isRunning())
        return;
    m_monitor.finish(m_clock.elapsed(), vStopped);
    m_tick->stop();
    m_soon->stop();
    refresh();
    m_line->hide();
    // The engine's closing warnings may name the PSR it warns above.
    if (m_rowsShown > 0)
        m_chart->setSeries(m_monitor.psrSeries(), m_monitor.totals().burn, m_monitor.warningPsr());
    // Kept even without rows: taking the chart away would widen the pane and lay out all of the
    // run's output again.
    m_chart->setRunOver(true);
    Q_EMIT runningChanged(false);
}

void RunWatch::refresh()
{
    const qint64 now = m_clock.isValid() ? m_clock.elapsed() : 0;
    m_line->setText(m_monitor.summary(now));
    if (m_monitor.psrSeries().size() == m_rowsShown)
        return;
    // The first rows show at once; later ones wait for the chart's own pace (the ticking clock
    // brings them) unless the run is over.
    if (m_monitor.isRunning() && m_chartDrawn.isValid()
        && !m_chartDrawn.hasExpired(kChartRefreshMs))
        return;
    m_chartDrawn.start();
    m_rowsShown = m_monitor.psrSeries().size();
    m_chart->setSeries(m_monitor.psrSeries(), m_monitor.totals().burn, m_monitor.warningPsr());
    m_chart->show();
}
