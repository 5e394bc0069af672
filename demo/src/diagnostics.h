#pragma once

#include <vector>

// Convergence and summary statistics over chains of draws of one parameter.
class Diagnostics
{
public:
    using Sequences = std::vector<std::vector<double>>;

    // Each chain's draws [from, to) split into a first and a second half, which makes drift within
    // a chain show up as disagreement between sequences.
    static Sequences splitHalves(const Sequences &chains, std::size_t from, std::size_t to);

    // Potential scale reduction: sqrt of the pooled over the within-sequence variance estimate.
    // 1 when the sequences agree; 1 for constant sequences; infinity when constant but different.
    static double psr(const Sequences &sequences);

    // Effective sample size from the sequences' autocorrelations, summed over lags in pairs until
    // a pair turns negative (Geyer's initial monotone sequence), across all sequences.
    static double effectiveSize(const Sequences &sequences);

    static double mean(const std::vector<double> &values);
    // The unbiased estimate, dividing by n - 1.
    static double variance(const std::vector<double> &values);

    // Quantile of sorted values with linear interpolation between order statistics.
    static double quantile(const std::vector<double> &sorted, double probability);

    // Autocovariances of one sequence at lags 0..n-1 (divided by n), computed through a fast
    // Fourier transform so long, slowly mixing chains stay cheap.
    static std::vector<double> autocovariance(const std::vector<double> &sequence);
};
