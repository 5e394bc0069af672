// The sampler's answers, not just their layout: agreement with least squares, interval coverage
// with missing data, and the PSR telling converged from unconverged chains.
#include "enginerun.h"
#include "harness.h"
#include "simdata.h"

#include <algorithm>
#include <sstream>

namespace {

struct Fit
{
    std::string out;
    std::string data; // as written, and its first imputed copy when one is saved
    std::string imputed;
    std::vector<EngineRun::Estimate> estimates;
    double highestPsr = 0.0;

    EngineRun::Estimate find(std::size_t k) const // 0: intercept, then the slopes
    {
        return EngineRun::find(estimates, "Beta", k == 0 ? "Intercept" : "x" + std::to_string(k));
    }
};

// Fits y on every other column of the data, with the settings given.
Fit fit(const SimData &data, const std::string &settings)
{
    harness::TempFolder folder;
    data.write(folder / "d.dat", "999");
    std::string predictors;
    for (std::size_t k = 1; k < data.columns(); ++k)
        predictors += " x" + std::to_string(k);
    folder.write("s.imp",
                 "DATA: d.dat;\nVARIABLES: y" + predictors + ";\nMISSING: 999;\nMODEL: y ~"
                     + predictors + ";\nSAVE: estimates = est.csv;\n" + settings);
    const auto result = EngineRun::run({(folder / "s.imp").string()});
    CHECK_EQ(result.exitCode, 0);
    Fit fit {result.out, harness::readFile(folder / "d.dat"),
             harness::readFile(folder / "imp1.dat"), EngineRun::estimates(folder / "est.csv")};
    for (const auto &e : fit.estimates)
        fit.highestPsr = std::max(fit.highestPsr, e.psr);
    return fit;
}

SimData simulate(std::size_t rows, const std::vector<double> &coefficients, double correlation,
                 double missing, std::uint64_t seed)
{
    SimData::Settings settings;
    settings.rows = rows;
    settings.coefficients = coefficients;
    settings.correlation = correlation;
    settings.outcomeMissing = settings.predictorMissing = missing;
    settings.seed = seed;
    return SimData::make(settings);
}

} // namespace

DEMO_TEST(statistics, completeDataMatchesLeastSquares)
{
    const SimData data = simulate(400, {50.0, 2.0, -1.5, 0.25}, 0.5, 0.0, 101);
    const std::vector<double> ols = data.leastSquares();
    const Fit result = fit(data, "SEED: 3;\nBURN: 200;\nITERATIONS: 4000;\n");
    for (std::size_t k = 0; k < ols.size(); ++k) {
        harness::Row row("coefficient " + std::to_string(k));
        // With a flat prior the posterior mean is the least-squares estimate; the draws can only
        // miss it by Monte Carlo error.
        const auto e = result.find(k);
        CHECK_NEAR(e.mean, ols[k], 4.0 * e.sd / std::sqrt(e.effectiveSize));
        CHECK(e.effectiveSize > 2000);
    }
    CHECK(result.highestPsr < 1.01);
}

DEMO_TEST(statistics, intervalsCoverTheTruthWithThirtyPercentMissing)
{
    // Twenty data sets with 30% of outcome and predictor values removed at random: about 95% of
    // the intervals must hold the true values.
    const std::vector<double> truth {1.0, 0.8, -0.6};
    int covered = 0;
    double slopeBias = 0.0;
    for (int replication = 1; replication <= 20; ++replication) {
        harness::Row row("replication " + std::to_string(replication));
        const Fit result
            = fit(simulate(150, truth, 0.5, 0.3, 499 + replication),
                  "SEED: " + std::to_string(replication) + ";\nBURN: 500;\nITERATIONS: 2000;\n");
        const auto covers = [](const EngineRun::Estimate &e, double value) {
            return e.lower <= value && value <= e.upper;
        };
        for (std::size_t k = 0; k < truth.size(); ++k) {
            const auto e = result.find(k);
            covered += covers(e, truth[k]);
            if (k > 0)
                slopeBias += (e.median - truth[k]) / truth[k] / 40.0;
        }
        // The true residual variance is 1.
        covered += covers(EngineRun::find(result.estimates, "Level-1", "Residual Var."), 1.0);
    }
    // 95% of 80 is 76; fewer than 70 would happen by chance about once in 500 runs.
    CHECK_MSG(covered >= 70, std::to_string(covered) + " of 80 intervals cover the truth");
    // Imputing predictors without regard to the outcome would shrink the slopes by about a
    // fifth here; the average relative error must stay small.
    CHECK_NEAR(slopeBias, 0.0, 0.06);
}

DEMO_TEST(statistics, imputedOutcomesFollowTheRegression)
{
    // Each missing outcome is drawn from the regression on its own row's (possibly imputed)
    // predictors, so its residual from the true line has about the residual variance, 1.
    const std::vector<double> truth {1.0, 0.8, -0.6};
    const Fit result = fit(simulate(300, truth, 0.5, 0.3, 41),
                           "SEED: 2;\nNIMPS: 1;\nSAVE: imputations = imp*.dat;\n");
    const auto original = harness::lines(result.data), imputed = harness::lines(result.imputed);
    CHECK_EQ(imputed.size(), original.size());
    double squares = 0.0;
    int count = 0;
    for (std::size_t r = 0; r < original.size() && r < imputed.size(); ++r) {
        if (original[r].rfind("999 ", 0) != 0)
            continue;
        double y = 0.0, x1 = 0.0, x2 = 0.0;
        std::istringstream(imputed[r]) >> y >> x1 >> x2;
        const double residual = y - (truth[0] + truth[1] * x1 + truth[2] * x2);
        squares += residual * residual;
        ++count;
    }
    CHECK(count > 50);
    CHECK_NEAR(squares / count, 1.0, 0.4);
}

DEMO_TEST(statistics, psrNearOneForLongRunsAndLargeForShortOnes)
{
    // The data of the PSR examples: the chains start far apart and take many iterations to meet.
    const SimData data = SimData::make(SimData::slowlyMixing());
    const std::string warning = "the chains may not have converged";

    const Fit shortRun = fit(data, "SEED: 4;\nBURN: 10;\nITERATIONS: 10;\n");
    CHECK_MSG(shortRun.highestPsr > 1.5,
              "highest PSR of a short run " + harness::show(shortRun.highestPsr));
    CHECK(shortRun.out.find(warning) != std::string::npos);

    const Fit longRun = fit(data, "SEED: 4;\nBURN: 4000;\nITERATIONS: 6000;\n");
    CHECK_MSG(longRun.highestPsr < 1.05,
              "highest PSR of a long run " + harness::show(longRun.highestPsr));
    CHECK(longRun.out.find(warning) == std::string::npos);
}
