#ifndef EXECUTABLEPATH_H
#define EXECUTABLEPATH_H

#include <QString>

// Where the studio looks for the programs it runs (the engine, gnuplot, the maintenance tool):
// beside its own executable, named with the platform's executable suffix.
namespace ExecutablePath {

// "tovrel" becomes "tovrel.exe" on Windows and stays "tovrel" elsewhere.
QString fileName(const QString &vBaseName);

// The program's path in the studio's own folder, whether or not it exists.
QString besideApplication(const QString &vBaseName);

// The program beside the studio if it is there, otherwise the first one on PATH; empty if neither.
QString find(const QString &vBaseName);

} // namespace ExecutablePath

#endif // EXECUTABLEPATH_H
