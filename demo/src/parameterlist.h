#pragma once

#include <cstddef>
#include <string>
#include <vector>

// The sampled parameters in the order they are drawn, traced and numbered for the user. A
// single-level model has the intercept, slopes, residual variance, then (with predictors)
// standardized slopes and R2. A two-level model has the intercept, slopes, the level-2
// covariance matrix's lower triangle by rows, the level-1 residual variance and, when asked for,
// every cluster's random effects. Each carries the type and argument codes that the trace-plot
// labels are built from.
class ParameterList
{
public:
    struct Entry
    {
        std::string type; // "Beta", "Level-1", "Variance", "Standardized Beta", "R2", ...
        std::string argument; // "Intercept", a predictor, "Residual Var.", "L2 (i), x1", ...
        std::string shortName; // for tables
        std::string owner; // the label's first field when it is not the outcome
    };

    ParameterList(std::string outcome, const std::vector<std::string> &predictors);
    // A two-level model: `randomSlopes` are the predictors whose slopes vary; `clusterLabels`
    // is empty unless each cluster's random effects are parameters too.
    ParameterList(std::string outcome, const std::vector<std::string> &predictors,
                  const std::vector<std::string> &randomSlopes, const std::string &clusterName,
                  const std::vector<std::string> &clusterLabels);

    std::size_t size() const { return entries.size(); }
    const Entry &at(std::size_t index) const { return entries[index]; }
    const std::string &outcome() const { return outcomeName; }
    std::size_t predictors() const { return nPredictors; }
    bool multilevel() const { return nRandom > 0; }
    std::size_t randomEffects() const { return nRandom; }
    std::size_t clustersKept() const { return nClusters; }

    std::size_t intercept() const { return 0; }
    std::size_t slope(std::size_t k) const { return 1 + k; }
    std::size_t residualVariance() const { return residual; }
    std::size_t standardizedSlope(std::size_t k) const { return nPredictors + 2 + k; }
    std::size_t rSquared() const { return 2 * nPredictors + 2; }
    // Level-2 covariance of random effects a and b (0 the intercept), a >= b.
    std::size_t levelTwo(std::size_t a, std::size_t b) const
    {
        return nPredictors + 1 + a * (a + 1) / 2 + b;
    }
    std::size_t randomEffect(std::size_t cluster, std::size_t a) const
    {
        return residual + 1 + cluster * nRandom + a;
    }

private:
    std::string outcomeName;
    std::size_t nPredictors;
    std::size_t nRandom = 0;
    std::size_t nClusters = 0;
    std::size_t residual;
    std::vector<Entry> entries;
};
