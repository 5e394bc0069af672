#ifndef SIMPLESCHEDULER_H
#define SIMPLESCHEDULER_H

#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QVariant>

namespace QtAutoUpdater {

// Timed, optionally repeating triggers, each carrying a hint back to its owner. A trigger that
// cannot be represented as a timer is refused with a warning and the id 0.
class SimpleScheduler : public QObject
{
    Q_OBJECT
public:
    explicit SimpleScheduler(QObject *parent = nullptr);

    int startSchedule(int vMsecs, bool vRepeated = false, const QVariant &vHint = QVariant());
    int startSchedule(const QDateTime &vWhen, const QVariant &vHint = QVariant());
    void cancelSchedule(int vId);

Q_SIGNALS:
    void scheduleTriggered(const QVariant &vHint);

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    struct Task
    {
        bool repeated = false;
        QVariant hint;
    };
    QHash<int, Task> m_tasks;
};

} // namespace QtAutoUpdater

#endif // SIMPLESCHEDULER_H
