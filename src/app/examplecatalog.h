#ifndef EXAMPLECATALOG_H
#define EXAMPLECATALOG_H

#include <QList>
#include <QString>
#include <QStringList>

// The user-guide examples installed beside the studio: one sub-folder per example, named
// "<category>.<number>-<title>", holding one or more scripts. Sorted as a reader expects, so
// 2.1 comes before 2.10, and grouped into the menu's categories.
class ExampleCatalog
{
public:
    struct Example
    {
        QString folder; // the whole folder name, which also identifies the example
        QString title; // the text after the first "-"
    };

    // The menu's categories in order; a folder's number before "." picks one (1 is the first).
    static const QStringList &categoryTitles();
    // "User Guide Examples" beside the studio.
    static QString defaultFolder();

    explicit ExampleCatalog(const QString &vFolder = defaultFolder());

    QString folder() const { return m_folder; }
    bool exists() const;
    // The example folders' names in numeric order.
    QStringList folderNames() const;
    // One list per category, then a last list for folders whose number matches none.
    QList<QList<Example>> byCategory() const;
    // The category index of a folder name, or -1 when its number matches no category.
    static int categoryOf(const QString &vFolderName);
    static QString titleOf(const QString &vFolderName);

    bool hasExample(const QString &vFolderName) const;
    // The example's first script (".imp") by name, or empty when it has none.
    QString scriptOf(const QString &vFolderName) const;
    // The script to open for an example. A run writes its output beside the script, and an
    // installed studio's examples are read-only, so an example whose folder cannot be written to
    // is opened from the user's own copy (copyTo under userCopyFolder()); if that copy fails, the
    // example's own script.
    QString runnableScriptOf(const QString &vFolderName) const;
    // Copies the example into vRoot/<folder name>, keeping files already there (the user's edits),
    // and returns the copy's first script; empty when nothing could be copied.
    QString copyTo(const QString &vFolderName, const QString &vRoot) const;
    // "User Guide Examples" in the user's own data folder.
    static QString userCopyFolder();

private:
    QString m_folder;
};

#endif // EXAMPLECATALOG_H
