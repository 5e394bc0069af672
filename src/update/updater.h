#ifndef UPDATER_H
#define UPDATER_H

#include <QList>
#include <QObject>
#include <QStringList>
#include <QVersionNumber>

#include <memory>

class QDebug;

namespace QtAutoUpdater {

class AdminAuthoriser;
class UpdaterPrivate;

// Asks the maintenance tool installed beside the program which updates exist, and starts the
// tool when the application quits if asked to. One check at a time; the answer arrives through
// checkUpdatesDone.
class Updater : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool running READ isRunning NOTIFY runningChanged)
    Q_PROPERTY(QList<QtAutoUpdater::Updater::UpdateInfo> updateInfo READ updateInfo NOTIFY
                   updateInfoChanged)
    Q_PROPERTY(QString maintenanceToolPath READ maintenanceToolPath CONSTANT)

public:
    // One offered update as the tool lists it.
    struct UpdateInfo
    {
        QString name;
        QVersionNumber version;
        quint64 size = 0;
    };

    explicit Updater(QObject *parent = nullptr);
    // A relative path is taken from the application's folder when a check starts.
    explicit Updater(const QString &maintenanceToolPath, QObject *parent = nullptr);
    ~Updater() override;

    // The arguments the tool gets on exit: interactive, and the variant that installs silently.
    static QStringList defaultArguments();
    static QStringList silentArguments();

    QString maintenanceToolPath() const;
    bool isRunning() const;
    QList<UpdateInfo> updateInfo() const;
    bool exitedNormally() const;
    int errorCode() const;
    QByteArray errorLog() const;
    bool willRunOnExit() const;

public Q_SLOTS:
    // False, and nothing happens, while a check is running.
    bool checkForUpdates();
    // Ends a running check: at once for vMaxDelay <= 0, else asks the tool to stop first.
    void abortUpdateCheck(int maxDelay = 5000);
    // A check after vDelaySeconds, optionally repeated; returns the task id, 0 when refused.
    int scheduleUpdate(int delaySeconds, bool repeated = false);
    void cancelScheduledUpdate(int taskId);
    // Starts the tool when the application quits. vAuthoriser, if given, is owned from here on.
    void runUpdaterOnExit(AdminAuthoriser *authoriser = nullptr);
    void runUpdaterOnExit(const QStringList &arguments, AdminAuthoriser *authoriser = nullptr);
    void cancelExitRun();

Q_SIGNALS:
    void checkUpdatesDone(bool hasUpdates, bool hasError = false);
    void runningChanged(bool running);
    void updateInfoChanged(QList<QtAutoUpdater::Updater::UpdateInfo> updateInfo);

private:
    friend class UpdaterPrivate;
    std::unique_ptr<UpdaterPrivate> d;
};

} // namespace QtAutoUpdater

QDebug operator<<(QDebug debug, const QtAutoUpdater::Updater::UpdateInfo &info);

Q_DECLARE_METATYPE(QtAutoUpdater::Updater::UpdateInfo)

#endif // UPDATER_H
