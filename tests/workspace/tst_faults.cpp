#include "testmain.h"

#include "app/mainwindow.h"
#include "config/csettings.h"
#include "editor/wsyntaxeditor.h"
#include "faultguards.h"
#include "modalanswerer.h"
#include "plots/wgraphpanel.h"
#include "testfiles.h"
#include "workspace/workspace.h"

#include <QDir>
#include <QScopeGuard>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <optional>

// Faults a user meets on the real document window with a real engine process and real files:
// each ends with nothing lost and the window still answering.
namespace {
constexpr int kWaitMs = 120000;
const QString kStandIn = QStringLiteral(TOVREL_TEST_ENGINE);
} // namespace

class TestFaults : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_script;
    QString m_plan;

    std::unique_ptr<Workspace> document(const QByteArray &vPlan = "true")
    {
        writeFile(m_plan, vPlan);
        CSettings::instance().setCommandLineToolName(kStandIn);
        auto opened = std::make_unique<Workspace>();
        opened->on_open(m_script);
        return opened;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_script = m_dir.filePath("fault.imp");
        m_plan = m_dir.filePath("plan.sh");
        qputenv("TESTENGINE_PLAN", QFile::encodeName(m_plan));
        qunsetenv("TESTENGINE_RECORD");
    }
    void init()
    {
        QSettings().clear();
        QDir(m_script).removeRecursively();
        writeFile(m_script, "DATA: x.dat;\n");
    }

    // What the engine does to the output; what the output pane then ends with, whether the crash
    // box comes.
    void engineFaults_data()
    {
        QTest::addColumn<QByteArray>("plan");
        QTest::addColumn<QString>("outputEnd");
        QTest::addColumn<bool>("crashBox");
        // clang-format off
        QTest::newRow("crash in the middle of a line") << QByteArray("printf 'half a li'; kill -SEGV $$") << "half a li" << true;
        QTest::newRow("killed by a signal") << QByteArray("echo before; kill -KILL $$") << "before\n" << true;
        QTest::newRow("100 MB without a line break") << QByteArray("head -c 100000000 /dev/zero | tr '\\000' x; echo end") << "xxxxend\n" << false;
        // clang-format on
    }
    void engineFaults()
    {
        QFETCH(QByteArray, plan);
        QFETCH(QString, outputEnd);
        QFETCH(bool, crashBox);
        auto opened = document(plan);
        SeenBox seen;
        ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
        QSignalSpy finished(opened.get(), &Workspace::process_finished);
        opened->on_run();
        // Typed while the engine runs: never lost, whatever the engine does.
        opened->editor()->setPlainText("DATA: x.dat; # unsaved\n");
        QVERIFY(finished.wait(kWaitMs));
        QTest::qWait(50);
        QCOMPARE(seen.count, int(crashBox));
        const QString output = opened->iterationHistory();
        QVERIFY2(output.contains(outputEnd), qPrintable(output.right(80)));
        QCOMPARE(opened->editor()->toPlainText(), "DATA: x.dat; # unsaved\n");
        // Still answering: the next run goes ahead.
        writeFile(m_plan, "echo again");
        opened->on_run();
        QVERIFY(finished.wait(kWaitMs));
        QVERIFY(opened->iterationHistory().contains("again"));
    }

    // Saving a changed script when the file on disk is no longer what was opened. The user's
    // text stays in the editor, marked modified, whenever the save does not happen.
    void saveOverAChangedFile_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QMessageBox::StandardButton>("answer");
        QTest::addColumn<QString>("box");
        QTest::addColumn<bool>("saved");
        // clang-format off
        QTest::newRow("changed elsewhere, kept") << "rewrite" << QMessageBox::Cancel << "\"%1\" has been changed by another program since it was opened.\nDo you want to overwrite it?" << false;
        QTest::newRow("changed elsewhere, overwritten") << "rewrite" << QMessageBox::Save << "\"%1\" has been changed by another program since it was opened.\nDo you want to overwrite it?" << true;
        QTest::newRow("deleted elsewhere: put back") << "delete" << QMessageBox::Ok << "" << true;
        QTest::newRow("replaced by a folder") << "folder" << QMessageBox::Ok << "\"%1\" could not be saved.\nA folder of that name is in the way." << false;
        QTest::newRow("disk full") << "full" << QMessageBox::Ok << "\"%1\" could not be saved.\n" << false;
        QTest::newRow("read-only folder, writable file: rewritten in place") << "read-only folder" << QMessageBox::Ok << "" << true;
        QTest::newRow("read-only folder and file") << "read-only" << QMessageBox::Ok << "\"%1\" could not be saved.\n" << false;
        // clang-format on
    }
    void saveOverAChangedFile()
    {
        QFETCH(QString, change);
        QFETCH(QMessageBox::StandardButton, answer);
        QFETCH(QString, box);
        QFETCH(bool, saved);
        auto opened = document();
        const QString text = QString("MODEL: y ~ x;\n").repeated(change == "full" ? 20000 : 1);
        opened->editor()->setPlainText(text);
        opened->editor()->document()->setModified(true); // as typed
        QByteArray before = "DATA: x.dat;\n";
        if (change == "rewrite")
            writeFile(m_script, before = "DATA: from another program.dat;\n");
        else if (change == "delete")
            QFile::remove(m_script);
        else if (change == "folder")
            QFile::remove(m_script), QDir().mkpath(m_script + "/inside");
        SeenBox seen;
        ModalAnswerer answerer(clickBox(answer, &seen));
        bool result = false;
#ifdef Q_OS_LINUX
        const auto folderMode = QFile::permissions(m_dir.path());
        if (change.startsWith("read-only")) {
            if (change == "read-only")
                QFile::setPermissions(m_script, QFileDevice::ReadOwner);
            QFile::setPermissions(m_dir.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        }
        {
            PermissionsBindRoot bound;
            std::optional<DiskFull> full;
            if (change == "full")
                full.emplace(16 * 1024);
            result = opened->on_save(false);
        }
        QFile::setPermissions(m_dir.path(), folderMode);
#else
        if (change == "full" || change.startsWith("read-only"))
            QSKIP("needs a file size limit and a way to keep root out of a folder");
        result = opened->on_save(false);
#endif
        QCOMPARE(result, saved);
        QCOMPARE(seen.count, int(!box.isEmpty()));
        QVERIFY2(box.isEmpty() || seen.text.startsWith(box.arg(QDir::toNativeSeparators(m_script))),
                 qPrintable(seen.text));
        QCOMPARE(opened->editor()->toPlainText(), text);
        QCOMPARE(opened->isModified(), !saved);
        if (change == "folder")
            QVERIFY(QFileInfo::exists(m_script + "/inside"));
        else if (saved)
            QCOMPARE(readFile(m_script), text.toUtf8());
        else
            QCOMPARE(readFile(m_script), before);
        QCOMPARE(QDir(m_dir.path()).entryList(QDir::Files).filter("fault.imp"),
                 change == "folder" ? QStringList() : QStringList("fault.imp"));
    }

    // Plotting that goes wrong partway: the plots that could be made are shown, the failure is
    // reported once, and the document plots again once the cause is gone.
    void plotFaults_data()
    {
        QTest::addColumn<int>("parameters"); // columns the chain files hold
        QTest::addColumn<QByteArray>("atSecondPlot"); // what happens as gnuplot starts plot 2
        QTest::addColumn<QString>("report");
        QTest::addColumn<QString>("pages");
        // clang-format off
        QTest::newRow("gnuplot crashes on one plot") << 3 << QByteArray("kill -SEGV $$") << "1 of the 3 plots (plot 2:" << "Plot : 1 of 3";
        QTest::newRow("labels name more parameters than the chains hold") << 2 << QByteArray() << "1 of the 3 plots (plot 3:" << "Plot : 1 of 3";
        QTest::newRow("trace folder emptied while plotting") << 3 << QByteArray("rm -f \"$(cat \"$FAULT_DIR/trace\")\"/*") << "2 of the 3 plots (plot 2:" << "Plot : 1 of 1";
        // clang-format on
    }
    void plotFaults()
    {
        QFETCH(int, parameters);
        QFETCH(QByteArray, atSecondPlot);
        QFETCH(QString, report);
        QFETCH(QString, pages);
        // A gnuplot first on the PATH that counts its runs and misbehaves on the second.
        const QString bin = m_dir.filePath("bin");
        QDir().mkpath(bin);
        writeFile(
            bin + "/gnuplot",
            QByteArray("#!/bin/sh\nn=$(($(cat \"$FAULT_DIR/calls\" 2>/dev/null || echo 0) + 1))\n"
                       "echo $n > \"$FAULT_DIR/calls\"\n[ $n = 2 ] && { ")
                + atSecondPlot + "\n:; }\nexec '"
                + QStandardPaths::findExecutable("gnuplot").toUtf8() + "' \"$@\"\n");
        QFile::setPermissions(bin + "/gnuplot", QFile::ReadOwner | QFile::ExeOwner);
        QFile::remove(m_dir.filePath("calls"));
        qputenv("FAULT_DIR", QFile::encodeName(m_dir.path()));
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(bin) + ':' + path);
        const auto restorePath = qScopeGuard([path] { qputenv("PATH", path); });
        auto opened = document(
            QString("T=$1; echo \"$T\" > '%1/trace'\n"
                    "printf '\"V\" \"P\" \"A\"\\n\"y\" \"B\" \"a\"\\n\"y\" \"B\" \"b\"\\n"
                    "\"y\" \"B\" \"c\"\\n' > \"$T/labels.dat\"\n"
                    "for c in 1 2; do for i in 1 2 3 4; do echo \"$i$(seq -s '' "
                    "-f ',0.%g' %2)\"; done > \"$T/burn$c.csv\"; done\necho ran\n")
                .arg(m_dir.path())
                .arg(parameters)
                .toUtf8());
        SeenBox seen;
        ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
        QSignalSpy plotted(opened.get(), &Workspace::graphs_done);
        opened->on_run();
        QVERIFY(plotted.wait(kWaitMs));
        QTRY_COMPARE(seen.count, 1);
        QVERIFY2(seen.text.contains("could not make " + report), qPrintable(seen.text));
        QCOMPARE(opened->graphPanel()->pageText(), pages); // what gnuplot could draw
        QVERIFY(opened->iterationHistory().contains("ran\n"));
        // Still answering: a second run plots without a word (the gnuplot misbehaves once).
        opened->on_run();
        QVERIFY(plotted.wait(kWaitMs));
        QTest::qWait(50);
        QCOMPARE(seen.count, parameters == 3 ? 1 : 2);
    }

    // Twenty documents running, the main window closing: every question asked, every engine
    // ended, every trace folder removed.
    void twentyRunningDocumentsClosed()
    {
        writeFile(m_plan, "echo $$ > \"$TESTENGINE_RECORD.pid\"; exec sleep 60");
        CSettings::instance().setVersion(MainWindow::versionText()); // no new-version resets
        CSettings::instance().setCommandLineToolName(kStandIn);
        MainWindow window;
        window.show();
        QStringList records;
        for (int i = 0; i < 20; ++i) {
            const QString script = m_dir.filePath(QString("model%1.imp").arg(i));
            writeFile(script, "DATA: x.dat;\n");
            window.on_open(script);
            Workspace *opened = window.activeDocument();
            QVERIFY(opened && opened->filePath() == script);
            records << m_dir.filePath(QString("run%1").arg(i));
            qputenv("TESTENGINE_RECORD", QFile::encodeName(records.last()));
            opened->on_run();
            QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(records.last() + ".pid").size() > 0, kWaitMs);
            opened->editor()->insertPlainText("# typed while it runs\n");
        }
        qunsetenv("TESTENGINE_RECORD");
        SeenBox seen;
        ModalAnswerer answerer(clickBox(QMessageBox::Discard, &seen));
        QVERIFY(window.close());
        QCOMPARE(seen.count, 20);
        QVERIFY(seen.text.contains("Do you want to save your changes?"));
        for (const QString &record : records) {
            const QString pid = QString::fromUtf8(readFile(record + ".pid")).trimmed();
            QVERIFY2(!QFileInfo::exists("/proc/" + pid), qPrintable(pid));
            const QString folder = QString::fromUtf8(readFile(record)).split('\n').value(5);
            QVERIFY2(!folder.isEmpty() && !QFileInfo::exists(folder),
                     qPrintable(folder)); // --traceplot
        }
        QCOMPARE(readFile(m_dir.filePath("model7.imp")),
                 "DATA: x.dat;\n"); // discarded, as answered
    }
};

TOVREL_TEST_MAIN(TestFaults)
#include "tst_faults.moc"
