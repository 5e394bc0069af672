#include "filetypes.h"

#include "config/csettings.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace {
const QString kEngineScript = QStringLiteral("imp");
const QString kMplusScript = QStringLiteral("inp");
const QString kMplusOutput = QStringLiteral("out");

bool hasSuffix(const QFileInfo &vFile, const QString &vSuffix)
{
    return vFile.suffix().compare(vSuffix, Qt::CaseInsensitive) == 0;
}

QString beside(const QFileInfo &vFile, const QString &vSuffix)
{
    return vFile.absolutePath() + QLatin1Char('/') + vFile.completeBaseName() + QLatin1Char('.')
        + vSuffix;
}
} // namespace

QString FileTypes::scriptFor(const QString &vPath)
{
    const QFileInfo file(vPath);
    if (vPath.isEmpty())
        return vPath;
    if (hasSuffix(file, CSettings::instance().outputExtension()))
        return beside(file, kEngineScript);
    if (hasSuffix(file, kMplusOutput))
        return beside(file, kMplusScript);
    return vPath;
}

bool FileTypes::isMplusScript(const QString &vPath)
{
    return hasSuffix(QFileInfo(vPath), kMplusScript);
}

QString FileTypes::outputFor(const QString &vScript, bool vMplus)
{
    if (vScript.isEmpty())
        return {};
    return beside(QFileInfo(vScript),
                  vMplus ? kMplusOutput : CSettings::instance().outputExtension());
}

QString FileTypes::openPatterns()
{
    return QStringLiteral("*.imp *.txt *.tovrel-out *.inp *.out");
}

QString FileTypes::examplesFolderName()
{
    return QStringLiteral("User Guide Examples");
}

QString FileTypes::examplesFolder()
{
    return QCoreApplication::applicationDirPath() + QLatin1Char('/') + examplesFolderName();
}
