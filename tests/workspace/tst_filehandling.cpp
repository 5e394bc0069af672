#include "testmain.h"

#include "config/csettings.h"
#include "modalanswerer.h"
#include "workspace/cerror.h"
#include "workspace/filehandling.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>

#ifdef Q_OS_LINUX
#include <csignal>
#include <sys/resource.h>
#endif

namespace {

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

// What a file dialog offered, and the name the "user" then chose.
struct SeenDialog
{
    QString title;
    QStringList filters;
    QString directory;
    QString startFile;
    int count = 0;
};

std::function<void(QWidget *)> chooseFile(const QString &vChoice, SeenDialog *vSeen)
{
    return [vChoice, vSeen](QWidget *vModal) {
        auto *dialog = qobject_cast<QFileDialog *>(vModal);
        if (!dialog)
            return;
        ++vSeen->count;
        vSeen->title = dialog->windowTitle();
        vSeen->filters = dialog->nameFilters();
        vSeen->directory = dialog->directory().absolutePath();
        vSeen->startFile = dialog->selectedFiles().value(0);
        if (vChoice.isEmpty()) {
            dialog->reject();
            return;
        }
        // Typed as a user would: selecting a file does not reach a name field that has focus.
        auto *nameField = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
        QVERIFY(nameField);
        nameField->setText(vChoice);
        static_cast<QDialog *>(dialog)->accept();
    };
}

#ifdef Q_OS_LINUX
// Limits the size of files this process may write, so a save fails partway through even for
// a user whom file permissions do not stop.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t vBytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_old);
        rlimit limited = m_old;
        limited.rlim_cur = vBytes;
        setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_old); }

private:
    rlimit m_old {};
};
#endif

} // namespace

class TestFileHandling : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    // A handler holding a freshly written file.
    void openFile(FileHandling &vHandler, const QString &vName, const QByteArray &vContents)
    {
        const QString path = m_dir.filePath(vName);
        writeFile(path, vContents);
        QTest::ignoreMessage(QtDebugMsg, " ~ did_open ~ ");
        QVERIFY(vHandler.open(path));
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_dir.isValid()); }
    void init() { QSettings().clear(); }

    void warningBoxHasNoParent()
    {
        SeenBox seen;
        ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
        CError().warning(QStringLiteral("Something is wrong with the file."));
        QCOMPARE(seen.count, 1);
        QCOMPARE(seen.title, QStringLiteral("Warning"));
        QCOMPARE(seen.text, QStringLiteral("Something is wrong with the file."));
        QCOMPARE(seen.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(seen.icon, QMessageBox::Warning);
        QVERIFY(!seen.hadParent);
    }

    void openingAnnouncesOnlyExistingFiles()
    {
        FileHandling handler;
        QSignalSpy opened(&handler, &FileHandling::did_open);
        QVERIFY(!handler.open(m_dir.filePath("no such file.imp")));
        QCOMPARE(opened.count(), 0);
        QVERIFY(!handler.hasFileName());
        QVERIFY(!handler.isValid(false));

        openFile(handler, "present.imp", "DATA: x;\n");
        QCOMPARE(opened.count(), 1);
        QCOMPARE(handler.fileName(), m_dir.filePath("present.imp"));
        QCOMPARE(handler.folder(), m_dir.path());
        // Opening does not read.
        QVERIFY(handler.lines().isEmpty());

        // A later failed open forgets the file.
        QVERIFY(!handler.open(m_dir.filePath("gone.imp")));
        QVERIFY(!handler.hasFileName());
        QCOMPARE(opened.count(), 1);
    }

    void readAndSaveAnnounceThemselves()
    {
        FileHandling handler;
        openFile(handler, "script.imp", "DATA: x;\r\nMODEL: y;\r\n");
        QSignalSpy read(&handler, &FileHandling::did_read);
        QSignalSpy saved(&handler, &FileHandling::did_save);
        QTest::ignoreMessage(QtDebugMsg, " ~ did_read ~ ");
        QVERIFY(handler.read());
        QCOMPARE(read.count(), 1);
        QCOMPARE(handler.lines(), QStringList({"DATA: x;", "MODEL: y;", ""}));

        QTest::ignoreMessage(QtDebugMsg, " ~ did_save ~ ");
        QVERIFY(handler.save(QString::fromUtf8("DATA: \u00e9t\u00e9.dat;\nSEED: 1;")));
        QCOMPARE(saved.count(), 1);
        QCOMPARE(readFile(handler.fileName()),
                 QByteArray("DATA: \xC3\xA9t\xC3\xA9.dat;\nSEED: 1;"));
        QCOMPARE(handler.lines(),
                 QStringList({QString::fromUtf8("DATA: \u00e9t\u00e9.dat;"), "SEED: 1;"}));
    }

    void withoutAFileNothingIsReadOrSaved_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::newRow("read") << "read";
        QTest::newRow("save") << "save";
        QTest::newRow("remove first line") << "removeFirstLine";
    }
    void withoutAFileNothingIsReadOrSaved()
    {
        QFETCH(QString, operation);
        FileHandling handler;
        QSignalSpy read(&handler, &FileHandling::did_read);
        QSignalSpy saved(&handler, &FileHandling::did_save);
        SeenBox seen;
        bool result = true;
        {
            ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
            if (operation == "read")
                result = handler.read();
            else if (operation == "save")
                result = handler.save("text");
            else
                result = handler.removeFirstLine();
        }
        QVERIFY(!result);
        QCOMPARE(seen.count, 1);
        QCOMPARE(seen.title, QStringLiteral("Warning"));
        QCOMPARE(seen.text, QStringLiteral("Error : isValid"));
        QCOMPARE(read.count() + saved.count(), 0);
    }

    void failedSaveKeepsTheOldFile_data()
    {
        QTest::addColumn<QString>("failure");
        QTest::newRow("write fails partway (file size limit)") << "limit";
        QTest::newRow("folder replaced by a file") << "folder";
    }
    void failedSaveKeepsTheOldFile()
    {
        QFETCH(QString, failure);
        const QString folder = m_dir.filePath("save " + failure);
        QVERIFY(QDir().mkpath(folder));
        const QString path = folder + "/results.imp";
        const QByteArray old = "DATA: old.dat;\nMODEL: y ~ x;\n";
        writeFile(path, old);
        FileHandling handler;
        QTest::ignoreMessage(QtDebugMsg, " ~ did_open ~ ");
        QVERIFY(handler.open(path));
        QSignalSpy saved(&handler, &FileHandling::did_save);
        const QString large = QString("MODEL: y ~ x;\n").repeated(100000);

        if (failure == "folder") {
            // Nothing is left to keep, but nothing may be written in the file's stead either.
            QVERIFY(QDir(folder).removeRecursively());
            writeFile(folder, "not a folder");
            QVERIFY(!handler.save(large));
            QCOMPARE(readFile(folder), QByteArray("not a folder"));
            QCOMPARE(saved.count(), 0);
            return;
        }
#ifdef Q_OS_LINUX
        {
            // Fails even for root, where permissions would not.
            FileSizeLimit limit(64 * 1024);
            QVERIFY(!handler.save(large));
        }
#else
        QSKIP("needs a file size limit");
#endif
        QCOMPARE(saved.count(), 0);
        QCOMPARE(readFile(path), old);
        // Nothing half-written is left beside it either.
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList({"results.imp"}));
    }

    // ---- data-file checks ----------------------------------------------------------------

    void separator_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<bool>("consistent");
        QTest::addColumn<QChar>("separator");

        QTest::newRow("a tab among blanks is the separator")
            << QByteArray("id score\n   \n\n \t\n") << true << QChar('\t');
        QTest::newRow("only blanks after the header")
            << QByteArray("id score\n   \n\n  \n") << true << QChar(' ');
        QTest::newRow("a single line gives an empty sample")
            << QByteArray("1,2,3") << true << QChar(' ');
        QTest::newRow("numbers and commas are inconsistent")
            << QByteArray("a,b\n1,2\n3,4\n") << false << QChar('1');
        QTest::newRow("numbers and blanks are inconsistent too")
            << QByteArray("a b\n1 2\n3 4\n") << false << QChar('1');
        QTest::newRow("one repeated character is a separator")
            << QByteArray("a;b\n;;\n ; ;\n") << true << QChar(';');
        QTest::newRow("the header line is not part of the sample")
            << QByteArray("a,b;c\n  \n") << true << QChar(' ');
        QTest::newRow("only lines 2 to 21 count")
            << (QByteArray("h\n") + QByteArray(" \n").repeated(20) + "1,2\n") << true << QChar(' ');
        QTest::newRow("line 21 still counts")
            << (QByteArray("h\n") + QByteArray(" \n").repeated(19) + "1,2\n") << false
            << QChar('1');
        QTest::newRow("CR LF line ends read as line breaks")
            << QByteArray("a b\r\n  \r\n  \r\n") << true << QChar(' ');
    }
    void separator()
    {
        QFETCH(QByteArray, contents);
        QFETCH(bool, consistent);
        QFETCH(QChar, separator);

        FileHandling handler;
        openFile(handler, "data.dat", contents);
        QTest::ignoreMessage(QtDebugMsg, " ~ did_read ~ ");
        QVERIFY(handler.read());
        SeenBox seen;
        bool result = false;
        {
            ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
            result = handler.checkSeparator();
        }
        QCOMPARE(result, consistent);
        QCOMPARE(handler.separator(), separator);
        QCOMPARE(seen.count, consistent ? 0 : 1);
        if (!consistent) {
            QCOMPARE(seen.title, QStringLiteral("Warning"));
            QCOMPARE(seen.text, QStringLiteral("Not a consistent separator"));
        }
    }

    void headerIsNeverDetected_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::newRow("letters") << QByteArray("name age score\n1 2 3\n");
        QTest::newRow("numbers") << QByteArray("1 2 3\n4 5 6\n");
        QTest::newRow("empty file") << QByteArray();
    }
    void headerIsNeverDetected()
    {
        QFETCH(QByteArray, contents);
        FileHandling handler;
        openFile(handler, "header.dat", contents);
        QTest::ignoreMessage(QtDebugMsg, " ~ did_read ~ ");
        QVERIFY(handler.read());
        bool found = true;
        QCOMPARE(handler.headerLine(found), QString());
        QVERIFY(!found);
    }

    void removeFirstLineRewritesTheFile()
    {
        FileHandling handler;
        openFile(handler, "with header.dat", "id score\n1 2\n3 4\n");
        QTest::ignoreMessage(QtDebugMsg, " ~ did_read ~ ");
        QVERIFY(handler.read());
        QTest::ignoreMessage(QtDebugMsg, " ~ did_save ~ ");
        QVERIFY(handler.removeFirstLine());
        QCOMPARE(readFile(handler.fileName()), QByteArray("1 2\n3 4\n"));
        QCOMPARE(handler.lines(), QStringList({"1 2", "3 4", ""}));
    }

    // ---- examples ------------------------------------------------------------------------

    void examples_data()
    {
        QTest::addColumn<QString>("relativeFolder");
        QTest::addColumn<bool>("example");
        QTest::newRow("in a chapter folder") << "User Guide Examples/Chapter fh" << true;
        QTest::newRow("directly in the examples folder") << "User Guide Examples" << false;
        QTest::newRow("one level deeper") << "User Guide Examples/Chapter fh/data" << false;
        QTest::newRow("a folder of the same name elsewhere")
            << "OTHER/User Guide Examples/Ch" << false;
    }
    void examples()
    {
        QFETCH(QString, relativeFolder);
        QFETCH(bool, example);

        const QString base = relativeFolder.startsWith("OTHER/")
            ? m_dir.path() + relativeFolder.mid(5)
            : QCoreApplication::applicationDirPath() + '/' + relativeFolder;
        const bool examplesExisted
            = QFileInfo::exists(QCoreApplication::applicationDirPath() + "/User Guide Examples");
        QVERIFY(QDir().mkpath(base));
        FileHandling handler;
        const QString script = base + "/example 1.imp";
        writeFile(script, "DATA: x;\n");
        QTest::ignoreMessage(QtDebugMsg, " ~ did_open ~ ");
        QVERIFY(handler.open(script));
        const bool result = handler.isExample();
        QFile::remove(script);
        QDir(QCoreApplication::applicationDirPath() + "/User Guide Examples/Chapter fh")
            .removeRecursively();
        if (!examplesExisted)
            QDir(QCoreApplication::applicationDirPath()).rmdir("User Guide Examples");
        QCOMPARE(result, example);
    }

    // ---- dialogs -------------------------------------------------------------------------

    void openDialogRemembersTheFolder()
    {
        QDir(m_dir.path()).mkpath("scripts");
        const QString chosen = m_dir.filePath("scripts/chosen.imp");
        writeFile(chosen, "DATA: x;\n");
        FileHandling handler;
        openFile(handler, "start.imp", "");
        SeenDialog seen;
        bool ok = false;
        QString name;
        {
            ModalAnswerer answerer(chooseFile(chosen, &seen));
            QTest::ignoreMessage(QtDebugMsg, " ~ did_open ~ ");
            name = handler.openWithDialog(ok);
        }
        QVERIFY(ok);
        QCOMPARE(name, chosen);
        QCOMPARE(seen.title, QStringLiteral("Select file to open"));
        QCOMPARE(seen.filters,
                 QStringList("Files (*.dat *.csv *.data *.txt *.tovrel-out *.inp *.out *imp)"));
        QCOMPARE(seen.directory, m_dir.path());
        QCOMPARE(CSettings::instance().lastOpenFolder(), m_dir.filePath("scripts"));
        QCOMPARE(handler.folder(), m_dir.filePath("scripts"));
    }

    void cancelledOpenDialogForgetsTheFile()
    {
        FileHandling handler;
        openFile(handler, "kept.imp", "");
        const QString remembered = CSettings::instance().lastOpenFolder();
        SeenDialog seen;
        bool result = true;
        {
            ModalAnswerer answerer(chooseFile(QString(), &seen));
            result = handler.openDialog();
        }
        QCOMPARE(seen.count, 1);
        QVERIFY(!result);
        QVERIFY(!handler.hasFileName());
        QCOMPARE(CSettings::instance().lastOpenFolder(), remembered);
    }

    void saveDialogs_data()
    {
        QTest::addColumn<QString>("form");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("startName");

        const QString files = "Files (*.dat *.csv *.data *.txt *.tovrel-out *.inp *.out *imp)";
        QTest::newRow("save as, suggested name") << "saveAs suggested" << files << "Untitled3";
        QTest::newRow("save as, current name") << "saveAs" << files << "current.imp";
        QTest::newRow("output as text, current name") << "saveAsText"
                                                      << "Text files (*.txt)"
                                                      << "current.imp";
        QTest::newRow("output as text, suggested name") << "saveAsText suggested"
                                                        << "Text files (*.txt)"
                                                        << "output7.txt";
    }
    void saveDialogs()
    {
        QFETCH(QString, form);
        QFETCH(QString, filter);
        QFETCH(QString, startName);

        FileHandling handler;
        openFile(handler, "current.imp", "old");
        QDir(m_dir.path()).mkpath("saved");
        const QString chosen
            = m_dir.filePath("saved/" + QString::fromLatin1(QTest::currentDataTag()) + ".txt");
        QSignalSpy saved(&handler, &FileHandling::did_save);
        SeenDialog seen;
        bool result = false;
        {
            ModalAnswerer answerer(chooseFile(chosen, &seen));
            QTest::ignoreMessage(QtDebugMsg, " ~ did_save ~ ");
            if (form == "saveAs suggested")
                result = handler.saveAs("new text", startName);
            else if (form == "saveAs")
                result = handler.saveAs("new text", QString());
            else if (form == "saveAsText")
                result = handler.saveAsText("new text");
            else
                result = handler.saveAsText(startName, "new text");
        }
        QVERIFY(result);
        QCOMPARE(seen.title, QStringLiteral("Enter file name to save"));
        QCOMPARE(seen.filters, QStringList(filter));
        QCOMPARE(seen.startFile, m_dir.filePath(startName));
        QCOMPARE(handler.fileName(), chosen);
        QCOMPARE(readFile(chosen), QByteArray("new text"));
        QCOMPARE(readFile(m_dir.filePath("current.imp")), QByteArray("old"));
        QCOMPARE(saved.count(), 1);
        QCOMPARE(CSettings::instance().lastSaveFolder(), m_dir.filePath("saved"));
    }

    void cancelledSaveDialogChangesNothing()
    {
        FileHandling handler;
        openFile(handler, "unchanged.imp", "old");
        const QString remembered = CSettings::instance().lastSaveFolder();
        SeenDialog seen;
        bool result = true;
        {
            ModalAnswerer answerer(chooseFile(QString(), &seen));
            result = handler.saveAs("new", "other.imp");
        }
        QCOMPARE(seen.count, 1);
        QVERIFY(!result);
        QCOMPARE(handler.fileName(), m_dir.filePath("unchanged.imp"));
        QVERIFY(handler.isValid(false));
        QCOMPARE(readFile(handler.fileName()), QByteArray("old"));
        QCOMPARE(CSettings::instance().lastSaveFolder(), remembered);
    }
};

TOVREL_TEST_MAIN(TestFileHandling)
#include "tst_filehandling.moc"
