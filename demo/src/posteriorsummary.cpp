#include "posteriorsummary.h"

#include "diagnostics.h"

#include <algorithm>
#include <cmath>

PosteriorSummary::PosteriorSummary(const std::vector<const std::vector<double> *> &chains,
                                   std::size_t parameters)
    : draws(chains)
    , count(parameters)
{ }

std::vector<std::vector<double>> PosteriorSummary::parameterChains(std::size_t parameter) const
{
    std::vector<std::vector<double>> chains;
    for (const auto *chain : draws) {
        std::vector<double> values;
        values.reserve(chain->size() / count);
        for (std::size_t i = parameter; i < chain->size(); i += count)
            values.push_back((*chain)[i]);
        chains.push_back(std::move(values));
    }
    return chains;
}

std::vector<PosteriorSummary::Estimate> PosteriorSummary::estimates(std::size_t from,
                                                                    std::size_t to) const
{
    std::vector<Estimate> result;
    for (std::size_t parameter = 0; parameter < count; ++parameter) {
        const auto chains = parameterChains(parameter);
        std::vector<double> pooled;
        for (const auto &chain : chains)
            pooled.insert(pooled.end(), chain.begin() + static_cast<std::ptrdiff_t>(from),
                          chain.begin() + static_cast<std::ptrdiff_t>(to));
        Estimate e;
        e.mean = Diagnostics::mean(pooled);
        e.sd = pooled.size() > 1 ? std::sqrt(Diagnostics::variance(pooled)) : 0.0;
        std::sort(pooled.begin(), pooled.end());
        e.median = Diagnostics::quantile(pooled, 0.5);
        e.lower = Diagnostics::quantile(pooled, 0.025);
        e.upper = Diagnostics::quantile(pooled, 0.975);
        const auto halves = Diagnostics::splitHalves(chains, from, to);
        e.psr = Diagnostics::psr(halves);
        e.effectiveSize = Diagnostics::effectiveSize(halves);
        result.push_back(e);
    }
    return result;
}

PosteriorSummary::Highest PosteriorSummary::highestPsr(std::size_t done) const
{
    Highest highest;
    highest.psr = 0.0;
    for (std::size_t parameter = 0; parameter < count; ++parameter) {
        const double psr = Diagnostics::psr(
            Diagnostics::splitHalves(parameterChains(parameter), done / 2, done));
        // A NaN never wins, an infinite PSR (chains stuck apart) always does.
        if (psr > highest.psr) {
            highest.psr = psr;
            highest.parameter = parameter;
        }
    }
    return highest;
}
