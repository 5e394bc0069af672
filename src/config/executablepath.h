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

// The file a child started through vPath runs: a relative path is taken from the studio's working
// folder and never looked up on PATH, so what the user is shown is what runs.
QString startedAs(const QString &vPath);

} // namespace ExecutablePath

#endif // EXECUTABLEPATH_H
