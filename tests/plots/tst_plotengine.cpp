#include "goldentable.h"
#include "tablecell.h"
#include "testfiles.h"
#include "testmain.h"
#include "traceplots.h"

#include "plots/graphingengine.h"
#include "plots/parameterlabels.h"
#include "plots/plotsettings.h"

#include <QSignalSpy>

#include <memory>

namespace {

bool isCompleteSvg(const QByteArray &vSvg)
{
    return vSvg.contains("<svg") && vSvg.trimmed().endsWith("</svg>");
}

// Chain files "burn<c>.csv" in a folder, a labels record "<owner>" "Beta" "x" per parameter
// (owners y1, y2, ... unless given), and an engine on the folder.
struct Run
{
    Run(int vParameters, int vChains, int vIterations, QStringList vOwners = {})
    {
        TracePlots::writeTraces(dir.path(), vParameters, vChains, vIterations);
        QByteArray labels = "\"Variable\" \"Type\" \"Argument\"\n";
        for (int k = 1; k <= vParameters; ++k)
            labels += "\"" + vOwners.value(k - 1, QString("y%1").arg(k)).toUtf8()
                + "\" \"Beta\" \"x\"\n";
        writeFile(dir.filePath("labels.dat"), labels);
        makeEngine();
    }
    void makeEngine()
    {
        engine = std::make_unique<GraphingEngine>(nullptr, dir.path());
        finished = std::make_unique<QSignalSpy>(engine.get(), &GraphingEngine::did_finish);
        errors = std::make_unique<QSignalSpy>(engine.get(), &GraphingEngine::did_sendErr);
    }
    // The panel's bIter, eIter and nchain (-1 is "Max") at 640 by 300 pixels.
    int plot(int vChains, int vBIter = 1, int vEIter = -1, int vNchain = -1,
             const QString &vBase = "burn")
    {
        const PlotSettings panel(nullptr,
                                 {{"bIter", vBIter},
                                  {"eIter", vEIter},
                                  {"nchain", vNchain},
                                  {"width", 640},
                                  {"height", 300}});
        return engine->plot(vBase, vChains, &panel);
    }
    QByteArray svg(int vParameter) const
    {
        return readFile(dir.filePath(QStringLiteral("plot%1.svg").arg(vParameter)));
    }
    QTemporaryDir dir;
    std::unique_ptr<GraphingEngine> engine;
    std::unique_ptr<QSignalSpy> finished, errors;
};

} // namespace

class TestPlotEngine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void labelText_data()
    {
        addTableRows(QFINDTESTDATA("labels.txt"), {"type", "argument", "expected"});
    }

    void labelText()
    {
        const QString line
            = QStringLiteral("\"y\" \"%1\" \"%2\"").arg(cell("type"), cell("argument"));
        QCOMPARE(ParameterLabels::label(line, 3), cell("expected") + "\nParameter 3");
    }

    void readLabels_data()
    {
        QTest::addColumn<QByteArray>("records"); // after the header; null: no file
        QTest::addColumn<QStringList>("expected");
        row("missing file", QByteArray(), QStringList());
        row("numbered from one, blank lines skipped",
            QByteArray("\"y\" \"Beta\" \"x\"\n\n  \n\"z\" \"R2\" \"A\"\n"),
            QStringList {"Y regressed on X\nParameter 1",
                         "Z: Proportion of variance explained by A\nParameter 2"});
        row("windows line ends, no final line end, utf-8, blanks tidied",
            QByteArray(
                "\"  my   é \" \"Beta\" \"Intercept\"\r\n\"y\" \"Beta\"\n\"y\" \"Beta\" \"ø\""),
            QStringList {"MY É intercept\nParameter 1", "Y\nParameter 2",
                         "Y regressed on Ø\nParameter 3"});
    }
    void readLabels()
    {
        QFETCH(QByteArray, records);
        QFETCH(QStringList, expected);
        QTemporaryDir dir;
        if (!records.isNull())
            writeFile(dir.filePath("labels.dat"), "\"Beta\" \"Intercept\" \"x\"\n" + records);
        QCOMPARE(GraphingEngine(nullptr, dir.path()).labels(), expected);
    }

    void scriptText_data()
    {
        addTableRows(QFINDTESTDATA("plotscripts.txt"),
                     {"form", "requested", "nchain", "bIter", "eIter", "script", "drawn"});
    }
    void scriptText()
    {
        QFETCH(QString, requested);
        QFETCH(QString, nchain);
        QFETCH(QString, script);
        QFETCH(QString, drawn);
        QFETCH(QString, bIter);
        QFETCH(QString, eIter);
        Run run(2, 4, 1000);
        // Asking for more iterations than the data has is corrected and logged only.
        if (bIter.toInt() >= 1000)
            QTest::ignoreMessage(QtDebugMsg,
                                 "Error! Beginning iterations is greater than requested "
                                 "iterations. Defaulting to 1.");
        if (eIter.toInt() >= 1000)
            QTest::ignoreMessage(QtDebugMsg,
                                 "Error! Ending iterations is greater than requested iterations. "
                                 "Defaulting to Max iter.");
        QCOMPARE(cell("form") == "plain"
                     ? run.engine->plotDefault("burn", requested.toInt())
                     : run.plot(requested.toInt(), bIter.toInt(), eIter.toInt(), nchain.toInt()),
                 1);
        QVERIFY(run.finished->wait(60000));
        QCOMPARE(run.engine->scripts().value(1),
                 script.replace("{base}", run.dir.filePath("burn")));
        QCOMPARE(run.finished->at(0).at(0).toInt() == 0, drawn == "1");
        QCOMPARE(isCompleteSvg(run.svg(2)), drawn == "1");
        QCOMPARE(run.errors->isEmpty(), drawn == "1"); // a plot not drawn is reported
    }

    void imageNumberFollowsParameter()
    {
        Run run(12, 2, 50);
        QCOMPARE(run.plot(2), 1);
        QCOMPARE(run.plot(2), 0); // busy
        QVERIFY(run.finished->wait(60000));
        QTest::qWait(50); // a second end signal would arrive here
        QCOMPARE(run.finished->size(), 1);
        QVERIFY(!run.engine->isBusy());
        for (int k = 1; k <= 12; ++k) {
            const QByteArray svg = run.svg(k);
            QVERIFY2(isCompleteSvg(svg)
                         && svg.contains(QString("Y%1 regressed on X").arg(k).toUtf8())
                         && svg.contains(QString(">Parameter %1<").arg(k).toUtf8()),
                     qPrintable(QString::number(k)));
        }
        QVERIFY(run.svg(13).isEmpty());
    }

    void apostropheBreaksOnlyItsOwnRun()
    {
        Run run(3, 1, 100, {"before", "o'brien", "after"});
        QCOMPARE(run.plot(1), 1);
        QVERIFY(run.finished->wait(60000));
        QCOMPARE(run.finished->size(), 1);
        QCOMPARE(run.finished->at(0).at(0).toInt(), 0); // the last run's exit code
        QCOMPARE(run.errors->size(), 1); // the failure is reported once, by name
        QVERIFY2(run.errors->at(0).at(0).toString().contains(
                     "1 of the 3 plots (plot 2: O'BRIEN regressed on X)"),
                 qPrintable(run.errors->at(0).at(0).toString()));
        QVERIFY(isCompleteSvg(run.svg(1)) && !isCompleteSvg(run.svg(2)));
        QVERIFY(run.svg(3).contains("AFTER regressed on X"));
    }

    void requestsWithoutRuns_data()
    {
        addTableRows(QFINDTESTDATA("refusals.txt"),
                     {"form", "fileBase", "missing", "result", "message"});
    }
    void requestsWithoutRuns()
    {
        QFETCH(QString, fileBase);
        QFETCH(QString, missing);
        QFETCH(QString, message);
        Run run(1, 1, 10);
        if (missing == "labels" && QFile::remove(run.dir.filePath("labels.dat")))
            run.makeEngine();
        const QByteArray path = qgetenv("PATH");
        if (missing == "gnuplot")
            qputenv("PATH", run.dir.path().toLocal8Bit());
        const int result = cell("form") == "plain" ? run.engine->plotDefault(fileBase, 1)
                                                   : run.plot(1, 1, -1, -1, fileBase);
        qputenv("PATH", path);
        QTEST(QString::number(result), "result");
        QCOMPARE(run.errors->size(), message.isEmpty() ? 0 : 1);
        QVERIFY(run.errors->isEmpty() || run.errors->at(0).at(0).toString().startsWith(message));
        QTest::qWait(100);
        QVERIFY(run.finished->isEmpty() && run.svg(1).isEmpty());
    }

    void destroyedWhileRunning()
    {
        Run run(5, 2, 2000);
        QCOMPARE(run.plot(2), 1);
        // A document closed mid-plot: its gnuplot goes with it, nothing reports to the dead object.
        run.errors.reset();
        run.finished.reset();
        run.engine.reset();
        QTest::qWait(200);
        QVERIFY(run.svg(5).isEmpty());
    }
};

TOVREL_TEST_MAIN(TestPlotEngine)
#include "tst_plotengine.moc"
