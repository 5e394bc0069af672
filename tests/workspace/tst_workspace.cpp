#include "testmain.h"

#include "config/csettings.h"
#include "editor/wsyntaxeditor.h"
#include "modalanswerer.h"
#include "plots/waitingspinnerwidget.h"
#include "plots/wgraphpanel.h"
#include "testfiles.h"
#include "workspace/commandfill.h"
#include "workspace/outputhighlighter.h"
#include "workspace/woutputpane.h"
#include "workspace/workspace.h"

#include <QDockWidget>
#include <QFileDialog>
#include <QLineEdit>
#include <QSettings>
#include <QSignalSpy>
#include <QToolButton>

#include <csignal>

namespace {
constexpr int kWaitMs = 60000;
const QString kStandIn = QStringLiteral(TOVREL_TEST_ENGINE);
const QString kHeader = QStringLiteral("\nTovrel Studio:\n\n");

QString binDir() { return qEnvironmentVariable("TOVREL_TEST_BIN_DIR"); }

// Answers message boxes with vButton and file dialogs with vFile (Cancel when empty); vSeen gets
// each box's text and each dialog's proposed name.
std::function<void(QWidget *)> answer(QMessageBox::StandardButton vButton, const QString &vFile,
                                      QStringList *vSeen)
{
    return [=](QWidget *vModal) {
        if (auto *box = qobject_cast<QMessageBox *>(vModal)) {
            *vSeen << box->text();
            box->button(box->button(vButton) ? vButton : QMessageBox::Ok)->click();
        } else if (auto *dialog = qobject_cast<QFileDialog *>(vModal)) {
            *vSeen << QFileInfo(dialog->selectedFiles().value(0)).fileName();
            if (vFile.isEmpty())
                return dialog->reject();
            dialog->findChild<QLineEdit *>("fileNameEdit")->setText(vFile);
            QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
        }
    };
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
        vDocument->on_run();
        return !finished.isEmpty() || finished.wait(kWaitMs);
    }
    // The folder the stand-in engine was given for trace plots.
    QString traceFolder() { return QString::fromUtf8(readFile(m_record)).split('\n').value(5); }

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
        writeFile(m_script, "DATA: x.dat;\n");
        QFile::remove(m_dir.filePath("model one.tovrel-out"));
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
        const QString file = QString::fromUtf8(readFile(m_dir.filePath("slow_convergence.tovrel-out")));
        QCOMPARE(document.outputPane()->text(), file);
        QVERIFY(document.iterationHistory().size() > file.size());
        QVERIFY(plotted.wait(kWaitMs));
        QCOMPARE(document.graphPanel()->pageText(), "Plot : 1 of 7");
        QTest::mouseClick(document.graphPanel()->findChild<QToolButton *>("tb_right"), Qt::LeftButton);
        QCOMPARE(document.graphPanel()->pageText(), "Plot : 2 of 7");
        QStringList seen;
        ModalAnswerer answerer(answer(QMessageBox::Ok, m_dir.filePath("all.pdf"), &seen));
        document.on_tb_saveAll_plot_clicked();
        const QByteArray pdf = readFile(m_dir.filePath("all.pdf"));
        QCOMPARE(pdf.count("/Type /Page") - pdf.count("/Type /Pages"), 7);
    }

    void runOutcome_data()
    {
        QTest::addColumn<QByteArray>("plan");
        QTest::addColumn<QString>("pane");
        QTest::addColumn<bool>("plotsDisabled");
        QTest::newRow("clean exit: the output file replaces the stream") << QByteArray("echo streamed; printf 'final\\n' > \"$OUTPUT\"") << "final\n" << false;
        QTest::newRow("no output file: the stream is kept and saved") << QByteArray("echo streamed") << "\nstreamed\n" << false;
        QTest::newRow("failure: the stream follows the file") << QByteArray("echo streamed; printf 'final\\n' > \"$OUTPUT\"; exit 3") << "final\n\nstreamed\n" << true;
        QTest::newRow("stderr during a run joins the stream") << QByteArray("echo a; sleep 0.2; echo warn >&2; sleep 0.2; echo b; exit 1") << "\na\nwarn\nb\n" << true;
        QTest::newRow("invalid UTF-8 and NUL bytes lose nothing after them") << QByteArray("printf 'a\\377\\0b\\n'; echo end; exit 1") << QString("\na\uFFFD") + QChar(0) + "b\nend\n" << true;
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
        QCOMPARE(QString::fromUtf8(readFile(m_dir.filePath("model one.tovrel-out"))), pane);
        QCOMPARE(disabled.count(), plotsDisabled ? 1 : 0);
        QCOMPARE(finished.count(), 1);
        QVERIFY(document->runAction()->isEnabled() && !document->stopAction()->isEnabled());
    }

    void megabyteLineStreamsWhole()
    {
        auto document = standInDocument("head -c 1048576 /dev/zero | tr '\\0' x; echo; echo end");
        QVERIFY(runToEnd(document.get()));
        QCOMPARE(document->iterationHistory().size(), 1 + 1048576 + 1 + 4);
        QVERIFY(document->iterationHistory().endsWith("x\nend\n"));
    }

    void missingEngineIsReportedWithoutARun()
    {
        auto document = standInDocument("");
        CSettings::instance().setCommandLineToolName(m_dir.filePath("nowhere"));
        QVERIFY(runToEnd(document.get()));
        QCOMPARE(document->outputPane()->text(), kHeader + "ERROR: Executable does not exist!\n See '" + m_dir.filePath("nowhere") + "'");
    }
};

TOVREL_TEST_MAIN(TestWorkspace)
#include "tst_workspace.moc"
