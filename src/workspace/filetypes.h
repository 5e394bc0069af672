#ifndef FILETYPES_H
#define FILETYPES_H

#include <QString>

// Which files the studio edits and which it only reads: an output file stands for the script it
// was made from, and every place that opens a file asks here, so that "already open" and the
// file a document edits are always the same file.
class FileTypes
{
public:
    // The script an output file belongs to (".tovrel-out" -> ".imp", ".out" -> ".inp", beside
    // it); any other file stands for itself.
    static QString scriptFor(const QString &vPath);
    // Whether a script is an Mplus input (".inp").
    static bool isMplusScript(const QString &vPath);
    // The output file of a script: beside it, ".out" for an Mplus input, else ".tovrel-out".
    static QString outputFor(const QString &vScript, bool vMplus);
    // The patterns of every open dialog for scripts.
    static QString openPatterns();
    // The folder of the User Guide examples beside the program, and its name.
    static QString examplesFolderName();
    static QString examplesFolder();
};

#endif // FILETYPES_H
