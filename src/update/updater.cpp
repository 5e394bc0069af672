#include "updater.h"

#include "adminauthoriser.h"
#include "simplescheduler.h"
#include "updaterprivate.h"

#include <QDebug>

#include <limits>

namespace QtAutoUpdater {

namespace {
QString withPlatformSuffix(QString vPath)
{
#ifdef Q_OS_WIN
    if (!vPath.endsWith(QStringLiteral(".exe"), Qt::CaseInsensitive))
        vPath += QStringLiteral(".exe");
#endif
    return vPath;
}
} // namespace

Updater::Updater(QObject *parent)
    : Updater(QStringLiteral("./maintenancetool"), parent)
{ }

Updater::Updater(const QString &maintenanceToolPath, QObject *parent)
    : QObject(parent)
    , d(std::make_unique<UpdaterPrivate>(this, withPlatformSuffix(maintenanceToolPath)))
{ }

Updater::~Updater() = default;

QStringList Updater::defaultArguments()
{
    return {QStringLiteral("--updater")};
}

QStringList Updater::silentArguments()
{
    return {QStringLiteral("skipPrompt=true"), QStringLiteral("--silentUpdate")};
}

QString Updater::maintenanceToolPath() const
{
    return d->toolPath;
}

bool Updater::isRunning() const
{
    return d->running;
}

QList<Updater::UpdateInfo> Updater::updateInfo() const
{
    return d->updateInfos;
}

bool Updater::exitedNormally() const
{
    return d->normalExit;
}

int Updater::errorCode() const
{
    return d->lastErrorCode;
}

QByteArray Updater::errorLog() const
{
    return d->lastErrorLog;
}

bool Updater::willRunOnExit() const
{
    return d->runOnExit;
}

bool Updater::checkForUpdates()
{
    return d->startUpdateCheck();
}

void Updater::abortUpdateCheck(int maxDelay)
{
    d->stopUpdateCheck(maxDelay);
}

int Updater::scheduleUpdate(int delaySeconds, bool repeated)
{
    if (qint64(delaySeconds) * 1000 > std::numeric_limits<int>::max()
        || qint64(delaySeconds) * 1000 < std::numeric_limits<int>::min()) {
        qWarning() << "delaySeconds to big to be converted to msecs";
        return 0;
    }
    return d->scheduler->startSchedule(delaySeconds * 1000, repeated);
}

void Updater::cancelScheduledUpdate(int taskId)
{
    d->scheduler->cancelSchedule(taskId);
}

void Updater::runUpdaterOnExit(AdminAuthoriser *authoriser)
{
    runUpdaterOnExit(defaultArguments(), authoriser);
}

void Updater::runUpdaterOnExit(const QStringList &arguments, AdminAuthoriser *authoriser)
{
    d->runOnExit = true;
    d->runArguments = arguments;
    d->adminAuth.reset(authoriser);
}

void Updater::cancelExitRun()
{
    d->runOnExit = false;
    d->adminAuth.reset();
}

} // namespace QtAutoUpdater

QDebug operator<<(QDebug debug, const QtAutoUpdater::Updater::UpdateInfo &info)
{
    QDebugStateSaver saver(debug);
    debug.noquote() << QStringLiteral("{Name: \"%1\"; Version: %2; Size: %3}")
                           .arg(info.name, info.version.toString())
                           .arg(info.size);
    return debug;
}
