#include "testmain.h"

#include "plots/graphingengine.h"
#include "plots/parameterlabels.h"
#include "plots/plotscript.h"
#include "plots/plotsettings.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <memory>

namespace {

const int kWaitMs = 60000;

void writeFile(const QString &vPath, const QByteArray &vContents)
{
    QFile file(vPath);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(vContents);
}

// Chain files base1.csv ... with vIterations lines of "iteration,p1,p2,...": parameter k of
// chain c wanders around 10 * k so that every column draws a distinct trace.
void writeChains(const QString &vDir, int vChains, int vIterations, int vParameters,
                 const QString &vBase = QStringLiteral("burn"))
{
    for (int chain = 1; chain <= vChains; ++chain) {
        QByteArray text;
        for (int i = 1; i <= vIterations; ++i) {
            text += QByteArray::number(i);
            for (int k = 1; k <= vParameters; ++k)
                text += ',' + QByteArray::number(10 * k + chain + (i * k) % 7 * 0.25);
            text += '\n';
        }
        writeFile(vDir + '/' + vBase + QString::number(chain) + ".csv", text);
    }
}

// A labels file with a header and one "Y<k>" regression record per parameter.
void writeLabels(const QString &vDir, const QStringList &vOwners)
{
    QByteArray text = "\"Variable\" \"Type\" \"Argument\"\n";
    for (const QString &owner : vOwners)
        text += "\"" + owner.toUtf8() + "\" \"Beta\" \"x\"\n";
    writeFile(vDir + "/labels.dat", text);
}

QStringList owners(int vCount)
{
    QStringList list;
    for (int k = 1; k <= vCount; ++k)
        list << QStringLiteral("y%1").arg(k);
    return list;
}

QVariantMap panelValues(int vBIter, int vEIter, int vNchain, int vWidth = 900, int vHeight = 400)
{
    return {{"bIter", vBIter},
            {"eIter", vEIter},
            {"nchain", vNchain},
            {"width", vWidth},
            {"height", vHeight}};
}

QByteArray readAll(const QString &vPath)
{
    QFile file(vPath);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool isCompleteSvg(const QByteArray &vSvg)
{
    return vSvg.contains("<svg") && vSvg.trimmed().endsWith("</svg>");
}

const QString kFixed
    = QStringLiteral("set datafile separator ','; set encoding utf8;set terminal svg size "
                     "%1 dynamic background rgb 'white'; set title '%2' noenhanced;set ylabel "
                     "'Estimate'; set xlabel 'Iterations'; set key off; set grid; ");
const QString kMany = QStringLiteral("plot for [i=1:%1] '%2'.i.'.csv' %3using 1:%4 with lines "
                                     "lw 1 lt i title 'Chain '.i;");
const QString kOne = QStringLiteral("plot '%1' %2using 1:%3 with lines lw 2 lt -1");
const QString kFullRange = QStringLiteral("set xrange[1:]; set xtics add; ");

} // namespace

class TestPlotEngine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void labelText_data();
    void labelText();
    void readLabels_data();
    void readLabels();

    void scriptText_data();
    void scriptText();
    void defaultScriptText_data();
    void defaultScriptText();

    void chainsAndRange_data();
    void chainsAndRange();
    void imageNumberFollowsParameter();
    void apostropheBreaksOnlyItsOwnRun();
    void plotDefaultRunsAllParameters();
    void refusedRequests_data();
    void refusedRequests();
    void missingGnuplotIsReported();
    void secondRequestWhileBusyIsRefused();
    void noLabelsNoRuns();
    void destroyedWhileRunning();
};

void TestPlotEngine::labelText_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("expected");

    QTest::newRow("beta intercept") << "Beta"
                                    << "Intercept"
                                    << "Y intercept";
    QTest::newRow("beta predictor upper-cased") << "Beta"
                                                << "x1"
                                                << "Y regressed on X1";
    QTest::newRow("standardized beta") << "Standardized Beta"
                                       << "x1"
                                       << "Y regressed on (standardized) X1";
    QTest::newRow("intercept row is for beta only") << "Standardized Beta"
                                                    << "Intercept"
                                                    << "Y regressed on (standardized) INTERCEPT";
    QTest::newRow("odds ratio") << "Odds Ratio"
                                << "Intercept"
                                << "Y regressed on (odds ratio) INTERCEPT";
    QTest::newRow("r2 argument keeps its case")
        << "R2"
        << "Predictors"
        << "Y: Proportion of variance explained by Predictors";
    QTest::newRow("level residual variance") << "Level-1"
                                             << "Residual Var."
                                             << "Y level-1 residual variance";
    QTest::newRow("level regression") << "Level-2"
                                      << "#1 ~ x"
                                      << "Y#1 regressed on X at level-2";
    QTest::newRow("level regression without number") << "Level-2"
                                                     << "# ~ x"
                                                     << "Y# regressed on X at level-2";
    QTest::newRow("level variance") << "Level-2"
                                    << "Var(#1)"
                                    << "Y#1 level-2 residual variance";
    QTest::newRow("level covariance replaces the title")
        << "Level-2"
        << "Cov(#1,#2)"
        << "Level-2 residual covariance between Y#1 and Y#2";
    QTest::newRow("level type contained in a longer code")
        << "Within Level-3"
        << "Var(#2)"
        << "Y#2 within level-3 residual variance";
    QTest::newRow("level fallback") << "Level-3"
                                    << "x"
                                    << "Y regressed on X at level-3";
    QTest::newRow("level variance needs a number") << "Level-2"
                                                   << "Var(x)"
                                                   << "Y regressed on VAR(X) at level-2";
    QTest::newRow("level code is case-sensitive") << "level-2"
                                                  << "x"
                                                  << "Y";

    QTest::newRow("variance level-2 intercept") << "Variance"
                                                << "L2 Intercept (i)"
                                                << "Y level-2 intercept variance";
    QTest::newRow("variance level-3 intercept") << "Variance"
                                                << "L3 Intercept (i)"
                                                << "Y level-3 intercept variance";
    QTest::newRow("variance residual") << "Variance"
                                       << "Residual Var."
                                       << "Y residual variance";
    QTest::newRow("variance intercept pair") << "Variance"
                                             << "L2 (i), x"
                                             << "Y level-2 covariance between intercept and X";
    QTest::newRow("variance pair") << "Variance"
                                   << "L2 x, z"
                                   << "Y level-2 covariance between X and Z";
    QTest::newRow("variance slope") << "Variance"
                                    << "L3 x"
                                    << "Y level-3 slope variance of X";
    QTest::newRow("variance takes no sd residual") << "Variance"
                                                   << "Residual SD"
                                                   << "Y Variance Residual SD";
    QTest::newRow("variance unknown code keeps raw fields") << "Variance"
                                                            << "x"
                                                            << "Y Variance x";

    QTest::newRow("sd level-2 intercept") << "Standard Deviation"
                                          << "L2 Intercept (i)"
                                          << "Y level-2 intercept standard deviation";
    QTest::newRow("sd level-3 intercept") << "Standard Deviation"
                                          << "L3 Intercept (i)"
                                          << "Y level-3 intercept standard deviation";
    QTest::newRow("sd residual") << "Standard Deviation"
                                 << "Residual SD"
                                 << "Y residual standard deviation";
    QTest::newRow("sd intercept pair") << "Standard Deviation"
                                       << "L2 (i), x"
                                       << "Y level-2 correlation between intercept and X";
    QTest::newRow("sd pair") << "Standard Deviation"
                             << "L2 x, z"
                             << "Y level-2 correlation between X and Z";
    QTest::newRow("sd slope") << "Standard Deviation"
                              << "L2 x"
                              << "Y level-2 slope standard deviation of X";
    QTest::newRow("sd takes no variance residual") << "Standard Deviation"
                                                   << "Residual Var."
                                                   << "Y Standard Deviation Residual Var.";

    QTest::newRow("grand mean") << "Grand Mean"
                                << "anything"
                                << "Y grand mean";
    QTest::newRow("grand mean with suffix") << "Grand Mean (L2)"
                                            << "anything"
                                            << "Y (L2) grand mean";
    QTest::newRow("threshold drops three characters") << "Threshold"
                                                      << "abc2"
                                                      << "Y threshold 2";
    QTest::newRow("unknown type is the owner alone") << "Mystery"
                                                     << "x"
                                                     << "Y";
}

void TestPlotEngine::labelText()
{
    QFETCH(QString, type);
    QFETCH(QString, argument);
    QFETCH(QString, expected);
    const QString line = QStringLiteral("\"y\" \"%1\" \"%2\"").arg(type, argument);
    QCOMPARE(ParameterLabels::label(line, 3), expected + "\nParameter 3");
}

void TestPlotEngine::readLabels_data()
{
    QTest::addColumn<QByteArray>("contents");
    QTest::addColumn<QStringList>("expected");

    const QByteArray header = "\"Beta\" \"Intercept\" \"x\"\n";
    QTest::newRow("missing file") << QByteArray() << QStringList();
    QTest::newRow("header only") << header << QStringList();
    QTest::newRow("records numbered from one after the header")
        << header + "\"y\" \"Beta\" \"Intercept\"\n\"z\" \"R2\" \"All\"\n"
        << QStringList {"Y intercept\nParameter 1",
                        "Z: Proportion of variance explained by All\nParameter 2"};
    QTest::newRow("trailing blank lines are no records") << header
            + "\"y\" \"Beta\" \"x\"\n\n  \n" << QStringList {"Y regressed on X\nParameter 1"};
    QTest::newRow("windows line ends and no final line end")
        << header + "\"y\" \"Beta\" \"x\"\r\n\"y\" \"Beta\" \"w\""
        << QStringList {"Y regressed on X\nParameter 1", "Y regressed on W\nParameter 2"};
    QTest::newRow("utf-8 names") << header + "\"é\" \"Beta\" \"ø\"\n"
                                 << QStringList {"É regressed on Ø\nParameter 1"};
    QTest::newRow("blanks inside fields are tidied")
        << header + "\"  my   y \" \"Beta\" \"Intercept\"\n"
        << QStringList {"MY Y intercept\nParameter 1"};
    QTest::newRow("short record keeps its number")
        << header + "\"y\" \"Beta\"\n\"z\" \"Beta\" \"x\"\n"
        << QStringList {"Y\nParameter 1", "Z regressed on X\nParameter 2"};
}

void TestPlotEngine::readLabels()
{
    QFETCH(QByteArray, contents);
    QFETCH(QStringList, expected);
    QTemporaryDir dir;
    if (!contents.isNull())
        writeFile(dir.filePath("labels.dat"), contents);
    QCOMPARE(ParameterLabels::read(dir.filePath("labels.dat")), expected);
    QCOMPARE(GraphingEngine(nullptr, dir.path()).labels(), expected);
}

void TestPlotEngine::scriptText_data()
{
    QTest::addColumn<int>("chains");
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("stop");
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("last");
    QTest::addColumn<QString>("expected");

    const QString label = "Y regressed on X\nParameter 2";
    const QString fixed = kFixed.arg("900,400", label);
    const QString base = "/tmp/d/burn";
    // The worked example: second parameter, two chains, the whole run.
    QTest::newRow("two chains, whole run")
        << 2 << 1 << -1 << 1 << -1
        << QString(fixed
                   + "set xrange[1:]; set xtics add; plot for [i=1:2] '/tmp/d/burn'.i.'.csv' "
                     "using 1:3 with lines lw 1 lt i title 'Chain '.i;");
    QTest::newRow("one chain, whole run")
        << 1 << 1 << -1 << 1 << -1 << fixed + kFullRange + kOne.arg(base + "1.csv", "", "3");
    QTest::newRow("no chains count as one")
        << 0 << 1 << -1 << 1 << -1 << fixed + kFullRange + kOne.arg(base + "1.csv", "", "3");
    QTest::newRow("start 100, stop 500, one chain")
        << 1 << 100 << 500 << 100 << 500
        << fixed + kOne.arg(base + "1.csv", "every ::99::499 ", "3");
}

void TestPlotEngine::scriptText()
{
    QFETCH(int, chains);
    QFETCH(int, start);
    QFETCH(int, stop);
    QFETCH(int, first);
    QFETCH(int, last);
    QFETCH(QString, expected);

    PlotScript builder("/tmp/d/burn", chains);
    builder.setSize(900, 400);
    builder.setRange(start, stop, first, last);
    QCOMPARE(builder.script("Y regressed on X\nParameter 2", 3), expected);
}

void TestPlotEngine::defaultScriptText_data()
{
    QTest::addColumn<int>("chains");
    QTest::addColumn<QString>("expected");

    const QString fixed = "set datafile separator ',';set encoding utf8;set terminal svg size "
                          "900,400 dynamic background rgb 'white';set title 'T\nParameter 1' "
                          "noenhanced;set ylabel 'Estimate'; set xlabel 'Iterations';set key "
                          "off; set grid;";
    QTest::newRow("one chain") << 1 << fixed + kOne.arg("/d/burn1.csv", "", "2");
    QTest::newRow("three chains") << 3 << fixed + kMany.arg("3", "/d/burn", "", "2");
}

void TestPlotEngine::defaultScriptText()
{
    QFETCH(int, chains);
    QFETCH(QString, expected);
    PlotScript builder("/d/burn", chains);
    // Size and range choices are not part of the plain form.
    builder.setSize(10, 10);
    builder.setRange(5, 6, 5, 6);
    QCOMPARE(builder.defaultScript("T\nParameter 1", 2), expected);
}

void TestPlotEngine::chainsAndRange_data()
{
    QTest::addColumn<int>("requested");
    QTest::addColumn<int>("nchain");
    QTest::addColumn<int>("bIter");
    QTest::addColumn<int>("eIter");
    QTest::addColumn<QString>("plotPart"); // {base} stands for the chain files' base
    QTest::addColumn<bool>("drawn");

    const QString manyFull = kFullRange
        + "plot for [i=1:%1] '{base}'.i.'.csv' using 1:3 with "
          "lines lw 1 lt i title 'Chain '.i;";
    const QString oneFull = kFullRange + "plot '{base}1.csv' using 1:3 with lines lw 2 lt -1";
    QTest::newRow("4 requested, panel 2") << 4 << 2 << 1 << -1 << manyFull.arg(2) << true;
    QTest::newRow("4 requested, panel Max") << 4 << -1 << 1 << -1 << manyFull.arg(4) << true;
    QTest::newRow("4 requested, panel 6") << 4 << 6 << 1 << -1 << manyFull.arg(4) << true;
    QTest::newRow("3 requested, panel 3") << 3 << 3 << 1 << -1 << manyFull.arg(3) << true;
    QTest::newRow("1 requested, panel 2") << 1 << 2 << 1 << -1 << oneFull << true;
    QTest::newRow("1 requested, panel Max") << 1 << -1 << 1 << -1 << oneFull << true;
    QTest::newRow("start 1, stop 500")
        << 2 << -1 << 1 << 500
        << QString(kFullRange
                   + "plot for [i=1:2] '{base}'.i.'.csv' every ::0::499 using 1:3 with lines "
                     "lw 1 lt i title 'Chain '.i;")
        << true;
    QTest::newRow("start 100, stop Max")
        << 2 << -1 << 100 << -1
        << "plot for [i=1:2] '{base}'.i.'.csv' every ::99 using 1:3 with lines lw 1 lt i title "
           "'Chain '.i;"
        << true;
    QTest::newRow("stop beyond the data keeps the panel's stop")
        << 2 << -1 << 100 << 1200
        << "plot for [i=1:2] '{base}'.i.'.csv' every ::99::1199 using 1:3 with lines lw 1 lt i "
           "title 'Chain '.i;"
        << true;
    // Drawn from 1 yet bounded by the panel's own (now reversed) range: gnuplot refuses it.
    QTest::newRow("start beyond the data plots from 1 with the panel's range")
        << 1 << -1 << 1000 << 500
        << kFullRange + "plot '{base}1.csv' every ::999::499 using 1:3 with lines lw 2 lt -1"
        << false;
    QTest::newRow("start and stop beyond the data plot everything")
        << 2 << -1 << 1000 << 1200 << manyFull.arg(2) << true;
}

void TestPlotEngine::chainsAndRange()
{
    QFETCH(int, requested);
    QFETCH(int, nchain);
    QFETCH(int, bIter);
    QFETCH(int, eIter);
    QFETCH(QString, plotPart);
    QFETCH(bool, drawn);

    QTemporaryDir dir;
    writeChains(dir.path(), 4, 1000, 2);
    writeLabels(dir.path(), {"a", "b"});
    const PlotSettings settings(nullptr, panelValues(bIter, eIter, nchain, 640, 300));
    GraphingEngine engine(nullptr, dir.path());
    QSignalSpy finished(&engine, &GraphingEngine::did_finish);
    QSignalSpy errors(&engine, &GraphingEngine::did_sendErr);

    // The chain files hold 1000 iterations; asking for more is corrected and logged only.
    if (bIter >= 1000)
        QTest::ignoreMessage(QtDebugMsg,
                             "Error! Beginning iterations is greater than requested "
                             "iterations. Defaulting to 1.");
    if (eIter >= 1000)
        QTest::ignoreMessage(QtDebugMsg,
                             "Error! Ending iterations is greater than requested "
                             "iterations. Defaulting to Max iter.");
    QCOMPARE(engine.plot("burn", requested, &settings), 1);
    QVERIFY(finished.wait(kWaitMs));

    const QString expected = kFixed.arg("640,300", "B regressed on X\nParameter 2")
        + QString(plotPart).replace("{base}", dir.filePath("burn"));
    QCOMPARE(engine.scripts().size(), 2);
    QCOMPARE(engine.scripts().at(1), expected);
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.at(0).at(0).toInt() == 0, drawn);
    QVERIFY(errors.isEmpty());
    QVERIFY(!engine.isBusy());
    QCOMPARE(isCompleteSvg(readAll(dir.filePath("plot2.svg"))), drawn);
}

void TestPlotEngine::imageNumberFollowsParameter()
{
    const int parameters = 12;
    QTemporaryDir dir;
    writeChains(dir.path(), 2, 50, parameters);
    writeLabels(dir.path(), owners(parameters));
    const PlotSettings settings(nullptr, panelValues(1, -1, -1));
    GraphingEngine engine(nullptr, dir.path());
    QSignalSpy finished(&engine, &GraphingEngine::did_finish);

    QCOMPARE(engine.plot("burn", 2, &settings), 1);
    QVERIFY(finished.wait(kWaitMs));
    QTest::qWait(50); // a second end signal would arrive here
    QCOMPARE(finished.size(), 1);

    for (int k = 1; k <= parameters; ++k) {
        const QByteArray svg = readAll(dir.filePath(QStringLiteral("plot%1.svg").arg(k)));
        QVERIFY2(isCompleteSvg(svg), qPrintable(QString::number(k)));
        QVERIFY2(svg.contains(QStringLiteral("Y%1 regressed on X").arg(k).toUtf8()),
                 qPrintable(QString::number(k)));
        QVERIFY(svg.contains(QStringLiteral(">Parameter %1<").arg(k).toUtf8()));
        QVERIFY(engine.scripts().at(k - 1).contains(QStringLiteral(" using 1:%1 ").arg(k + 1)));
    }
    QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("plot%1.svg").arg(parameters + 1))));
}

void TestPlotEngine::apostropheBreaksOnlyItsOwnRun()
{
    QTemporaryDir dir;
    writeChains(dir.path(), 1, 100, 3);
    writeLabels(dir.path(), {"before", "o'brien", "after"});
    const PlotSettings settings(nullptr, panelValues(1, -1, -1));
    GraphingEngine engine(nullptr, dir.path());
    QSignalSpy finished(&engine, &GraphingEngine::did_finish);

    QCOMPARE(engine.plot("burn", 1, &settings), 1);
    QVERIFY(finished.wait(kWaitMs));
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.at(0).at(0).toInt(), 0); // the last run's exit code

    QVERIFY(isCompleteSvg(readAll(dir.filePath("plot1.svg"))));
    QVERIFY(!isCompleteSvg(readAll(dir.filePath("plot2.svg"))));
    QVERIFY(readAll(dir.filePath("plot3.svg")).contains("AFTER regressed on X"));
}

void TestPlotEngine::plotDefaultRunsAllParameters()
{
    QTemporaryDir dir;
    writeChains(dir.path(), 3, 100, 3);
    writeLabels(dir.path(), owners(3));
    GraphingEngine engine(nullptr, dir.path());
    QSignalSpy finished(&engine, &GraphingEngine::did_finish);

    QCOMPARE(engine.plotDefault("burn", 3), 1);
    QCOMPARE(engine.plotDefault("burn", 3), 0); // busy
    QVERIFY(finished.wait(kWaitMs));
    QCOMPARE(finished.size(), 1);
    QCOMPARE(engine.scripts().size(), 3);
    QVERIFY(engine.scripts().at(2).endsWith(kMany.arg("3", dir.filePath("burn"), "", "4")));
    const QByteArray svg = readAll(dir.filePath("plot3.svg"));
    QVERIFY(isCompleteSvg(svg));
    QVERIFY(svg.contains("viewBox=\"0 0 900 400\""));
}

void TestPlotEngine::refusedRequests_data()
{
    QTest::addColumn<bool>("plain");
    QTest::addColumn<QString>("fileBase");
    QTest::addColumn<QString>("message");

    QTest::newRow("empty base") << false << ""
                                << "Data  File Name is Empty";
    QTest::newRow("blank base") << false << "   "
                                << "Data  File Name is Empty";
    QTest::newRow("no chain-1 file") << false << "chain"
                                     << "Data File Name doesn't exist";
    QTest::newRow("plain form, empty base") << true << ""
                                            << "Data  File Name is Empty";
}

void TestPlotEngine::refusedRequests()
{
    QFETCH(bool, plain);
    QFETCH(QString, fileBase);
    QFETCH(QString, message);

    QTemporaryDir dir;
    writeChains(dir.path(), 1, 10, 1); // burn1.csv, not chain1.csv
    writeLabels(dir.path(), {"y"});
    const PlotSettings settings(nullptr, panelValues(1, -1, -1));
    GraphingEngine engine(nullptr, dir.path());
    QSignalSpy finished(&engine, &GraphingEngine::did_finish);
    QSignalSpy errors(&engine, &GraphingEngine::did_sendErr);

    const int result
        = plain ? engine.plotDefault(fileBase, 1) : engine.plot(fileBase, 1, &settings);
    QCOMPARE(result, 0);
    QCOMPARE(errors.size(), 1);
    QCOMPARE(errors.at(0).at(0).toString(), message);
    QVERIFY(engine.scripts().isEmpty());
    QTest::qWait(100);
    QVERIFY(finished.isEmpty());
    QVERIFY(!QFile::exists(dir.filePath("plot1.svg")));
}

void TestPlotEngine::missingGnuplotIsReported()
{
    QTemporaryDir dir;
    writeChains(dir.path(), 1, 10, 2);
    writeLabels(dir.path(), {"y", "z"});
    const PlotSettings settings(nullptr, panelValues(1, -1, -1));
    GraphingEngine engine(nullptr, dir.path());
    QSignalSpy finished(&engine, &GraphingEngine::did_finish);
    QSignalSpy errors(&engine, &GraphingEngine::did_sendErr);

    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", dir.path().toLocal8Bit());
    const int result = engine.plot("burn", 1, &settings);
    qputenv("PATH", path);

    QCOMPARE(result, 1);
    QCOMPARE(errors.size(), 1);
    QVERIFY(errors.at(0).at(0).toString().contains("gnuplot"));
    QVERIFY(!engine.isBusy());
    QTest::qWait(100);
    QVERIFY(finished.isEmpty());
}

void TestPlotEngine::secondRequestWhileBusyIsRefused()
{
    QTemporaryDir dir;
    writeChains(dir.path(), 1, 10, 2);
    writeLabels(dir.path(), {"y", "z"});
    const PlotSettings settings(nullptr, panelValues(1, -1, -1));
    GraphingEngine engine(nullptr, dir.path());
    QSignalSpy finished(&engine, &GraphingEngine::did_finish);

    QCOMPARE(engine.plot("burn", 1, &settings), 1);
    QVERIFY(engine.isBusy());
    QCOMPARE(engine.plot("burn", 1, &settings), 0);
    QVERIFY(finished.wait(kWaitMs));
    QTest::qWait(50);
    QCOMPARE(finished.size(), 1);
    QCOMPARE(engine.scripts().size(), 2);
}

void TestPlotEngine::noLabelsNoRuns()
{
    QTemporaryDir dir;
    writeChains(dir.path(), 1, 10, 2);
    const PlotSettings settings(nullptr, panelValues(1, -1, -1));
    GraphingEngine engine(nullptr, dir.path());
    QSignalSpy finished(&engine, &GraphingEngine::did_finish);
    QSignalSpy errors(&engine, &GraphingEngine::did_sendErr);

    QCOMPARE(engine.plot("burn", 1, &settings), 1);
    QTest::qWait(100);
    QVERIFY(finished.isEmpty());
    QVERIFY(errors.isEmpty());
    QVERIFY(!QFile::exists(dir.filePath("plot1.svg")));
}

void TestPlotEngine::destroyedWhileRunning()
{
    QTemporaryDir dir;
    writeChains(dir.path(), 2, 2000, 5);
    writeLabels(dir.path(), owners(5));
    const PlotSettings settings(nullptr, panelValues(1, -1, -1));
    auto engine = std::make_unique<GraphingEngine>(nullptr, dir.path());
    QCOMPARE(engine->plot("burn", 2, &settings), 1);
    // The owner discarding a request in flight, as a document closed mid-plot: the running
    // gnuplot goes with it and nothing reports to the dead object.
    engine.reset();
    QTest::qWait(200);
    QVERIFY(!QFile::exists(dir.filePath("plot5.svg")));
}

TOVREL_TEST_MAIN(TestPlotEngine)
#include "tst_plotengine.moc"
