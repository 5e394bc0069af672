#include "updatecheck.h"

#include "config/csettings.h"
#include "config/executablepath.h"
#include "dupdate.h"
#include "updater.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QUrl>
#include <QWidget>

using QtAutoUpdater::Updater;

namespace {

// A box with OK and one extra button; true when the extra button ended it.
bool askWithExtraButton(QWidget *vParent, QMessageBox::Icon vIcon, const QString &vTitle,
                        const QString &vText, const QString &vExtra)
{
    QMessageBox box(vIcon, vTitle, vText, QMessageBox::Ok, vParent);
    QPushButton *extra = box.addButton(vExtra, QMessageBox::ActionRole);
    // Escape or closing the box counts as OK: only the extra button acts.
    box.setEscapeButton(box.button(QMessageBox::Ok));
    box.setDefaultButton(QMessageBox::Ok);
    box.exec();
    return box.clickedButton() == extra;
}

} // namespace

UpdateCheck *UpdateCheck::start(Mode vMode, QWidget *vWindow, const QString &vToolPath,
                                const QString &vChangelogPrefix)
{
    // A copy built from source has no maintenance tool: no process is started for nothing.
    if (!QFileInfo::exists(vToolPath)) {
        if (vMode == Mode::Manual)
            showMissingTool(vWindow, vToolPath);
        return nullptr;
    }
    return new UpdateCheck(vMode, vWindow, vToolPath, vChangelogPrefix);
}

UpdateCheck::UpdateCheck(Mode vMode, QWidget *vWindow, const QString &vToolPath,
                         const QString &vChangelogPrefix)
    : QObject(vWindow)
    , m_mode(vMode)
    , m_window(vWindow)
    , m_toolPath(vToolPath)
    , m_changelogPrefix(vChangelogPrefix)
    , m_updater(new Updater(vToolPath, this))
{
    connect(m_updater, &Updater::checkUpdatesDone, this, &UpdateCheck::on_checkUpdatesDone);
    m_updater->checkForUpdates();
}

QString UpdateCheck::toolPath()
{
    return ExecutablePath::besideApplication(QStringLiteral("tovrel-updater"));
}

QString UpdateCheck::websiteName()
{
    return QStringLiteral(TOVREL_WEBSITE_NAME);
}

QString UpdateCheck::webPage()
{
    return QStringLiteral(TOVREL_WEB_PAGE);
}

QString UpdateCheck::changelogPrefix()
{
    return QStringLiteral(TOVREL_CHANGELOG_URL);
}

QStringList UpdateCheck::versionRecord(const QStringList &vVersions)
{
    QStringList record = vVersions.mid(0, 2);
    while (record.size() < 2)
        record << QString();
    return record;
}

void UpdateCheck::on_checkUpdatesDone(bool hasUpdates, bool hasError)
{
    qDebug() << "Has updates:" << hasUpdates << "\nHas errors:" << hasError;
    if (hasError)
        showConnectionError();
    else if (!hasUpdates) {
        if (m_mode == Mode::Manual)
            showUpToDate();
    } else
        offerUpdate();
    Q_EMIT did_finish();
    // An accepted update keeps its updater until the application quits.
    if (!m_updater->willRunOnExit())
        deleteLater();
}

void UpdateCheck::showConnectionError()
{
    const QString text = QStringLiteral("Unable to connect to check for update.\nPlease manually "
                                        "check at ")
        + websiteName();
    if (askWithExtraButton(m_window, QMessageBox::Warning, QStringLiteral("Error!"), text,
                           QStringLiteral("Open URL")))
        QDesktopServices::openUrl(QUrl(webPage()));
}

void UpdateCheck::showUpToDate()
{
    if (askWithExtraButton(m_window, QMessageBox::Information, QStringLiteral("Update Check"),
                           QStringLiteral("Tovrel is up to date!"), QStringLiteral("Open Updater")))
        QProcess::startDetached(m_toolPath, {QStringLiteral("--manage-packages")});
}

void UpdateCheck::showMissingTool(QWidget *vWindow, const QString &vToolPath)
{
    const QString text
        = QStringLiteral("No maintenance tool is installed, so this copy of Tovrel Studio cannot "
                         "check for updates.\n\nThe tool would be %1.\nPlease check for new "
                         "versions at %2.")
              .arg(QDir::toNativeSeparators(vToolPath), websiteName());
    if (askWithExtraButton(vWindow, QMessageBox::Information, QStringLiteral("Update Check"), text,
                           QStringLiteral("Open URL")))
        QDesktopServices::openUrl(QUrl(webPage()));
}

void UpdateCheck::offerUpdate()
{
    const QList<Updater::UpdateInfo> updates = m_updater->updateInfo();
    QStringList versions;
    for (const Updater::UpdateInfo &update : updates)
        versions << update.version.toString();
    const QStringList record = versionRecord(versions);

    CSettings &settings = CSettings::instance();
    if (m_mode == Mode::Automatic) {
        const QStringList skipped = settings.previousVersion();
        qDebug() << "Current Version = " << record;
        qDebug() << "Previous Version = " << skipped;
        if (record == skipped) {
            qDebug() << "User chose to skip this update!";
            return;
        }
    }

    DUpdate dialog(updates, m_changelogPrefix, m_window);
    dialog.exec();
    switch (dialog.choice()) {
    case DUpdate::Choice::SkipThisVersion:
        settings.setPreviousVersion(record);
        break;
    case DUpdate::Choice::RemindMeLater:
        settings.setPreviousVersion({QString(), QString()});
        break;
    case DUpdate::Choice::Update:
        break;
    }
    if (dialog.result() == QDialog::Accepted) {
        qDebug() << "Yes was clicked";
        quitForUpdate();
    } else
        qDebug() << "No was clicked";
}

void UpdateCheck::quitForUpdate()
{
    const QString tool
        = QFileInfo(QDir(QCoreApplication::applicationDirPath()), m_toolPath).absoluteFilePath();
    if (!QFileInfo(tool).isExecutable()) {
        QMessageBox::warning(m_window, QStringLiteral("Error!"),
                             tr("The maintenance tool \"%1\" cannot be started, so the update "
                                "cannot be installed and Tovrel Studio stays open.")
                                 .arg(QDir::toNativeSeparators(tool)));
        return;
    }
    // Quitting as the user's own Quit does: every document is asked, and one refusal keeps the
    // studio open (and the update for another time).
    if (m_window && !m_window->close())
        return;
    m_updater->runUpdaterOnExit();
    QCoreApplication::quit();
}
