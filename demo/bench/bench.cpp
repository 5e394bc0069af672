// Timing harness, kept out of the test run. Single-level: 10,000 rows, 5 predictors, 20% of every
// model variable missing. Two-level: 150 clusters of 20 rows, a random intercept and slope, 20%
// of the level-1 predictor missing. Both 2 chains of 1,000 burn-in and 10,000 saved iterations.
// Prints the wall time of each whole engine run (reading, sampling, summaries, file writing).
#include "commandline.h"
#include "engine.h"
#include "simdata.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

namespace {

namespace fs = std::filesystem;

// Runs the script in the folder as the studio does and returns the wall time in seconds.
double timed(const fs::path &folder, const std::string &name, int argc, char **argv, int &code)
{
    std::vector<std::string> arguments {(folder / name).string(), "--output",
                                        (folder / "bench.out").string(), "--traceplot",
                                        (folder / "trace").string()};
    for (int i = 1; i < argc; ++i)
        arguments.emplace_back(argv[i]);
    const CommandLine commandLine = CommandLine::parse(arguments);
    std::ostringstream report;
    const auto start = std::chrono::steady_clock::now();
    code = Engine(report, std::cerr).run(commandLine);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    return elapsed.count();
}

} // namespace

int main(int argc, char **argv)
{
    const fs::path folder = fs::temp_directory_path() / "tovrel-demo-bench";
    fs::create_directories(folder);
    SimData::Settings settings;
    settings.rows = 10000;
    settings.coefficients = {1.0, 0.5, -0.3, 0.2, 0.0, 0.4};
    settings.outcomeMissing = 0.2;
    settings.predictorMissing = 0.2;
    settings.seed = 2024;
    SimData::make(settings).write(folder / "bench.dat", "-99");
    std::ofstream(folder / "bench.imp") << "DATA: bench.dat;\nVARIABLES: y x1 x2 x3 x4 x5;\n"
                                           "MISSING: -99;\nMODEL: y ~ x1 x2 x3 x4 x5;\n"
                                           "SEED: 7;\nBURN: 1000;\nITERATIONS: 10000;\n"
                                           "CHAINS: 2;\n";
    // The two-level case: the data are simulated by the run itself (not timed separately; it
    // takes milliseconds).
    std::ofstream(folder / "multilevel.imp")
        << "DATA: multilevel.dat;\nMISSING: -99;\nCLUSTERID: school;\nMODEL: y ~ x w | x;\n"
           "SIMULATE: clusters = 150 size = 20 coefficients = 1 0.5 -0.5 residual = 1\n"
           "  covariance = 0.5 0.1 0.2 level2 = w missing = x 0.2;\n"
           "SEED: 7;\nBURN: 1000;\nITERATIONS: 10000;\nCHAINS: 2;\n";
    int code = 0;
    const double single = timed(folder, "bench.imp", argc, argv, code);
    std::printf("single-level: 10,000 rows, 5 predictors, 20%% missing, 2 chains x (1,000 + "
                "10,000) iterations: %.2f s (exit code %d)\n",
                single, code);
    int multilevelCode = 0;
    const double multilevel = timed(folder, "multilevel.imp", argc, argv, multilevelCode);
    std::printf("two-level: 150 clusters x 20 rows, random intercept and slope, 20%% missing "
                "predictor, 2 chains x (1,000 + 10,000) iterations: %.2f s (exit code %d)\n",
                multilevel, multilevelCode);
    fs::remove_all(folder);
    return code != 0 ? code : multilevelCode;
}
