#pragma once

#include "commandline.h"
#include "posteriorsummary.h"

#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

class DataSet;
class ModelData;
class ParameterList;
class Sampler;
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
    std::unique_ptr<ModelData> model;
    std::unique_ptr<ParameterList> parameters;
    std::vector<std::unique_ptr<Sampler>> samplers;
    std::vector<long> imputationChain; // per imputation: its chain and its place there
    std::vector<long> imputationSlot;
    std::vector<PosteriorSummary::Estimate> results;
    PosteriorSummary::Highest endOfBurnIn;
    bool burnInChecked = false;
    std::vector<std::string> warnings;
    std::string reportText; // what goes to the output file
};
