#ifndef RUNMONITOR_H
#define RUNMONITOR_H

#include <QCoreApplication>
#include <QList>
#include <QString>
#include <QStringView>

// Follows an engine run from the text it streams: the burn-in's potential scale reduction (PSR)
// rows, any iteration counters, and the run's length from its script. It tells the phase, how
// many iterations are done, and how long the rest will take once the pace is known. Text arrives
// in pieces cut anywhere; only whole lines are read. Output it does not recognise (another
// program's, an engine that prints no table) leaves it without progress information, never in
// error. Times are given by the caller in milliseconds, so a run can be replayed exactly.
class RunMonitor
{
    Q_DECLARE_TR_FUNCTIONS(RunMonitor)
public:
    enum class Phase { Idle, Starting, BurnIn, Sampling, Writing, Finished, Stopped };

    // One row of the burn-in PSR table: the iterations compared and the parameter whose PSR
    // was the highest.
    struct PsrRow
    {
        qint64 first = 0;
        qint64 last = 0;
        double psr = 0;
        int parameter = 0;
        QString name;
    };

    // Iterations per chain; burn-in first, then the sampled ones.
    struct Totals
    {
        qint64 burn = -1;
        qint64 iterations = -1;
        int chains = 0;
    };

    // A PSR above this makes the chains suspect; the engine's own warning may name another.
    static constexpr double kConventionalPsr = 1.1;

    // A new run; vTotals with negative counts when the script's length is not known (a run of
    // another program).
    void start(const Totals &vTotals, qint64 vNowMs);
    void feed(QStringView vText, qint64 vNowMs);
    // The run's end. A line the engine left unfinished is read unless the run was stopped,
    // since a killed engine may have been cut off in the middle of a number.
    void finish(qint64 vNowMs, bool vStopped);

    Phase phase() const { return m_phase; }
    bool isRunning() const;
    // Whether anything in the output told how far the run has come.
    bool hasProgress() const { return m_hasProgress; }
    const Totals &totals() const { return m_totals; }
    // Iterations per chain done, as last reported, and of how many; -1 when not known.
    qint64 done() const { return m_done; }
    qint64 total() const;
    qint64 elapsedMs(qint64 vNowMs) const;
    // An estimate of the time still needed, -1 until the pace is known or once it is past.
    qint64 leftMs(qint64 vNowMs) const;
    const QList<PsrRow> &psrSeries() const { return m_series; }
    // The PSR the engine's warnings name as too high (the conventional one until they do).
    double warningPsr() const { return m_warningPsr; }

    // One line for the user: "Burn-in: 1,200 of 5,000 iterations · 0:42 elapsed · about 2:10
    // left".
    QString summary(qint64 vNowMs) const;
    // "0:42", "12:05", "1:02:03".
    static QString clock(qint64 vMs);
    // vLine read as a PSR table row; false when it is not one.
    static bool readPsrRow(QStringView vLine, PsrRow *vRow);

private:
    void readLine(QStringView vLine, qint64 vNowMs);
    bool readCounter(QStringView vLine, qint64 vNowMs);
    void readWarning(QStringView vLine);
    void observe(qint64 vDone, qint64 vNowMs);
    static bool isSectionHeading(QStringView vLine);

    Phase m_phase = Phase::Idle;
    Totals m_totals;
    qint64 m_counterTotal = -1;
    bool m_hasProgress = false;
    qint64 m_startMs = 0;
    qint64 m_endMs = -1;
    qint64 m_done = -1;
    // The pace: the first and the latest report of iterations done, with their times.
    qint64 m_firstDone = -1;
    qint64 m_firstAt = 0;
    qint64 m_lastAt = 0;
    QList<PsrRow> m_series;
    double m_warningPsr = kConventionalPsr;
    QString m_partial;
    // The line being received is too long to be a progress line: skip to its end.
    bool m_skipping = false;
    // The last piece ended in a carriage return: a line feed starting the next belongs to it.
    bool m_afterCr = false;
};

#endif // RUNMONITOR_H
