#include "testmain.h"

#include "config/csettings.h"
#include "modalanswerer.h"
#include "workspace/filehandling.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QSettings>
#include <QSignalSpy>

#ifdef Q_OS_LINUX
#include <csignal>
#include <sys/resource.h>
#endif

namespace {

const QString kFilter = "Files (*.dat *.csv *.data *.txt *.tovrel-out *.inp *.out *imp)";

void writeFile(const QString &vPath, const QByteArray &vContents)
{
    QFile file(vPath);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(vPath));
    file.write(vContents);
}

QByteArray readFile(const QString &vPath)
{
    QFile file(vPath);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

// What a file dialog offered.
struct SeenDialog
{
    QString title;
    QStringList filters;
    QString directory;
    QString startFile;
    int count = 0;
};

// Records the dialog and types vChoice into its name field, or cancels when vChoice is empty.
std::function<void(QWidget *)> chooseFile(const QString &vChoice, SeenDialog *vSeen)
{
    return [vChoice, vSeen](QWidget *vModal) {
        auto *dialog = qobject_cast<QFileDialog *>(vModal);
        if (!dialog)
            return;
        *vSeen = {dialog->windowTitle(), dialog->nameFilters(), dialog->directory().absolutePath(),
                  dialog->selectedFiles().value(0), vSeen->count + 1};
        auto *nameField = dialog->findChild<QLineEdit *>("fileNameEdit");
        if (vChoice.isEmpty() || !nameField)
            return dialog->reject();
        nameField->setText(vChoice);
        static_cast<QDialog *>(dialog)->accept();
    };
}

} // namespace

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

    void openingAnnouncesOnlyExistingFiles()
    {
        FileHandling handler;
        QSignalSpy opened(&handler, &FileHandling::did_open);
        QVERIFY(!handler.open(path("no such file.imp")));
        QVERIFY(!handler.isValid(false));
        openFile(handler, path("present.imp"), "DATA: x;\n");
        QCOMPARE(opened.count(), 1);
        QCOMPARE(handler.folder(), m_dir.path());
        QVERIFY(handler.lines().isEmpty()); // opening does not read
        // A later failed open forgets the file.
        QVERIFY(!handler.open(path("gone.imp")));
        QVERIFY(!handler.hasFileName());
        QCOMPARE(opened.count(), 1);
    }

    void readAndSaveAnnounceThemselves()
    {
        FileHandling handler;
        QSignalSpy read(&handler, &FileHandling::did_read);
        QSignalSpy saved(&handler, &FileHandling::did_save);
        openFile(handler, path("script.imp"), "DATA: x;\r\nMODEL: y;\r\n", true);
        QCOMPARE(read.count(), 1);
        QCOMPARE(handler.lines(), QStringList({"DATA: x;", "MODEL: y;", ""}));
        QTest::ignoreMessage(QtDebugMsg, " ~ did_save ~ ");
        QVERIFY(handler.save(QString::fromUtf8("DATA: \u00e9t\u00e9.dat;\nSEED: 1;")));
        QCOMPARE(saved.count(), 1);
        QCOMPARE(readFile(handler.fileName()), "DATA: \xC3\xA9t\xC3\xA9.dat;\nSEED: 1;");
        QCOMPARE(handler.lines().value(1), "SEED: 1;");

        QTest::ignoreMessage(QtDebugMsg, " ~ did_save ~ ");
        QVERIFY(handler.removeFirstLine());
        QCOMPARE(readFile(handler.fileName()), "SEED: 1;");
    }

    void withoutAFileNothingIsReadOrSaved_data()
    {
        QTest::addColumn<QString>("operation");
        // clang-format off
        QTest::newRow("read") << "read";
        QTest::newRow("save") << "save";
        QTest::newRow("remove first line") << "removeFirstLine";
        // clang-format on
    }
    void withoutAFileNothingIsReadOrSaved()
    {
        QFETCH(QString, operation);
        FileHandling handler;
        QSignalSpy read(&handler, &FileHandling::did_read);
        QSignalSpy saved(&handler, &FileHandling::did_save);
        SeenBox seen;
        {
            ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
            QVERIFY(!(operation == "read"       ? handler.read()
                          : operation == "save" ? handler.save("text")
                                                : handler.removeFirstLine()));
        }
        QCOMPARE(seen.count, 1);
        QCOMPARE(seen.title + '|' + seen.text, "Warning|Error : isValid");
        QCOMPARE(seen.icon, QMessageBox::Warning);
        QVERIFY(!seen.hadParent);
        QCOMPARE(read.count() + saved.count(), 0);
    }

    void saveFailingHalfwayKeepsTheOldFile()
    {
#ifdef Q_OS_LINUX
        const QString folder = path("failing save");
        QVERIFY(QDir().mkpath(folder));
        FileHandling handler;
        openFile(handler, folder + "/results.imp", "DATA: old.dat;\n");
        QSignalSpy saved(&handler, &FileHandling::did_save);
        // A file size limit makes the write fail partway even for root, whom permissions do not
        // stop.
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit old {};
        getrlimit(RLIMIT_FSIZE, &old);
        rlimit limited = old;
        limited.rlim_cur = 64 * 1024;
        setrlimit(RLIMIT_FSIZE, &limited);
        const bool result = handler.save(QString("MODEL: y ~ x;\n").repeated(100000));
        setrlimit(RLIMIT_FSIZE, &old);
        QVERIFY(!result);
        QCOMPARE(saved.count(), 0);
        QCOMPARE(readFile(handler.fileName()), "DATA: old.dat;\n");
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList("results.imp"));
#else
        QSKIP("needs a file size limit");
#endif
    }

    void separator_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<bool>("consistent");
        QTest::addColumn<QChar>("separator");
        // clang-format off
        QTest::newRow("a tab among blanks is the separator") << QByteArray("id score\n   \n\n \t\n") << true << QChar('\t');
        QTest::newRow("empty file") << QByteArray() << true << QChar(' ');
        QTest::newRow("a single line gives an empty sample") << QByteArray("1,2,3") << true << QChar(' ');
        QTest::newRow("digits stay, so numbers and commas are inconsistent") << QByteArray("a,b\n1,2\n3,4\n") << false << QChar('1');
        QTest::newRow("one repeated character is a separator") << QByteArray("a;b\n;;\n ; ;\n") << true << QChar(';');
        QTest::newRow("the header line is not part of the sample") << QByteArray("a,b;c\n  \n") << true << QChar(' ');
        QTest::newRow("only lines 2 to 21 count") << QByteArray("h\n" + QByteArray(" \n").repeated(20) + "1,2\n") << true << QChar(' ');
        QTest::newRow("line 21 still counts") << QByteArray("h\n" + QByteArray(" \n").repeated(19) + "1,2\n") << false << QChar('1');
        QTest::newRow("CR LF line ends read as line breaks") << QByteArray("a b\r\n  \r\n  \r\n") << true << QChar(' ');
        // clang-format on
    }
    void separator()
    {
        QFETCH(QByteArray, contents);
        QFETCH(bool, consistent);
        QFETCH(QChar, separator);
        FileHandling handler;
        openFile(handler, path("data.dat"), contents, true);
        SeenBox seen;
        {
            ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
            QCOMPARE(handler.checkSeparator(), consistent);
        }
        QCOMPARE(handler.separator(), separator);
        QCOMPARE(seen.count, consistent ? 0 : 1);
        if (!consistent)
            QCOMPARE(seen.title + '|' + seen.text, "Warning|Not a consistent separator");
        // The header test never finds one, whatever the first line holds.
        bool found = true;
        QCOMPARE(handler.headerLine(found), QString());
        QVERIFY(!found);
    }

    void examples_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<bool>("example");
        // clang-format off
        QTest::newRow("in a chapter folder") << "User Guide Examples/Chapter fh" << true;
        QTest::newRow("directly in the examples folder") << "User Guide Examples" << false;
        QTest::newRow("one level deeper") << "User Guide Examples/Chapter fh/data" << false;
        QTest::newRow("a folder of the same name elsewhere") << "OTHER/User Guide Examples/Ch" << false;
        // clang-format on
    }
    void examples()
    {
        QFETCH(QString, folder);
        QFETCH(bool, example);
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
        QCOMPARE(result, example);
    }

    void openDialogRemembersTheFolder()
    {
        QDir(m_dir.path()).mkpath("scripts");
        const QString chosen = path("scripts/chosen.imp");
        writeFile(chosen, "DATA: x;\n");
        FileHandling handler;
        openFile(handler, path("start.imp"), "");
        SeenDialog seen;
        bool ok = false;
        {
            ModalAnswerer answerer(chooseFile(chosen, &seen));
            QTest::ignoreMessage(QtDebugMsg, " ~ did_open ~ ");
            QCOMPARE(handler.openWithDialog(ok), chosen);
        }
        QVERIFY(ok);
        QCOMPARE(seen.title, "Select file to open");
        QCOMPARE(seen.filters, QStringList(kFilter));
        QCOMPARE(seen.directory, m_dir.path());
        QCOMPARE(CSettings::instance().lastOpenFolder(), path("scripts"));
        QCOMPARE(handler.folder(), path("scripts"));
    }

    void saveDialogs_data()
    {
        QTest::addColumn<QString>("form");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("startName");
        // clang-format off
        QTest::newRow("save as, suggested name") << "saveAs suggested" << kFilter << "Untitled3";
        QTest::newRow("save as, current name") << "saveAs" << kFilter << "current.imp";
        QTest::newRow("output as text, current name") << "saveAsText" << "Text files (*.txt)" << "current.imp";
        QTest::newRow("output as text, suggested name") << "saveAsText suggested" << "Text files (*.txt)" << "output7.txt";
        // clang-format on
    }
    void saveDialogs()
    {
        QFETCH(QString, form);
        QFETCH(QString, filter);
        QFETCH(QString, startName);
        FileHandling handler;
        openFile(handler, path("current.imp"), "old");
        QDir(m_dir.path()).mkpath("saved");
        const QString chosen = path("saved/" + form + ".txt");
        QSignalSpy saved(&handler, &FileHandling::did_save);
        SeenDialog seen;
        {
            ModalAnswerer answerer(chooseFile(chosen, &seen));
            QTest::ignoreMessage(QtDebugMsg, " ~ did_save ~ ");
            QVERIFY(form == "saveAs suggested" ? handler.saveAs("new text", startName)
                        : form == "saveAs"     ? handler.saveAs("new text", QString())
                        : form == "saveAsText" ? handler.saveAsText("new text")
                                               : handler.saveAsText(startName, "new text"));
        }
        QCOMPARE(seen.title, "Enter file name to save");
        QCOMPARE(seen.filters, QStringList(filter));
        QCOMPARE(seen.startFile, path(startName));
        QCOMPARE(handler.fileName(), chosen);
        QCOMPARE(readFile(chosen), "new text");
        QCOMPARE(readFile(path("current.imp")), "old");
        QCOMPARE(saved.count(), 1);
        QCOMPARE(CSettings::instance().lastSaveFolder(), path("saved"));
    }

    void cancelledDialogs()
    {
        FileHandling handler;
        openFile(handler, path("kept.imp"), "old");
        const QString openFolder = CSettings::instance().lastOpenFolder();
        const QString saveFolder = CSettings::instance().lastSaveFolder();
        SeenDialog seen;
        {
            ModalAnswerer answerer(chooseFile(QString(), &seen));
            QVERIFY(!handler.saveAs("new", "other.imp"));
        }
        // A cancelled save changes nothing.
        QCOMPARE(handler.fileName(), path("kept.imp"));
        QVERIFY(handler.isValid(false));
        QCOMPARE(readFile(handler.fileName()), "old");
        {
            ModalAnswerer answerer(chooseFile(QString(), &seen));
            QVERIFY(!handler.openDialog());
        }
        // A cancelled open forgets the file.
        QCOMPARE(seen.count, 2);
        QVERIFY(!handler.hasFileName());
        QCOMPARE(CSettings::instance().lastOpenFolder(), openFolder);
        QCOMPARE(CSettings::instance().lastSaveFolder(), saveFolder);
    }
};

TOVREL_TEST_MAIN(TestFileHandling)
#include "tst_filehandling.moc"
