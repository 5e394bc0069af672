// Opening an example from a read-only install: the user's own copy, made once and kept.
#include "app/examplecatalog.h"
#include "goldentable.h"
#include "tablecell.h"
#include "testfiles.h"
#include "testmain.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace {
const QString kExample = QStringLiteral("2.1-Linear Regression");

void write(const QString &vPath, const QByteArray &vContents)
{
    QDir().mkpath(QFileInfo(vPath).absolutePath());
    writeFile(vPath, vContents);
}

// A column's files, each "name=contents".
QStringList files(const char *vColumn)
{
    return cell(vColumn).split('|', Qt::SkipEmptyParts);
}
} // namespace

class TestExampleCopy : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void copyTo_data()
    {
        addTableRows(QFINDTESTDATA("examplecopy.txt"),
                     {"sourceFiles", "earlierCopy", "readOnly", "script", "copied"});
    }
    void copyTo()
    {
        QTemporaryDir installed, user;
        const QDir source(installed.filePath(kExample)), copy(user.filePath(kExample));
        for (const QString &file : files("sourceFiles")) {
            write(source.filePath(file.section('=', 0, 0)), file.section('=', 1).toUtf8());
            if (cell("readOnly") == "yes")
                QFile::setPermissions(source.filePath(file.section('=', 0, 0)),
                                      QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);
        }
        for (const QString &file : files("earlierCopy"))
            write(copy.filePath(file.section('=', 0, 0)), file.section('=', 1).toUtf8());
        const QString result = ExampleCatalog(installed.path()).copyTo(kExample, user.path());
        QCOMPARE(result, cell("script").isEmpty() ? QString() : user.filePath(cell("script")));
        for (const QString &file : files("copied")) {
            const QString path = copy.filePath(file.section('=', 0, 0));
            QCOMPARE(readFile(path), file.section('=', 1).toUtf8());
            QVERIFY2(QFile::permissions(path) & QFile::WriteOwner, qPrintable(path));
        }
    }

    void runnableScript()
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
        QCOMPARE(readFile(userCopy), QByteArray("x"));
        QFile::setPermissions(installed.filePath(kExample),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
};

TOVREL_TEST_MAIN(TestExampleCopy)
#include "tst_examplecopy.moc"
