// The sampler's answers, not just their layout: agreement with least squares, interval coverage
// with missing data, and the PSR telling converged from unconverged chains.
#include "enginerun.h"
#include "harness.h"
#include "simdata.h"
#include "text.h"

#include <algorithm>

namespace {

struct Fit
{
    int exitCode = -1;
    std::string out;
    std::vector<EngineRun::Estimate> estimates;
};

Fit fit(const SimData &data, const std::string &settings)
{
    harness::TempFolder folder;
    data.write(folder / "d.dat", "999");
    std::string variables = "y";
    std::string predictors;
    for (std::size_t k = 1; k < data.columns(); ++k) {
        variables += " x" + std::to_string(k);
        predictors += " x" + std::to_string(k);
    }
    folder.write("s.imp",
                 "DATA: d.dat;\nVARIABLES: " + variables + ";\nMISSING: 999;\nMODEL: y ~"
                     + predictors + ";\nSAVE: estimates = est.csv;\n" + settings);
    const auto result = EngineRun::run({(folder / "s.imp").string()});
    return {result.exitCode, result.out, EngineRun::estimates(folder / "est.csv")};
}

std::string slopeName(std::size_t k)
{
    return k == 0 ? "Intercept" : "x" + std::to_string(k);
}

} // namespace

DEMO_TEST(statistics, completeDataMatchesLeastSquares)
{
    SimData::Settings settings;
    settings.rows = 400;
    settings.coefficients = {50.0, 2.0, -1.5, 0.25};
    settings.residualSd = 3.0;
    settings.correlation = 0.5;
    settings.seed = 101;
    const SimData data = SimData::make(settings);
    const std::vector<double> ols = data.leastSquares();
    const Fit result = fit(data, "SEED: 3;\nBURN: 200;\nITERATIONS: 4000;\n");
    CHECK_EQ(result.exitCode, 0);
    for (std::size_t k = 0; k < ols.size(); ++k) {
        harness::Row row(slopeName(k));
        const auto *e = EngineRun::find(result.estimates, "Beta", slopeName(k));
        CHECK(e != nullptr);
        if (e == nullptr)
            continue;
        // With a flat prior the posterior mean is the least-squares estimate; the draws can only
        // miss it by Monte Carlo error.
        const double monteCarloError = e->sd / std::sqrt(e->effectiveSize);
        CHECK_NEAR(e->mean, ols[k], 4.0 * monteCarloError);
        CHECK(e->psr < 1.01);
        CHECK(e->effectiveSize > 2000);
    }
}

DEMO_TEST(statistics, intervalsCoverTheTruthWithThirtyPercentMissing)
{
    // Twenty data sets with 30% of outcome and predictor values removed at random: about 95% of
    // the intervals must hold the true values.
    int intervals = 0;
    int covered = 0;
    double slopeBias = 0.0;
    const std::vector<double> truth {1.0, 0.8, -0.6};
    for (int replication = 0; replication < 20; ++replication) {
        harness::Row row("replication " + std::to_string(replication));
        SimData::Settings settings;
        settings.rows = 150;
        settings.coefficients = truth;
        settings.correlation = 0.5;
        settings.outcomeMissing = 0.3;
        settings.predictorMissing = 0.3;
        settings.seed = 500 + static_cast<std::uint64_t>(replication);
        const Fit result = fit(SimData::make(settings),
                               "SEED: " + std::to_string(replication + 1)
                                   + ";\nBURN: 500;\nITERATIONS: 2000;\n");
        CHECK_EQ(result.exitCode, 0);
        for (std::size_t k = 0; k < truth.size(); ++k) {
            const auto *e = EngineRun::find(result.estimates, "Beta", slopeName(k));
            CHECK(e != nullptr);
            if (e == nullptr)
                continue;
            ++intervals;
            covered += e->lower <= truth[k] && truth[k] <= e->upper ? 1 : 0;
            if (k > 0)
                slopeBias += (e->median - truth[k]) / truth[k] / 40.0;
        }
        const auto *variance = EngineRun::find(result.estimates, "Level-1", "Residual Var.");
        CHECK(variance != nullptr);
        if (variance != nullptr) {
            ++intervals;
            covered += variance->lower <= 1.0 && 1.0 <= variance->upper ? 1 : 0;
        }
    }
    CHECK_EQ(intervals, 80);
    // 95% of 80 is 76; fewer than 70 would happen by chance about once in 500 runs.
    CHECK_MSG(covered >= 70, std::to_string(covered) + " of 80 intervals cover the truth");
    // Imputing predictors without regard to the outcome would shrink the slopes by about a
    // fifth here; the average relative error must stay small.
    CHECK_NEAR(slopeBias, 0.0, 0.06);
}

DEMO_TEST(statistics, largeSampleWithMissingValuesFindsTheTruth)
{
    SimData::Settings settings;
    settings.rows = 3000;
    settings.coefficients = {1.0, 0.8, -0.6, 0.4};
    settings.correlation = 0.6;
    settings.outcomeMissing = 0.3;
    settings.predictorMissing = 0.3;
    settings.seed = 77;
    const Fit result = fit(SimData::make(settings), "SEED: 9;\nBURN: 300;\nITERATIONS: 1500;\n");
    CHECK_EQ(result.exitCode, 0);
    for (std::size_t k = 0; k < settings.coefficients.size(); ++k) {
        harness::Row row(slopeName(k));
        const auto *e = EngineRun::find(result.estimates, "Beta", slopeName(k));
        CHECK(e != nullptr);
        if (e != nullptr)
            CHECK_NEAR(e->median, settings.coefficients[k], 3.5 * e->sd);
    }
    const auto *variance = EngineRun::find(result.estimates, "Level-1", "Residual Var.");
    CHECK(variance != nullptr);
    if (variance != nullptr)
        CHECK_NEAR(variance->median, 1.0, 3.5 * variance->sd);
}

DEMO_TEST(statistics, psrNearOneForLongRunsAndLargeForShortOnes)
{
    // Strongly correlated predictors, mostly missing: the chains start far apart and take many
    // iterations to meet.
    SimData::Settings settings;
    settings.rows = 200;
    settings.coefficients = {2.0, 1.0, 1.0};
    settings.residualSd = 0.5;
    settings.correlation = 0.95;
    settings.outcomeMissing = 0.4;
    settings.predictorMissing = 0.7;
    settings.seed = 11;
    const SimData data = SimData::make(settings);

    const Fit shortRun = fit(data, "SEED: 4;\nBURN: 10;\nITERATIONS: 10;\n");
    CHECK_EQ(shortRun.exitCode, 0);
    double highest = 0.0;
    for (const auto &e : shortRun.estimates)
        highest = std::max(highest, e.psr);
    CHECK_MSG(highest > 1.5, "highest PSR of a short run: " + std::to_string(highest));
    CHECK(shortRun.out.find("WARNING: The highest PSR at the end of the burn-in")
          != std::string::npos);

    const Fit longRun = fit(data, "SEED: 4;\nBURN: 4000;\nITERATIONS: 6000;\n");
    CHECK_EQ(longRun.exitCode, 0);
    highest = 0.0;
    for (const auto &e : longRun.estimates)
        highest = std::max(highest, e.psr);
    CHECK_MSG(highest < 1.05, "highest PSR of a long run: " + std::to_string(highest));
    // The last checkpoint of the burn-in agrees.
    const std::string marker = "2001 to 4000";
    const std::size_t at = longRun.out.find(marker);
    CHECK(at != std::string::npos);
    if (at != std::string::npos) {
        const auto fields = Text::tokens(longRun.out.substr(at + marker.size(), 40), " \n");
        double psr = 0.0;
        CHECK(!fields.empty() && Text::parseNumber(fields[0], psr) && psr < 1.1);
    }
    CHECK(longRun.out.find("may not have converged") == std::string::npos);
}
