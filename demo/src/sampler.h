#pragma once

#include "chain.h"
#include "matrix.h"
#include "modeldata.h"
#include "random.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// One chain of the Gibbs sampler. Each iteration draws, given the data completed by the current
// imputations: the predictors' normal model (mean and covariance), then the regression
// coefficients and residual variance jointly; then every missing value from its full conditional
// given those parameters and the row's observed values.
class Sampler : public Chain
{
public:
    Sampler(const ModelData &data, std::uint64_t seed, unsigned chain, unsigned chains);

    bool runTo(long iteration) override;
    long done() const override { return iterationsDone; }
    const std::string &error() const override { return failure; }
    const std::vector<double> &draws() const override { return history; }
    void keepImputationsAt(std::vector<long> iterations) override;
    // Imputed cells in grouped-row order, in the user's units.
    const std::vector<std::vector<double>> &imputations() const override { return kept; }

private:
    struct PatternWork
    {
        std::vector<double> constant; // m
        std::vector<double> onOutcome; // m
        std::vector<double> onObserved; // m x o
        std::vector<double> noise; // m x m, upper triangular
        std::vector<std::pair<int, int>> pairs; // cross-product cells that involve missing values
    };

    // The z indices of a pattern's missing values, the outcome's last.
    std::vector<int> missingColumns(const ModelData::Pattern &pattern) const;
    void disperseStart(unsigned chain, unsigned chains);
    bool drawPredictorModel();
    bool drawRegression();
    void record();
    bool imputeAndAccumulate(bool impute);
    bool solvePattern(std::size_t index);
    void imputePredictors(const ModelData::Pattern &pattern, const PatternWork &pw, double *block);
    static double dot(const double *a, const double *b, std::size_t n);
    void keepIfWanted();

    const ModelData &model;
    Random random;
    std::size_t p;
    std::size_t d;
    std::vector<double> values; // completed data, standardized, laid out as ModelData::values()
    Matrix cross; // Z'Z of the completed data
    std::vector<double> mu;
    Matrix precision; // of the predictors
    Matrix covariance;
    std::vector<double> coef; // intercept, slopes (standardized scale)
    double variance = 1.0;
    std::vector<PatternWork> work;
    std::vector<double> noise; // standard normal draws for one pattern's missing values

    long iterationsDone = 0;
    std::vector<double> history;
    std::vector<long> keepAt;
    std::size_t nextKeep = 0;
    std::vector<std::vector<double>> kept;
    std::string failure;
};
