#include "testmain.h"

#include "config/childpriority.h"
#include "config/csettings.h"
#include "goldentable.h"
#include "modalanswerer.h"
#include "tablecell.h"
#include "testfiles.h"
#include "workspace/plotrequests.h"
#include "workspace/processhandling.h"

#include <QSettings>
#include <QSignalSpy>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

Q_DECLARE_METATYPE(QProcess::ProcessError)

namespace {

constexpr int kWaitMs = 20000;
const QString kEngine = QStringLiteral(TOVREL_TEST_ENGINE);
const QString kConfigured = QStringLiteral("/opt/tovrel/tovrel");

QStringList readLines(const QString &vPath)
{
    return QString::fromUtf8(readFile(vPath)).split('\n', Qt::SkipEmptyParts);
}

QString joined(const QSignalSpy &vSpy)
{
    QString text;
    for (const QList<QVariant> &call : vSpy)
        text += call.at(0).toString();
    return text;
}

} // namespace

class TestEngineRuns : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_script;
    QString m_output;
    QString m_record;
    QString m_plan;

    // The stand-in engine records its working folder, then its arguments.
    QString recordedFolder() { return readLines(m_record).value(0); }
    QStringList recordedArguments() { return readLines(m_record).mid(1); }

    // Starts the stand-in engine, which runs the shell commands vPlan.
    void start(ProcessHandling &vRunner, const QByteArray &vPlan)
    {
        writeFile(m_plan, vPlan);
        QVERIFY(vRunner.run(kEngine, m_script, m_output));
    }
    void runToEnd(ProcessHandling &vRunner, const QByteArray &vPlan)
    {
        QSignalSpy finished(&vRunner, &ProcessHandling::did_finish);
        start(vRunner, vPlan);
        QVERIFY(finished.wait(kWaitMs));
    }

private Q_SLOTS:
    void initTestCase()
    {
        qRegisterMetaType<QProcess::ProcessError>();
        QDir(m_dir.path()).mkpath("my scripts");
        m_script = m_dir.filePath("my scripts/model one.imp");
        m_output = m_dir.filePath("my scripts/model one.tovrel-out");
        m_record = m_dir.filePath("arguments.txt");
        m_plan = m_dir.filePath("plan.sh");
        writeFile(m_script, "DATA: x.dat;\n");
        qputenv("TESTENGINE_RECORD", QFile::encodeName(m_record));
        qputenv("TESTENGINE_PLAN", QFile::encodeName(m_plan));
    }

    void init()
    {
        QSettings().clear();
        QFile::remove(m_record);
    }

    void engineArguments_data()
    {
        addTableRows(QFINDTESTDATA("engineargs.txt"), {"params", "keyword", "trace", "expected"});
    }
    void engineArguments()
    {
        QFETCH(QString, params);
        QCOMPARE(ProcessHandling::engineArguments(params.split('|'), cell("keyword"), "a b.imp",
                                                  "o", cell("trace"))
                     .value_or(QStringList())
                     .join('|'),
                 cell("expected"));
    }

    void commandLineReachesTheEngine()
    {
        CSettings::instance().setCommandLineToolName(kEngine);
        CSettings::instance().setCommandLineToolParams({"--verbose", "$COMMANDS"});
        const QString trace = m_dir.filePath("trace plots");
        ProcessHandling runner;
        QSignalSpy started(&runner, &ProcessHandling::did_start);
        QSignalSpy finished(&runner, &ProcessHandling::did_finish);
        QSignalSpy out(&runner, &ProcessHandling::did_sendOut);
        writeFile(m_plan, "nice"); // prints the engine's niceness
        QVERIFY(runner.run(m_script, m_output, QDir(trace)));
        QVERIFY(finished.wait(kWaitMs));
        QCOMPARE(started.count(), 1);
        // Paths with blanks arrive as single arguments; the engine runs in the studio's folder.
        QCOMPARE(recordedArguments(),
                 QStringList({"--verbose", m_script, "--output", m_output, "--traceplot", trace}));
        QCOMPARE(QDir(recordedFolder()), QDir::current());
#ifdef Q_OS_UNIX
        // It computes below the studio, so the window keeps its share of the processor.
        QCOMPARE(joined(out).trimmed().toInt(), qMin(19, ::nice(0) + ChildPriority::kSteps));
#endif
    }

    void checksComeInOrder_data()
    {
        addTableRows(QFINDTESTDATA("runchecks.txt"), {"program", "engineExists", "message"});
    }
    void checksComeInOrder()
    {
        const bool mplus = cell("program") == "mplus";
        const QString executable = cell("engineExists") == "1" ? kEngine : "/no/such/tovrel";
        const QString missing = m_dir.filePath("missing.imp");
        CSettings::instance().setMplusToolName(executable);
        ProcessHandling runner;
        QSignalSpy errors(&runner, &ProcessHandling::did_sendErr);
        QVERIFY(!(mplus ? runner.runMplus(missing, m_output)
                        : runner.run(executable, missing, m_output)));
        QCOMPARE(errors.count(), 1);
        QCOMPARE(joined(errors), cell("message"));
        QCOMPARE(runner.process()->state(), QProcess::NotRunning);
        QVERIFY(!QFile::exists(m_record));
    }

    void mplusRunsInTheInputFolder()
    {
        CSettings::instance().setMplusToolName(kEngine);
        const QString input = m_dir.filePath("my scripts/path model.inp");
        writeFile(input, "TITLE: x;\n");
        ProcessHandling runner;
        QSignalSpy finished(&runner, &ProcessHandling::did_finish);
        QVERIFY(runner.runMplus(input, "path model.out"));
        QVERIFY(finished.wait(kWaitMs));
        QCOMPARE(recordedArguments(), QStringList({input, "path model.out"}));
        QCOMPARE(QDir(recordedFolder()), QFileInfo(input).absoluteDir());
        // The next engine run of the same runner goes back to the studio's folder.
        runToEnd(runner, "");
        QCOMPARE(QDir(recordedFolder()), QDir::current());
    }

    // A pause after each piece makes the studio read it alone.
    void charactersSplitAcrossReads_data()
    {
        addTableRows(QFINDTESTDATA("splitreads.txt"), {"stream", "pieces", "expected"});
    }
    void charactersSplitAcrossReads()
    {
        QFETCH(QString, stream);
        QFETCH(QString, pieces);
        QByteArray plan;
        for (const QString &piece : pieces.split('|'))
            plan += "printf '" + piece.toUtf8() + "'" + (stream == "err" ? " >&2" : "")
                + "; sleep 0.15\n";
        ProcessHandling runner;
        QSignalSpy out(&runner, &ProcessHandling::did_sendOut);
        QSignalSpy err(&runner, &ProcessHandling::did_sendErr);
        runToEnd(runner, plan);
        const QSignalSpy &chunks = stream == "err" ? err : out;
        QVERIFY2(chunks.count() > 1, "the pieces should have been read one by one");
        QCOMPARE(joined(chunks), cell("expected"));
    }

    void stopAndCloseEndTheEngine()
    {
        auto *runner = new ProcessHandling;
        QSignalSpy out(runner, &ProcessHandling::did_sendOut);
        QSignalSpy failed(runner, &ProcessHandling::did_errorOccur);
        QSignalSpy finished(runner, &ProcessHandling::did_finish);
        const QByteArray waits = "printf running; exec sleep 60";
        start(*runner, waits);
        QVERIFY(out.wait(kWaitMs));
        runner->stop();
        QVERIFY(finished.wait(kWaitMs));
        QCOMPARE(failed.count(), 1);
        QCOMPARE(joined(out), "running");
        // Closing the document during a run takes its engine with it.
        start(*runner, waits);
        QVERIFY(out.wait(kWaitMs));
        const qint64 pid = runner->process()->processId();
        delete runner;
        QVERIFY(!QFileInfo::exists(QStringLiteral("/proc/%1").arg(pid)));
    }

    void scriptRequests_data()
    {
        addTableRows(QFINDTESTDATA("scriptrequests.txt"),
                     {"script", "plot", "chains", "box", "autoPlot", "answer", "engine"});
    }
    void scriptRequests()
    {
        QFETCH(QString, script);
        QFETCH(QString, chains);
        QFETCH(QString, box);
        QFETCH(QString, engine);
        if (script.startsWith("chains:;"))
            QTest::ignoreMessage(QtDebugMsg, "Cannot parse chains - setting to 1");
        QWidget document;
        SeenBox seen;
        PlotRequests requests(kConfigured, cell("autoPlot") == "1");
        {
            ModalAnswerer answerer(
                clickBox(cell("answer") == "ok" ? QMessageBox::Ok : QMessageBox::Cancel, &seen));
            requests.evaluate(script, &document);
        }
        QCOMPARE(requests.plotThisRun(), cell("plot") == "1");
        QCOMPARE(requests.requestedChains(), chains.toInt());
        const QMap<QString, QString> engines {{"configured", kConfigured},
                                              {"stable", CSettings::stableEnginePath()},
                                              {"preview", CSettings::previewEnginePath()}};
        QCOMPARE(requests.enginePath(),
                 engines.value(engine, QString(engine).replace("{home}", QDir::homePath())));
        QCOMPARE(seen.count, box.isEmpty() ? 0 : 1);
        if (seen.count) {
            QCOMPARE(seen.title + '|' + seen.text, box);
            QVERIFY(seen.hadParent);
            QCOMPARE(seen.buttons,
                     seen.title == "Error!" ? QMessageBox::StandardButtons(QMessageBox::Ok)
                                            : QMessageBox::Ok | QMessageBox::Cancel);
        }
    }

    void runLength_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QList<int>>("length");
        QTest::newRow("engine defaults") << "DATA: x.dat;" << QList<int> {1000, 1000, 2};
        QTest::newRow("commands in any case, without blanks")
            << "burn:200;ITER: 5000;Chains:4;" << QList<int> {200, 5000, 4};
        QTest::newRow("commented out and unusable values keep the defaults")
            << "# BURN: 5;\nBURN: ten;\nITERATIONS: 0;\nCHAINS: -1;" << QList<int> {1000, 1000, 2};
    }
    void runLength()
    {
        QFETCH(QString, script);
        QFETCH(QList<int>, length);
        const PlotRequests::RunLength read = PlotRequests::runLength(script);
        QCOMPARE((QList<int> {read.burn, read.iterations, read.chains}), length);
    }
};

TOVREL_TEST_MAIN(TestEngineRuns)
#include "tst_engineruns.moc"
