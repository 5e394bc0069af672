#pragma once

#include "chain.h"
#include "matrix.h"
#include "random.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class MultilevelData;

// One chain of the Gibbs sampler for a two-level linear model
//   y_ij = x_ij' beta + z_ij' u_j + e_ij,  u_j ~ N(0, Sigma),  e_ij ~ N(0, sigma2).
// Each iteration draws, given the data completed by the current imputations: the fixed effects
// with the random effects integrated out (so the intercept mixes well however large the
// clusters' differences are), every cluster's random effects, the level-1 residual variance,
// the level-2 covariance matrix, the level-1 predictors' normal model, and then every missing
// level-1 value from its full conditional.
class MultilevelSampler : public Chain
{
public:
    MultilevelSampler(const MultilevelData &data, bool keepRandomEffects, std::uint64_t seed,
                      unsigned chain, unsigned chains);

    bool runTo(long iteration) override;
    long done() const override { return iterationsDone; }
    const std::string &error() const override { return failure; }
    const std::vector<double> &draws() const override { return history; }
    void keepImputationsAt(std::vector<long> iterations) override;
    // Values in the order of MultilevelData::missingCells(), in the user's units.
    const std::vector<std::vector<double>> &imputations() const override { return kept; }

    // Parameters per iteration: coefficients, the level-2 covariance matrix's lower triangle
    // by rows, the level-1 residual variance, then (when kept) each cluster's random effects.
    static std::size_t parameterCount(const MultilevelData &data, bool keepRandomEffects);

private:
    void start(unsigned chain, unsigned chains);
    void accumulate(bool all);
    bool drawFixed();
    bool drawRandom();
    void drawResidual();
    bool drawCovariance();
    bool drawPredictorModel();
    bool impute();
    void record();
    void keepIfWanted();
    // beta plus cluster g's random effects, one coefficient per position of w.
    void clusterCoefficients(std::size_t g, double *gamma) const;

    const MultilevelData &model;
    bool keepRandom;
    Random random;
    std::size_t w; // width of a row: 1, predictors, outcome
    std::size_t q; // random effects per cluster
    std::size_t clusters;
    std::vector<double> values; // completed data, as MultilevelData::values()
    std::vector<double> cross; // per cluster: w x w cross products of the completed rows
    std::vector<double> factors; // per cluster: Cholesky factor of Z'Z + sigma2 Sigma^-1 (q x q)
    std::vector<double> beta;
    std::vector<double> effects; // clusters x q
    double sigma2 = 1.0;
    Matrix sigma; // level-2 covariance
    Matrix sigmaInverse;
    Matrix priorScale;
    std::vector<double> mu; // level-1 predictors' model
    Matrix precision;

    long iterationsDone = 0;
    std::vector<double> history;
    std::vector<long> keepAt;
    std::size_t nextKeep = 0;
    std::vector<std::vector<double>> kept;
    std::string failure;
};
