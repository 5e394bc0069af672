#ifndef TESTFILES_H
#define TESTFILES_H

#include <QFile>
#include <QtTest>

// Writes vContents to vPath, failing the calling test when it cannot.
inline void writeFile(const QString &vPath, const QByteArray &vContents)
{
    QFile file(vPath);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(vPath));
    file.write(vContents);
}

// What vPath holds; nothing when it cannot be read.
inline QByteArray readFile(const QString &vPath)
{
    QFile file(vPath);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

#endif // TESTFILES_H
