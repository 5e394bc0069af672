#include "testmain.h"

#include "config/csettings.h"
#include "goldentable.h"
#include "modalanswerer.h"
#include "tablecell.h"
#include "testfiles.h"
#include "workspace/filehandling.h"

#include <QSettings>
#include <QSignalSpy>

class TestFileHandling : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QString path(const QString &vName) const { return m_dir.filePath(vName); }

    // Points vHandler at a freshly written file, read as well when vRead is set.
    void openFile(FileHandling &vHandler, const QString &vPath, const QByteArray &vContents,
                  bool vRead = false)
    {
        writeFile(vPath, vContents);
        QTest::ignoreMessage(QtDebugMsg, " ~ did_open ~ ");
        QVERIFY(vHandler.open(vPath));
        if (vRead) {
            QTest::ignoreMessage(QtDebugMsg, " ~ did_read ~ ");
            QVERIFY(vHandler.read());
        }
    }

private Q_SLOTS:
    void init() { QSettings().clear(); }

    void openReadSaveAndRemoveTheFirstLine()
    {
        FileHandling handler;
        QSignalSpy opened(&handler, &FileHandling::did_open);
        QSignalSpy read(&handler, &FileHandling::did_read);
        QSignalSpy saved(&handler, &FileHandling::did_save);
        QVERIFY(!handler.open(path("no such file.imp")));
        QVERIFY(!handler.isValid(false));
        openFile(handler, path("script.imp"), "DATA: x;\r\nMODEL: y;\r\n");
        QCOMPARE(handler.folder(), m_dir.path());
        QVERIFY(handler.lines().isEmpty()); // opening does not read
        QTest::ignoreMessage(QtDebugMsg, " ~ did_read ~ ");
        QVERIFY(handler.read());
        QCOMPARE(handler.lines(), QStringList({"DATA: x;", "MODEL: y;", ""}));
        QTest::ignoreMessage(QtDebugMsg, " ~ did_save ~ ");
        QVERIFY(handler.save(QString::fromUtf8("DATA: \u00e9t\u00e9.dat;\nSEED: 1;")));
        QCOMPARE(readFile(handler.fileName()), "DATA: \xC3\xA9t\xC3\xA9.dat;\nSEED: 1;");
        QCOMPARE(handler.lines().value(1), "SEED: 1;");
        QTest::ignoreMessage(QtDebugMsg, " ~ did_save ~ ");
        QVERIFY(handler.removeFirstLine());
        QCOMPARE(readFile(handler.fileName()), "SEED: 1;");
        QCOMPARE(QList<int>({int(opened.count()), int(read.count()), int(saved.count())}),
                 QList<int>({1, 1, 2}));
        // A later failed open forgets the file; clearing makes the document a new one.
        QVERIFY(!handler.open(path("gone.imp")));
        QVERIFY(!handler.hasFileName());
        openFile(handler, path("script.imp"), "a", true);
        CSettings::instance().setLastSaveFolder(path("saved"));
        handler.clear();
        QVERIFY(!handler.isValid(false) && !handler.hasFileName() && handler.lines().isEmpty());
        QCOMPARE(handler.folder(), path("saved"));
    }

    void withoutAFileNothingIsReadOrSaved()
    {
        FileHandling handler;
        QSignalSpy read(&handler, &FileHandling::did_read);
        QSignalSpy saved(&handler, &FileHandling::did_save);
        const std::function<bool()> operations[]
            = {[&] { return handler.read(); }, [&] { return handler.save("text"); },
               [&] {
                   return handler.removeFirstLine();
               }};
        for (const std::function<bool()> &operation : operations) {
            SeenBox seen;
            {
                ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
                QVERIFY(!operation());
            }
            QCOMPARE(seen.count, 1);
            QCOMPARE(seen.title + '|' + seen.text, "Warning|Error : isValid");
            QCOMPARE(seen.icon, QMessageBox::Warning);
            QVERIFY(!seen.hadParent);
        }
        QCOMPARE(read.count() + saved.count(), 0);
    }

    void separator_data()
    {
        addTableRows(QFINDTESTDATA("separators.txt"), {"contents", "consistent", "separator"});
    }
    void separator()
    {
        QFETCH(QString, contents);
        QFETCH(QString, consistent);
        const bool ok = consistent == "1";
        FileHandling handler;
        openFile(handler, path("data.dat"), contents.toUtf8(), true);
        SeenBox seen;
        {
            ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
            QCOMPARE(handler.checkSeparator(), ok);
        }
        QCOMPARE(QString(handler.separator()), cell("separator"));
        QCOMPARE(seen.count, ok ? 0 : 1);
        if (!ok)
            QCOMPARE(seen.title + '|' + seen.text, "Warning|Not a consistent separator");
        // The header test never finds one, whatever the first line holds.
        bool found = true;
        QCOMPARE(handler.headerLine(found), QString());
        QVERIFY(!found);
    }

    void examples_data() { addTableRows(QFINDTESTDATA("examples.txt"), {"folder", "example"}); }
    void examples()
    {
        QFETCH(QString, folder);
        const QString appDir = QCoreApplication::applicationDirPath();
        const QString base
            = folder.startsWith("OTHER/") ? m_dir.path() + folder.mid(5) : appDir + '/' + folder;
        const bool examplesExisted = QFileInfo::exists(appDir + "/User Guide Examples");
        QVERIFY(QDir().mkpath(base));
        FileHandling handler;
        openFile(handler, base + "/example 1.imp", "DATA: x;\n");
        const bool result = handler.isExample();
        QFile::remove(handler.fileName());
        QDir(appDir + "/User Guide Examples/Chapter fh").removeRecursively();
        if (!examplesExisted)
            QDir(appDir).rmdir("User Guide Examples");
        QCOMPARE(result, cell("example") == "1");
    }

    void dialogs_data()
    {
        addTableRows(QFINDTESTDATA("filedialogs.txt"), {"form", "startName", "choice", "filter"});
    }
    void dialogs()
    {
        QFETCH(QString, form);
        QFETCH(QString, startName);
        const bool choose = cell("choice") == "1";
        const bool opening = form == "open";
        const QString chosenFolder = path("chosen");
        const QString chosen = chosenFolder + "/" + QTest::currentDataTag() + ".txt";
        QDir().mkpath(chosenFolder);
        if (opening)
            writeFile(chosen, "DATA: x;\n");
        FileHandling handler;
        openFile(handler, path("current.imp"), "old");
        const QString openFolder = CSettings::instance().lastOpenFolder();
        const QString saveFolder = CSettings::instance().lastSaveFolder();
        QStringList seen;
        bool result = false;
        {
            ModalAnswerer answerer(answerDialogs(QMessageBox::Ok, choose ? chosen : "", &seen));
            if (choose)
                QTest::ignoreMessage(QtDebugMsg, opening ? " ~ did_open ~ " : " ~ did_save ~ ");
            if (opening)
                handler.openWithDialog(result);
            else if (form == "saveAs")
                result = handler.saveAs("new text", startName);
            else
                result = startName.isEmpty() ? handler.saveAsText("new text")
                                             : handler.saveAsText(startName, "new text");
        }
        // The open dialog proposes its folder, a save dialog a file in it.
        const QString proposed
            = opening ? m_dir.path() : path(startName.isEmpty() ? "current.imp" : startName);
        const QString title = opening ? "Select file to open" : "Enter file name to save";
        QCOMPARE(seen, QStringList({title, proposed, cell("filter")}));
        QCOMPARE(result, choose);
        QCOMPARE(handler.fileName(), choose ? chosen : opening ? QString() : path("current.imp"));
        QCOMPARE(readFile(path("current.imp")), "old");
        if (opening)
            QCOMPARE(handler.folder(), choose ? chosenFolder : QString());
        if (choose && !opening)
            QCOMPARE(readFile(chosen), "new text");
        QCOMPARE(CSettings::instance().lastOpenFolder(),
                 choose && opening ? chosenFolder : openFolder);
        QCOMPARE(CSettings::instance().lastSaveFolder(),
                 choose && !opening ? chosenFolder : saveFolder);
    }
};

TOVREL_TEST_MAIN(TestFileHandling)
#include "tst_filehandling.moc"
