#pragma once

#include <cstddef>
#include <string>
#include <vector>

// The sampled parameters in the order they are drawn, traced and numbered for the user:
// intercept, slopes, residual variance, then (with predictors) standardized slopes and R2.
// Each carries the type and argument codes that the trace-plot labels are built from.
class ParameterList
{
public:
    struct Entry
    {
        std::string type; // "Beta", "Level-1", "Standardized Beta", "R2"
        std::string argument; // "Intercept", a predictor, "Residual Var.", "Predictors"
        std::string shortName; // for tables
    };

    ParameterList(std::string outcome, const std::vector<std::string> &predictors);

    std::size_t size() const { return entries.size(); }
    const Entry &at(std::size_t index) const { return entries[index]; }
    const std::string &outcome() const { return outcomeName; }
    std::size_t predictors() const { return nPredictors; }

    std::size_t intercept() const { return 0; }
    std::size_t slope(std::size_t k) const { return 1 + k; }
    std::size_t residualVariance() const { return nPredictors + 1; }
    std::size_t standardizedSlope(std::size_t k) const { return nPredictors + 2 + k; }
    std::size_t rSquared() const { return 2 * nPredictors + 2; }

private:
    std::string outcomeName;
    std::size_t nPredictors;
    std::vector<Entry> entries;
};
