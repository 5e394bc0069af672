#include "enginetrust.h"

#include "csettings.h"
#include "executablepath.h"

#include <QDateTime>
#include <QFileInfo>
#include <QVariantMap>

namespace {
const QString kScript = QStringLiteral("script");
const QString kProgram = QStringLiteral("program");
const QString kSize = QStringLiteral("size");
const QString kModified = QStringLiteral("modified");

// The file itself, links followed: two names of one program are one program.
QString identity(const QString &vPath)
{
    const QFileInfo info(ExecutablePath::startedAs(vPath));
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? info.absoluteFilePath() : canonical;
}

bool sameGrant(const EngineTrust::Grant &vA, const EngineTrust::Grant &vB)
{
    return vA.script == vB.script && vA.program == vB.program && vA.size == vB.size
        && vA.modified == vB.modified;
}
} // namespace

EngineTrust::EngineTrust(CSettings &vSettings)
    : m_settings(vSettings)
{ }

bool EngineTrust::needsConsent(const QString &vScript, const QString &vEngine) const
{
    const QFileInfo program(ExecutablePath::startedAs(vEngine));
    if (!program.isFile() || !program.isExecutable() || !QFileInfo(vScript).isFile())
        return false;
    if (isConfigured(vEngine))
        return false;
    const Grant wanted = grantFor(vScript, vEngine);
    for (const Grant &granted : grants()) {
        if (sameGrant(granted, wanted))
            return false;
    }
    return true;
}

void EngineTrust::grant(const QString &vScript, const QString &vEngine)
{
    const Grant wanted = grantFor(vScript, vEngine);
    // One grant per script and program: the program as it is now replaces the one agreed to before.
    QList<Grant> kept;
    for (const Grant &granted : grants()) {
        if (granted.script != wanted.script || granted.program != wanted.program)
            kept.append(granted);
    }
    kept.append(wanted);
    setGrants(kept);
}

QList<EngineTrust::Grant> EngineTrust::grants() const
{
    QList<Grant> read;
    for (const QVariant &stored : m_settings.trustedEngines()) {
        const QVariantMap entry = stored.toMap();
        Grant grant {entry.value(kScript).toString(), entry.value(kProgram).toString(),
                     entry.value(kSize).toLongLong(), entry.value(kModified).toLongLong()};
        // An entry damaged in the file grants nothing.
        if (!grant.script.isEmpty() && !grant.program.isEmpty())
            read.append(grant);
    }
    return read;
}

void EngineTrust::setGrants(const QList<Grant> &vGrants)
{
    QVariantList stored;
    for (const Grant &grant : vGrants)
        stored.append(QVariantMap {{kScript, grant.script},
                                   {kProgram, grant.program},
                                   {kSize, grant.size},
                                   {kModified, grant.modified}});
    m_settings.setTrustedEngines(stored);
}

bool EngineTrust::isConfigured(const QString &vProgram) const
{
    const QString program = identity(vProgram);
    const QStringList configured {CSettings::stableEnginePath(), CSettings::previewEnginePath(),
                                  m_settings.commandLineToolName(),
                                  ExecutablePath::besideApplication(QStringLiteral("tovrel-demo"))};
    for (const QString &engine : configured) {
        if (!engine.trimmed().isEmpty() && identity(engine) == program)
            return true;
    }
    return false;
}

EngineTrust::Grant EngineTrust::grantFor(const QString &vScript, const QString &vEngine)
{
    // The program as the user was shown it; its size and time are those of the file it leads to.
    const QString program = ExecutablePath::startedAs(vEngine);
    const QFileInfo file(program);
    return {identity(vScript), program, file.size(), file.lastModified().toMSecsSinceEpoch()};
}
