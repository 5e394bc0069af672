#include "testmain.h"

#include "config/csettings.h"
#include "editor/wsyntaxeditor.h"
#include "faultguards.h"
#include "fileguard.h"
#include "goldentable.h"
#include "mainwindowfixture.h"
#include "modalanswerer.h"
#include "plots/waitingspinnerwidget.h"
#include "plots/svgrender.h"
#include "plots/wgraphpanel.h"
#include "tablecell.h"
#include "testfiles.h"
#include "workspace/commandfill.h"
#include "workspace/filetypes.h"
#include "workspace/outputhighlighter.h"
#include "workspace/plotrequests.h"
#include "workspace/workspace.h"
#include "workspace/woutputpane.h"

#include <QDockWidget>
#include <QFileDialog>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QScopeGuard>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTextBlock>
#include <QTextLayout>
#include <QToolButton>

#include <list>
#include <optional>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace {
constexpr int kWaitMs = 60000;
// A 100 MB flood takes about 20 s, several times that under the sanitizers.
constexpr int kFloodWaitMs = 240000;
const QString kStandIn = QStringLiteral(TOVREL_TEST_ENGINE);

QString binDir()
{
    return qEnvironmentVariable("TOVREL_TEST_BIN_DIR");
}

} // namespace

class TestWorkspace : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_script;
    QString m_plan;
    QString m_record;

    // A document on m_script, the stand-in engine running vPlan (shell commands).
    std::unique_ptr<Workspace> standInDocument(const QByteArray &vPlan)
    {
        writeFile(m_plan, vPlan);
        CSettings::instance().setCommandLineToolName(kStandIn);
        auto document = std::make_unique<Workspace>();
        document->on_open(m_script);
        return document;
    }
    static bool runToEnd(Workspace *vDocument)
    {
        QSignalSpy finished(vDocument, &Workspace::process_finished);
        return (vDocument->on_run(), !finished.isEmpty() || finished.wait(kWaitMs));
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_script = m_dir.filePath("model one.imp");
        m_plan = m_dir.filePath("plan.sh");
        m_record = m_dir.filePath("record.txt");
        qputenv("TESTENGINE_PLAN", QFile::encodeName(m_plan));
        qputenv("TESTENGINE_RECORD", QFile::encodeName(m_record));
    }
    void init()
    {
        QSettings().clear();
        QDir(m_script).removeRecursively(); // a fault test may leave a folder in its place
        writeFile(m_script, "DATA: x.dat;\n");
        // Left by an earlier run: never shown as this run's output.
        writeFile(m_dir.filePath("model one.tovrel-out"), "stale\n");
    }

    void demoRunMakesPlotsAndPagesOneStepPerClick()
    {
        const QString chapter = binDir() + "/User Guide Examples/1.1-Potential Scale Reduction";
        for (const char *name : {"slow_convergence.imp", "slow.dat"})
            QVERIFY(QFile::copy(chapter + '/' + name, m_dir.filePath(name)));
        CSettings::instance().setCommandLineToolName(binDir() + "/tovrel");
        Workspace document;
        QVERIFY(document.on_open(m_dir.filePath("slow_convergence.imp")));
        QSignalSpy streamed(&document, &Workspace::output_receieved);
        QSignalSpy plotted(&document, &Workspace::graphs_done);
        QVERIFY(runToEnd(&document));
        QVERIFY(!streamed.isEmpty());
        const QString file
            = QString::fromUtf8(readFile(m_dir.filePath("slow_convergence.tovrel-out")));
        QCOMPARE(document.outputPane()->text(), file);
        QVERIFY(document.iterationHistory().size() > file.size());
        // The lines in view are coloured again once the file's text has replaced the stream.
        QTRY_VERIFY(!document.outputPane()->document()->firstBlock().layout()->formats().isEmpty());
        QVERIFY(plotted.wait(kWaitMs));
        QCOMPARE(document.graphPanel()->pageText(), "Plot : 1 of 7");
        QTest::mouseClick(document.graphPanel()->findChild<QToolButton *>("tb_right"),
                          Qt::LeftButton);
        QCOMPARE(document.graphPanel()->pageText(), "Plot : 2 of 7");
        QStringList seen;
        ModalAnswerer answerer(answerDialogs(QMessageBox::Ok, m_dir.filePath("all.pdf"), &seen));
        document.on_tb_saveAll_plot_clicked();
        const QByteArray pdf = readFile(m_dir.filePath("all.pdf"));
        QCOMPARE(pdf.count("/Type /Page") - pdf.count("/Type /Pages"), 7);
        document.on_run(); // the old plots' folder is gone: the dock no longer pages through it
        QCOMPARE(document.graphPanel()->pageText(), "Plot : 0 of 0");
    }

    void runOutcome_data()
    {
        QTest::addColumn<QByteArray>("plan");
        QTest::addColumn<QString>("pane");
        QTest::addColumn<bool>("plotsDisabled");
        // clang-format off
        QTest::newRow("clean exit: the output file replaces the stream") << QByteArray("echo streamed; printf 'final\\n' > \"$OUTPUT\"") << "final\n" << false;
        QTest::newRow("no output file: the stream is kept and saved") << QByteArray("echo streamed") << "\nstreamed\n" << false;
        QTest::newRow("failure: the stream follows the file") << QByteArray("echo streamed; printf 'final\\n' > \"$OUTPUT\"; exit 3") << "final\n\nstreamed\n" << true;
        QTest::newRow("a file written within the old one's clock tick is this run's") << QByteArray("touch -r \"$OUTPUT\" \"$OUTPUT.old\"; echo streamed; printf 'final, a new size\n' > \"$OUTPUT\"; touch -r \"$OUTPUT.old\" \"$OUTPUT\"") << "final, a new size\n" << false;
        QTest::newRow("stderr during a run joins the stream") << QByteArray("echo a; sleep 0.2; echo warn >&2; sleep 0.2; echo b; exit 1") << "\na\nwarn\nb\n" << true;
        QTest::newRow("a 1 MB line streams whole") << QByteArray("head -c 1048576 /dev/zero | tr '\\0' x; echo; echo end") << "\n" + QString(1 << 20, 'x') + "\nend\n" << false;
        QTest::newRow("invalid UTF-8 and NUL bytes lose nothing after them") << QByteArray("printf 'a\\377\\0b\\n'; echo end; exit 1") << QString("\na\uFFFD") + QChar(0) + "b\nend\n" << true;
        // clang-format on
    }
    void runOutcome()
    {
        QFETCH(QByteArray, plan);
        QFETCH(QString, pane);
        QFETCH(bool, plotsDisabled);
        auto document = standInDocument(plan);
        QSignalSpy disabled(document.get(), &Workspace::disable_plot);
        QSignalSpy finished(document.get(), &Workspace::process_finished);
        QVERIFY(runToEnd(document.get()));
        QCOMPARE(document->outputPane()->text(), pane);
        QCOMPARE(disabled.count(), plotsDisabled ? 1 : 0);
        QCOMPARE(finished.count(), 1);
        QVERIFY(document->runAction()->isEnabled() && !document->stopAction()->isEnabled());
        // The stream is saved on the side; closing waits for it.
        document.reset();
        QCOMPARE(QString::fromUtf8(readFile(m_dir.filePath("model one.tovrel-out"))), pane);
    }

    void savePrompts_data()
    {
        addTableRows(QFINDTESTDATA("saveprompts.txt"), {"closing", "button"});
    }
    void savePrompts()
    {
        const bool closing = cell("closing") == "1";
        const QMessageBox::StandardButton button = buttonNamed(cell("button"));
        const bool proceeds = button != QMessageBox::Cancel;
        auto document = standInDocument("echo ran");
        document->outputPane()->setText("before");
        document->editor()->textCursor().insertText("#");
        SeenBox seen;
        ModalAnswerer answerer(clickBox(button, &seen));
        QSignalSpy finished(document.get(), &Workspace::process_finished);
        const bool done = closing ? document->on_close()
                                  : (document->on_run(), proceeds && finished.wait(kWaitMs));
        QCOMPARE(done, proceeds);
        QCOMPARE(bool(seen.buttons & QMessageBox::Discard), closing);
        QCOMPARE(seen.text, "The document has been modified.\nDo you want to save your changes?");
        QCOMPARE(readFile(m_script),
                 button == QMessageBox::Save ? "#DATA: x.dat;\n" : "DATA: x.dat;\n");
        if (!closing)
            QCOMPARE(document->outputPane()->text(), proceeds ? "\nran\n" : "before");
    }

    void examplePromptAskedOnce_data()
    {
        addTableRows(QFINDTESTDATA("exampleprompt.txt"), {"button"});
    }
    void examplePromptAskedOnce()
    {
        const QMessageBox::StandardButton button = buttonNamed(cell("button"));
        const QString copy = m_dir.filePath("copy.imp");
        QFile::remove(copy);
        const QString chapter
            = QCoreApplication::applicationDirPath() + "/User Guide Examples/ws test";
        QVERIFY(QDir().mkpath(chapter));
        const QString example = chapter + "/example.imp";
        writeFile(example, "DATA: e.dat;\n");
        Workspace document;
        QVERIFY(document.on_open(example));
        document.editor()->textCursor().insertText("#");
        QStringList seen;
        ModalAnswerer answerer(answerDialogs(button, copy, &seen));
        QCOMPARE(document.on_save(false), button != QMessageBox::Cancel);
        QCOMPARE(readFile(example),
                 QByteArray(button == QMessageBox::No ? "#DATA: e.dat;\n" : "DATA: e.dat;\n"));
        QCOMPARE(seen.value(0),
                 "The script appears to be a User Guide Example.\n\nWould you like to save to a "
                 "new file?");
        QCOMPARE(readFile(copy), button == QMessageBox::Yes ? "#DATA: e.dat;\n" : "");
        document.on_save(false);
        QCOMPARE(seen.filter("appears to be a User Guide Example").size(), 1);
        QDir(chapter).removeRecursively();
    }

    void outputPaneSavesThroughItsOwnDialog()
    {
        auto document = standInDocument("");
        document->setDocumentNumber(4);
        document->outputPane()->setText("log text");
        document->outputPane()->setFocus();
        QStringList seen;
        ModalAnswerer answerer(answerDialogs(QMessageBox::Ok, m_dir.filePath("log.txt"), &seen));
        QVERIFY(document->on_save(true));
        QCOMPARE(seen.value(0) + '|' + QFileInfo(seen.value(1)).fileName() + '|' + seen.value(2),
                 "Enter file name to save|output4.txt|Text files (*.txt)");
        QCOMPARE(readFile(m_dir.filePath("log.txt")), "log text");
        document->editor()->setFocus();
        document->editor()->textCursor().insertText("#");
        QVERIFY(document->on_save(false));
        QCOMPARE(document->filePath(), m_script);
        QCOMPARE(readFile(m_script), "#DATA: x.dat;\n");
    }

    void openRedirects_data()
    {
        addTableRows(QFINDTESTDATA("openredirects.txt"), {"asked", "script", "output", "mplus"});
    }
    // The file-type rules, and the document and the main window following them alike: the
    // second opening of the same file, under any of its names, finds it open.
    void openRedirects()
    {
        const bool mplus = cell("mplus") == "1";
        const QString opened = m_dir.filePath(cell("script")),
                      output = m_dir.filePath(cell("output"));
        QCOMPARE(FileTypes::scriptFor(m_dir.filePath(cell("asked"))), opened);
        QCOMPARE(FileTypes::isMplusScript(opened), mplus);
        QCOMPARE(FileTypes::outputFor(opened, mplus), output);
        for (const QString &name : {opened, output})
            writeFile(name, QFileInfo(name).fileName().toUtf8());
        const auto window = freshMainWindow();
        for (int twice = 0; twice < 2; ++twice)
            window->on_open(m_dir.filePath(cell("asked")));
        QCOMPARE(window->documents().size(), 1);
        const Workspace &document = *window->activeDocument();
        QCOMPARE(document.filePath(), opened);
        QCOMPARE(document.editor()->toPlainText(), cell("script"));
        QCOMPARE(document.outputPane()->text(), cell("output"));
        QCOMPARE(document.editor()->syntaxMode() == SyntaxMode::Mplus, mplus);
        QVERIFY(!document.isModified());
    }

    void openDialogAsksForScriptsAndKeepsTheFileWhenCancelled()
    {
        auto document = standInDocument("");
        QStringList seen;
        ModalAnswerer answerer(answerDialogs(QMessageBox::Ok, "", &seen));
        document->on_actionOpen_triggered();
        QCOMPARE(seen.value(0) + '|' + seen.value(2),
                 "Select Syntax File to Open|Files (*.imp *.txt *.tovrel-out *.inp *.out)");
        QCOMPARE(document->filePath(), m_script);
    }

    void mplusRunsTheMplusProgram()
    {
        writeFile(m_dir.filePath("m.inp"), "TITLE: t;\n");
        writeFile(m_plan, "printf 'mplus result\\n' > \"$1\"");
        CSettings::instance().setMplusToolName(kStandIn);
        Workspace document;
        QVERIFY(document.on_open(m_dir.filePath("m.inp")));
        QVERIFY(runToEnd(&document));
        QCOMPARE(document.outputPane()->text(), "mplus result\n");
        QCOMPARE(QString::fromUtf8(readFile(m_record)).split('\n').mid(1, 2),
                 QStringList({m_dir.filePath("m.inp"), m_dir.filePath("m.out")}));
    }

    void noPlotsUntilThePaneIsShown()
    {
        auto document
            = standInDocument("T=$(tail -n 1 \"$TESTENGINE_RECORD\"); printf '\"V\" \"P\" "
                              "\"A\"\\n\"y\" \"Beta\" \"x\"\\n' > \"$T/labels.dat\"; "
                              "for c in 1 2; do for i in 1 2 3 4 5; do echo \"$i,0.$i$c\"; done > "
                              "\"$T/burn$c.csv\"; done");
        document->on_autoPlot(false);
        QSignalSpy plotted(document.get(), &Workspace::graphs_done);
        QVERIFY(runToEnd(document.get()));
        QVERIFY(document->plotsAvailable());
        QVERIFY(!plotted.wait(500));
        QCOMPARE(document->graphPanel()->pageText(), "Plot : 0 of 0");
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", "/nowhere");
        SeenBox seen;
        ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
        document->on_plot(true); // no gnuplot: reported, and the pane is not left busy
        QTRY_COMPARE(seen.count, 1);
        QVERIFY(!document->isPlotting() && !document->findChild<WaitingSpinnerWidget *>());
        qputenv("PATH", path);
        document->on_plot(true);
        QVERIFY(plotted.wait(kWaitMs));
        QCOMPARE(document->graphPanel()->pageText(), "Plot : 1 of 1");
        QVERIFY(document->findChild<QDockWidget *>("dockGraph")->isVisible());
    }

    // Plots are paged as they arrive; a new run in the middle of the drawing stops it, removes
    // its files, and only the new run's plots end in graphs_done.
    void newRunWhilePlotsArrive()
    {
        auto document = standInDocument(
            "T=$(tail -n 1 \"$TESTENGINE_RECORD\"); { echo '\"V\" \"P\" \"A\"'; "
            "for k in $(seq 80); do echo '\"y\" \"Beta\" \"x\"'; done; } > \"$T/labels.dat\"; "
            "for c in 1 2; do seq 3000 | awk -v c=$c '{ printf \"%d\", $1; "
            "for (k = 1; k <= 80; k++) printf \",%g\", sin($1 * k + c); print \"\" }' "
            "> \"$T/burn$c.csv\"; done");
        QSignalSpy plotted(document.get(), &Workspace::graphs_done);
        QVERIFY(runToEnd(document.get()));
        WGraphPanel *panel = document->graphPanel();
        QTRY_VERIFY_WITH_TIMEOUT(panel->pageCount() > 1, kWaitMs);
        QVERIFY(panel->isDrawing() && panel->pageText().endsWith("(80 being drawn)"));
        QTest::mouseClick(panel->findChild<QToolButton *>("tb_right"), Qt::LeftButton);
        QVERIFY(panel->pageText().startsWith("Plot : 2 of "));
        const QString folder = panel->render()->folder();
        QVERIFY(runToEnd(document.get()));
        QVERIFY(!QFileInfo::exists(folder));
        QVERIFY(plotted.wait(kWaitMs));
        QCOMPARE(plotted.size(), 1);
        QCOMPARE(panel->pageText(), "Plot : 1 of 80");
    }

    void stopShowsNoCrashBoxButALaterCrashDoes()
    {
        auto document = standInDocument("echo start; exec sleep 30");
        SeenBox seen;
        ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
        QSignalSpy streamed(document.get(), &Workspace::output_receieved);
        QSignalSpy finished(document.get(), &Workspace::process_finished);
        document->on_run();
        QVERIFY(streamed.wait(kWaitMs));
        auto *spinner = document->outputPane()->findChild<WaitingSpinnerWidget *>();
        QVERIFY(spinner && spinner->isSpinning() && document->outputPane()->isEnabled());
        document->on_stop();
        QVERIFY(finished.wait(kWaitMs));
        QTest::qWait(100);
        QCOMPARE(seen.count, 0);
        QVERIFY(document->iterationHistory().endsWith("start\n\n\nTovrel stopped by user."));
        writeFile(m_plan, "kill -SEGV $$");
        QVERIFY(runToEnd(document.get()));
        QTRY_COMPARE(seen.count, 1);
        QCOMPARE(seen.title, "Error!");
        QCOMPARE(seen.text, "Tovrel had an unexpected crash.\n Please contact Tovrel support.");
    }

    void closingDuringARunLeavesNoProcessNorFolder_data()
    {
        QTest::addColumn<bool>("destroy");
        row("closed", false);
        row("destroyed", true);
    }
    void closingDuringARunLeavesNoProcessNorFolder()
    {
        QFETCH(bool, destroy);
        QVERIFY(QDir(m_dir.path()).mkpath("outside"));
        writeFile(m_dir.filePath("outside/keep.txt"), "keep");
        QFile::remove(m_dir.filePath("pid"));
        QMdiArea area; // hosts the document as the main window does; outlives it
        auto document = standInDocument(QString("T=$(tail -n 1 \"$TESTENGINE_RECORD\"); ln -s '%1' "
                                                "\"$T/link\"; echo $$ > '%2'; exec sleep 30")
                                            .arg(m_dir.filePath("outside"), m_dir.filePath("pid"))
                                            .toUtf8());
        QMdiSubWindow *frame = area.addSubWindow(document.get());
        area.show();
        document->on_run();
        QTRY_VERIFY(!readFile(m_dir.filePath("pid")).isEmpty());
        const QString pid = QString::fromUtf8(readFile(m_dir.filePath("pid"))).trimmed();
        const QString folder
            = QString::fromUtf8(readFile(m_record)).split('\n').value(5); // --traceplot
        QVERIFY(QFileInfo::exists(folder + "/link"));
        ModalAnswerer answerer(clickButton("Stop and Close"));
        QVERIFY(destroy ? (document.reset(), true) : document->on_close() && !frame->isVisible());
        QCOMPARE(answerer.count(), destroy ? 0 : 1);
        QVERIFY(!QFileInfo::exists("/proc/" + pid));
        QVERIFY(!QFileInfo::exists(folder));
        QCOMPARE(readFile(m_dir.filePath("outside/keep.txt")), "keep");
    }

    void commandFill_data()
    {
        addTableRows(QFINDTESTDATA("commandfill.txt"),
                     {"text", "command", "value", "caseSensitive", "filled"});
    }
    void commandFill()
    {
        QTEST(
            fillCommand(cell("text"), cell("command"), cell("value"), cell("caseSensitive") == "1"),
            "filled");
    }
    // Faults a user meets, each ending with nothing lost and the window still answering.
    // What the engine does to the output; what the output pane then ends with, whether the crash
    // box comes.
    void engineFaults_data()
    {
        addTableRows(QFINDTESTDATA("enginefaults.txt"), {"plan", "outputEnd", "crashBox"});
    }
    void engineFaults()
    {
        const bool crashBox = cell("crashBox") == "1";
        auto opened = standInDocument(cell("plan").toUtf8());
        SeenBox seen;
        ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
        QSignalSpy finished(opened.get(), &Workspace::process_finished);
        opened->on_run();
        // Typed while the engine runs: never lost, whatever the engine does.
        opened->editor()->setPlainText("DATA: x.dat; # unsaved\n");
        QVERIFY(finished.wait(kFloodWaitMs));
        QTest::qWait(50);
        QCOMPARE(seen.count, int(crashBox));
        const QString output = opened->iterationHistory();
        QVERIFY2(output.contains(cell("outputEnd")), qPrintable(output.right(80)));
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
        addTableRows(QFINDTESTDATA("changedfile.txt"), {"change", "answer", "box", "saved"});
    }
    void saveOverAChangedFile()
    {
        QFETCH(QString, change);
        QFETCH(QString, box);
        const bool saved = cell("saved") == "1";
        auto opened = standInDocument("true");
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
        ModalAnswerer answerer(clickBox(buttonNamed(cell("answer")), &seen));
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
        const QString name = QFileInfo(m_script).fileName(); // and no temporary file beside it
        QCOMPARE(QDir(m_dir.path()).entryList(QDir::Files).filter(name),
                 change == "folder" ? QStringList() : QStringList(name));
    }

    // Plotting that goes wrong partway: the plots that could be made are shown, the failure is
    // reported once, and the document plots again once the cause is gone.
    void plotFaults_data()
    {
        addTableRows(QFINDTESTDATA("plotfaults.txt"),
                     {"parameters", "atSecondPlot", "report", "pages"});
    }
    void plotFaults()
    {
        const int parameters = cell("parameters").toInt();
        // A gnuplot first on the PATH that counts its runs and misbehaves on the second.
        const QString bin = m_dir.filePath("bin");
        QDir().mkpath(bin);
        writeFile(
            bin + "/gnuplot",
            QByteArray(
                "#!/bin/sh\nn=$(($(cat \"$FAULT_DIR/calls\" 2>/dev/null || echo 0) + 1))\n"
                "echo $n > \"$FAULT_DIR/calls\"\nnice > \"$FAULT_DIR/niceness\"\n[ $n = 2 ] && { ")
                + cell("atSecondPlot").toUtf8() + "\n:; }\nexec '"
                + QStandardPaths::findExecutable("gnuplot").toUtf8() + "' \"$@\"\n");
        QFile::setPermissions(bin + "/gnuplot", QFile::ReadOwner | QFile::ExeOwner);
        QFile::remove(m_dir.filePath("calls"));
        qputenv("FAULT_DIR", QFile::encodeName(m_dir.path()));
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(bin) + ':' + path);
        const auto restorePath = qScopeGuard([path] { qputenv("PATH", path); });
        auto opened = standInDocument(
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
        const int reports = cell("report") == "-" ? 0 : 1;
        QTest::qWait(50);
        QTRY_COMPARE(seen.count, reports);
        QVERIFY2(!reports || seen.text.contains("could not make " + cell("report")),
                 qPrintable(seen.text));
        QCOMPARE(opened->graphPanel()->pageText(), cell("pages")); // what gnuplot could draw
        QVERIFY(opened->iterationHistory().contains("ran\n"));
#ifdef Q_OS_UNIX
        // gnuplot draws at the studio's own priority: the user is waiting for the plots.
        QCOMPARE(readFile(m_dir.filePath("niceness")).trimmed().toInt(), ::nice(0));
#endif
        // Still answering: a second run plots again (the gnuplot misbehaves once).
        opened->on_run();
        QVERIFY(plotted.wait(kWaitMs));
        QTest::qWait(50);
        QCOMPARE(seen.count, reports * 2);
    }

    // A script whose "#!" line names a program other than the configured engines, run from the
    // main window as a user would, the trust box answered step by step.
    void scriptEngineTrust_data()
    {
        addTableRows(QFINDTESTDATA("enginetrust.txt"), {"line", "steps", "runs", "message"});
    }
    void scriptEngineTrust()
    {
        const QString dir = m_dir.filePath("trust"), proof = dir + "/PROOF";
        QDir(dir).removeRecursively();
        std::list<FileGuard> programs; // copies of the stand-in engine; "plain" may not run
        for (const QString &path :
             {dir + "/tools/prog", dir + "/my tools/my prog", dir + "/home/bin/prog",
              CSettings::previewEnginePath(), dir + "/plain"}) {
            QDir().mkpath(QFileInfo(path).path());
            programs.emplace_back(path, readFile(kStandIn));
            if (!path.endsWith("plain"))
                QFile::setPermissions(path, QFile::permissions(kStandIn));
        }
        writeFile(m_plan, "echo ran > '" + proof.toUtf8() + "'");
        const QByteArray home = qgetenv("HOME");
        qputenv("HOME", QFile::encodeName(dir + "/home"));
        const auto restoreHome = qScopeGuard([&] { qputenv("HOME", home); });
        const QString line
            = cell("line")
                  .replace("{relative}", QDir::current().relativeFilePath(dir + "/tools/prog"))
                  .replace("{dir}", dir);
        const QString program = QFileInfo(PlotRequests::engineFromLine(line)).absoluteFilePath();
        QString script = dir + "/shared script.imp";
        writeFile(script,
                  "#! " + line.toUtf8() + "\nopen(\"" + proof.toUtf8()
                      + "\", \"w\").write(\"ran\") #;\n");

        auto window = freshMainWindow();
        const auto close = qScopeGuard([&] { discardMainWindow(window); });
        CSettings::instance().setCommandLineToolName(kStandIn);
        window->on_open(script);
        QAction *start = window->findChild<QAction *>("actionStart");
        const QMap<QString, QMessageBox::StandardButton> answers {
            {"Run", QMessageBox::Yes}, {"Always", QMessageBox::YesToAll}};
        QString runs;
        for (const QString &step : cell("steps").split(' ')) {
            QFile file(program);
            if (step == "touch" || step == "rewrite") {
                QVERIFY(file.open(QIODevice::Append));
                QVERIFY(step == "rewrite"
                            ? file.write("# changed\n") > 0
                            : file.setFileTime(QDateTime::currentDateTime().addSecs(-60),
                                               QFileDevice::FileModificationTime));
                continue;
            }
            if (step == "other") {
                QVERIFY(QFile::copy(script, dir + "/copy.imp"));
                window->on_open(script = dir + "/copy.imp");
                continue;
            }
            Workspace *document = window->activeDocument();
            const QString paneBefore = document->outputPane()->text();
            QSignalSpy finished(document, &Workspace::process_finished);
            SeenBox seen;
            {
                ModalAnswerer answerer(clickBox(answers.value(step, QMessageBox::Cancel), &seen));
                start->trigger();
            }
            const bool cancelled = seen.count && !answers.contains(step);
            QVERIFY(cancelled || !finished.isEmpty() || finished.wait(kWaitMs));
            const bool ran = QFile::remove(proof);
            runs += seen.count ? (ran ? 'A' : 'a') : (ran ? 'r' : '-');
            if (seen.count) {
                QVERIFY2(seen.title == "Warning!" && seen.text.contains(program + "\n")
                             && seen.text.contains(script),
                         qPrintable(seen.text));
                QCOMPARE(seen.buttons,
                         QMessageBox::Yes | QMessageBox::YesToAll | QMessageBox::Cancel);
            }
            if (cancelled) { // idle as before, ready to run
                QCOMPARE(document->outputPane()->text(), paneBefore);
                QTRY_VERIFY(start->isEnabled() && document->runAction()->isEnabled());
            }
        }
        QCOMPARE(runs, cell("runs"));
        if (!cell("message").isEmpty())
            QCOMPARE(window->activeDocument()->outputPane()->text(),
                     "\nTovrel Studio:\n\n" + cell("message").replace("{dir}", dir));
    }

    // Twenty documents running, the main window closing: every question asked, every engine
    // ended, every trace folder removed.
    void twentyRunningDocumentsClosed()
    {
        writeFile(m_plan, "echo $$ > \"$TESTENGINE_RECORD.pid\"; exec sleep 60");
        const auto owned = freshMainWindow();
        MainWindow &window = *owned;
        CSettings::instance().setCommandLineToolName(kStandIn);
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
        qputenv("TESTENGINE_RECORD", QFile::encodeName(m_record));
        QStringList seen;
        ModalAnswerer answerer([&seen](QWidget *vModal) {
            seen << static_cast<QMessageBox *>(vModal)->text().section('\n', -1);
            clickButton(seen.last().endsWith("close?") ? "Stop and Close" : "Discard")(vModal);
        });
        QVERIFY(window.close());
        QCOMPARE(seen.size(), 40);
        QCOMPARE(seen.filter("Stop it and close?").size(), 20);
        QCOMPARE(seen.filter("Do you want to save your changes?").size(), 20);
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

TOVREL_TEST_MAIN(TestWorkspace)
#include "tst_workspace.moc"
