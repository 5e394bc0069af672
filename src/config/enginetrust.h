#ifndef ENGINETRUST_H
#define ENGINETRUST_H

#include <QList>
#include <QString>

class CSettings;

// Which programs a run may start without asking. A script's "#!" line can name any program, and
// scripts travel by e-mail, course pages and forums: only the engines the user configured start
// unasked, and programs the user agreed to run for that very script, as long as the program file
// is the one agreed to.
class EngineTrust
{
public:
    // One program the user lets one script run. Size and time tell the program file as it was
    // then: a program replaced or changed since is a different program and asks again.
    struct Grant
    {
        QString script;
        QString program;
        qint64 size = 0;
        qint64 modified = 0; // milliseconds since the epoch, UTC
    };

    explicit EngineTrust(CSettings &vSettings);

    // Whether starting vEngine (the executable a run hands to the runner) for vScript needs the
    // user's consent first. Engines the runner refuses anyway (missing, a folder, not a program)
    // and runs of a script that is not there need none: nothing starts.
    bool needsConsent(const QString &vScript, const QString &vEngine) const;
    // Lets vScript run vEngine from now on, for as long as the program file stays as it is now.
    void grant(const QString &vScript, const QString &vEngine);

    // The remembered grants, for the user to review and forget.
    QList<Grant> grants() const;
    void setGrants(const QList<Grant> &vGrants);

private:
    bool isConfigured(const QString &vProgram) const;
    static Grant grantFor(const QString &vScript, const QString &vEngine);

    CSettings &m_settings;
};

#endif // ENGINETRUST_H
