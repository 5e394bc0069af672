#include "goldentable.h"
#include "testfiles.h"
#include "testmain.h"

#include "diagnostics/chainreader.h"
#include "diagnostics/convergencejob.h"
#include "diagnostics/convergencestats.h"

#include <QSignalSpy>

#include <cmath>
#include <vector>

namespace {

// The draws of one row of drawcases.txt, made exactly as goldenstats.R makes them.
std::vector<double> drawsOf(const QStringList &vCase)
{
    const int chains = vCase.at(1).toInt();
    const int iterations = vCase.at(2).toInt();
    const QString kind = vCase.at(3);
    const double a = vCase.at(4).toDouble();
    const double b = vCase.at(5).toDouble();
    double state = vCase.at(6).toDouble();
    const QString change = vCase.at(7);
    auto u = [&state] {
        state = std::fmod(state * 48271, 2147483647.0);
        return state / 2147483647.0;
    };
    std::vector<double> x;
    for (int c = 0; c < chains; ++c) {
        double previous = c * b;
        for (int i = 0; i < iterations; ++i) {
            double v = a;
            if (kind == "ar") {
                previous = a * previous + (u() - 0.5);
                v = previous;
            } else if (kind == "ratio") {
                const double u1 = u();
                v = (u1 - 0.5) / u();
            } else if (kind == "discrete") {
                v = std::floor(u() * a);
            }
            x.push_back(v);
        }
    }
    if (change == "nan")
        x[6] = std::nan("");
    else if (change == "inf")
        x[6] = INFINITY;
    else if (change == "ninf")
        x[6] = -INFINITY;
    else if (change == "stillchain")
        std::fill(x.begin(), x.begin() + iterations, 0.0);
    return x;
}

bool agrees(double vActual, const QString &vExpected)
{
    if (vExpected == "NA")
        return std::isnan(vActual);
    const double expected = vExpected.toDouble();
    if (std::isinf(expected) || expected == 0)
        return vActual == expected;
    return std::fabs(vActual - expected) <= 1e-6 * std::fabs(expected);
}

} // namespace

class TestDiagnostics : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Every number of every case against the reference package's own (goldenstats.R).
    void matchesReference_data()
    {
        QTest::addColumn<QStringList>("draws");
        QTest::addColumn<QStringList>("golden");
        QHash<QString, QStringList> golden;
        for (const QStringList &row : readTable(QFINDTESTDATA("goldenstats.txt")))
            golden.insert(row.first(), row);
        const QList<QStringList> cases = readTable(QFINDTESTDATA("drawcases.txt"));
        QVERIFY(!cases.isEmpty());
        for (const QStringList &c : cases) {
            QVERIFY2(golden.contains(c.first()), qPrintable(c.first()));
            QTest::newRow(qPrintable(c.first())) << c << golden.value(c.first());
        }
    }
    void matchesReference()
    {
        QFETCH(QStringList, draws);
        QFETCH(QStringList, golden);
        const std::vector<double> x = drawsOf(draws);
        ConvergenceStats stats;
        const ParameterSummary s = stats.summarise(x.data(), draws.at(2).toInt(),
                                                   draws.at(1).toInt());
        const double actual[] = {s.rhat, s.essBulk, s.essTail, s.median,
                                 s.sd,   s.q025,    s.q975,    s.mcseMean};
        const char *names[] = {"rhat", "ess_bulk", "ess_tail", "median",
                               "sd",   "q2.5",     "q97.5",    "mcse_mean"};
        QCOMPARE(golden.size(), 9);
        for (int k = 0; k < 8; ++k)
            QVERIFY2(agrees(actual[k], golden.at(k + 1)),
                     qPrintable(QString("%1: %2, expected %3")
                                    .arg(names[k])
                                    .arg(actual[k], 0, 'g', 17)
                                    .arg(golden.at(k + 1))));
    }

    void badChainFiles_data()
    {
        addTableRows(QFINDTESTDATA("badchains.txt"), {"burn", "chain1", "chain2", "message"});
    }
    void badChainFiles()
    {
        QFETCH(QString, burn);
        QFETCH(QString, chain1);
        QFETCH(QString, chain2);
        QTemporaryDir dir;
        const QStringList contents = {chain1, chain2};
        for (int c = 0; c < 2; ++c)
            if (contents.at(c) != "-")
                writeFile(dir.filePath(ChainReader::fileName(c + 1)),
                          QString(contents.at(c)).replace("<CR>", "\r").toUtf8());
        const ConvergenceReport report = ConvergenceJob::compute(dir.path(), 2, burn.toInt(), 10);
        QTEST(report.error, "message");
        if (report.error.isEmpty()) {
            QCOMPARE(report.iterations, 3);
            QCOMPARE(report.parameters.size(), size_t(1));
        }
    }

    // Work dropped by a new start or a cancel never reports; the last start does.
    void cancelledWorkIsNeverReported()
    {
        QTemporaryDir dir;
        QByteArray lines;
        for (int i = 1; i <= 20000; ++i)
            lines += QByteArray::number(i) + "," + QByteArray::number(i % 7) + ",0.5\n";
        writeFile(dir.filePath("burn1.csv"), lines);
        writeFile(dir.filePath("burn2.csv"), lines);
        ConvergenceJob job;
        QSignalSpy finished(&job, &ConvergenceJob::did_finish);
        job.start(dir.path(), 2, 0, 0);
        job.cancel();
        job.start(dir.path(), 3, 0, 0);
        job.start(dir.path(), 2, 100, 0);
        QVERIFY(finished.wait(20000));
        QTest::qWait(50);
        QCOMPARE(finished.size(), 1);
        const auto report = finished.first().first().value<ConvergenceReport>();
        QCOMPARE(report.iterations, 19900);
        QVERIFY(std::isnan(report.parameters.at(1).rhat));
    }

    void normalQuantile()
    {
        // Tail values of the standard normal quantile, to 1e-12 relative.
        const double p[] = {1e-10, 1e-5, 0.025, 0.3, 0.5, 0.975, 1 - 1e-5};
        const double z[] = {-6.3613409024040557, -4.26489079392282555, -1.95996398454005383,
                            -0.52440051270804067, 0, 1.95996398454005361, 4.26489079392383985};
        for (int k = 0; k < 7; ++k)
            QVERIFY2(std::fabs(ConvergenceStats::normalQuantile(p[k]) - z[k])
                         <= 1e-12 * std::fabs(z[k]),
                     qPrintable(QString::number(p[k])));
    }
};

TOVREL_TEST_MAIN(TestDiagnostics)
#include "tst_diagnostics.moc"
