#ifndef CONVERGENCEJOB_H
#define CONVERGENCEJOB_H

#include "convergencestats.h"

#include <QFutureWatcher>
#include <QObject>
#include <QString>

#include <atomic>
#include <memory>
#include <vector>

// What a run's chain files say about convergence: one summary per parameter in file order, or
// the reason there are none.
struct ConvergenceReport
{
    QString error;
    int chains = 0;
    int iterations = 0;
    std::vector<ParameterSummary> parameters;
};

// Reads a run's chain files and summarises every parameter off the GUI thread. One job at a
// time: starting again, cancelling or destroying the object drops the work under way, whose
// result is then never reported.
class ConvergenceJob : public QObject
{
    Q_OBJECT
public:
    explicit ConvergenceJob(QObject *parent = nullptr);
    ~ConvergenceJob() override;

    // vBurn lines of each chain file are burn-in; vIterations is the sampled length asked for.
    void start(const QString &vFolder, int vChains, int vBurn, int vIterations);
    void cancel();
    bool isRunning() const;

    // The work itself, on the calling thread, its parameters spread over the processor's cores.
    static ConvergenceReport compute(const QString &vFolder, int vChains, int vBurn,
                                     int vIterations, const std::atomic_bool *vCancel = nullptr);

Q_SIGNALS:
    void did_finish(const ConvergenceReport &vReport);

private:
    QFutureWatcher<ConvergenceReport> *m_watcher = nullptr;
    std::shared_ptr<std::atomic_bool> m_cancel;
};

Q_DECLARE_METATYPE(ConvergenceReport)

#endif // CONVERGENCEJOB_H
