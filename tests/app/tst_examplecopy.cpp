// Opening an example from a read-only install: the user's own copy, made once and kept.
#include "app/examplecatalog.h"
#include "testmain.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace {
const QString kExample = QStringLiteral("2.1-Linear Regression");

void write(const QString &vPath, const QByteArray &vContents)
{
    QDir().mkpath(QFileInfo(vPath).absolutePath());
    QFile file(vPath);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(vContents);
}

QByteArray read(const QString &vPath)
{
    QFile file(vPath);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}
} // namespace

class TestExampleCopy : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void copyTo_data();
    void copyTo();
    void runnableScript();
};

void TestExampleCopy::copyTo_data()
{
    QTest::addColumn<QStringList>("sourceFiles"); // relative to the example, "name=contents"
    QTest::addColumn<QStringList>("earlierCopy");
    QTest::addColumn<bool>("readOnlySource");
    QTest::addColumn<QString>("script"); // expected, relative to the copy root; empty for none
    QTest::addColumn<QStringList>("copied"); // "name=contents" after the copy

    const QStringList example {"b.imp=DATA: d.dat;", "a.imp=first", "d.dat=1 2", "sub/n.txt=n"};
    QTest::newRow("fresh copy: every file, first script by name")
        << example << QStringList() << false << kExample + "/a.imp"
        << QStringList {"a.imp=first", "b.imp=DATA: d.dat;", "d.dat=1 2", "sub/n.txt=n"};
    QTest::newRow("earlier copy keeps the user's edits, missing files come back")
        << example << QStringList {"a.imp=edited"} << false << kExample + "/a.imp"
        << QStringList {"a.imp=edited", "d.dat=1 2"};
    QTest::newRow("read-only source gives an editable copy")
        << example << QStringList() << true << kExample + "/a.imp" << QStringList {"a.imp=first"};
    QTest::newRow("example without a script") << QStringList {"d.dat=1"} << QStringList() << false
                                              << QString() << QStringList {"d.dat=1"};
}

void TestExampleCopy::copyTo()
{
    QFETCH(QStringList, sourceFiles);
    QFETCH(QStringList, earlierCopy);
    QFETCH(bool, readOnlySource);
    QFETCH(QString, script);
    QFETCH(QStringList, copied);

    QTemporaryDir installed, user;
    const QDir source(installed.filePath(kExample)), copy(user.filePath(kExample));
    for (const QString &file : sourceFiles) {
        write(source.filePath(file.section('=', 0, 0)), file.section('=', 1).toUtf8());
        if (readOnlySource)
            QFile::setPermissions(source.filePath(file.section('=', 0, 0)),
                                  QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);
    }
    for (const QString &file : earlierCopy)
        write(copy.filePath(file.section('=', 0, 0)), file.section('=', 1).toUtf8());

    const QString result = ExampleCatalog(installed.path()).copyTo(kExample, user.path());
    QCOMPARE(result, script.isEmpty() ? QString() : QDir(user.path()).filePath(script));
    for (const QString &file : copied) {
        const QString path = copy.filePath(file.section('=', 0, 0));
        QCOMPARE(read(path), file.section('=', 1).toUtf8());
        QVERIFY2(QFile::permissions(path) & QFile::WriteOwner, qPrintable(path));
    }
}

void TestExampleCopy::runnableScript()
{
    QTemporaryDir installed;
    write(installed.filePath(kExample + "/a.imp"), "x");
    const ExampleCatalog catalog(installed.path());
    const QString userCopy = ExampleCatalog::userCopyFolder() + "/" + kExample + "/a.imp";

    // A writable example runs where it is; nothing is copied.
    QCOMPARE(catalog.runnableScriptOf(kExample), installed.filePath(kExample + "/a.imp"));
    QVERIFY(!QFileInfo::exists(userCopy));
    QCOMPARE(catalog.runnableScriptOf(QStringLiteral("no such example")), QString());

    QFile::setPermissions(installed.filePath(kExample), QFile::ReadOwner | QFile::ExeOwner);
    if (QFileInfo(installed.filePath(kExample)).isWritable())
        QSKIP("a read-only folder stays writable for this user (root)");
    QCOMPARE(catalog.runnableScriptOf(kExample), userCopy);
    QCOMPARE(read(userCopy), QByteArray("x"));
    QFile::setPermissions(installed.filePath(kExample),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

TOVREL_TEST_MAIN(TestExampleCopy)
#include "tst_examplecopy.moc"
