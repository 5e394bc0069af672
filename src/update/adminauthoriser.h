#ifndef ADMINAUTHORISER_H
#define ADMINAUTHORISER_H

#include <QString>
#include <QStringList>

namespace QtAutoUpdater {

// Starts a program with administrator rights, for a maintenance tool installed where the
// current user may not write. The studio itself runs the tool as the current user.
class AdminAuthoriser
{
public:
    virtual ~AdminAuthoriser() = default;
    virtual bool hasAdminRights() = 0;
    virtual bool executeAsAdmin(const QString &program, const QStringList &arguments) = 0;
};

} // namespace QtAutoUpdater

#endif // ADMINAUTHORISER_H
