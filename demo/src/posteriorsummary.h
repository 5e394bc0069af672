#pragma once

#include <cstddef>
#include <vector>

// Summaries of the draws of every parameter over all chains. Each chain's draws are stored
// iteration after iteration with all parameters side by side.
class PosteriorSummary
{
public:
    struct Estimate
    {
        double mean = 0.0;
        double median = 0.0;
        double sd = 0.0;
        double lower = 0.0; // 2.5%
        double upper = 0.0; // 97.5%
        double psr = 1.0;
        double effectiveSize = 0.0;
    };

    struct Highest
    {
        double psr = 1.0;
        std::size_t parameter = 0; // 0-based
    };

    PosteriorSummary(const std::vector<const std::vector<double> *> &chains,
                     std::size_t parameters);

    // Estimates from iterations [from, to) (0-based) of every chain.
    std::vector<Estimate> estimates(std::size_t from, std::size_t to) const;
    // The largest split-chain PSR over the second half of the first `done` iterations.
    Highest highestPsr(std::size_t done) const;

private:
    std::vector<std::vector<double>> parameterChains(std::size_t parameter) const;

    std::vector<const std::vector<double> *> draws;
    std::size_t count;
};
