#include "recentfiles.h"

#include <QFileInfo>

RecentFiles::RecentFiles(const QStringList &vPaths)
{
    // A list stored by hand or by an older studio is tidied the same way.
    for (auto path = vPaths.crbegin(); path != vPaths.crend(); ++path)
        add(*path);
}

void RecentFiles::add(const QString &vPath)
{
    if (vPath.trimmed().isEmpty())
        return;
    const QString path = QFileInfo(vPath.trimmed()).absoluteFilePath();
    remove(path);
    m_paths.prepend(path);
    while (m_paths.size() > kLimit)
        m_paths.removeLast();
}

bool RecentFiles::remove(const QString &vPath)
{
    const QString path = QFileInfo(vPath.trimmed()).absoluteFilePath();
    return m_paths.removeIf([&path](const QString &vListed) {
        return vListed.compare(path, Qt::CaseInsensitive) == 0;
    }) > 0;
}
