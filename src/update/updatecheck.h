#ifndef UPDATECHECK_H
#define UPDATECHECK_H

#include <QObject>
#include <QPointer>
#include <QStringList>

class QWidget;
namespace QtAutoUpdater {
class Updater;
}

// One update check made by the main window, and what the user sees of its result. An
// automatic check speaks only when there is an update the user has not chosen to skip; a
// manual one always answers.
class UpdateCheck : public QObject
{
    Q_OBJECT
public:
    enum class Mode { Automatic, Manual };
    Q_ENUM(Mode)

    // Starts a check owned by vWindow. Without a maintenance tool an automatic check does
    // nothing at all (null is returned) and a manual one says so at once.
    static UpdateCheck *start(Mode vMode, QWidget *vWindow, const QString &vToolPath = toolPath(),
                              const QString &vChangelogPrefix = changelogPrefix());

    // The maintenance tool beside the program, and the fixed addresses of the build.
    static QString toolPath();
    static QString websiteName();
    static QString webPage();
    static QString changelogPrefix();

    // The skip record for a list of offered versions: the first two, padded with empty texts.
    static QStringList versionRecord(const QStringList &vVersions);

    QtAutoUpdater::Updater *updater() const { return m_updater; }

Q_SIGNALS:
    // The result has been handled (any box or dialog has been answered).
    void did_finish();

private:
    UpdateCheck(Mode vMode, QWidget *vWindow, const QString &vToolPath,
                const QString &vChangelogPrefix);

    void on_checkUpdatesDone(bool hasUpdates, bool hasError);
    void showConnectionError();
    void showUpToDate();
    static void showMissingTool(QWidget *vWindow, const QString &vToolPath);
    void offerUpdate();
    void quitForUpdate();

    Mode m_mode;
    QPointer<QWidget> m_window;
    QString m_toolPath;
    QString m_changelogPrefix;
    QtAutoUpdater::Updater *m_updater = nullptr;
};

#endif // UPDATECHECK_H
