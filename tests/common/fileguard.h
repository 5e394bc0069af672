#ifndef FILEGUARD_H
#define FILEGUARD_H

#include <QByteArray>
#include <QFile>
#include <QString>

// Creates a file at a path for the lifetime of the guard, removing it afterwards.
class FileGuard
{
public:
    explicit FileGuard(const QString &vPath, const QByteArray &vContents = "engine")
        : m_path(vPath)
    {
        QFile file(m_path);
        if (file.open(QIODevice::WriteOnly))
            file.write(vContents);
    }
    ~FileGuard() { QFile::remove(m_path); }
    FileGuard(const FileGuard &) = delete;
    FileGuard &operator=(const FileGuard &) = delete;

private:
    QString m_path;
};

#endif // FILEGUARD_H
