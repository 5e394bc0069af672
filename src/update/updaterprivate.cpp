#include "updaterprivate.h"

#include "adminauthoriser.h"
#include "simplescheduler.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QTimer>
#include <QXmlStreamReader>

namespace QtAutoUpdater {

const char *UpdaterPrivate::NoUpdatesXmlException::what() const noexcept
{
    return "The <updates> node could not be found";
}

const char *UpdaterPrivate::InvalidXmlException::what() const noexcept
{
    return "The found XML-part is not of a valid updates-XML-format";
}

UpdaterPrivate::UpdaterPrivate(Updater *vUpdater, const QString &vToolPath)
    : QObject(nullptr)
    , q(vUpdater)
    , toolPath(vToolPath)
    , scheduler(new SimpleScheduler(this))
{
    connect(scheduler, &SimpleScheduler::scheduleTriggered, this, [this] { startUpdateCheck(); });
    if (auto *application = QCoreApplication::instance())
        connect(application, &QCoreApplication::aboutToQuit, this, &UpdaterPrivate::appAboutToExit,
                Qt::DirectConnection);
}

UpdaterPrivate::~UpdaterPrivate()
{
    if (runOnExit)
        qWarning() << "Updater destroyed with run on exit active before the application quit";
    if (mainProcess) {
        mainProcess->disconnect(this);
        mainProcess->kill();
        mainProcess->waitForFinished(1000);
        delete mainProcess; // not parented: it must not outlive the check it belongs to
    }
}

QString UpdaterPrivate::toolProgram() const
{
    return QFileInfo(QDir(QCoreApplication::applicationDirPath()), toolPath).absoluteFilePath();
}

bool UpdaterPrivate::startUpdateCheck()
{
    if (running)
        return false;
    updateInfos.clear();
    normalExit = true;
    lastErrorCode = 0;
    lastErrorLog.clear();

    mainProcess = new QProcess;
    mainProcess->setProgram(toolProgram());
    mainProcess->setArguments({QStringLiteral("--checkupdates")});
    connect(mainProcess, &QProcess::finished, this, &UpdaterPrivate::updaterReady,
            Qt::QueuedConnection);
    connect(mainProcess, &QProcess::errorOccurred, this, &UpdaterPrivate::updaterError,
            Qt::QueuedConnection);
    mainProcess->start(QIODevice::ReadOnly);
    running = true;
    Q_EMIT q->runningChanged(true);
    return true;
}

void UpdaterPrivate::stopUpdateCheck(int vMaxDelay)
{
    if (!mainProcess || mainProcess->state() == QProcess::NotRunning)
        return;
    if (vMaxDelay <= 0) {
        mainProcess->kill();
        return;
    }
    mainProcess->terminate();
    QTimer::singleShot(vMaxDelay, mainProcess, [process = mainProcess] {
        if (process->state() != QProcess::NotRunning)
            process->kill();
    });
}

void UpdaterPrivate::finishProcess()
{
    mainProcess->disconnect(this);
    mainProcess->deleteLater();
    mainProcess = nullptr;
    running = false;
    Q_EMIT q->runningChanged(false);
}

void UpdaterPrivate::updaterReady(int vExitCode, QProcess::ExitStatus vExitStatus)
{
    if (!mainProcess)
        return;
    if (vExitStatus == QProcess::CrashExit)
        return updaterError(QProcess::Crashed);

    lastErrorCode = vExitCode;
    lastErrorLog = mainProcess->readAllStandardError();
    const QByteArray answer = mainProcess->readAllStandardOutput();
    finishProcess();

    try {
        updateInfos = parseResult(answer);
        Q_EMIT q->updateInfoChanged(updateInfos);
        Q_EMIT q->checkUpdatesDone(!updateInfos.isEmpty(), false);
    } catch (const NoUpdatesXmlException &) {
        Q_EMIT q->checkUpdatesDone(false, false);
    } catch (const InvalidXmlException &) {
        Q_EMIT q->checkUpdatesDone(false, true);
    }
}

void UpdaterPrivate::updaterError(QProcess::ProcessError vError)
{
    if (!mainProcess)
        return;
    lastErrorCode = vError;
    normalExit = false;
    lastErrorLog = mainProcess->errorString().toUtf8();
    finishProcess();
    Q_EMIT q->checkUpdatesDone(false, true);
}

QList<Updater::UpdateInfo> UpdaterPrivate::parseResult(const QByteArray &vOutput)
{
    const QString output = QString::fromUtf8(vOutput);
    const QString open = QStringLiteral("<updates>");
    const int start = output.indexOf(open);
    if (start < 0)
        throw NoUpdatesXmlException();
    const int end = output.indexOf(QStringLiteral("</updates>"), start);
    if (end < 0)
        throw NoUpdatesXmlException();

    QXmlStreamReader reader(output.mid(start, end + 10 - start));
    reader.readNextStartElement(); // the list itself, whatever it is called
    QList<Updater::UpdateInfo> updates;
    while (reader.readNextStartElement()) {
        if (reader.name() != QLatin1String("update"))
            throw InvalidXmlException();
        const QXmlStreamAttributes attributes = reader.attributes();
        Updater::UpdateInfo info;
        info.name = attributes.value(QLatin1String("name")).toString();
        info.version = QVersionNumber::fromString(attributes.value(QLatin1String("version")));
        info.size = attributes.value(QLatin1String("size")).toULongLong();
        updates.append(info);
        reader.skipCurrentElement();
    }
    if (reader.hasError()) {
        qDebug() << "XML-reader-error:" << reader.errorString();
        throw InvalidXmlException();
    }
    return updates;
}

void UpdaterPrivate::appAboutToExit()
{
    if (!runOnExit)
        return;
    runOnExit = false;
    const QString program = toolProgram();
    const bool asAdmin = adminAuth && !adminAuth->hasAdminRights();
    const bool started = asAdmin
        ? adminAuth->executeAsAdmin(program, runArguments)
        : QProcess::startDetached(program, runArguments, QCoreApplication::applicationDirPath());
    if (!started)
        qWarning() << "Unable to start" << program << "with arguments" << runArguments
                   << (asAdmin ? "admin/root" : "current user");
}

} // namespace QtAutoUpdater
