#include "testmain.h"

#include "app/mainwindow.h"
#include "config/csettings.h"
#include "config/msettings.h"
#include "editor/wsyntaxeditor.h"
#include "import/cimport.h"
#include "import/datainspector.h"
#include "import/mdatatable.h"
#include "import/vimport.h"
#include "modalanswerer.h"
#include "workspace/filehandling.h"
#include "workspace/workspace.h"

#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QScopeGuard>
#include <QPushButton>
#include <QSettings>
#include <QTableView>
#include <QToolButton>

namespace {

QByteArray readAll(const QString &vPath)
{
    QFile file(vPath);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString joinedCells(const QList<DataInspector::Cell> &vCells)
{
    QStringList texts;
    for (const DataInspector::Cell &cell : vCells)
        texts.append(cell.text.isEmpty() ? QStringLiteral("<empty>") : cell.text);
    return texts.join(',');
}

} // namespace

class TestImport : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QString write(const QByteArray &vContents, const QString &vName = QStringLiteral("data.csv"))
    {
        const QString path = m_dir.filePath(vName);
        QFile file(path);
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            file.write(vContents);
        return path;
    }

private Q_SLOTS:
    void init() { QSettings().clear(); }

    void inspector_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<QString>("separator");
        QTest::addColumn<QString>("names"); // "" when no header is found
        QTest::addColumn<int>("columns");
        QTest::addColumn<int>("lines"); // non-blank lines, header included
        QTest::addColumn<QString>("ragged"); // line:values of rows of another width
        QTest::addColumn<QString>("texts"); // cells that are not numbers
        QTest::addColumn<QString>("codes"); // missing codes seen
        QTest::addColumn<QString>("error");
        QTest::newRow("comma, header, NA") << QByteArray("id,age,score\n1,34,2.5\n2,NA,3.1\n")
                                           << "comma" << "id|age|score" << 3 << 3 << "" << "NA"
                                           << "NA" << "";
        QTest::newRow("quoted header names")
            << QByteArray("\"y\",\"x\"\n1,2\n") << "comma" << "y|x" << 2 << 2 << "" << "" << "" << "";
        QTest::newRow("tab, no header") << QByteArray("1\t2\n3\t4\n") << "tab" << "" << 2 << 2
                                        << "" << "" << "" << "";
        QTest::newRow("semicolon with decimal commas")
            << QByteArray("a;b\n1,5;2\n") << "semicolon" << "a|b" << 2 << 2 << "" << "1,5" << ""
            << "";
        QTest::newRow("blanks and -999") << QByteArray("1 -999 3\n  4   5\t-999\n") << "blanks"
                                         << "" << 3 << 2 << "" << "" << "-999" << "";
        QTest::newRow("ragged rows") << QByteArray("1,2,3\n4,5\n6,7,8\n9\n") << "comma" << ""
                                     << 3 << 4 << "2:2 4:1" << "" << "" << "";
        QTest::newRow("CR LF, trailing blank line")
            << QByteArray("x,y\r\n1,2\r\n3,.\r\n\r\n") << "comma" << "x|y" << 2 << 3 << "" << "."
            << "." << "";
        QTest::newRow("UTF-8 names after a BOM")
            << QByteArray("\xEF\xBB\xBFgröße,Länge\n1,2\n") << "comma" << "größe|Länge" << 2 << 2
            << "" << "" << "" << "";
        QTest::newRow("empty cell") << QByteArray("1,,3\n4,5,6\n") << "comma" << "" << 3 << 2
                                    << "" << "<empty>" << "" << "";
        QTest::newRow("codes, most used first") << QByteArray("1,NA\n.,2\n999,NA\n") << "comma"
                                                << "" << 2 << 3 << "" << "NA,." << "NA,.,999"
                                                << "";
        QTest::newRow("empty file") << QByteArray() << "" << "" << 0 << 0 << "" << "" << ""
                                    << "empty";
        QTest::newRow("blank lines only") << QByteArray(" \n\n\t\n") << "" << "" << 0 << 0 << ""
                                          << "" << "" << "empty";
        QTest::newRow("zero byte") << QByteArray("1,2\n3\0,4\n", 10) << "" << "" << 0 << 0 << ""
                                   << "" << "" << "not a text file: line 2";
        QTest::newRow("not UTF-8") << QByteArray("1,2\n\xff\xfe,3\n") << "" << "" << 0 << 0 << ""
                                   << "" << "" << "not a text file: line 2";
    }
    void inspector()
    {
        QFETCH(QByteArray, contents);
        QFETCH(QString, separator);
        QFETCH(QString, names);
        QFETCH(int, columns);
        QFETCH(int, lines);
        QFETCH(QString, ragged);
        QFETCH(QString, texts);
        QFETCH(QString, codes);
        QFETCH(QString, error);
        DataInspector data(write(contents));
        data.inspectAll();
        QVERIFY(data.finished());
        QVERIFY2(data.error().contains(error), qPrintable(data.error()));
        if (!error.isEmpty())
            return;
        QCOMPARE(data.separatorName(), separator);
        QCOMPARE(data.hasHeader(), !names.isEmpty());
        if (data.hasHeader())
            QCOMPARE(data.headerNames().join('|'), names);
        QCOMPARE(data.columns(), columns);
        QCOMPARE(data.lineOffsets().size(), lines);
        QStringList seen;
        for (const DataInspector::Ragged &row : data.raggedRows())
            seen.append(QStringLiteral("%1:%2").arg(row.line).arg(row.values));
        QCOMPARE(seen.join(' '), ragged);
        QCOMPARE(joinedCells(data.nonNumeric()), texts);
        QCOMPARE(data.missingCodes().join(','), codes);
        QCOMPARE(readAll(data.path()), contents); // only read
    }

    void problems_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<QString>("code"); // "" keeps the code chosen on opening
        QTest::addColumn<int>("header"); // -1 keeps the detected header
        QTest::addColumn<QString>("problem");
        QTest::newRow("clean") << QByteArray("y,x\n1,-99\n") << "" << -1 << "";
        QTest::newRow("only a header") << QByteArray("\n a,b,c \n") << "" << -1
                                       << "Line 2 is a header line and no data follows it.";
        QTest::newRow("ragged") << QByteArray("a,b\n1,2\n3\n4,5,6\n") << "" << -1
                                << "Line 3 has 1 value, but the data has 2 columns (2 rows differ).";
        QTest::newRow("NA taken as the code") << QByteArray("1,NA\n2,3\n") << "" << -1 << "";
        QTest::newRow("NA with code -99")
            << QByteArray("1,NA\n2,3\n") << "-99" << -1
            << "Line 1, column 2: \"NA\" is not a number and not the missing-value code \"-99\" "
               "(1 such cells).";
        QTest::newRow("empty cell") << QByteArray("1,2\n3,\n,4\n") << "" << -1
                                    << "Line 2, column 2 is empty (2 empty cells).";
        QTest::newRow("header read as data") << QByteArray("a,b\n1,2\n") << "" << 0
                                             << "Line 1: \"a\" is not a number.";
        QTest::newRow("names of the wrong shape")
            << QByteArray("my var,b\n1,2\n") << "" << -1
            << "Column 1: \"my var\" is not a valid variable name";
        QTest::newRow("names equal but for case")
            << QByteArray("a,A\n1,2\n") << "" << -1 << "Column 1: \"a\" already names column 2.";
    }
    void problems()
    {
        QFETCH(QByteArray, contents);
        QFETCH(QString, code);
        QFETCH(int, header);
        QFETCH(QString, problem);
        CImport control;
        QVERIFY(control.open(write(contents)));
        if (header >= 0)
            control.setHeader(header == 1);
        if (!code.isEmpty())
            control.setMissingCode(code);
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
        QFETCH(QString, code);
        MSettings::instance().setImportSettingsEnabled(enabled);
        CSettings::instance().setMissingValue(-9);
        CSettings::instance().loadSettings();
        const auto restore = qScopeGuard([] {
            MSettings::instance().setImportSettingsEnabled(false);
            CSettings::instance().loadSettings();
        });
        CImport control;
        QVERIFY(control.open(write("1,-9\n2,3\n")));
        QCOMPARE(control.missingCode(), code);
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
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<bool>("remove");
        QTest::addColumn<QString>("message");
        QTest::newRow("empty") << QByteArray() << false << "The data file is empty";
        QTest::newRow("only a header") << QByteArray("a b\n") << false << "Line 1 is a header";
        QTest::newRow("ragged") << QByteArray("a b\n1 2\n3\n") << false << "Line 3 has 1 value";
        QTest::newRow("binary") << QByteArray("\x89PNG\r\n\x1a\n\0\0", 10) << false
                                << "not a text file: line 3";
        QTest::newRow("removed while open") << QByteArray("a b\n1 2\n") << true << "was removed";
    }
    void badInputWritesNothing()
    {
        QFETCH(QByteArray, contents);
        QFETCH(bool, remove);
        QFETCH(QString, message);
        QTemporaryDir folder;
        const QString path = folder.filePath("bad.dat");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(contents);
        file.close();
        SeenBox seen;
        ModalAnswerer answer(clickBox(QMessageBox::Yes, &seen));
        VImport window;
        window.openFile(path);
        if (remove)
            QFile::remove(path);
        window.findChild<QPushButton *>("pb_Create")->click();
        QVERIFY2(seen.text.contains(message), qPrintable(seen.text));
        QVERIFY(window.findChild<QLabel *>("lbl_Status")->text().contains(message));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), remove ? QStringList() : QStringList{"bad.dat"});
    }

    // The copy handed to the engine holds the data lines exactly as the original has them.
    void headerFreeCopy_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<QString>("copy");
        QTest::addColumn<QString>("names");
        QTest::newRow("BOM, CR LF") << "a.b.csv" << QByteArray("\xEF\xBB\xBFx;y\r\n1;2\r\n3;4")
                                    << "a.b-noheader.csv" << "x y";
        QTest::newRow("blank lines first, no suffix")
            << "survey" << QByteArray("\n\n  x\ty\n\n1\t2\n") << "survey-noheader" << "x y";
    }
    void headerFreeCopy()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, contents);
        QFETCH(QString, copy);
        QFETCH(QString, names);
        const QString path = write(contents, name);
        CImport control;
        QSignalSpy handed(&control, &CImport::do_import);
        QVERIFY(control.open(path));
        SeenBox prompt;
        ModalAnswerer answer(clickBox(QMessageBox::Yes, &prompt));
        QVERIFY(control.createScript(nullptr));
        QCOMPARE(CImport::headerFreeName(path), m_dir.filePath(copy));
        QCOMPARE(handed.at(0).at(0).toString(), QDir::toNativeSeparators(m_dir.filePath(copy)));
        QCOMPARE(handed.at(0).at(1).toString(), names);
        QCOMPARE(handed.at(0).at(2).toString(), QStringLiteral("-99"));
        QCOMPARE(readAll(path), contents);
        QCOMPARE(readAll(m_dir.filePath(copy)), contents.mid(contents.indexOf("\n1") + 1));
    }

    // From the Import Data action to a script the engine runs: open a file with a header,
    // rename a column, choose the missing code, create the script and run it.
    void importWindowEndToEnd()
    {
        const QString source = qEnvironmentVariable("TOVREL_TEST_BIN_DIR")
            + "/User Guide Examples/2.2-Missing Outcome/outcome.dat";
        const QByteArray original = "y x1 x2 x3\r\n" + readAll(source);
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
        QTest::mouseDClick(heading->viewport(), Qt::LeftButton, {},
                           QPoint(heading->sectionViewportPosition(1) + 5, heading->height() / 2));
        }
        QVERIFY(refused);
        QCOMPARE(window->controller()->model()->headers(), QStringList({"y", "dose", "x2", "x3"}));
        window->findChild<QComboBox *>("cb_Missing")->setCurrentText("999");

        SeenBox prompt;
        ModalAnswerer answer(clickBox(QMessageBox::Yes, &prompt));
        window->findChild<QPushButton *>("pb_Create")->click();
        QCOMPARE(prompt.text, QStringLiteral("Data file contains header information.\nHeader "
                                             "will be remove from data file.\nDo you want to "
                                             "Continue?"));
        QVERIFY(!window->isVisible());
        const QString copy = m_dir.filePath("survey data-noheader.dat");
        QCOMPARE(readAll(path), original);
        QCOMPARE(readAll(copy), original.mid(original.indexOf('\n') + 1));

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
        QVERIFY(readAll(m_dir.filePath("imported.tovrel-out")).contains("dose"));
    }
};

TOVREL_TEST_MAIN(TestImport)
#include "tst_import.moc"
