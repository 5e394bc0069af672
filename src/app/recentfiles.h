#ifndef RECENTFILES_H
#define RECENTFILES_H

#include <QStringList>

// The scripts last opened or saved, most recent first, at most kLimit of them. A path is
// listed once, however its letters' case differs, as the main window never opens a file twice.
class RecentFiles
{
public:
    static constexpr int kLimit = 10;

    explicit RecentFiles(const QStringList &vPaths = {});

    // Puts vPath first (made absolute), dropping an older entry for it and the oldest beyond
    // the limit.
    void add(const QString &vPath);
    // Returns whether vPath was listed.
    bool remove(const QString &vPath);
    void clear() { m_paths.clear(); }
    QStringList paths() const { return m_paths; }

private:
    QStringList m_paths;
};

#endif // RECENTFILES_H
