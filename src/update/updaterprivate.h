#ifndef UPDATERPRIVATE_H
#define UPDATERPRIVATE_H

#include "updater.h"

#include <QException>
#include <QObject>
#include <QProcess>

#include <memory>

namespace QtAutoUpdater {

class SimpleScheduler;

// The state and the process handling behind Updater. Parsing failures travel as the two
// exceptions below and are turned into checkUpdatesDone results here: none leaves the module.
class UpdaterPrivate : public QObject
{
    Q_OBJECT
public:
    class NoUpdatesXmlException : public QException
    {
    public:
        const char *what() const noexcept override;
        void raise() const override { throw *this; }
        NoUpdatesXmlException *clone() const override { return new NoUpdatesXmlException(*this); }
    };

    class InvalidXmlException : public QException
    {
    public:
        const char *what() const noexcept override;
        void raise() const override { throw *this; }
        InvalidXmlException *clone() const override { return new InvalidXmlException(*this); }
    };

    UpdaterPrivate(Updater *vUpdater, const QString &vToolPath);
    ~UpdaterPrivate() override;

    // The "<updates>" list in the tool's standard output; text around it is ignored.
    static QList<Updater::UpdateInfo> parseResult(const QByteArray &vOutput);
    // The tool path taken from the application's folder.
    QString toolProgram() const;

    bool startUpdateCheck();
    void stopUpdateCheck(int vMaxDelay);

    Updater *q;
    QString toolPath;
    QList<Updater::UpdateInfo> updateInfos;
    bool running = false;
    int lastErrorCode = 0;
    bool normalExit = true;
    QByteArray lastErrorLog;
    QProcess *mainProcess = nullptr;
    SimpleScheduler *scheduler = nullptr;
    bool runOnExit = false;
    QStringList runArguments;
    std::unique_ptr<AdminAuthoriser> adminAuth;

public Q_SLOTS:
    void updaterReady(int vExitCode, QProcess::ExitStatus vExitStatus);
    void updaterError(QProcess::ProcessError vError);
    void appAboutToExit();

private:
    void finishProcess();
};

} // namespace QtAutoUpdater

#endif // UPDATERPRIVATE_H
