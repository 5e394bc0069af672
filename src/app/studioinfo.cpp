#include "studioinfo.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QtGlobal>

namespace StudioInfo {

QUrl helpUrl()
{
    const QString address = QStringLiteral(TOVREL_HELP_URL);
    if (QUrl(address).isRelative())
        return QUrl::fromLocalFile(QDir(QCoreApplication::applicationDirPath()).filePath(address));
    return QUrl::fromUserInput(address);
}

QString aboutText()
{
    return QStringLiteral("<h3>Tovrel Studio</h3>"
                          "<p>%1</p>"
                          "<p>Write scripts for the Tovrel computational engine, run them, and "
                          "inspect their output and trace plots.</p>"
                          "<p>Built with Qt %2 (running on Qt %3).</p>"
                          "<p>%4</p>")
        .arg(QCoreApplication::applicationVersion().toHtmlEscaped(), QStringLiteral(QT_VERSION_STR),
             QString::fromLatin1(qVersion()), QStringLiteral(TOVREL_LICENSE_TEXT).toHtmlEscaped());
}

QString studioChangelog()
{
    QFile file(QStringLiteral(":/docs/CHANGELOG.md"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}

QString engineVersion(const QString &vEngine, int vTimeoutMs)
{
    const QString hint = QStringLiteral("\n\nSet the path to the engine in Preferences.");
    if (vEngine.trimmed().isEmpty() || !QFileInfo(vEngine).isFile())
        return QStringLiteral("No Tovrel computational engine was found at \"%1\".").arg(vEngine)
            + hint;
    QProcess engine;
    engine.setProcessChannelMode(QProcess::MergedChannels);
    engine.start(vEngine, {QStringLiteral("--version")});
    if (!engine.waitForStarted(vTimeoutMs))
        return QStringLiteral("The engine \"%1\" could not be started: %2")
                   .arg(vEngine, engine.errorString())
            + hint;
    if (!engine.waitForFinished(vTimeoutMs)) {
        engine.kill();
        engine.waitForFinished(1000);
        return QStringLiteral("The engine \"%1\" did not answer within %2 seconds.")
            .arg(vEngine)
            .arg(vTimeoutMs / 1000.0);
    }
    const QString answer = QString::fromUtf8(engine.readAll()).trimmed();
    if (engine.exitStatus() != QProcess::NormalExit || engine.exitCode() != 0 || answer.isEmpty())
        return QStringLiteral("The engine \"%1\" could not report its version (exit code %2).")
                   .arg(vEngine)
                   .arg(engine.exitCode())
            + (answer.isEmpty() ? QString() : QStringLiteral("\n\n") + answer);
    return answer;
}

} // namespace StudioInfo
