#include "simplescheduler.h"

#include <QDebug>
#include <QTimerEvent>

#include <limits>

namespace QtAutoUpdater {

SimpleScheduler::SimpleScheduler(QObject *parent)
    : QObject(parent)
{ }

int SimpleScheduler::startSchedule(int vMsecs, bool vRepeated, const QVariant &vHint)
{
    if (vMsecs < 0) {
        qWarning() << "Cannot schedule update tasks for the past!";
        return 0;
    }
    const int id = startTimer(vMsecs, Qt::VeryCoarseTimer);
    if (id != 0)
        m_tasks.insert(id, Task {vRepeated, vHint});
    return id;
}

int SimpleScheduler::startSchedule(const QDateTime &vWhen, const QVariant &vHint)
{
    const qint64 delay = QDateTime::currentDateTime().msecsTo(vWhen);
    if (delay < 0) {
        qWarning() << "Cannot schedule update tasks for the past!";
        return 0;
    }
    if (delay > std::numeric_limits<int>::max()) {
        qWarning() << "Time interval to big, timepoint to far in the future.";
        return 0;
    }
    return startSchedule(int(delay), false, vHint);
}

void SimpleScheduler::cancelSchedule(int vId)
{
    if (m_tasks.remove(vId) > 0)
        killTimer(vId);
}

void SimpleScheduler::timerEvent(QTimerEvent *event)
{
    const auto task = m_tasks.constFind(event->timerId());
    if (task == m_tasks.constEnd())
        return QObject::timerEvent(event);
    const QVariant hint = task->hint;
    if (!task->repeated)
        cancelSchedule(event->timerId());
    Q_EMIT scheduleTriggered(hint);
}

} // namespace QtAutoUpdater
