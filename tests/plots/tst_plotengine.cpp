#include "goldentable.h"
#include "tablecell.h"
#include "testfiles.h"
#include "testmain.h"
#include "traceplots.h"

#include "plots/chainsplitter.h"
#include "plots/graphingengine.h"
#include "plots/parameterlabels.h"
#include "plots/plotsettings.h"

#include <QSignalSpy>

#include <algorithm>

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

    // Each row's script for parameter 2: its plot command, and, for one row of each shape, the
    // whole script against a golden file.
    void scriptText_data()
    {
        addTableRows(QFINDTESTDATA("plotscripts.txt"),
                     {"form", "requested", "nchain", "bIter", "eIter", "burn", "golden", "plot",
                      "drawn"});
    }
    void scriptText()
    {
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
        run.engine->setBurnIn(cell("burn").toInt());
        const int requested = cell("requested").toInt();
        QCOMPARE(cell("form") == "plain"
                     ? run.engine->plotDefault("burn", requested)
                     : run.plot(requested, bIter.toInt(), eIter.toInt(), cell("nchain").toInt()),
                 1);
        QVERIFY(run.finished->wait(60000));
        const QString script = QString(run.engine->scripts().value(1))
                                   .replace(run.dir.filePath("trace2.dat"), "{data}")
                                   .replace(run.dir.filePath("plot2.svg"), "{svg}");
        if (cell("golden") != "-")
            QCOMPARE(script, QString(readFile(QFINDTESTDATA("scripts/" + cell("golden")))));
        QCOMPARE(script.section("\nplot ", 1).section('\n', 0, 0), cell("plot"));
        QCOMPARE(isCompleteSvg(run.svg(2)), cell("drawn") == "1");
        QCOMPARE(run.errors->isEmpty(), cell("drawn") == "1"); // a plot not drawn is reported
        QVERIFY(!QFile::exists(run.dir.filePath("trace2.dat"))); // its data goes once drawn
    }

    // The data each plot reads: the parameter's column of every chain, side by side.
    void splitData_data()
    {
        addTableRows(QFINDTESTDATA("splitdata.txt"),
                     {"chain1", "chain2", "parameter", "lines", "expected"});
    }
    void splitData()
    {
        QTemporaryDir dir;
        writeFile(dir.filePath("burn1.csv"), cell("chain1").replace("<CR>", "\r").toUtf8());
        writeFile(dir.filePath("burn2.csv"), cell("chain2").replace("<CR>", "\r").toUtf8());
        ChainSplitter splitter;
        QVERIFY(splitter.open(dir.filePath("burn"), 2, 3));
        QCOMPARE(splitter.lines(), cell("lines").toInt());
        // Before the index (as for the first plot) and after it, the same data.
        QVERIFY(splitter.write(cell("parameter").toInt(), dir.filePath("before.dat")));
        while (!splitter.index(1)) { } // a line at a time
        QVERIFY(splitter.write(cell("parameter").toInt(), dir.filePath("after.dat")));
        QCOMPARE(QString(readFile(dir.filePath("before.dat"))), cell("expected"));
        QCOMPARE(QString(readFile(dir.filePath("after.dat"))), cell("expected"));
    }

    // Plots arrive in parameter order, each complete when announced, though two gnuplots draw
    // them side by side; a plot gnuplot cannot draw is reported by name at the end.
    void plotsArriveInOrder()
    {
        Run run(9, 3, 400);
        // Parameter 5 holds no numbers in any chain: gnuplot cannot draw it.
        for (int c = 1; c <= 3; ++c) {
            QByteArray text = readFile(run.dir.filePath(QString("burn%1.csv").arg(c)));
            QList<QByteArray> lines = text.split('\n');
            for (QByteArray &line : lines) {
                QList<QByteArray> fields = line.split(',');
                if (fields.size() > 5)
                    fields[5] = "x";
                line = fields.join(',');
            }
            writeFile(run.dir.filePath(QString("burn%1.csv").arg(c)), lines.join('\n'));
        }
        QList<int> arrivals;
        connect(run.engine.get(), &GraphingEngine::did_ready, this, [&](int vReady, int vTotal) {
            QCOMPARE(vTotal, 9);
            arrivals << vReady;
            for (int k = 1; k <= vReady; ++k)
                QCOMPARE(isCompleteSvg(run.svg(k)), k != 5);
        });
        run.engine->setParallel(2);
        QCOMPARE(run.plot(3), 1);
        QCOMPARE(run.plot(3), 0); // busy
        QVERIFY(run.finished->wait(60000));
        QCOMPARE(arrivals.last(), 9);
        QVERIFY(std::is_sorted(arrivals.begin(), arrivals.end()));
        QCOMPARE(run.finished->size(), 1);
        QCOMPARE(run.finished->at(0).at(0).toInt(), 0); // the last plot was drawn
        QCOMPARE(run.errors->size(), 1);
        QVERIFY2(run.errors->at(0).at(0).toString().contains(
                     "1 of the 9 plots (plot 5: Y5 regressed on X)"),
                 qPrintable(run.errors->at(0).at(0).toString()));
        QVERIFY(run.svg(9).contains(">Parameter 9<") && run.svg(9).contains("Chain 3"));
        QVERIFY(QDir(run.dir.path()).entryList({"*.dat"}) == QStringList("labels.dat"));
    }

    // A label with quotes and a backslash is drawn as it stands.
    void labelsNeedNoEscapingByTheUser()
    {
        Run run(1, 1, 100, {"o'brien \"q\" a\\b"});
        QCOMPARE(run.plot(1), 1);
        QVERIFY(run.finished->wait(60000));
        QVERIFY(run.errors->isEmpty());
        QVERIFY(run.svg(1).contains("O&apos;BRIEN") || run.svg(1).contains("O'BRIEN"));
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
