#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// Data simulated from a known linear regression, with values then removed completely at random.
// Used by the tests, the timing harness and the example generator. Columns: y, x1..xp.
class SimData
{
public:
    struct Settings
    {
        std::size_t rows = 200;
        std::vector<double> coefficients {1.0, 0.5}; // intercept, then one slope per predictor
        double residualSd = 1.0;
        double correlation = 0.3; // between every pair of predictors
        double outcomeMissing = 0.0; // fraction of outcome values removed
        double predictorMissing = 0.0; // fraction of each predictor's values removed
        std::uint64_t seed = 1;
    };

    // Highly correlated predictors with most values missing: the sampler needs many iterations
    // to forget its dispersed starting values, which the PSR makes visible.
    static Settings slowlyMixing();
    static SimData make(const Settings &settings);

    std::size_t columns() const { return nColumns; }
    // Writes the data with the missing values replaced by the code, blank-separated.
    void write(const std::filesystem::path &path, const std::string &missingCode) const;
    // Ordinary least squares on the complete rows as written: intercept then slopes.
    std::vector<double> leastSquares() const;

private:
    // A value as the data file shows it.
    static std::string written(double value);

    std::size_t nRows = 0;
    std::size_t nColumns = 0;
    std::vector<double> cells;
    std::vector<char> missing;
};
