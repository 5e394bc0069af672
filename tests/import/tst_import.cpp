#include "testmain.h"

#include "app/mainwindow.h"
#include "config/csettings.h"
#include "config/msettings.h"
#include "editor/wsyntaxeditor.h"
#include "goldentable.h"
#include "import/cimport.h"
#include "import/datainspector.h"
#include "import/mdatatable.h"
#include "import/vimport.h"
#include "modalanswerer.h"
#include "tablecell.h"
#include "testfiles.h"
#include "workspace/filehandling.h"
#include "workspace/workspace.h"

#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QScopeGuard>
#include <QSettings>
#include <QTableView>
#include <QToolButton>

namespace {

QString joinedCells(const QList<DataInspector::Cell> &vCells)
{
    QStringList texts;
    for (const DataInspector::Cell &cell : vCells)
        texts.append(cell.text.isEmpty() ? QStringLiteral("<empty>") : cell.text);
    return texts.join(',');
}

// A file's bytes as a table writes them, %XX standing for the byte XX.
QByteArray fileBytes(const char *vColumn)
{
    return QByteArray::fromPercentEncoding(cell(vColumn).toUtf8());
}

} // namespace

class TestImport : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QString write(const QByteArray &vContents, const QString &vName = QStringLiteral("data.csv"))
    {
        const QString path = m_dir.filePath(vName);
        writeFile(path, vContents);
        return path;
    }

private Q_SLOTS:
    void init() { QSettings().clear(); }

    void inspector_data()
    {
        addTableRows(QFINDTESTDATA("inspector.txt"),
                     {"contents", "separator", "names", "columns", "lines", "ragged", "texts",
                      "codes", "error"});
    }
    void inspector()
    {
        const QByteArray contents = fileBytes("contents");
        DataInspector data(write(contents));
        data.inspectAll();
        QVERIFY(data.finished());
        QVERIFY2(data.error().contains(cell("error")), qPrintable(data.error()));
        if (!cell("error").isEmpty())
            return;
        QTEST(data.separatorName(), "separator");
        QTEST(data.hasHeader() ? data.headerNames().join('|') : QString(), "names");
        QTEST(QString::number(data.columns()), "columns");
        QTEST(QString::number(data.lineOffsets().size()), "lines");
        QStringList seen;
        for (const DataInspector::Ragged &row : data.raggedRows())
            seen.append(QStringLiteral("%1:%2").arg(row.line).arg(row.values));
        QTEST(seen.join(' '), "ragged");
        QTEST(joinedCells(data.nonNumeric()), "texts");
        QTEST(data.missingCodes().join(','), "codes");
        QCOMPARE(readFile(data.path()), contents); // only read
    }

    void problems_data()
    {
        addTableRows(QFINDTESTDATA("problems.txt"), {"contents", "code", "header", "problem"});
    }
    void problems()
    {
        QFETCH(QString, problem);
        CImport control;
        QVERIFY(control.open(write(fileBytes("contents"))));
        if (cell("header") == "data")
            control.setHeader(false);
        if (!cell("code").isEmpty())
            control.setMissingCode(cell("code"));
        QVERIFY2(problem.isEmpty() ? control.problem().isEmpty()
                                   : control.problem().startsWith(problem),
                 qPrintable(control.problem()));
    }

    // The stored missing-value code counts only while the import settings are switched on.
    void missingCodeFollowsSettings_data()
    {
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<QString>("code");
        QTest::newRow("import settings on") << true << "-9";
        QTest::newRow("import settings off") << false << "-99";
    }
    void missingCodeFollowsSettings()
    {
        QFETCH(bool, enabled);
        MSettings::instance().setImportSettingsEnabled(enabled);
        CSettings::instance().setMissingValue(-9);
        CSettings::instance().loadSettings();
        const auto restore = qScopeGuard([] {
            MSettings::instance().setImportSettingsEnabled(false);
            CSettings::instance().loadSettings();
        });
        CImport control;
        QVERIFY(control.open(write("1,-9\n2,3\n")));
        QCOMPARE(control.missingCode(), cell("code"));
    }

    // The table shows rows while the file is still being read, and every row can be reached.
    void tableReadsRowsOnDemand()
    {
        MDataTable empty;
        QCOMPARE(empty.data(empty.index(0, 0)).toString(), QStringLiteral("<NO DATA>"));
        QCOMPARE(empty.headerData(0, Qt::Horizontal).toString(), QStringLiteral("Var1"));

        QByteArray contents;
        for (int row = 1; row <= 300000; ++row)
            contents += QByteArray::number(row) + ",1.5,-2\n";
        CImport control;
        QSignalSpy finished(&control, &CImport::did_finish);
        QVERIFY(control.open(write(contents)));
        MDataTable *table = control.model();
        QVERIFY(control.scanning());
        QVERIFY(table->rowCount() > 0 && table->rowCount() < 300000);
        QCOMPARE(table->data(table->index(0, 0)).toString(), QStringLiteral("1"));
        QVERIFY(finished.wait(20000));
        QCOMPARE(table->rowCount(), 300000);
        QCOMPARE(table->data(table->index(299999, 0)).toString(), QStringLiteral("300000"));
        QCOMPARE(table->data(table->index(150000, 2)).toString(), QStringLiteral("-2"));
        QCOMPARE(table->headers(), QStringList({"Var1", "Var2", "Var3"}));
        QCOMPARE(table->setHeaders({"a", "b"}),
                 QStringLiteral("Number Of Names Provided Doesn't Matche The Number Of Columns"));
        QCOMPARE(table->setHeaders({"a", "b", "c"}), QString());
    }

    // Bad files, and a file removed while the window has it open: a message naming the
    // problem, and nothing written beside the file.
    void badInputWritesNothing_data()
    {
        addTableRows(QFINDTESTDATA("badfiles.txt"), {"contents", "remove", "message"});
    }
    void badInputWritesNothing()
    {
        QFETCH(QString, message);
        const bool remove = cell("remove") == "yes";
        QTemporaryDir folder;
        const QString path = folder.filePath("bad.dat");
        writeFile(path, fileBytes("contents"));
        SeenBox seen;
        ModalAnswerer answer(clickBox(QMessageBox::Yes, &seen));
        VImport window;
        window.openFile(path);
        if (remove)
            QFile::remove(path);
        window.findChild<QPushButton *>("pb_Create")->click();
        QVERIFY2(seen.text.contains(message), qPrintable(seen.text));
        QVERIFY(window.findChild<QLabel *>("lbl_Status")->text().contains(message));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files),
                 remove ? QStringList() : QStringList {"bad.dat"});
    }

    // The copy handed to the engine holds the data lines exactly as the original has them.
    void headerFreeCopy_data()
    {
        addTableRows(QFINDTESTDATA("headerfreecopy.txt"), {"name", "contents", "copy", "names"});
    }
    void headerFreeCopy()
    {
        QFETCH(QString, copy);
        const QByteArray contents = fileBytes("contents");
        const QString path = write(contents, cell("name"));
        CImport control;
        QSignalSpy handed(&control, &CImport::do_import);
        QVERIFY(control.open(path));
        SeenBox prompt;
        ModalAnswerer answer(clickBox(QMessageBox::Yes, &prompt));
        QVERIFY(control.createScript(nullptr));
        QCOMPARE(CImport::headerFreeName(path), m_dir.filePath(copy));
        QCOMPARE(handed.at(0).at(0).toString(), QDir::toNativeSeparators(m_dir.filePath(copy)));
        QTEST(handed.at(0).at(1).toString(), "names");
        QCOMPARE(handed.at(0).at(2).toString(), QStringLiteral("-99"));
        QCOMPARE(readFile(path), contents);
        QCOMPARE(readFile(m_dir.filePath(copy)), contents.mid(contents.indexOf("\n1") + 1));
    }

    // From the Import Data action to a script the engine runs: open a file with a header,
    // rename a column, choose the missing code, create the script and run it.
    void importWindowEndToEnd()
    {
        const QString source = qEnvironmentVariable("TOVREL_TEST_BIN_DIR")
            + "/User Guide Examples/2.2-Missing Outcome/outcome.dat";
        const QByteArray original = "y x1 x2 x3\r\n" + readFile(source);
        QVERIFY(original.size() > 100);
        const QString path = write(original, "survey data.dat");
        MainWindow main;
        // Documents go before the window that lists them, as when the user closes them.
        const auto closeDocuments = qScopeGuard([&main] {
            for (Workspace *document : main.documents())
                delete document->parentWidget();
        });
        main.findChild<QAction *>("actionImport")->trigger();
        auto *window = main.findChild<VImport *>();
        QVERIFY(window && window->isVisible());
        QCOMPARE(window->findChild<FileHandling *>()->filter(),
                 QStringLiteral("Files (*.dat *.csv *.data *.txt)"));
        QVERIFY(window->openFile(path));
        window->controller()->finishScan();
        QCOMPARE(window->findChild<QLineEdit *>("le_Names")->text(), QStringLiteral("y x1 x2 x3"));

        bool refused = false;
        {
            ModalAnswerer rename([&refused](QWidget *vDialog) {
                auto *field = vDialog->findChild<QLineEdit *>("le_Title");
                auto *ok = vDialog->findChild<QToolButton *>("tb_OK");
                field->setText("x 1");
                ok->click();
                refused = vDialog->findChild<QLabel *>("lblMessage")->isVisible();
                field->setText("dose");
                ok->click();
            });
            QHeaderView *heading = window->table()->horizontalHeader();
            QTest::mouseDClick(
                heading->viewport(), Qt::LeftButton, {},
                QPoint(heading->sectionViewportPosition(1) + 5, heading->height() / 2));
        }
        QVERIFY(refused);
        QCOMPARE(window->controller()->model()->headers(), QStringList({"y", "dose", "x2", "x3"}));
        window->findChild<QComboBox *>("cb_Missing")->setCurrentText("999");

        SeenBox prompt;
        ModalAnswerer answer(clickBox(QMessageBox::Yes, &prompt));
        window->findChild<QPushButton *>("pb_Create")->click();
        QCOMPARE(prompt.text,
                 QStringLiteral("Data file contains header information.\nHeader "
                                "will be remove from data file.\nDo you want to "
                                "Continue?"));
        QVERIFY(!window->isVisible());
        const QString copy = m_dir.filePath("survey data-noheader.dat");

        QCOMPARE(main.documents().size(), 1);
        QString script = main.documents().first()->editor()->toPlainText();
        QVERIFY2(script.contains("DATA: " + copy + ";"), qPrintable(script));
        QVERIFY(script.contains("VARIABLES: y dose x2 x3;"));
        QVERIFY(script.contains("MISSING: 999;"));
        script.replace("MODEL: ;", "MODEL: y ~ dose x2 x3;").replace("BURN: ;", "BURN: 50;");
        script.replace("ITERATIONS: ;", "ITERATIONS: 100;");
        const QString scriptPath = write(script.toUtf8(), "imported.imp");
        QProcess engine;
        engine.start(qEnvironmentVariable("TOVREL_TEST_BIN_DIR") + "/tovrel",
                     {scriptPath, "--output", m_dir.filePath("imported.tovrel-out")});
        QVERIFY(engine.waitForFinished(60000));
        QVERIFY2(engine.exitCode() == 0, engine.readAllStandardError().constData());
        QVERIFY(readFile(m_dir.filePath("imported.tovrel-out")).contains("dose"));
    }
};

TOVREL_TEST_MAIN(TestImport)
#include "tst_import.moc"
