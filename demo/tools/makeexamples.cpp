// Regenerates the data files of the example scripts under examples/ (fixed seeds, so the files
// only change when this program does). Usage: tovrel-demo-make-examples EXAMPLES_FOLDER
#include "script.h"
#include "simdata.h"
#include "simulator.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

void make(const std::filesystem::path &file, SimData::Settings settings)
{
    std::filesystem::create_directories(file.parent_path());
    SimData::make(settings).write(file, "999");
    std::printf("wrote %s\n", file.string().c_str());
}

// Two-level data from the model a SIMULATE command states, so the shipped data is exactly what
// the engine itself would generate.
void simulate(const std::filesystem::path &file, const std::string &statement)
{
    std::filesystem::create_directories(file.parent_path());
    const Script script = Script::parse(statement, "generator", file.parent_path());
    std::ofstream out(file, std::ios::binary);
    Simulator(script).write(out, "999");
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

    simulate(root / "4.1-Random Intercept" / "schools.dat",
             "DATA: x; SEED: 41; MISSING: 999; CLUSTERID: school; MODEL: math ~ ses climate;"
             "VARIABLES: math ses climate school;"
             "SIMULATE: clusters = 60 size = 25 coefficients = 50 3 2 residual = 64"
             " covariance = 16 level2 = climate;");
    simulate(root / "4.2-Random Slope" / "students.dat",
             "DATA: x; SEED: 42; MISSING: 999; CLUSTERID: school;"
             "MODEL: math ~ ses homework climate | ses;"
             "VARIABLES: math ses homework climate school;"
             "SIMULATE: clusters = 100 size = 20 coefficients = 50 3 1.5 2 residual = 36"
             " covariance = 16 2 4 level2 = climate missing = ses 0.2 homework 0.1 math 0.1;");
    simulate(root / "4.3-Random Effects per Cluster" / "manyschools.dat",
             "DATA: x; SEED: 43; MISSING: 999; CLUSTERID: school; MODEL: math ~ ses | ses;"
             "VARIABLES: math ses school;"
             "SIMULATE: clusters = 150 size = 12 coefficients = 50 3 residual = 36"
             " covariance = 16 2 4 missing = ses 0.1;");
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
