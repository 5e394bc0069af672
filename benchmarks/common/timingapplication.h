#ifndef TIMINGAPPLICATION_H
#define TIMINGAPPLICATION_H

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QHash>
#include <QString>

#include <ctime>

// Names the slowest event handled, so a stall can be told apart from the others. The
// processor time this thread spent on it is kept too: unlike the wall clock it does not grow
// when other programs on a loaded machine take the processor away.
class TimingApplication : public QApplication
{
public:
    using QApplication::QApplication;
    bool notify(QObject *vReceiver, QEvent *vEvent) override
    {
        // Read now: the receiver may be gone once the event has been handled.
        const char *receiver = vReceiver->metaObject()->className();
        const int type = int(vEvent->type());
        QElapsedTimer clock;
        clock.start();
        const double cpuBefore = threadCpuMs();
        ++s_depth;
        const bool watched = s_watchedCpuMs.contains(vReceiver);
        const bool handled = QApplication::notify(vReceiver, vEvent);
        const double ms = clock.nsecsElapsed() / 1e6;
        if (watched)
            s_watchedCpuMs[vReceiver] += threadCpuMs() - cpuBefore;
        if (--s_depth == 0) {
            const double cpu = threadCpuMs() - cpuBefore;
            const QString name = QStringLiteral("%1 to %2").arg(type).arg(QLatin1String(receiver));
            if (ms > s_slowestMs) {
                s_slowestMs = ms;
                s_slowest = name;
            }
            if (cpu > s_busiestCpuMs) {
                s_busiestCpuMs = cpu;
                s_busiest = name;
            }
        }
        return handled;
    }
    static double threadCpuMs()
    {
        timespec now {};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
    }
    static void reset()
    {
        s_slowestMs = s_busiestCpuMs = 0;
        s_slowest.clear();
        s_busiest.clear();
    }
    static QString report()
    {
        return QStringLiteral("slowest event: type %1, %2 ms; most processor time in one event: "
                              "type %3, %4 ms")
            .arg(s_slowest)
            .arg(s_slowestMs, 0, 'f', 1)
            .arg(s_busiest)
            .arg(s_busiestCpuMs, 0, 'f', 1);
    }
    static inline double s_slowestMs = 0;
    static inline QString s_slowest;
    static inline double s_busiestCpuMs = 0;
    static inline QString s_busiest;
    static inline int s_depth = 0;
    // Processor time of the events sent to these objects (their painting, say), nested or not;
    // an object is watched once it has an entry.
    static inline QHash<const QObject *, double> s_watchedCpuMs;
};

// A field of /proc/self/status in KiB ("VmHWM:" the peak, "VmRSS:" now); -1 where there is none.
inline qint64 memoryKiB(const char *vField)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly | QIODevice::Text))
        return -1;
    for (QByteArray line = status.readLine(); !line.isEmpty(); line = status.readLine())
        if (line.startsWith(vField))
            return line.mid(int(qstrlen(vField))).trimmed().split(' ').value(0).toLongLong();
    return -1;
}

#endif // TIMINGAPPLICATION_H
