#ifndef ENGINECONSENT_H
#define ENGINECONSENT_H

#include <QCoreApplication>
#include <QString>

class QWidget;

// Asks the user before a script starts a program that is not one of the configured engines (a
// "#!" line may name any program), and remembers an "Always" answer for that script.
class EngineConsent
{
    Q_DECLARE_TR_FUNCTIONS(EngineConsent)
public:
    // Whether the run of vScript with the executable vEngine may go ahead; asks in a box parented
    // to vParent only when the program needs the user's consent.
    static bool granted(QWidget *vParent, const QString &vScript, const QString &vEngine);
};

#endif // ENGINECONSENT_H
