#ifndef RUNMARKS_H
#define RUNMARKS_H

#include <QIcon>
#include <QObject>
#include <QSet>

class QLabel;
class QMdiSubWindow;
class QStatusBar;
class Workspace;

// Tells which documents are running: a mark on each running document's tab and, in the status
// bar, how many run. Several documents may run the engine at once, each hidden behind its tab.
class RunMarks : public QObject
{
    Q_OBJECT
public:
    RunMarks(QStatusBar *vStatusBar, QObject *parent);

    void watch(Workspace *vDocument, QMdiSubWindow *vSubWindow);
    int runningCount() const { return int(m_running.size()); }
    QLabel *label() const { return m_label; }
    QIcon runningIcon() const { return m_icon; }

private:
    void mark(Workspace *vDocument, QMdiSubWindow *vSubWindow, bool vRunning);
    void showCount();

    QLabel *m_label = nullptr;
    QIcon m_icon;
    QSet<const QObject *> m_running;
};

#endif // RUNMARKS_H
