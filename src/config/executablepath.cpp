#include "executablepath.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QStandardPaths>

namespace ExecutablePath {

QString fileName(const QString &vBaseName)
{
#ifdef Q_OS_WIN
    return vBaseName + QStringLiteral(".exe");
#else
    return vBaseName;
#endif
}

QString besideApplication(const QString &vBaseName)
{
    return QCoreApplication::applicationDirPath() + QLatin1Char('/') + fileName(vBaseName);
}

QString find(const QString &vBaseName)
{
    const QString local = besideApplication(vBaseName);
    const QFileInfo info(local);
    if (info.isFile() && info.isExecutable())
        return local;
    return QStandardPaths::findExecutable(fileName(vBaseName));
}

QString startedAs(const QString &vPath)
{
    return vPath.isEmpty() ? QString() : QFileInfo(vPath).absoluteFilePath();
}

} // namespace ExecutablePath
