#include "testmain.h"

#include "config/csettings.h"
#include "goldentable.h"
#include "modalanswerer.h"
#include "testfiles.h"
#include "workspace/plotrequests.h"
#include "workspace/processhandling.h"

#include <QSettings>
#include <QSignalSpy>

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

    // An empty expected list stands for "keyword not found".
    void engineArguments_data()
    {
        QTest::addColumn<QStringList>("params");
        QTest::addColumn<QString>("keyword");
        QTest::addColumn<QString>("trace");
        QTest::addColumn<QStringList>("expected");
        // clang-format off
        QTest::newRow("only the first keyword is replaced") << QStringList {"$COMMANDS", "-x", "$COMMANDS"} << "$COMMANDS" << "" << QStringList {"a b.imp", "-x", "$COMMANDS", "--output", "o"};
        QTest::newRow("own keyword, trace plots last") << QStringList {"--seed", "%FILE%"} << "%FILE%" << "t d" << QStringList {"--seed", "a b.imp", "--output", "o", "--traceplot", "t d"};
        QTest::newRow("keyword differing in case is not found") << QStringList {"$Commands"} << "$COMMANDS" << "" << QStringList();
        QTest::newRow("keyword missing") << QStringList {"-v"} << "$COMMANDS" << "" << QStringList();
        // clang-format on
    }
    void engineArguments()
    {
        QFETCH(QStringList, params);
        QFETCH(QString, keyword);
        QFETCH(QString, trace);
        QFETCH(QStringList, expected);
        QCOMPARE(ProcessHandling::engineArguments(params, keyword, "a b.imp", "o", trace)
                     .value_or(QStringList()),
                 expected);
    }

    void commandLineReachesTheEngine()
    {
        CSettings::instance().setCommandLineToolName(kEngine);
        CSettings::instance().setCommandLineToolParams({"--verbose", "$COMMANDS"});
        const QString trace = m_dir.filePath("trace plots");
        ProcessHandling runner;
        QSignalSpy started(&runner, &ProcessHandling::did_start);
        QSignalSpy finished(&runner, &ProcessHandling::did_finish);
        writeFile(m_plan, "");
        QVERIFY(runner.run(m_script, m_output, QDir(trace)));
        QVERIFY(finished.wait(kWaitMs));
        QCOMPARE(started.count(), 1);
        // Paths with blanks arrive as single arguments; the engine runs in the studio's folder.
        QCOMPARE(recordedArguments(),
                 QStringList({"--verbose", m_script, "--output", m_output, "--traceplot", trace}));
        QCOMPARE(QDir(recordedFolder()), QDir::current());
    }

    void checksComeInOrder_data()
    {
        QTest::addColumn<bool>("mplus");
        QTest::addColumn<bool>("engineExists");
        QTest::addColumn<QString>("message");
        // clang-format off
        QTest::newRow("engine missing is reported before the script") << false << false << "ERROR: Executable does not exist!\n See '/no/such/tovrel'";
        QTest::newRow("engine present, script missing") << false << true << "ERROR: Syntax File does not exist!";
        QTest::newRow("Mplus missing, without its path") << true << false << "ERROR: Executable does not exist!";
        QTest::newRow("Mplus present, input missing") << true << true << "ERROR: Syntax File does not exist!";
        // clang-format on
    }
    void checksComeInOrder()
    {
        QFETCH(bool, mplus);
        QFETCH(bool, engineExists);
        QFETCH(QString, message);
        const QString executable = engineExists ? kEngine : "/no/such/tovrel";
        const QString missing = m_dir.filePath("missing.imp");
        CSettings::instance().setMplusToolName(executable);
        ProcessHandling runner;
        QSignalSpy errors(&runner, &ProcessHandling::did_sendErr);
        QVERIFY(!(mplus ? runner.runMplus(missing, m_output)
                        : runner.run(executable, missing, m_output)));
        QCOMPARE(errors.count(), 1);
        QCOMPARE(joined(errors), message);
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

    // Pieces, in the shell's octal escapes, are separated by '|'; a pause after each makes the
    // studio read it alone.
    void charactersSplitAcrossReads_data()
    {
        QTest::addColumn<QByteArray>("redirect");
        QTest::addColumn<QByteArray>("pieces");
        QTest::addColumn<QString>("expected");
        // clang-format off
        QTest::newRow("two-byte letter") << QByteArray() << QByteArray("a\\303|\\251b") << QString("a\u00e9b");
        QTest::newRow("three-byte sign cut after two bytes") << QByteArray() << QByteArray("=\\342\\202|\\254") << QString("=\u20ac");
        QTest::newRow("four-byte character in three pieces") << QByteArray() << QByteArray("<\\360|\\237\\230|\\200!") << QString::fromUtf8("<\xF0\x9F\x98\x80!");
        QTest::newRow("standard error keeps its own state") << QByteArray(" >&2") << QByteArray("mean \\316|\\274") << QString("mean \u03bc");
        // clang-format on
    }
    void charactersSplitAcrossReads()
    {
        QFETCH(QByteArray, redirect);
        QFETCH(QByteArray, pieces);
        QFETCH(QString, expected);
        QByteArray plan;
        for (const QByteArray &piece : pieces.split('|'))
            plan += "printf '" + piece + "'" + redirect + "; sleep 0.15\n";
        ProcessHandling runner;
        QSignalSpy out(&runner, &ProcessHandling::did_sendOut);
        QSignalSpy err(&runner, &ProcessHandling::did_sendErr);
        runToEnd(runner, plan);
        const QSignalSpy &chunks = redirect.isEmpty() ? out : err;
        QVERIFY2(chunks.count() > 1, "the pieces should have been read one by one");
        QCOMPARE(joined(chunks), expected);
    }

    void endOfRun_data()
    {
        QTest::addColumn<QByteArray>("plan");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("text");
        // clang-format off
        QTest::newRow("failing run keeps its code") << QByteArray("printf 'ERROR: no data'; exit 3") << 3 << "ERROR: no data";
        QTest::newRow("crash is reported as an error") << QByteArray("printf half; kill -KILL $$") << -1 << "half";
        QTest::newRow("output file written by the engine") << QByteArray("echo RESULTS > \"$OUTPUT\"") << 0 << "";
        // clang-format on
    }
    void endOfRun()
    {
        QFETCH(QByteArray, plan);
        QFETCH(int, exitCode);
        QFETCH(QString, text);
        QFile::remove(m_output);
        ProcessHandling runner;
        QSignalSpy out(&runner, &ProcessHandling::did_sendOut);
        QSignalSpy failed(&runner, &ProcessHandling::did_errorOccur);
        QSignalSpy finished(&runner, &ProcessHandling::did_finish);
        runToEnd(runner, plan);
        QCOMPARE(joined(out), text);
        QCOMPARE(failed.count(), exitCode < 0 ? 1 : 0);
        if (exitCode < 0)
            QCOMPARE(failed.at(0).at(0).value<QProcess::ProcessError>(), QProcess::Crashed);
        else
            QCOMPARE(finished.at(0).at(0).toInt(), exitCode);
        QCOMPARE(readLines(m_output), text.isEmpty() ? QStringList("RESULTS") : QStringList());
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
        QFETCH(QString, plot);
        QFETCH(QString, chains);
        QFETCH(QString, box);
        QFETCH(QString, autoPlot);
        QFETCH(QString, answer);
        QFETCH(QString, engine);
        if (script.startsWith("chains:;"))
            QTest::ignoreMessage(QtDebugMsg, "Cannot parse chains - setting to 1");
        QWidget document;
        SeenBox seen;
        PlotRequests requests(kConfigured, autoPlot == "1");
        {
            ModalAnswerer answerer(clickBox(answer == "ok" ? QMessageBox::Ok : QMessageBox::Cancel,
                                            &seen));
            requests.evaluate(script, &document);
        }
        QCOMPARE(requests.plotThisRun(), plot == "1");
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
};

TOVREL_TEST_MAIN(TestEngineRuns)
#include "tst_engineruns.moc"
