#include "testfiles.h"
#include "testmain.h"

#include "config/csettings.h"
#include "diagnostics/mconvergencetable.h"
#include "diagnostics/wconvergencepanel.h"
#include "plots/wgraphpanel.h"
#include "workspace/workspace.h"

#include <QClipboard>
#include <QDockWidget>
#include <QLineEdit>
#include <QSettings>
#include <QSignalSpy>
#include <QTableView>

#include <memory>

namespace {
constexpr int kWaitMs = 60000;

QString binDir()
{
    return qEnvironmentVariable("TOVREL_TEST_BIN_DIR");
}

QString cellText(const QTableView *vView, int vRow, int vColumn)
{
    return vView->model()->index(vRow, vColumn).data().toString();
}
} // namespace

// The convergence view after real runs of the demo engine on the examples.
class TestConvergence : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    // The last run's plots: they may be done before its table is.
    std::unique_ptr<QSignalSpy> m_plotted;

    // Runs the example script vScript of vChapter in a document and waits for its table.
    std::unique_ptr<Workspace> runExample(const QString &vChapter, const QString &vScript)
    {
        const QString chapter = binDir() + "/User Guide Examples/" + vChapter;
        for (const QFileInfo &file : QDir(chapter).entryInfoList(QDir::Files))
            QFile::copy(file.filePath(), m_dir.filePath(file.fileName()));
        CSettings::instance().setCommandLineToolName(binDir() + "/tovrel");
        auto document = std::make_unique<Workspace>();
        document->on_open(m_dir.filePath(vScript));
        QSignalSpy filled(document->convergencePanel(), &WConvergencePanel::did_fill);
        m_plotted = std::make_unique<QSignalSpy>(document.get(), &Workspace::graphs_done);
        document->on_run();
        if (!filled.wait(kWaitMs) || !filled.first().first().toBool())
            qWarning() << document->convergencePanel()->statusText();
        return document;
    }

private Q_SLOTS:
    void init() { QSettings().clear(); }

    void slowConvergenceShowsItsPoorlyMixedCoefficientsFirst()
    {
        auto document = runExample("1.1-Potential Scale Reduction", "slow_convergence.imp");
        WConvergencePanel *panel = document->convergencePanel();
        const MConvergenceTable *table = panel->model();
        QVERIFY(table->rowCount() > 2);
        QVERIFY(document->convergenceDock()->isVisible());
        // The regression coefficients, plain and standardised, mix slowly: they lead, flagged.
        for (int row = 0; row < 4; ++row) {
            QVERIFY2(table->text(row, MConvergenceTable::Parameter).contains("regressed on"),
                     qPrintable(table->text(row, MConvergenceTable::Parameter)));
            QVERIFY(table->isFlagged(row));
        }
        QVERIFY(table->text(0, MConvergenceTable::Rhat).toDouble() >= 1.01);
        QVERIFY(panel->statusText().startsWith(
            QString("%1 of %2 parameters have R-hat ≥ 1.01; ")
                .arg(table->flaggedRhat())
                .arg(table->rowCount())));
        QVERIFY(panel->statusText().endsWith("have bulk-ESS < 200"));

        // Picking a row pages the plots to that parameter.
        QVERIFY(!m_plotted->isEmpty() || m_plotted->wait(kWaitMs));
        const int parameter = table->index(1, 0).data(MConvergenceTable::ParameterIndexRole).toInt();
        panel->view()->selectRow(1);
        QCOMPARE(document->graphPanel()->pageText(),
                 QString("Plot : %1 of %2").arg(parameter + 1).arg(table->rowCount()));

        // The filter keeps the rows naming the text; copying takes the selected rows, headed.
        panel->findChild<QLineEdit *>("le_convergenceFilter")->setText("intercept");
        QCOMPARE(panel->view()->model()->rowCount(), 1);
        QVERIFY(cellText(panel->view(), 0, MConvergenceTable::Parameter).contains("intercept"));
        panel->view()->selectRow(0);
        QTest::keySequence(panel->view(), QKeySequence::Copy);
        const QStringList copied = QApplication::clipboard()->text().split('\n', Qt::SkipEmptyParts);
        QCOMPARE(copied.size(), 2);
        QVERIFY(copied.at(0).startsWith("#\tParameter\tR-hat\tBulk-ESS\tTail-ESS"));
        QVERIFY(copied.at(1).contains("intercept"));
    }

    void linearRegressionFlagsNothingUntilTheThresholdsTighten()
    {
        auto document = runExample("2.1-Linear Regression", "linear_regression.imp");
        WConvergencePanel *panel = document->convergencePanel();
        const MConvergenceTable *table = panel->model();
        QCOMPARE(table->rowCount(), 9);
        QCOMPARE(panel->statusText(),
                 "0 of 9 parameters have R-hat ≥ 1.01; 0 have bulk-ESS < 200");
        QVERIFY(!panel->hasFlagged());
        // New thresholds apply to the open table at once.
        CSettings::instance().setRhatThreshold(1.0000001);
        CSettings::instance().setEssPerChainThreshold(100000);
        Q_EMIT CSettings::instance().did_apply();
        QCOMPARE(panel->statusText(), QString("%1 of 9 parameters have R-hat ≥ 1.0000001; 9 have "
                                              "bulk-ESS < 200000")
                                          .arg(table->flaggedRhat()));
        QVERIFY(table->isFlagged(0));

        // Files it cannot read leave a line saying why.
        QTemporaryDir empty;
        QSignalSpy refused(panel, &WConvergencePanel::did_fill);
        panel->start(empty.path(), 2, 0, 10, {});
        QVERIFY(refused.wait(kWaitMs));
        QCOMPARE(refused.first().first().toBool(), false);
        QCOMPARE(panel->statusText(), "No convergence table: The chain file burn1.csv is missing.");

        // A new run drops the table at once.
        QSignalSpy filled(panel, &WConvergencePanel::did_fill);
        document->on_run();
        QCOMPARE(table->rowCount(), 0);
        QVERIFY(filled.wait(kWaitMs));
    }
};

TOVREL_TEST_MAIN(TestConvergence)
#include "tst_convergence.moc"
