#include "convergencejob.h"

#include "chainreader.h"

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

    // Parameters in a few slices per core; each slice keeps its own scratch space.
    const int threads = std::max(1, QThread::idealThreadCount());
    const int slices = std::min(draws.parameters, threads * 4);
    std::vector<int> sliceIndex(static_cast<size_t>(slices));
    for (int i = 0; i < slices; ++i)
        sliceIndex[size_t(i)] = i;
    QThreadPool pool;
    pool.setMaxThreadCount(threads);
    QtConcurrent::blockingMap(&pool, sliceIndex, [&](int vSlice) {
        ConvergenceStats stats;
        std::vector<double> joined(size_t(draws.chains) * size_t(draws.iterations));
        for (int p = vSlice; p < draws.parameters; p += slices) {
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
