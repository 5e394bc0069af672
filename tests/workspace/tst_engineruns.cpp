#include "testmain.h"

#include "config/csettings.h"
#include "modalanswerer.h"
#include "workspace/plotrequests.h"
#include "workspace/processhandling.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>

Q_DECLARE_METATYPE(QProcess::ProcessError)

namespace {

constexpr int kWaitMs = 20000;

QString engine()
{
    return QStringLiteral(TOVREL_TEST_ENGINE);
}

void writeFile(const QString &vPath, const QByteArray &vContents)
{
    QFile file(vPath);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(vPath));
    file.write(vContents);
}

QStringList readLines(const QString &vPath)
{
    QFile file(vPath);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

QString joinedSignalText(const QSignalSpy &vSpy)
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

private:
    QTemporaryDir m_dir;
    QString m_script;
    QString m_output;
    QString m_record;
    QString m_plan;

    // Steps for the stand-in engine of the next run.
    void plan(const QByteArray &vSteps) { writeFile(m_plan, vSteps); }
    QStringList recordedArguments() { return readLines(m_record).mid(1); }
    QString recordedFolder() { return readLines(m_record).value(0); }

private Q_SLOTS:
    void initTestCase()
    {
        qRegisterMetaType<QProcess::ProcessError>();
        QVERIFY(m_dir.isValid());
        QVERIFY(QFileInfo(engine()).isExecutable());
        QDir(m_dir.path()).mkpath(QStringLiteral("my scripts"));
        m_script = m_dir.filePath(QStringLiteral("my scripts/model one.imp"));
        m_output = m_dir.filePath(QStringLiteral("my scripts/model one.tovrel-out"));
        m_record = m_dir.filePath(QStringLiteral("arguments.txt"));
        m_plan = m_dir.filePath(QStringLiteral("plan.txt"));
        writeFile(m_script, "DATA: x.dat;\n");
        qputenv("TESTENGINE_RECORD", QFile::encodeName(m_record));
        qputenv("TESTENGINE_PLAN", QFile::encodeName(m_plan));
    }

    void init()
    {
        QSettings().clear();
        QFile::remove(m_record);
        plan("");
    }

    // ---- the engine's command line -------------------------------------------------------

    void commandLine_data()
    {
        QTest::addColumn<QStringList>("params");
        QTest::addColumn<QString>("keyword");
        QTest::addColumn<bool>("tracePlots");
        QTest::addColumn<bool>("engineFromSettings");
        QTest::addColumn<QStringList>("expected");

        // SCRIPT, OUT and TRACE stand for the paths of the run.
        QTest::newRow("nothing stored: script first")
            << QStringList() << QString() << false << false
            << QStringList {"SCRIPT", "--output", "OUT"};
        QTest::newRow("nothing stored, with trace plots")
            << QStringList() << QString() << true << false
            << QStringList {"SCRIPT", "--output", "OUT", "--traceplot", "TRACE"};
        QTest::newRow("option before keyword, blanks stay inside arguments")
            << QStringList {"--verbose", "$COMMANDS"} << QString() << true << false
            << QStringList {"--verbose", "SCRIPT", "--output", "OUT", "--traceplot", "TRACE"};
        QTest::newRow("keyword twice: only the first replaced")
            << QStringList {"$COMMANDS", "-x", "$COMMANDS"} << QString() << false << false
            << QStringList {"SCRIPT", "-x", "$COMMANDS", "--output", "OUT"};
        QTest::newRow("keyword in another case is not found, so it is put in front")
            << QStringList {"$commands", "-q"} << QString() << false << false
            << QStringList {"SCRIPT", "$commands", "-q", "--output", "OUT"};
        QTest::newRow("own keyword")
            << QStringList {"--seed", "7", "%FILE%"} << QStringLiteral("%FILE%") << false << false
            << QStringList {"--seed", "7", "SCRIPT", "--output", "OUT"};
        QTest::newRow("engine from settings") << QStringList {"$COMMANDS"} << QString() << false
                                              << true << QStringList {"SCRIPT", "--output", "OUT"};
        QTest::newRow("engine from settings, with trace plots")
            << QStringList {"$COMMANDS"} << QString() << true << true
            << QStringList {"SCRIPT", "--output", "OUT", "--traceplot", "TRACE"};
    }
    void commandLine()
    {
        QFETCH(QStringList, params);
        QFETCH(QString, keyword);
        QFETCH(bool, tracePlots);
        QFETCH(bool, engineFromSettings);
        QFETCH(QStringList, expected);

        CSettings &settings = CSettings::instance();
        if (!params.isEmpty())
            settings.setCommandLineToolParams(params);
        if (!keyword.isEmpty())
            settings.setCommandsFileKeyword(keyword);
        settings.setCommandLineToolName(engine());
        const QString trace = m_dir.filePath(QStringLiteral("trace plots"));

        ProcessHandling runner;
        QSignalSpy started(&runner, &ProcessHandling::did_start);
        QSignalSpy finished(&runner, &ProcessHandling::did_finish);
        bool asked = false;
        if (engineFromSettings && tracePlots)
            asked = runner.run(m_script, m_output, QDir(trace));
        else if (engineFromSettings)
            asked = runner.run(m_script, m_output);
        else if (tracePlots)
            asked = runner.run(engine(), m_script, m_output, trace);
        else
            asked = runner.run(engine(), m_script, m_output);
        QVERIFY(asked);
        QVERIFY(finished.wait(kWaitMs));
        QCOMPARE(started.count(), 1);
        QCOMPARE(finished.at(0).at(0).toInt(), 0);

        expected.replaceInStrings(QRegularExpression("^SCRIPT$"), m_script);
        expected.replaceInStrings(QRegularExpression("^OUT$"), m_output);
        expected.replaceInStrings(QRegularExpression("^TRACE$"), trace);
        QCOMPARE(recordedArguments(), expected);
        // No working folder is set for the engine: it inherits the studio's.
        QCOMPARE(QDir(recordedFolder()), QDir(QDir::currentPath()));
    }

    void keywordMissingFromList()
    {
        QVERIFY(!ProcessHandling::engineArguments({"-v"}, "$COMMANDS", "s", "o").has_value());
        QVERIFY(!ProcessHandling::engineArguments({"$Commands"}, "$COMMANDS", "s", "o"));
        QCOMPARE(*ProcessHandling::engineArguments({"$COMMANDS"}, "$COMMANDS", "a b", "o"),
                 QStringList({"a b", "--output", "o"}));
    }

    void checksComeInOrder_data()
    {
        QTest::addColumn<bool>("mplus");
        QTest::addColumn<bool>("engineExists");
        QTest::addColumn<bool>("scriptExists");
        QTest::addColumn<QString>("message");

        const QString missingEngine = "/no/such/folder/tovrel";
        QTest::newRow("engine missing is reported before the script")
            << false << false << false
            << "ERROR: Executable does not exist!\n See '" + missingEngine + "'";
        QTest::newRow("engine present, script missing")
            << false << true << false << "ERROR: Syntax File does not exist!";
        QTest::newRow("Mplus missing, without its path")
            << true << false << false << "ERROR: Executable does not exist!";
        QTest::newRow("Mplus present, input missing")
            << true << true << false << "ERROR: Syntax File does not exist!";
    }
    void checksComeInOrder()
    {
        QFETCH(bool, mplus);
        QFETCH(bool, engineExists);
        QFETCH(bool, scriptExists);
        QFETCH(QString, message);

        const QString executable = engineExists ? engine() : "/no/such/folder/tovrel";
        const QString script = scriptExists ? m_script : m_dir.filePath("missing.imp");
        CSettings::instance().setMplusToolName(executable);
        ProcessHandling runner;
        QSignalSpy errors(&runner, &ProcessHandling::did_sendErr);
        QSignalSpy started(&runner, &ProcessHandling::did_start);
        const bool asked
            = mplus ? runner.runMplus(script, m_output) : runner.run(executable, script, m_output);
        QVERIFY(!asked);
        QCOMPARE(errors.count(), 1);
        QCOMPARE(errors.at(0).at(0).toString(), message);
        QCOMPARE(runner.process()->state(), QProcess::NotRunning);
        QTest::qWait(50);
        QCOMPARE(started.count(), 0);
        QVERIFY(!QFile::exists(m_record));
    }

    void mplusRunsInTheInputFolder()
    {
        CSettings::instance().setMplusToolName(engine());
        CSettings::instance().setCommandLineToolParams({"--ignored", "$COMMANDS"});
        const QString input = m_dir.filePath(QStringLiteral("my scripts/path model.inp"));
        const QString output = m_dir.filePath(QStringLiteral("my scripts/path model.out"));
        writeFile(input, "TITLE: x;\n");
        ProcessHandling runner;
        QSignalSpy finished(&runner, &ProcessHandling::did_finish);
        QVERIFY(runner.runMplus(input, output));
        QVERIFY(finished.wait(kWaitMs));
        QCOMPARE(recordedArguments(), QStringList({input, output}));
        QCOMPARE(QDir(recordedFolder()), QFileInfo(input).absoluteDir());

        // The next engine run of the same runner goes back to the studio's folder.
        QVERIFY(runner.run(engine(), m_script, m_output));
        QVERIFY(finished.wait(kWaitMs));
        QCOMPARE(QDir(recordedFolder()), QDir(QDir::currentPath()));
    }

    // ---- what the engine writes ------------------------------------------------------------

    void charactersSplitAcrossReads_data()
    {
        QTest::addColumn<QByteArray>("stream");
        QTest::addColumn<QByteArray>("steps");
        QTest::addColumn<QString>("expected");

        // Pieces are separated by '|'; each is flushed and followed by a pause, so the studio
        // reads it on its own.
        QTest::newRow("two-byte letter on standard output")
            << QByteArray("out") << QByteArray("a\\xC3|\\xA9b\\n") << QString("a\u00e9b\n");
        QTest::newRow("three-byte sign cut after one byte")
            << QByteArray("out") << QByteArray("x\\xE2|\\x82\\xACy") << QString("x\u20acy");
        QTest::newRow("three-byte sign cut after two bytes")
            << QByteArray("out") << QByteArray("=\\xE2\\x82|\\xAC") << QString("=\u20ac");
        QTest::newRow("four-byte character in three pieces")
            << QByteArray("out") << QByteArray("<\\xF0|\\x9F\\x98|\\x80!")
            << QString::fromUtf8("<\xF0\x9F\x98\x80!");
        QTest::newRow("standard error keeps its own state")
            << QByteArray("err") << QByteArray("mean \\xCE|\\xBC = 0.5\\n")
            << QString("mean \u03bc = 0.5\n");
    }
    void charactersSplitAcrossReads()
    {
        QFETCH(QByteArray, stream);
        QFETCH(QByteArray, steps);
        QFETCH(QString, expected);

        QByteArray text;
        for (const QByteArray &piece : steps.split('|'))
            text += stream + ' ' + piece + "\nsleep 150\n";
        plan(text);
        ProcessHandling runner;
        QSignalSpy out(&runner, &ProcessHandling::did_sendOut);
        QSignalSpy err(&runner, &ProcessHandling::did_sendErr);
        QSignalSpy finished(&runner, &ProcessHandling::did_finish);
        QVERIFY(runner.run(engine(), m_script, m_output));
        QVERIFY(finished.wait(kWaitMs));
        const QSignalSpy &chunks = stream == "out" ? out : err;
        QCOMPARE(joinedSignalText(chunks), expected);
        QVERIFY2(chunks.count() > 1, "the pieces should have been read one by one");
        for (const QList<QVariant> &chunk : chunks)
            QVERIFY(!chunk.at(0).toString().contains(QChar::ReplacementCharacter));
    }

    void endOfRun_data()
    {
        QTest::addColumn<QByteArray>("steps");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<bool>("crashed");
        QTest::addColumn<QString>("output");

        QTest::newRow("clean run") << QByteArray("out done\\n\nexit 0\n") << 0 << false << "done\n";
        QTest::newRow("failing run keeps its code")
            << QByteArray("out ERROR: no data\\n\nexit 3\n") << 3 << false << "ERROR: no data\n";
        QTest::newRow("crash is reported as an error")
            << QByteArray("out half\ncrash\n") << -1 << true << "half";
        QTest::newRow("output file written by the engine")
            << QByteArray("output RESULTS\\n\nexit 0\n") << 0 << false << QString();
    }
    void endOfRun()
    {
        QFETCH(QByteArray, steps);
        QFETCH(int, exitCode);
        QFETCH(bool, crashed);
        QFETCH(QString, output);

        QFile::remove(m_output);
        plan(steps);
        ProcessHandling runner;
        QSignalSpy out(&runner, &ProcessHandling::did_sendOut);
        QSignalSpy failed(&runner, &ProcessHandling::did_errorOccur);
        QSignalSpy finished(&runner, &ProcessHandling::did_finish);
        QVERIFY(runner.run(engine(), m_script, m_output));
        QVERIFY(finished.wait(kWaitMs));
        QCOMPARE(joinedSignalText(out), output);
        if (crashed) {
            QCOMPARE(failed.count(), 1);
            QCOMPARE(failed.at(0).at(0).value<QProcess::ProcessError>(), QProcess::Crashed);
        } else {
            QCOMPARE(failed.count(), 0);
            QCOMPARE(finished.at(0).at(0).toInt(), exitCode);
        }
        if (steps.startsWith("output"))
            QCOMPARE(readLines(m_output), QStringList({"RESULTS"}));
    }

    void stopKillsAtOnce()
    {
        plan("out running\\n\nsleep 60000\nout never\\n\n");
        ProcessHandling runner;
        QSignalSpy out(&runner, &ProcessHandling::did_sendOut);
        QSignalSpy failed(&runner, &ProcessHandling::did_errorOccur);
        QSignalSpy finished(&runner, &ProcessHandling::did_finish);
        QVERIFY(runner.run(engine(), m_script, m_output));
        QVERIFY(out.wait(kWaitMs));
        runner.stop();
        QVERIFY(finished.wait(kWaitMs));
        QCOMPARE(failed.count(), 1);
        QCOMPARE(failed.at(0).at(0).value<QProcess::ProcessError>(), QProcess::Crashed);
        QCOMPARE(runner.process()->exitStatus(), QProcess::CrashExit);
        QCOMPARE(joinedSignalText(out), QString("running\n"));
    }

    void programThatCannotStart()
    {
        const QString notAProgram = m_dir.filePath(QStringLiteral("not a program"));
        writeFile(notAProgram, "plain text\n");
        QFile::setPermissions(notAProgram, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        ProcessHandling runner;
        QSignalSpy failed(&runner, &ProcessHandling::did_errorOccur);
        QVERIFY(runner.run(notAProgram, m_script, m_output));
        QVERIFY(failed.count() > 0 || failed.wait(kWaitMs));
        QCOMPARE(failed.at(0).at(0).value<QProcess::ProcessError>(), QProcess::FailedToStart);
    }

    void closingDuringARunEndsTheEngine()
    {
        plan("out running\\n\nsleep 60000\n");
        auto *runner = new ProcessHandling;
        QSignalSpy out(runner, &ProcessHandling::did_sendOut);
        QVERIFY(runner->run(engine(), m_script, m_output));
        QVERIFY(out.wait(kWaitMs));
        const qint64 pid = runner->process()->processId();
        QVERIFY(pid > 0);
        delete runner;
#ifdef Q_OS_LINUX
        // The engine is gone, not left running behind a closed document.
        QVERIFY(!QFileInfo::exists(QStringLiteral("/proc/%1").arg(pid)));
#endif
    }

    // ---- what a script asks of its run ---------------------------------------------------

    void plotRequests_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<bool>("autoPlot");
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("plot");
        QTest::addColumn<int>("chains");
        QTest::addColumn<QString>("boxTitle");
        QTest::addColumn<QString>("boxText");

        const int ok = QMessageBox::Ok;
        const int cancel = QMessageBox::Cancel;
        const QString bygroupError = "The PLOT command is unavaiable with the BYGROUP command.";
        const QString bygroupQuestion
            = "The PLOT command is unavaiable with the BYGROUP command.\nContinue without "
              "plotting?";

        QTest::newRow("upper case plot command") << "DATA: x.dat;\nPLOTS: traceplot;" << false << ok
                                                 << true << 2 << QString() << QString();
        QTest::newRow("colon without blank")
            << "plots:traceplot;" << false << ok << true << 2 << QString() << QString();
        QTest::newRow("singular command, plural value, tab")
            << "Plot:\tTRACEPLOTS;" << false << ok << true << 2 << QString() << QString();
        QTest::newRow("unknown plot keyword stops at it")
            << "plots: traceplot psr;\nchains: 5;" << false << ok << true << 2 << "Error!"
            << "Plot keyword not recognized.\nOffending specification: \"psr\"";
        QTest::newRow("bygroup before plots is an error")
            << "bygroup: school;\nplots: traceplot;" << false << ok << false << 2 << "Error!"
            << bygroupError;
        QTest::newRow("bygroup after plots asks, OK drops plotting")
            << "plots: traceplot;\nbygroup: school;\nchains: 3;" << false << ok << false << 3
            << "Warning!" << bygroupQuestion;
        QTest::newRow("bygroup after plots asks, Cancel stops with plotting on")
            << "plots: traceplot;\nbygroup: school;\nchains: 3;" << false << cancel << true << 2
            << "Warning!" << bygroupQuestion;
        QTest::newRow("bygroup with auto plot on asks too")
            << "bygroup: school;" << true << ok << false << 2 << "Warning!" << bygroupQuestion;
        QTest::newRow("bygroup without plotting asks nothing")
            << "bygroup: school;" << false << ok << false << 2 << QString() << QString();
        QTest::newRow("chain count")
            << "chains: 4;" << false << ok << false << 4 << QString() << QString();
        QTest::newRow("chain count in words reads as zero")
            << "CHAINS: four;" << false << ok << false << 0 << QString() << QString();
        QTest::newRow("singular chain command")
            << "chain:3;" << false << ok << false << 3 << QString() << QString();
        QTest::newRow("empty chain command keeps two")
            << "chains:;" << false << ok << false << 2 << QString() << QString();
        QTest::newRow("psr after a chain count keeps the count")
            << "chains: 4;\noptions: psr;" << false << ok << false << 4 << QString() << QString();
        QTest::newRow("plot request inside a comment")
            << "# plots: traceplot\nDATA: x.dat;" << false << ok << false << 2 << QString()
            << QString();
        QTest::newRow("comment after a command")
            << "DATA: x.dat; # plots: traceplot\nchains: 3;" << false << ok << false << 3
            << QString() << QString();
        QTest::newRow("no plot command keeps auto plot")
            << "DATA: x.dat;\nMODEL: y ~ x;" << true << ok << true << 2 << QString() << QString();
        QTest::newRow("plot word as a value of another command")
            << "MODEL: traceplot ~ x;" << false << ok << false << 2 << QString() << QString();
    }
    void plotRequests()
    {
        QFETCH(QString, script);
        QFETCH(bool, autoPlot);
        QFETCH(int, answer);
        QFETCH(bool, plot);
        QFETCH(int, chains);
        QFETCH(QString, boxTitle);
        QFETCH(QString, boxText);

        if (script.startsWith(QLatin1String("chains:;")))
            QTest::ignoreMessage(QtDebugMsg, "Cannot parse chains - setting to 1");
        QWidget document;
        SeenBox seen;
        PlotRequests requests("/opt/tovrel/tovrel", autoPlot);
        {
            ModalAnswerer answerer(clickBox(QMessageBox::StandardButton(answer), &seen));
            requests.evaluate(script, &document);
        }
        QCOMPARE(requests.plotThisRun(), plot);
        QCOMPARE(requests.requestedChains(), chains);
        QCOMPARE(requests.enginePath(), QString("/opt/tovrel/tovrel"));
        QCOMPARE(seen.count, boxTitle.isEmpty() ? 0 : 1);
        QCOMPARE(seen.title, boxTitle);
        QCOMPARE(seen.text, boxText);
        if (seen.count) {
            QVERIFY(seen.hadParent);
            QCOMPARE(seen.buttons,
                     boxTitle == "Error!" ? QMessageBox::StandardButtons(QMessageBox::Ok)
                                          : QMessageBox::Ok | QMessageBox::Cancel);
        }
    }

    void engineLine_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("expected");

        const QString home = QDir::homePath();
        QTest::newRow("no engine line") << "DATA: x.dat;"
                                        << "CONFIGURED";
        QTest::newRow("preview") << "#! preview\nDATA: x.dat;"
                                 << "PREVIEW";
        QTest::newRow("beta without blank") << "#!BETA\nDATA: x.dat;"
                                            << "PREVIEW";
        QTest::newRow("base") << "#! base\n"
                              << "STABLE";
        QTest::newRow("stable, only line") << "#!  Stable  "
                                           << "STABLE";
        QTest::newRow("path under home")
            << "#! ~/engines/tovrel\nDATA: x.dat;" << home + "/engines/tovrel";
        QTest::newRow("home alone") << "#! ~" << home;
        QTest::newRow("another user's home is a plain path") << "#! ~ann/tovrel"
                                                             << "~ann/tovrel";
        QTest::newRow("absolute path with blanks") << "#! /opt/my engines/tovrel\n"
                                                   << "/opt/my engines/tovrel";
        QTest::newRow("colon in the path gains a blank") << "#! C:/engines/tovrel.exe\n"
                                                         << "C: /engines/tovrel.exe";
        QTest::newRow("engine line not first") << "DATA: x.dat;\n#! beta\n"
                                               << "CONFIGURED";
        QTest::newRow("engine line does not hide the commands")
            << "#! beta\nchains: 4;\nplots: traceplot;"
            << "PREVIEW";
    }
    void engineLine()
    {
        QFETCH(QString, script);
        QFETCH(QString, expected);

        if (expected == "CONFIGURED")
            expected = "/opt/tovrel/tovrel";
        else if (expected == "STABLE")
            expected = CSettings::stableEnginePath();
        else if (expected == "PREVIEW")
            expected = CSettings::previewEnginePath();
        PlotRequests requests("/opt/tovrel/tovrel", false);
        requests.evaluate(script, nullptr);
        QCOMPARE(requests.enginePath(), expected);
        if (script.contains("chains: 4")) {
            QCOMPARE(requests.requestedChains(), 4);
            QVERIFY(requests.plotThisRun());
        }
    }
};

TOVREL_TEST_MAIN(TestEngineRuns)
#include "tst_engineruns.moc"
