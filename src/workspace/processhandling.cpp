#include "processhandling.h"

#include "config/childpriority.h"
#include "config/csettings.h"
#include "config/executablepath.h"

#include <QDir>
#include <QFileInfo>
#include <QString>

namespace {
bool isFile(const QString &vPath)
{
    return !vPath.isEmpty() && QFileInfo(vPath).isFile();
}

// Why vExecutable cannot be started as the engine; empty when it can.
QString engineProblem(const QString &vExecutable)
{
    const QFileInfo file(vExecutable);
    const QString see = QStringLiteral("!\n See '") + vExecutable + QLatin1Char('\'');
    if (vExecutable.isEmpty() || !file.exists())
        return ProcessHandling::tr("ERROR: Executable does not exist") + see;
    if (file.isDir())
        return ProcessHandling::tr("ERROR: Executable is a folder, not a program") + see;
    if (!file.isFile() || !file.isExecutable())
        return ProcessHandling::tr("ERROR: Executable is not allowed to run as a program") + see;
    return QString();
}
} // namespace

ProcessHandling::ProcessHandling(QObject *parent)
    : QObject(parent)
    , m_process(new QProcess(this))
    , m_outDecoder(QStringDecoder::Utf8)
    , m_errDecoder(QStringDecoder::Utf8)
{
    ChildPriority::lower(*m_process);
    // Connected by name: the slots are the runner's public receiving ends of the process signals.
    connect(m_process, SIGNAL(started()), this, SLOT(started()));
    connect(m_process, SIGNAL(readyReadStandardOutput()), this, SLOT(sendOut()));
    connect(m_process, SIGNAL(readyReadStandardError()), this, SLOT(sendErr()));
    connect(m_process, SIGNAL(finished(int)), this, SLOT(finished(int)));
    connect(m_process, SIGNAL(errorOccurred(QProcess::ProcessError)), this,
            SLOT(errorOccured(QProcess::ProcessError)));
}

ProcessHandling::~ProcessHandling()
{
    // A document closed during a run takes its engine with it, without reporting to a
    // half-destroyed owner.
    m_process->disconnect(this);
    if (m_process->state() != QProcess::NotRunning) {
        m_process->kill();
        m_process->waitForFinished();
    }
}

std::optional<QStringList> ProcessHandling::engineArguments(const QStringList &vParams,
                                                            const QString &vKeyword,
                                                            const QString &vScriptPath,
                                                            const QString &vOutputPath,
                                                            const QString &vTracePlotFolder)
{
    QStringList arguments = vParams;
    const qsizetype keyword = arguments.indexOf(vKeyword);
    if (keyword < 0)
        return std::nullopt;
    arguments[keyword] = vScriptPath;
    arguments << QStringLiteral("--output") << vOutputPath;
    if (!vTracePlotFolder.isEmpty())
        arguments << QStringLiteral("--traceplot") << vTracePlotFolder;
    return arguments;
}

bool ProcessHandling::runEngine(const QString &vExecutable, const QString &vScriptPath,
                                const QString &vOutputPath, const QString &vTracePlotFolder)
{
    const QString problem = engineProblem(vExecutable);
    if (!problem.isEmpty()) {
        sendErr(problem);
        return false;
    }
    if (!isFile(vScriptPath)) {
        sendErr(tr("ERROR: Syntax File does not exist!"));
        return false;
    }
    const CSettings &settings = CSettings::instance();
    const std::optional<QStringList> arguments
        = engineArguments(settings.commandLineToolParams(), settings.commandsFileKeyword(),
                          vScriptPath, vOutputPath, vTracePlotFolder);
    if (!arguments) {
        sendErr(tr("Command File Name Keyword has not been defined in the parameters list"));
        return false;
    }
    // No working directory: the engine inherits the studio's. It starts by its full path, the
    // one the user was shown, never by a look-up on PATH.
    m_process->setWorkingDirectory(QString());
    start(ExecutablePath::startedAs(vExecutable), *arguments);
    return true;
}

bool ProcessHandling::run(const QString &vExecutable, const QString &vScriptPath,
                          const QString &vOutputPath)
{
    return runEngine(vExecutable, vScriptPath, vOutputPath, QString());
}

bool ProcessHandling::run(const QString &vExecutable, const QString &vScriptPath,
                          const QString &vOutputPath, const QString &vTracePlotFolder)
{
    return runEngine(vExecutable, vScriptPath, vOutputPath, vTracePlotFolder);
}

bool ProcessHandling::run(const QString &vScriptPath, const QString &vOutputPath)
{
    return runEngine(CSettings::instance().commandLineToolName(), vScriptPath, vOutputPath,
                     QString());
}

bool ProcessHandling::run(const QString &vScriptPath, const QString &vOutputPath,
                          const QDir &vTracePlotFolder)
{
    return runEngine(CSettings::instance().commandLineToolName(), vScriptPath, vOutputPath,
                     vTracePlotFolder.path());
}

bool ProcessHandling::runMplus(const QString &vInputPath, const QString &vOutputPath)
{
    const QString executable = CSettings::instance().mplusToolName();
    if (!isFile(executable)) {
        sendErr(tr("ERROR: Executable does not exist!"));
        return false;
    }
    if (!isFile(vInputPath)) {
        sendErr(tr("ERROR: Syntax File does not exist!"));
        return false;
    }
    // Mplus writes its side files next to the input, so it runs in the input's folder.
    m_process->setWorkingDirectory(QFileInfo(vInputPath).absolutePath());
    start(executable, {vInputPath, vOutputPath});
    return true;
}

void ProcessHandling::start(const QString &vProgram, const QStringList &vArguments)
{
    // A fresh run must not inherit half a character left over from the previous one.
    m_outDecoder.resetState();
    m_errDecoder.resetState();
    m_process->start(vProgram, vArguments, QIODevice::ReadWrite);
}

void ProcessHandling::stop()
{
    m_process->kill();
}

void ProcessHandling::started()
{
    Q_EMIT did_start();
}

void ProcessHandling::sendOut()
{
    const QString text = m_outDecoder.decode(m_process->readAllStandardOutput());
    if (!text.isEmpty())
        Q_EMIT did_sendOut(text);
}

void ProcessHandling::sendErr()
{
    const QString text = m_errDecoder.decode(m_process->readAllStandardError());
    if (!text.isEmpty())
        Q_EMIT did_sendErr(text);
}

void ProcessHandling::sendErr(const QString &vMessage)
{
    Q_EMIT did_sendErr(vMessage);
}

void ProcessHandling::finished(int exitCode)
{
    // Whatever is still buffered belongs before the end of the run.
    sendOut();
    sendErr();
    Q_EMIT did_finish(exitCode);
}

void ProcessHandling::errorOccured(QProcess::ProcessError error)
{
    Q_EMIT did_errorOccur(error);
}
