#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// The settings of one run as read from a command script: commands "WORD: value;" with "#"
// comments. Problems that make the run meaningless throw InputError; commands this engine does
// not know only add a warning, so scripts written for a fuller engine still run.
class Script
{
public:
    static Script load(const std::filesystem::path &path);
    static Script parse(const std::string &text, const std::string &name,
                        const std::filesystem::path &folder);

    std::string name; // how messages refer to the script
    std::filesystem::path folder; // relative file names are taken from here

    std::string dataFile;
    int dataLine = 0;
    std::vector<std::string> variables;
    int variablesLine = 0;
    bool hasMissingCode = false;
    std::string missingCode;
    std::string outcome;
    std::vector<std::string> predictors;
    std::vector<std::string> randomSlopes; // after "|": predictors whose slope varies by cluster
    int modelLine = 0;
    std::string clusterId; // empty for a single-level model
    int clusterLine = 0;

    // SIMULATE: the model's true values; the data are generated into DATA and then fitted.
    struct Simulation
    {
        bool requested = false;
        int line = 0;
        long clusters = 0; // 0: a single-level data set of `size` rows
        long size = 0;
        std::vector<double> coefficients; // intercept, then one per predictor
        double residual = 1.0; // level-1 residual variance
        std::vector<double> covariance; // level-2, lower triangle by rows
        std::vector<std::string> levelTwo; // predictors drawn once per cluster
        std::vector<std::pair<std::string, double>> missing; // variable, fraction removed
    };
    Simulation simulation;

    std::uint64_t seed = 90291;
    bool seedGiven = false;
    long burn = 1000;
    long iterations = 1000;
    long chains = 2;
    long imputations = 0;
    int imputationsLine = 0;

    std::string saveImputations;
    std::string saveEstimates;
    int saveLine = 0;
    std::vector<std::string> options;
    std::vector<std::string> plots;

    std::vector<std::string> warnings;

private:
    struct Command
    {
        std::string word; // upper case
        std::string value;
        int line = 0;
    };

    static std::vector<Command> split(const std::string &text, const std::string &name);
    void apply(const Command &command);
    void applySave(const Command &command);
    void applyModel(const Command &command);
    void applySimulate(const Command &command);
    void checkSimulation() const;
    long integerValue(const Command &command, long lowest, long highest) const;
    std::string singleValue(const Command &command) const;
    [[noreturn]] void fail(int line, const std::string &problem) const;
};
