#include "diagnostics.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>

namespace {

using Complex = std::complex<double>;

// In-place radix-2 transform; the size is a power of two. inverse = true leaves out the 1/n.
void fft(std::vector<Complex> &a, bool inverse)
{
    const std::size_t n = a.size();
    for (std::size_t i = 1, j = 0; i < n; ++i) {
        std::size_t bit = n >> 1;
        for (; j & bit; bit >>= 1)
            j ^= bit;
        j ^= bit;
        if (i < j)
            std::swap(a[i], a[j]);
    }
    const double pi = 3.14159265358979323846;
    for (std::size_t length = 2; length <= n; length <<= 1) {
        const double angle = 2.0 * pi / static_cast<double>(length) * (inverse ? 1.0 : -1.0);
        const Complex step(std::cos(angle), std::sin(angle));
        for (std::size_t i = 0; i < n; i += length) {
            Complex w(1.0, 0.0);
            for (std::size_t k = 0; k < length / 2; ++k) {
                const Complex u = a[i + k];
                const Complex v = a[i + k + length / 2] * w;
                a[i + k] = u + v;
                a[i + k + length / 2] = u - v;
                w *= step;
            }
        }
    }
}

// Within-sequence mean variance W and the pooled estimate of the posterior variance.
void varianceParts(const Diagnostics::Sequences &sequences, double &within, double &pooled)
{
    const double n = static_cast<double>(sequences.front().size());
    std::vector<double> means;
    within = 0.0;
    for (const auto &s : sequences) {
        means.push_back(Diagnostics::mean(s));
        within += Diagnostics::variance(s);
    }
    within /= static_cast<double>(sequences.size());
    const double between = sequences.size() > 1 ? Diagnostics::variance(means) : 0.0;
    pooled = (n - 1.0) / n * within + between;
}

} // namespace

Diagnostics::Sequences Diagnostics::splitHalves(const Sequences &chains, std::size_t from,
                                                std::size_t to)
{
    Sequences halves;
    const std::size_t half = (to - from) / 2;
    for (const auto &chain : chains) {
        halves.emplace_back(chain.begin() + static_cast<std::ptrdiff_t>(to - 2 * half),
                            chain.begin() + static_cast<std::ptrdiff_t>(to - half));
        halves.emplace_back(chain.begin() + static_cast<std::ptrdiff_t>(to - half),
                            chain.begin() + static_cast<std::ptrdiff_t>(to));
    }
    return halves;
}

double Diagnostics::psr(const Sequences &sequences)
{
    if (sequences.empty() || sequences.front().size() < 2)
        return std::numeric_limits<double>::quiet_NaN();
    double within = 0.0;
    double pooled = 0.0;
    varianceParts(sequences, within, pooled);
    if (!(within > 0.0))
        return pooled > 0.0 ? std::numeric_limits<double>::infinity() : 1.0;
    return std::sqrt(pooled / within);
}

double Diagnostics::effectiveSize(const Sequences &sequences)
{
    const std::size_t m = sequences.size();
    const std::size_t n = sequences.front().size();
    const double total = static_cast<double>(m * n);
    if (n < 4)
        return total;
    double within = 0.0;
    double pooled = 0.0;
    varianceParts(sequences, within, pooled);
    if (!(pooled > 0.0))
        return total;
    std::vector<double> meanAutocovariance(n, 0.0);
    for (const auto &s : sequences) {
        const std::vector<double> acov = autocovariance(s);
        for (std::size_t t = 0; t < n; ++t)
            meanAutocovariance[t] += acov[t] / static_cast<double>(m);
    }
    // acov[0] divides by n while W divides by n - 1; rescale so that rho(0) is exactly 1.
    const double toSample = static_cast<double>(n) / static_cast<double>(n - 1);
    auto rho = [&](std::size_t t) {
        return 1.0 - (within - meanAutocovariance[t] * toSample) / pooled;
    };
    double sum = 0.0;
    double previousPair = std::numeric_limits<double>::infinity();
    for (std::size_t t = 0; t + 1 < n; t += 2) {
        double pair = (t == 0 ? 1.0 : rho(t)) + rho(t + 1);
        if (pair < 0.0)
            break;
        pair = std::min(pair, previousPair);
        previousPair = pair;
        sum += pair;
    }
    const double tau = std::max(-1.0 + 2.0 * sum, 1.0 / std::log10(std::max(10.0, total)));
    return total / tau;
}

double Diagnostics::mean(const std::vector<double> &values)
{
    double sum = 0.0;
    for (double v : values)
        sum += v;
    return sum / static_cast<double>(values.size());
}

double Diagnostics::variance(const std::vector<double> &values)
{
    const double m = mean(values);
    double sum = 0.0;
    for (double v : values)
        sum += (v - m) * (v - m);
    return sum / static_cast<double>(values.size() - 1);
}

double Diagnostics::quantile(const std::vector<double> &sorted, double probability)
{
    if (sorted.empty())
        return std::numeric_limits<double>::quiet_NaN();
    const double position = probability * static_cast<double>(sorted.size() - 1);
    const std::size_t below = static_cast<std::size_t>(std::floor(position));
    const std::size_t above = std::min(below + 1, sorted.size() - 1);
    const double fraction = position - static_cast<double>(below);
    return sorted[below] + fraction * (sorted[above] - sorted[below]);
}

std::vector<double> Diagnostics::autocovariance(const std::vector<double> &sequence)
{
    const std::size_t n = sequence.size();
    std::size_t size = 1;
    while (size < 2 * n)
        size <<= 1;
    const double m = mean(sequence);
    std::vector<Complex> a(size, Complex(0.0, 0.0));
    for (std::size_t i = 0; i < n; ++i)
        a[i] = Complex(sequence[i] - m, 0.0);
    fft(a, false);
    for (auto &value : a)
        value = Complex(std::norm(value), 0.0);
    fft(a, true);
    std::vector<double> result(n);
    for (std::size_t t = 0; t < n; ++t)
        result[t] = a[t].real() / static_cast<double>(size) / static_cast<double>(n);
    return result;
}
