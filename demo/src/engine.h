#pragma once

#include "commandline.h"
#include "posteriorsummary.h"

#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

class Chain;
class DataSet;
class ModelData;
class MultilevelData;
class ParameterList;
class Script;

// One run of the engine: read the script and data, sample all chains (reporting the PSR at
// checkpoints through the burn-in as it goes), summarize, and write the requested files.
// Standard output gets the report as it is produced; errors go to the error stream.
class Engine
{
public:
    Engine(std::ostream &out, std::ostream &err);
    ~Engine();

    // The process exit code: 0 on success, 1 when the input or a file is at fault.
    int run(const CommandLine &request);

    static std::string version();

private:
    void prepare();
    void simulate();
    bool keepRandomEffects() const;
    void checkTargets() const;
    std::filesystem::path besideScript(const std::string &name) const;
    void startChains();
    bool sample();
    bool advance(long iteration);
    void reviewResults();
    bool writeFiles();
    void show(const std::string &text, bool partOfReport);
    int fail(const std::string &message);

    std::ostream &out;
    std::ostream &err;
    CommandLine request;
    std::unique_ptr<Script> script;
    std::unique_ptr<DataSet> data;
    std::unique_ptr<ModelData> model; // a single-level model, or
    std::unique_ptr<MultilevelData> multilevel; // a two-level one
    std::unique_ptr<ParameterList> parameters;
    std::vector<std::unique_ptr<Chain>> samplers;
    std::vector<long> imputationChain; // per imputation: its chain and its place there
    std::vector<long> imputationSlot;
    std::vector<PosteriorSummary::Estimate> results;
    PosteriorSummary::Highest endOfBurnIn;
    bool burnInChecked = false;
    std::vector<std::string> warnings;
    std::string reportText; // what goes to the output file
    std::string simulationText; // the true values of a simulated data set
};
