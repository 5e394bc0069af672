// Two-level models: agreement with a trusted reference, the level codes the plot titles are
// built from, and SIMULATE recovering the values it was given.
#include "enginerun.h"
#include "harness.h"
#include "text.h"

#include <filesystem>

namespace fs = std::filesystem;

namespace {

const fs::path reference = fs::path(TOVREL_DEMO_TESTS) / "reference";

EngineRun::Result runIn(const harness::TempFolder &folder, const std::string &script)
{
    folder.write("s.imp", script);
    return EngineRun::run({(folder / "s.imp").string(), "--output", (folder / "s.out").string(),
                           "--traceplot", (folder / "trace").string()});
}

} // namespace

DEMO_TEST(multilevel, posteriorMediansAgreeWithReml)
{
    // lme4's REML fits of the same complete data (reference/make_reference.R). With 100 and 150
    // clusters the prior hardly matters: coefficients must agree within a tenth of a posterior
    // SD; variance components, whose posterior median differs from REML's mode-like estimate
    // even with a flat prior, within 0.4 of one.
    const struct
    {
        const char *prefix;
        const char *script;
    } fits[] = {
        {"intercept", "DATA: intercept.dat;\nVARIABLES: math ses climate school;\n"
                      "CLUSTERID: school;\nMODEL: math ~ ses climate;\n"},
        {"slope", "DATA: slope.dat;\nVARIABLES: math ses homework climate school;\n"
                  "CLUSTERID: school;\nMODEL: math ~ ses homework climate | ses;\n"},
    };
    const auto rows = harness::table("reference/lme4.txt");
    std::size_t compared = 0;
    for (const auto &f : fits) {
        harness::TempFolder folder;
        fs::copy(reference / (std::string(f.prefix) + ".dat"), folder.path());
        const auto result = runIn(folder, std::string(f.script)
                                      + "SEED: 3;\nBURN: 500;\nITERATIONS: 5000;\n"
                                        "SAVE: estimates = est.csv;\n");
        CHECK_EQ(result.exitCode, 0);
        const auto estimates = EngineRun::estimates(folder / "est.csv");
        for (const auto &row : rows) {
            if (row[0].rfind(f.prefix, 0) != 0)
                continue;
            harness::Row name(row[0]);
            double reml = 0.0;
            CHECK(Text::parseNumber(row[3], reml));
            const auto e = EngineRun::find(estimates, row[1], row[2]);
            CHECK_NEAR(e.median, reml, (row[1] == "Beta" ? 0.1 : 0.4) * e.sd);
            ++compared;
        }
    }
    CHECK_EQ(compared, std::size_t(13));
}

DEMO_TEST(multilevel, simulatedDataRecoveredAndLabelledPerLevel)
{
    harness::TempFolder folder;
    const auto result = runIn(folder,
                              "DATA: sim.dat;\nMISSING: -9;\nCLUSTERID: school;\n"
                              "MODEL: y ~ x w | x;\nOPTIONS: ranefs;\nSEED: 8;\n"
                              "SIMULATE: clusters = 60 size = 10 coefficients = 1 0.5 -0.5\n"
                              "  residual = 1 covariance = 0.5 0.1 0.2 level2 = w\n"
                              "  missing = x 0.2 y 0.1;\n"
                              "NIMPS: 1;\nSAVE: imputations = imp*.dat estimates = est.csv;\n");
    CHECK_EQ(result.exitCode, 0);
    CHECK_MSG(result.err.empty(), result.err);
    CHECK(result.out.find("VARIABLE ORDER IN SIMULATED DATA:\n\n  y x w school\n")
          != std::string::npos);
    CHECK(result.out.find("    L2 Cov(Intercept, x)                0.100\n") != std::string::npos);
    CHECK(result.out.find("Level-2 predictor:  w ") != std::string::npos);

    // 600 rows with their cluster; the imputed copy keeps them and fills every gap.
    const auto written = harness::lines(harness::readFile(folder / "sim.dat"));
    const auto imputed = harness::lines(harness::readFile(folder / "imp1.dat"));
    CHECK_EQ(written.size(), std::size_t(600));
    CHECK_EQ(imputed.size(), std::size_t(600));
    CHECK(written.size() == 600 && written[599].substr(written[599].rfind(' ')) == " 60");
    CHECK(harness::readFile(folder / "sim.dat").find("-9 ") != std::string::npos);
    CHECK(harness::readFile(folder / "imp1.dat").find("-9") == std::string::npos);

    const auto estimates = EngineRun::estimates(folder / "est.csv");
    const struct
    {
        const char *type;
        const char *argument;
        double truth;
    } truths[] = {{"Beta", "Intercept", 1.0},           {"Beta", "x", 0.5},
                  {"Beta", "w", -0.5},                  {"Variance", "L2 Intercept (i)", 0.5},
                  {"Variance", "L2 (i), x", 0.1},       {"Variance", "L2 x", 0.2},
                  {"Level-1", "Residual Var.", 1.0}};
    for (const auto &t : truths) {
        harness::Row row(t.argument);
        // Four posterior SDs: a wrong model misses by far more; chance almost never does.
        const auto e = EngineRun::find(estimates, t.type, t.argument);
        CHECK_NEAR(e.median, t.truth, 4.0 * e.sd);
    }

    // The codes the studio turns into "Y level-2 slope variance of X" and the like; each
    // cluster's random effects carry their own title in the first field.
    const auto labels = harness::lines(harness::readFile(folder / "trace" / "labels.dat"));
    CHECK_EQ(labels.size(), std::size_t(1 + 3 + 3 + 1 + 2 * 60));
    const std::vector<std::string> expected {
        R"r("y" "Variance" "L2 Intercept (i)")r", R"r("y" "Variance" "L2 (i), x")r",
        R"r("y" "Variance" "L2 x")r", R"r("y" "Level-1" "Residual Var.")r",
        R"r("y school 1 random intercept" "Random Effect" "school 1 (i)")r",
        R"r("y school 1 random slope of x" "Random Effect" "school 1 x")r"};
    for (std::size_t i = 0; i < expected.size() && 4 + i < labels.size(); ++i)
        CHECK_EQ(labels[4 + i], expected[i]);
}
