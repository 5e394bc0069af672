#ifndef STALLMETER_H
#define STALLMETER_H

#include "timingapplication.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

// Ticks every millisecond and keeps the longest gap between two ticks, on the wall clock and in
// this thread's processor time (which a loaded machine does not stretch).
class StallMeter : public QObject
{
public:
    StallMeter()
    {
        m_timer.setInterval(1);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            m_longest = qMax(m_longest, m_clock.nsecsElapsed() / 1e6);
            m_clock.restart();
            const double cpu = TimingApplication::threadCpuMs();
            m_longestCpu = qMax(m_longestCpu, cpu - m_cpu);
            m_cpu = cpu;
        });
        m_clock.start();
        m_cpu = TimingApplication::threadCpuMs();
        m_timer.start();
    }
    double longestMs() const { return m_longest; }
    double longestCpuMs() const { return m_longestCpu; }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    double m_longest = 0;
    double m_cpu = 0;
    double m_longestCpu = 0;
};

#endif // STALLMETER_H
