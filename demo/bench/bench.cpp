// Timing harness, kept out of the test run: 10,000 rows, 5 predictors, 20% of every model
// variable missing, 2 chains of 1,000 burn-in and 10,000 saved iterations. Prints the wall time
// of the whole engine run (reading, sampling, summaries and file writing).
#include "commandline.h"
#include "engine.h"
#include "simdata.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

int main(int argc, char **argv)
{
    namespace fs = std::filesystem;
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
    std::vector<std::string> arguments {(folder / "bench.imp").string(), "--output",
                                        (folder / "bench.out").string(), "--traceplot",
                                        (folder / "trace").string()};
    for (int i = 1; i < argc; ++i)
        arguments.emplace_back(argv[i]);
    const CommandLine commandLine = CommandLine::parse(arguments);

    std::ostringstream report;
    const auto start = std::chrono::steady_clock::now();
    const int code = Engine(report, std::cerr).run(commandLine);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    std::printf("10,000 rows, 5 predictors, 20%% missing, 2 chains x (1,000 + 10,000) iterations:"
                " %.2f s (exit code %d)\n",
                elapsed.count(), code);
    fs::remove_all(folder);
    return code;
}
