#include "graphingengine.h"

#include "chainsplitter.h"
#include "config/executablepath.h"
#include "parameterlabels.h"
#include "plotscript.h"
#include "plotsettings.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <QTimer>

#include <algorithm>

namespace {

// Work done between two visits of the event loop, so the window keeps answering.
constexpr int kSliceMs = 8;
constexpr int kIndexRows = 32; // a few megabytes at most, with a thousand parameters
// Plots handed to one long-lived gnuplot ahead of the one it draws, so it never waits for us.
constexpr int kAheadPerWorker = 2;
const QByteArray kMarker = QByteArrayLiteral("tovrel-plot-done ");

bool isCompleteSvg(const QString &vPath)
{
    QFile file(vPath);
    if (!file.open(QIODevice::ReadOnly) || file.size() < 6)
        return false;
    file.seek(qMax<qint64>(0, file.size() - 16));
    return file.readAll().trimmed().endsWith("</svg>");
}

} // namespace

// One gnuplot process and the plots handed to it, oldest first.
struct GraphingEngine::Worker
{
    QProcess *process = nullptr;
    std::deque<int> plots;
    QByteArray errors;
    bool single = false;
};

GraphingEngine::GraphingEngine(QObject *parent, const QString &dirPath)
    : QObject(parent)
    , m_dir(dirPath)
    , m_parallel(qBound(1, QThread::idealThreadCount(), 2))
{
    m_labels = ParameterLabels::read(m_dir.filePath(QStringLiteral("labels.dat")));
}

GraphingEngine::~GraphingEngine()
{
    stopWorkers();
}

void GraphingEngine::stopWorkers()
{
    // A plot left running would otherwise report to an object that is going away.
    for (const auto &worker : m_workers) {
        worker->process->disconnect(this);
        if (worker->process->state() != QProcess::NotRunning) {
            worker->process->kill();
            worker->process->waitForFinished();
        }
        worker->process->deleteLater();
    }
    m_workers.clear();
}

int GraphingEngine::plot(const QString &vFileBase, int vChains, const PlotSettings *vSettings)
{
    const QString base = acceptRequest(vFileBase);
    if (base.isEmpty())
        return 0;
    m_splitter = std::make_unique<ChainSplitter>();
    if (!QFile::exists(base + QStringLiteral("1.csv"))) {
        Q_EMIT did_sendErr(QStringLiteral("Data File Name doesn't exist"));
        return 0;
    }
    // The script's chains, capped by the user's choice unless that is "Max".
    int chains = vChains;
    if (vSettings->nchain() != -1 && chains >= vSettings->nchain())
        chains = vSettings->nchain();
    if (!m_splitter->open(base, qMax(1, chains), int(m_labels.size()))) {
        Q_EMIT did_sendErr(QStringLiteral("Data File Name doesn't exist"));
        return 0;
    }
    const int iterations = m_splitter->lines();

    int first = vSettings->bIter();
    int stop = vSettings->eIter();
    if (iterations <= first) {
        qDebug() << "Error! Beginning iterations is greater than requested iterations. "
                    "Defaulting to 1.";
        first = 1;
    }
    if (iterations <= stop) {
        qDebug() << "Error! Ending iterations is greater than requested iterations. "
                    "Defaulting to Max iter.";
        stop = -1;
    }

    PlotScript builder(chains);
    builder.setSize(vSettings->width(), vSettings->height());
    builder.setRange(first, stop, vSettings->bIter(), vSettings->eIter());
    builder.setBurnIn(vSettings->shadeBurnIn() ? m_burnIn : 0);
    return start(builder);
}

int GraphingEngine::plotDefault(const QString &vFileBase, int vChains)
{
    const QString base = acceptRequest(vFileBase);
    if (base.isEmpty())
        return 0;
    m_splitter = std::make_unique<ChainSplitter>();
    if (!m_splitter->open(base, qMax(1, vChains), int(m_labels.size()))) {
        Q_EMIT did_sendErr(QStringLiteral("Data File Name doesn't exist"));
        return 0;
    }
    return start(PlotScript(vChains));
}

QString GraphingEngine::acceptRequest(const QString &vFileBase)
{
    // A request while plotting is refused without a word: the running one will report.
    if (m_busy)
        return {};
    m_busy = true;
    // Joined to the folder, an empty name would silently stand for the folder itself.
    const QString base
        = vFileBase.trimmed().isEmpty() ? QString() : m_dir.filePath(vFileBase).trimmed();
    if (base.isEmpty())
        Q_EMIT did_sendErr(QStringLiteral("Data  File Name is Empty"));
    return base;
}

int GraphingEngine::start(const PlotScript &vBuilder)
{
    for (int k = 0; k < m_labels.size(); ++k)
        m_scripts << vBuilder.script(m_labels.at(k), dataFile(k), svgFile(k));
    // Nothing to plot: the request is taken, and nothing follows.
    if (m_scripts.isEmpty())
        return 1;
    m_done.assign(std::size_t(m_scripts.size()), 0);

    m_gnuplot = ExecutablePath::find(QStringLiteral("gnuplot"));
    if (m_gnuplot.isEmpty()) {
        m_busy = false;
        sendErr(QStringLiteral("Unable to find gnuplot: it is neither beside Tovrel Studio nor "
                               "on the PATH, so no plots can be made."));
        return 1;
    }
    // gnuplot starts up while the chain files are read.
    for (int k = 0; k < qMin(m_parallel, int(m_scripts.size())) && m_busy; ++k)
        startWorker(false);
    if (m_busy)
        QTimer::singleShot(0, this, &GraphingEngine::step);
    return 1;
}

QString GraphingEngine::dataFile(int vPlot) const
{
    return m_dir.filePath(QStringLiteral("trace%1.dat").arg(vPlot + 1));
}

QString GraphingEngine::svgFile(int vPlot) const
{
    return m_dir.path() + QStringLiteral("/plot") + QString::number(vPlot + 1)
        + QStringLiteral(".svg");
}

GraphingEngine::Worker *GraphingEngine::startWorker(bool vSingle)
{
    auto worker = std::make_unique<Worker>();
    worker->single = vSingle;
    worker->process = new QProcess(this);
    Worker *raw = worker.get();
    m_workers.push_back(std::move(worker));
    // The plots are what the user waits for: gnuplot runs at the studio's own priority.
    connect(raw->process, &QProcess::readyReadStandardError, this, [this, raw] { readMarkers(raw); });
    connect(raw->process, &QProcess::finished, this, [this, raw] { workerEnded(raw); });
    connect(raw->process, &QProcess::errorOccurred, this, [this, raw](QProcess::ProcessError e) {
        if (e == QProcess::FailedToStart)
            fail(QStringLiteral("Unable to start gnuplot (%1): %2")
                     .arg(QDir::toNativeSeparators(m_gnuplot), raw->process->errorString()));
    });
    raw->process->start(m_gnuplot, {}, QIODevice::ReadWrite);
    return raw;
}

void GraphingEngine::fail(const QString &vMessage)
{
    if (!m_busy)
        return;
    m_busy = false;
    // Not from inside the failing process's own signal.
    QTimer::singleShot(0, this, &GraphingEngine::stopWorkers);
    for (const auto &worker : m_workers)
        worker->process->disconnect(this);
    sendErr(vMessage);
}

void GraphingEngine::step()
{
    m_stepQueued = false;
    if (!m_busy)
        return;
    QElapsedTimer slice;
    slice.start();
    // The first plot is written straight from the chain files, so it need not wait for the
    // index that serves the others.
    if (m_written == 0 && !m_splitter->indexed()) {
        m_splitter->write(0, dataFile(0));
        m_queue.push_back(m_written++);
        dispatch();
        m_stepQueued = true;
        QTimer::singleShot(0, this, &GraphingEngine::step);
        return;
    }
    if (!m_splitter->indexed()) {
        while (!m_splitter->index(kIndexRows) && slice.elapsed() < kSliceMs) { }
        if (!m_splitter->indexed()) {
            m_stepQueued = true;
            QTimer::singleShot(0, this, &GraphingEngine::step);
            return;
        }
    }
    writeAhead();
    dispatch();
}

void GraphingEngine::writeAhead()
{
    // Data for what every gnuplot is about to draw plus a little, never much more: the files
    // cost disk, and a new request may discard them.
    const int wanted = qMin(int(m_scripts.size()),
                            m_ready + m_parallel * (kAheadPerWorker + 1) + 2);
    QElapsedTimer slice;
    slice.start();
    while (m_written < wanted && slice.elapsed() < kSliceMs) {
        m_splitter->write(m_written, dataFile(m_written));
        m_queue.push_back(m_written++);
    }
    if (m_written < wanted && !m_stepQueued) {
        m_stepQueued = true;
        QTimer::singleShot(0, this, &GraphingEngine::step);
    }
}

void GraphingEngine::dispatch()
{
    for (const auto &worker : m_workers) {
        if (worker->single)
            continue;
        while (!m_queue.empty() && int(worker->plots.size()) < kAheadPerWorker) {
            const int plot = m_queue.front();
            m_queue.pop_front();
            worker->plots.push_back(plot);
            worker->process->write(m_scripts.at(plot).toUtf8() + "print \"" + kMarker
                                   + QByteArray::number(plot) + "\"\n");
        }
    }
    if (!m_single)
        return;
    while (!m_queue.empty() && int(m_workers.size()) < m_parallel) {
        const int plot = m_queue.front();
        m_queue.pop_front();
        Worker *worker = startWorker(true);
        worker->plots.push_back(plot);
        worker->process->write(m_scripts.at(plot).toUtf8() + "print \"" + kMarker
                               + QByteArray::number(plot) + "\"\n");
        worker->process->closeWriteChannel();
    }
}

void GraphingEngine::readMarkers(Worker *vWorker)
{
    vWorker->errors += vWorker->process->readAllStandardError();
    qsizetype newline;
    while ((newline = vWorker->errors.indexOf('\n')) >= 0) {
        const QByteArray line = vWorker->errors.left(newline).trimmed();
        vWorker->errors.remove(0, newline + 1);
        if (!line.startsWith(kMarker))
            continue;
        const int plot = line.mid(kMarker.size()).toInt();
        auto &plots = vWorker->plots;
        plots.erase(std::remove(plots.begin(), plots.end(), plot), plots.end());
        complete(plot);
        if (!m_busy)
            return;
    }
}

void GraphingEngine::workerEnded(Worker *vWorker)
{
    if (!m_busy)
        return;
    readMarkers(vWorker);
    if (!m_busy)
        return;
    const bool single = vWorker->single;
    std::deque<int> left;
    left.swap(vWorker->plots);
    // The plots it held go to processes of their own, the one it was drawing too: a plot that
    // crashes gnuplot again is reported then, one that met a passing fault is drawn.
    if (single) {
        if (!left.empty())
            complete(left.front());
    } else {
        m_queue.insert(m_queue.begin(), left.begin(), left.end());
    }
    if (!m_busy)
        return;
    auto it = std::find_if(m_workers.begin(), m_workers.end(),
                           [vWorker](const auto &w) { return w.get() == vWorker; });
    if (it != m_workers.end()) {
        (*it)->process->disconnect(this);
        (*it)->process->deleteLater();
        m_workers.erase(it);
    }
    // A long-lived gnuplot that ended before its input did: from now on every plot gets a
    // process of its own, so one bad plot costs only itself.
    if (!single)
        m_single = true;
    dispatch();
}

void GraphingEngine::complete(int vPlot)
{
    if (vPlot < 0 || vPlot >= int(m_done.size()) || m_done[std::size_t(vPlot)])
        return;
    m_done[std::size_t(vPlot)] = 1;
    QFile::remove(dataFile(vPlot));
    const bool drawn = isCompleteSvg(svgFile(vPlot));
    if (!drawn)
        m_failed << vPlot + 1;
    const int before = m_ready;
    while (m_ready < int(m_done.size()) && m_done[std::size_t(m_ready)])
        ++m_ready;
    if (m_ready == int(m_done.size()))
        m_lastExit = m_done.empty() || isCompleteSvg(svgFile(m_ready - 1)) ? 0 : 1;
    if (m_ready > before)
        Q_EMIT did_ready(m_ready, int(m_scripts.size()));
    if (m_ready == int(m_done.size())) {
        finish();
        return;
    }
    writeAhead();
    dispatch();
}

void GraphingEngine::finish()
{
    // Each long-lived gnuplot ends when its input does.
    for (const auto &worker : m_workers) {
        worker->process->disconnect(this);
        worker->process->closeWriteChannel();
    }
    std::sort(m_failed.begin(), m_failed.end());
    // A failed plot (a chain file gone, a column without numbers, a crash) does not cost the
    // user the other plots; the failures are reported together once the last one is done.
    if (!m_failed.isEmpty())
        sendErr(failureReport());
    m_busy = false;
    Q_EMIT did_finish(m_lastExit);
}

void GraphingEngine::sendErr(QString vMessage)
{
    Q_EMIT did_sendErr(vMessage);
}

QString GraphingEngine::failureReport() const
{
    // Up to five plots by the first line of their title; more read as a count.
    constexpr int kNamed = 5;
    QStringList names;
    for (int run : m_failed.mid(0, kNamed))
        names << QStringLiteral("plot %1: %2")
                     .arg(run)
                     .arg(m_labels.value(run - 1).section(u'\n', 0, 0));
    if (m_failed.size() > kNamed)
        names << QStringLiteral("...");
    return QStringLiteral("gnuplot could not make %1 of the %2 plots (%3); the others are shown.")
        .arg(m_failed.size())
        .arg(m_scripts.size())
        .arg(names.join(QStringLiteral(", ")));
}
