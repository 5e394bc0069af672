// Regenerates the data files of the example scripts under examples/ (fixed seeds, so the files
// only change when this program does). Usage: tovrel-demo-make-examples EXAMPLES_FOLDER
#include "simdata.h"

#include <cstdio>
#include <filesystem>
#include <string>

namespace {

void make(const std::filesystem::path &file, SimData::Settings settings)
{
    std::filesystem::create_directories(file.parent_path());
    SimData::make(settings).write(file, "999");
    std::printf("wrote %s\n", file.string().c_str());
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "Usage: %s EXAMPLES_FOLDER\n", argv[0]);
        return 2;
    }
    const std::filesystem::path root(argv[1]);

    SimData::Settings complete;
    complete.rows = 250;
    complete.coefficients = {10.0, 0.8, -0.5, 0.3};
    complete.residualSd = 2.0;
    complete.correlation = 0.4;
    complete.seed = 21;
    make(root / "2.1-Linear Regression" / "complete.dat", complete);

    SimData::Settings outcome = complete;
    outcome.outcomeMissing = 0.3;
    outcome.seed = 22;
    make(root / "2.2-Missing Outcome" / "outcome.dat", outcome);

    SimData::Settings predictors = complete;
    predictors.outcomeMissing = 0.15;
    predictors.predictorMissing = 0.25;
    predictors.seed = 23;
    make(root / "2.3-Missing Predictors" / "predictors.dat", predictors);

    SimData::Settings imputation = predictors;
    imputation.seed = 24;
    make(root / "2.4-Multiple Imputation" / "incomplete.dat", imputation);

    make(root / "1.1-Potential Scale Reduction" / "slow.dat", SimData::slowlyMixing());
    make(root / "1.2-Longer Burn-In" / "slow.dat", SimData::slowlyMixing());

    // Large and nearly collinear with most predictor values missing: a run of some seconds
    // whose PSR starts well above 1.1.
    SimData::Settings longRun = SimData::slowlyMixing();
    longRun.rows = 3000;
    longRun.correlation = 0.998;
    longRun.outcomeMissing = 0.1;
    longRun.predictorMissing = 0.9;
    longRun.seed = 13;
    make(root / "1.3-Watching a Long Run" / "long.dat", longRun);
    return 0;
}
