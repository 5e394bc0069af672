#include "convergencejob.h"

#include "chainreader.h"
#include "config/childpriority.h"

#include <QThread>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentMap>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>

ConvergenceJob::ConvergenceJob(QObject *parent)
    : QObject(parent)
{
}

ConvergenceJob::~ConvergenceJob()
{
    cancel();
}

bool ConvergenceJob::isRunning() const
{
    return m_watcher && m_watcher->isRunning();
}

void ConvergenceJob::cancel()
{
    if (m_cancel)
        m_cancel->store(true);
    if (m_watcher) {
        m_watcher->disconnect(this);
        // Cancelled work stops within one block of a file or one parameter; waiting for it keeps
        // a closing document from outliving its worker.
        m_watcher->waitForFinished();
        delete m_watcher;
        m_watcher = nullptr;
    }
    m_cancel.reset();
}

void ConvergenceJob::start(const QString &vFolder, int vChains, int vBurn, int vIterations)
{
    cancel();
    m_cancel = std::make_shared<std::atomic_bool>(false);
    m_watcher = new QFutureWatcher<ConvergenceReport>(this);
    connect(m_watcher, &QFutureWatcherBase::finished, this, [this] {
        const ConvergenceReport report = m_watcher->result();
        m_watcher->deleteLater();
        m_watcher = nullptr;
        m_cancel.reset();
        Q_EMIT did_finish(report);
    });
    const std::shared_ptr<std::atomic_bool> flag = m_cancel;
    m_watcher->setFuture(QtConcurrent::run([vFolder, vChains, vBurn, vIterations, flag] {
        return compute(vFolder, vChains, vBurn, vIterations, flag.get());
    }));
}

ConvergenceReport ConvergenceJob::compute(const QString &vFolder, int vChains, int vBurn,
                                          int vIterations, const std::atomic_bool *vCancel)
{
    ConvergenceReport report;
    ChainDraws draws;
    if (!ChainReader::read(vFolder, vChains, vBurn, vIterations, draws, report.error, vCancel))
        return report;
    report.chains = draws.chains;
    report.iterations = draws.iterations;
    report.parameters.resize(size_t(draws.parameters));

    // Each worker takes the next parameter not yet taken, so slow ones do not pile up on one.
    const int threads = std::max(1, std::min(QThread::idealThreadCount(), draws.parameters));
    std::atomic_int next(0);
    std::vector<int> workers(static_cast<size_t>(threads));
    QThreadPool pool;
    pool.setMaxThreadCount(threads);
    QtConcurrent::blockingMap(&pool, workers, [&](int) {
        ChildPriority::lowerCurrentThread();
        ConvergenceStats stats;
        std::vector<double> joined(size_t(draws.chains) * size_t(draws.iterations));
        for (int p; (p = next++) < draws.parameters;) {
            if (vCancel && vCancel->load(std::memory_order_relaxed))
                return;
            for (int c = 0; c < draws.chains; ++c)
                std::copy(draws.column(c, p).begin(), draws.column(c, p).end(),
                          joined.begin() + ptrdiff_t(c) * draws.iterations);
            report.parameters[size_t(p)]
                = stats.summarise(joined.data(), draws.iterations, draws.chains);
        }
    });
    return report;
}
