#include "graphingengine.h"

#include "config/childpriority.h"
#include "config/executablepath.h"
#include "parameterlabels.h"
#include "plotscript.h"
#include "plotsettings.h"

#include <QDebug>
#include <QFile>

namespace {

int countLines(const QString &vPath)
{
    QFile file(vPath);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return 0;
    int lines = 0;
    while (!file.atEnd()) {
        file.readLine();
        ++lines;
    }
    return lines;
}

} // namespace

GraphingEngine::GraphingEngine(QObject *parent, const QString &dirPath)
    : QObject(parent)
    , m_process(new QProcess(this))
    , m_dir(dirPath)
{
    ChildPriority::lower(*m_process);
    connect(m_process, &QProcess::finished, this, &GraphingEngine::finished);
    connect(m_process, &QProcess::errorOccurred, this, &GraphingEngine::onProcessError);
    m_labels = ParameterLabels::read(m_dir.filePath(QStringLiteral("labels.dat")));
}

GraphingEngine::~GraphingEngine()
{
    // A plot left running would otherwise report to an object that is going away.
    m_process->disconnect(this);
    if (m_process->state() != QProcess::NotRunning) {
        m_process->kill();
        m_process->waitForFinished();
    }
}

int GraphingEngine::plot(const QString &vFileBase, int vChains, const PlotSettings *vSettings)
{
    const QString base = acceptRequest(vFileBase);
    if (base.isEmpty())
        return 0;
    if (!QFile::exists(base + QStringLiteral("1.csv"))) {
        Q_EMIT did_sendErr(QStringLiteral("Data File Name doesn't exist"));
        return 0;
    }
    const int iterations = countLines(base + QStringLiteral("1.csv"));

    // The script's chains, capped by the user's choice unless that is "Max".
    int chains = vChains;
    if (vSettings->nchain() != -1 && chains >= vSettings->nchain())
        chains = vSettings->nchain();

    int start = vSettings->bIter();
    int stop = vSettings->eIter();
    if (iterations <= start) {
        qDebug() << "Error! Beginning iterations is greater than requested iterations. "
                    "Defaulting to 1.";
        start = 1;
    }
    if (iterations <= stop) {
        qDebug() << "Error! Ending iterations is greater than requested iterations. "
                    "Defaulting to Max iter.";
        stop = -1;
    }

    PlotScript builder(base, chains);
    builder.setSize(vSettings->width(), vSettings->height());
    builder.setRange(start, stop, vSettings->bIter(), vSettings->eIter());
    int column = 2;
    for (const QString &label : qAsConst(m_labels))
        m_scripts << builder.script(label, column++);

    return startRuns();
}

int GraphingEngine::plotDefault(const QString &vFileBase, int vChains)
{
    const QString base = acceptRequest(vFileBase);
    if (base.isEmpty())
        return 0;

    const PlotScript builder(base, vChains);
    int column = 2;
    for (const QString &label : qAsConst(m_labels))
        m_scripts << builder.defaultScript(label, column++);

    return startRuns();
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

int GraphingEngine::startRuns()
{
    if (m_next < m_scripts.size())
        runNext();
    return 1;
}

void GraphingEngine::sendErr(QString vMessage)
{
    Q_EMIT did_sendErr(vMessage);
}

void GraphingEngine::finished(int exitCode)
{
    if (exitCode != 0 || m_process->exitStatus() == QProcess::CrashExit)
        m_failed << m_next;
    // A failed run (a title gnuplot cannot parse, a crash, a chain file gone) must not cost the
    // user the other plots; the failures are reported together once the last run is done.
    if (m_next < m_scripts.size()) {
        runNext();
        return;
    }
    if (!m_failed.isEmpty())
        sendErr(failureReport());
    m_busy = false;
    Q_EMIT did_finish(exitCode);
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

void GraphingEngine::runNext()
{
    if (m_gnuplot.isEmpty())
        m_gnuplot = ExecutablePath::find(QStringLiteral("gnuplot"));
    if (m_gnuplot.isEmpty()) {
        m_busy = false;
        sendErr(QStringLiteral("Unable to find gnuplot: it is neither beside Tovrel Studio nor "
                               "on the PATH, so no plots can be made."));
        return;
    }

    const QString script = m_scripts.at(m_next++);
    // gnuplot writes the SVG to its standard output.
    m_process->setStandardOutputFile(m_dir.path() + QStringLiteral("/plot")
                                         + QString::number(m_next) + QStringLiteral(".svg"),
                                     QIODevice::Truncate);
    m_process->start(m_gnuplot, {QStringLiteral("-e"), script}, QIODevice::ReadWrite);
}

void GraphingEngine::onProcessError(QProcess::ProcessError vError)
{
    // A program that never started sends no end, so the sequence would wait forever.
    if (vError != QProcess::FailedToStart)
        return;
    m_busy = false;
    sendErr(QStringLiteral("Unable to start gnuplot (%1): %2")
                .arg(QDir::toNativeSeparators(m_gnuplot), m_process->errorString()));
}
