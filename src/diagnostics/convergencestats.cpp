#include "convergencestats.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <complex>
#include <cstring>
#include <limits>

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
// Offset of the rank-to-probability map (r - c) / (S - 2c + 1), Blom's choice.
constexpr double kRankOffset = 3.0 / 8.0;
// Autocovariances are summed directly up to this lag; a chain whose correlations reach beyond
// it gets all its lags at once from a Fourier transform.
constexpr int kDirectLags = 128;

bool isConstant(const double *vValues, size_t vCount)
{
    // Varying draws usually show it at once; only near-constant ones need the full range.
    for (size_t i = 1; i < vCount; ++i)
        if (!(std::fabs(vValues[i] - vValues[0]) < DBL_EPSILON))
            return false;
    const auto [low, high] = std::minmax_element(vValues, vValues + vCount);
    return std::fabs(*high - *low) < DBL_EPSILON;
}

// NaN or infinite draws, or draws that do not vary, have no R-hat or effective size.
bool unusable(const std::vector<double> &vValues)
{
    for (double value : vValues)
        if (!std::isfinite(value))
            return true;
    return vValues.empty() || isConstant(vValues.data(), vValues.size());
}

double mean(const double *vValues, size_t vCount)
{
    double sum = 0;
    for (size_t i = 0; i < vCount; ++i)
        sum += vValues[i];
    return sum / double(vCount);
}

// Sample variance (n - 1 in the denominator), two passes.
double variance(const double *vValues, size_t vCount)
{
    if (vCount < 2)
        return kNaN;
    const double centre = mean(vValues, vCount);
    double sum = 0;
    for (size_t i = 0; i < vCount; ++i) {
        const double d = vValues[i] - centre;
        sum += d * d;
    }
    return sum / double(vCount - 1);
}

// The continuous sample quantile that interpolates between order statistics (the default of
// most statistics packages), over values sorted ascending.
double quantileSorted(const std::vector<double> &vSorted, double vP)
{
    const size_t n = vSorted.size();
    const double index = 1 + double(n > 0 ? n - 1 : 0) * vP;
    const double lo = std::floor(index);
    const double hi = std::ceil(index);
    double q = vSorted[size_t(lo) - 1];
    const double upper = vSorted[size_t(hi) - 1];
    if (index > lo && upper != q) {
        const double h = index - lo;
        q = (1 - h) * q + h * upper;
    }
    return q;
}

double medianSorted(const std::vector<double> &vSorted)
{
    const size_t n = vSorted.size();
    const size_t half = (n + 1) / 2;
    if (n % 2 == 1)
        return vSorted[half - 1];
    return (vSorted[half - 1] + vSorted[half]) / 2;
}

// In-place radix-2 transform (size a power of two) with a per-thread table of twiddles.
void fft(std::vector<std::complex<double>> &vData)
{
    const size_t n = vData.size();
    thread_local std::vector<std::complex<double>> twiddles;
    if (twiddles.size() != n / 2) {
        twiddles.resize(n / 2);
        for (size_t k = 0; k < n / 2; ++k)
            twiddles[k] = std::polar(1.0, -2 * M_PI * double(k) / double(n));
    }
    for (size_t i = 1, j = 0; i < n; ++i) {
        size_t bit = n >> 1;
        for (; j & bit; bit >>= 1)
            j ^= bit;
        j ^= bit;
        if (i < j)
            std::swap(vData[i], vData[j]);
    }
    // Plain arrays of (real, imaginary) pairs: the loops below then compile to straight
    // arithmetic, with no complex-number special cases.
    const double *w = reinterpret_cast<const double *>(twiddles.data());
    double *d = reinterpret_cast<double *>(vData.data());
    for (size_t length = 2; length <= n; length <<= 1) {
        const size_t half = length / 2;
        const size_t stride = n / length;
        for (size_t start = 0; start < n; start += length) {
            double *low = d + 2 * start;
            double *high = low + 2 * half;
            for (size_t k = 0; k < half; ++k) {
                const double wr = w[2 * k * stride];
                const double wi = w[2 * k * stride + 1];
                const double hr = high[2 * k];
                const double hi = high[2 * k + 1];
                const double br = hr * wr - hi * wi;
                const double bi = hr * wi + hi * wr;
                const double ar = low[2 * k];
                const double ai = low[2 * k + 1];
                low[2 * k] = ar + br;
                low[2 * k + 1] = ai + bi;
                high[2 * k] = ar - br;
                high[2 * k + 1] = ai - bi;
            }
        }
    }
}

// Autocovariances (divided by n) of centred chains, averaged over the chains, lag by lag on
// demand.
class AutocovarianceMeans
{
public:
    AutocovarianceMeans(const std::vector<double> &vCentred, int vIterations, int vChains,
                        std::vector<double> &vCache)
        : m_centred(vCentred)
        , m_n(vIterations)
        , m_chains(vChains)
        , m_cache(vCache)
    {
        m_cache.clear();
    }

    double at(int vLag)
    {
        while (int(m_cache.size()) <= vLag) {
            // Still strongly correlated after a few dozen lags: many more will be needed, so
            // the full transform comes at once.
            const int done = int(m_cache.size());
            const bool slow = done >= 32 && m_cache.back() > 0.5 * m_cache.front();
            if (slow || done >= kDirectLags) {
                transform(slow || m_cache.back() > 0.3 * m_cache.front() ? m_n : vLag);
                break;
            }
            m_cache.push_back(direct(int(m_cache.size())));
        }
        return m_cache[size_t(vLag)];
    }

private:
    double direct(int vLag) const
    {
        double total = 0;
        for (int c = 0; c < m_chains; ++c) {
            const double *y = m_centred.data() + size_t(c) * size_t(m_n);
            // Four running sums let the processor overlap the multiplications.
            double sums[4] = {0, 0, 0, 0};
            const int count = m_n - vLag;
            int i = 0;
            for (; i + 4 <= count; i += 4)
                for (int k = 0; k < 4; ++k)
                    sums[k] += y[i + k] * y[i + k + vLag];
            for (; i < count; ++i)
                sums[0] += y[i] * y[i + vLag];
            total += (sums[0] + sums[1] + sums[2] + sums[3]) / m_n;
        }
        return total / m_chains;
    }

    // Only the chains' sum is wanted, so their power spectra are added and inverted once; two
    // real chains share one complex transform (one as the real, one as the imaginary part),
    // whose power at k and -k averages to the sum of theirs.
    // A transform of size M gives the lags below M - n exactly (longer ones wrap around), so a
    // short one serves chains whose correlations die out early, a full one the rest.
    void transform(int vLag)
    {
        const size_t wanted = std::min(size_t(m_n) + std::max(size_t(vLag) * 4, size_t(1024)),
                                       2 * size_t(m_n));
        size_t size = 1;
        while (size < wanted)
            size <<= 1;
        const int exact = int(std::min(size - size_t(m_n), size_t(m_n)));
        std::vector<double> power(size, 0.0);
        std::vector<std::complex<double>> data(size);
        for (int c = 0; c < m_chains; c += 2) {
            const double *a = m_centred.data() + size_t(c) * size_t(m_n);
            const double *b = c + 1 < m_chains ? a + m_n : nullptr;
            std::fill(data.begin(), data.end(), std::complex<double>());
            for (int i = 0; i < m_n; ++i)
                data[size_t(i)] = {a[i], b ? b[i] : 0.0};
            fft(data);
            for (size_t k = 0; k < size; ++k)
                power[k] += (std::norm(data[k]) + std::norm(data[(size - k) % size])) / 2;
        }
        // The summed spectrum is real and even: a forward transform inverts it up to its size.
        for (size_t k = 0; k < size; ++k)
            data[k] = power[k];
        fft(data);
        m_cache.resize(size_t(exact));
        for (int t = 0; t < exact; ++t)
            m_cache[size_t(t)] = data[size_t(t)].real() / double(size) / m_n / m_chains;
    }

    const std::vector<double> &m_centred;
    int m_n;
    int m_chains;
    std::vector<double> &m_cache;
};

// A key whose unsigned order is the order of the doubles; both zeros get the same key, as they
// compare equal.
quint64 sortKey(double vValue)
{
    if (vValue == 0)
        vValue = 0;
    quint64 bits;
    std::memcpy(&bits, &vValue, sizeof bits);
    return (bits >> 63) ? ~bits : bits | (quint64(1) << 63);
}

} // namespace

// Least-significant-digit radix sort by value, 11 bits a pass with every pass's counts taken
// in one sweep: several times quicker than a comparison sort at these sizes.
void ConvergenceStats::sortByValue(std::vector<Ranked> &vItems)
{
    constexpr int kBits = 11;
    constexpr int kPasses = (64 + kBits - 1) / kBits;
    constexpr quint64 kMask = (quint64(1) << kBits) - 1;
    const size_t n = vItems.size();
    m_orderTemp.resize(n);
    m_counts.assign(size_t(kPasses) << kBits, 0);
    for (size_t i = 0; i < n; ++i) {
        const quint64 key = sortKey(vItems[i].value);
        for (int pass = 0; pass < kPasses; ++pass)
            ++m_counts[(size_t(pass) << kBits) + ((key >> (pass * kBits)) & kMask)];
    }
    for (int pass = 0; pass < kPasses; ++pass) {
        quint32 *counts = m_counts.data() + (size_t(pass) << kBits);
        const int shift = pass * kBits;
        if (counts[(sortKey(vItems[0].value) >> shift) & kMask] == n)
            continue; // every key has this digit: the pass would change nothing
        quint32 total = 0;
        for (size_t d = 0; d <= kMask; ++d) {
            const quint32 here = counts[d];
            counts[d] = total;
            total += here;
        }
        // The key is cheaper to make again than to carry along.
        for (size_t i = 0; i < n; ++i)
            m_orderTemp[counts[(sortKey(vItems[i].value) >> shift) & kMask]++] = vItems[i];
        vItems.swap(m_orderTemp);
    }
}

double ConvergenceStats::normalQuantile(double vP)
{
    if (std::isnan(vP))
        return kNaN;
    if (vP <= 0)
        return -kInf;
    if (vP >= 1)
        return kInf;
    if (vP == 0.5)
        return 0;
    // The upper half mirrors the lower, where the tail is resolved best.
    const bool upper = vP > 0.5;
    const double p = upper ? 1 - vP : vP;
    // A rational first guess good to about 1e-9...
    static const double a[] = {-3.969683028665376e+01, 2.209460984245205e+02,
                               -2.759285104469687e+02, 1.383577518672690e+02,
                               -3.066479806614716e+01, 2.506628277459239e+00};
    static const double b[] = {-5.447609879822406e+01, 1.615858368580409e+02,
                               -1.556989798598866e+02, 6.680131188771972e+01,
                               -1.328068155288572e+01};
    static const double c[] = {-7.784894002430293e-03, -3.223964580411365e-01,
                               -2.400758277161838e+00, -2.549732539343734e+00,
                               4.374664141464968e+00,  2.938163982698783e+00};
    static const double d[] = {7.784695709041462e-03, 3.224671290700398e-01,
                               2.445134137142996e+00, 3.754408661907416e+00};
    double x;
    if (p < 0.02425) {
        const double q = std::sqrt(-2 * std::log(p));
        x = (((((c[0] * q + c[1]) * q + c[2]) * q + c[3]) * q + c[4]) * q + c[5])
            / ((((d[0] * q + d[1]) * q + d[2]) * q + d[3]) * q + 1);
    } else {
        const double q = p - 0.5;
        const double r = q * q;
        x = (((((a[0] * r + a[1]) * r + a[2]) * r + a[3]) * r + a[4]) * r + a[5]) * q
            / (((((b[0] * r + b[1]) * r + b[2]) * r + b[3]) * r + b[4]) * r + 1);
    }
    // ...then Halley steps against the accurate normal tail probability.
    for (int step = 0; step < 2; ++step) {
        const double e = 0.5 * std::erfc(-x / M_SQRT2) - p;
        const double u = e * std::sqrt(2 * M_PI) * std::exp(x * x / 2);
        x -= u / (1 + x * u / 2);
    }
    return upper ? -x : x;
}

void ConvergenceStats::prepareRanks(int vCount)
{
    if (vCount != m_rankTableCount) {
        m_rankTable.resize(size_t(vCount));
        for (int r = 1; r <= vCount; ++r)
            m_rankTable[size_t(r - 1)]
                = normalQuantile((r - kRankOffset) / (vCount - 2 * kRankOffset + 1));
        m_rankTableCount = vCount;
    }
}

// The normal score of the average rank of sorted positions vFirst..vLast (from 0).
double ConvergenceStats::rankNormal(int vFirst, int vLast, int vCount) const
{
    if ((vFirst + vLast) % 2 == 0)
        return m_rankTable[size_t((vFirst + vLast) / 2)];
    const double rank = (vFirst + vLast) / 2.0 + 1;
    return normalQuantile((rank - kRankOffset) / (vCount - 2 * kRankOffset + 1));
}

std::pair<int, int> ConvergenceStats::splitShape(int vIterations, int vChains)
{
    if (vIterations == 1)
        return {1, vChains};
    // Halves of a single draw are read across the chains: the first draws of all chains form one
    // sequence, the last draws another. The reference does the same, so short runs agree.
    if (vIterations / 2 == 1)
        return {vChains, 2};
    return {vIterations / 2, 2 * vChains};
}

void ConvergenceStats::splitChains(const double *vDraws, int vIterations, int vChains,
                                   std::vector<double> &vOut)
{
    if (vIterations == 1) {
        vOut.assign(vDraws, vDraws + vChains);
        return;
    }
    // First halves of every chain, then second halves; an odd middle draw is left out.
    const int half = vIterations / 2;
    vOut.resize(size_t(2) * size_t(vChains) * size_t(half));
    double *out = vOut.data();
    for (int second = 0; second < 2; ++second) {
        const int from = second ? vIterations - half : 0;
        for (int c = 0; c < vChains; ++c) {
            const double *chain = vDraws + size_t(c) * size_t(vIterations) + from;
            out = std::copy(chain, chain + half, out);
        }
    }
}

// Replaces the values by the normal quantiles of their average ranks, keeping the sorted order
// in m_order for the folded form and the quantiles.
void ConvergenceStats::zScale(std::vector<double> &vValues)
{
    const int count = int(vValues.size());
    m_order.resize(vValues.size());
    for (int i = 0; i < count; ++i)
        m_order[size_t(i)] = {vValues[size_t(i)], i};
    if (!m_order.empty())
        sortByValue(m_order);
    prepareRanks(count);
    for (int i = 0; i < count;) {
        int j = i;
        while (j + 1 < count && m_order[size_t(j + 1)].value == m_order[size_t(i)].value)
            ++j;
        const double z = rankNormal(i, j, count);
        for (int k = i; k <= j; ++k)
            vValues[size_t(m_order[size_t(k)].index)] = z;
        i = j + 1;
    }
}

// The same for the distances from vMedian, ranked by merging the two sides of the sorted order
// instead of sorting again.
void ConvergenceStats::zScaleFolded(std::vector<double> &vValues, double vMedian)
{
    const int count = int(m_order.size());
    int right = int(std::lower_bound(m_order.begin(), m_order.end(), vMedian,
                                     [](const Ranked &l, double v) { return l.value < v; })
                    - m_order.begin());
    int left = right - 1;
    m_folded.resize(size_t(count));
    for (int k = 0; k < count; ++k) {
        const double dl = left >= 0 ? std::fabs(m_order[size_t(left)].value - vMedian) : kInf;
        const double dr = right < count ? std::fabs(m_order[size_t(right)].value - vMedian) : kInf;
        const bool takeLeft = right >= count || (left >= 0 && dl <= dr);
        const int from = takeLeft ? left-- : right++;
        m_folded[size_t(k)] = {takeLeft ? dl : dr, m_order[size_t(from)].index};
    }
    prepareRanks(count);
    for (int i = 0; i < count;) {
        int j = i;
        while (j + 1 < count && m_folded[size_t(j + 1)].value == m_folded[size_t(i)].value)
            ++j;
        const double z = rankNormal(i, j, count);
        for (int k = i; k <= j; ++k)
            vValues[size_t(m_folded[size_t(k)].index)] = z;
        i = j + 1;
    }
}

double ConvergenceStats::rhatOf(const std::vector<double> &vSplit, int vIterations,
                                int vChains) const
{
    if (vIterations < 2 || vChains < 2 || unusable(vSplit))
        return kNaN;
    std::vector<double> means(static_cast<size_t>(vChains));
    double withinSum = 0;
    for (int c = 0; c < vChains; ++c) {
        const double *chain = vSplit.data() + size_t(c) * size_t(vIterations);
        means[size_t(c)] = mean(chain, size_t(vIterations));
        withinSum += variance(chain, size_t(vIterations));
    }
    const double between = vIterations * variance(means.data(), means.size());
    const double within = withinSum / vChains;
    return std::sqrt((between / within + vIterations - 1) / vIterations);
}

double ConvergenceStats::essOf(const std::vector<double> &vSplit, int vIterations, int vChains)
{
    if (vIterations < 3 || unusable(vSplit))
        return kNaN;
    const int n = vIterations;
    std::vector<double> means(static_cast<size_t>(vChains));
    m_scratch.resize(vSplit.size());
    for (int c = 0; c < vChains; ++c) {
        const double *chain = vSplit.data() + size_t(c) * size_t(n);
        double *centred = m_scratch.data() + size_t(c) * size_t(n);
        means[size_t(c)] = mean(chain, size_t(n));
        // A chain that never moves has no autocovariance at all.
        const bool still = isConstant(chain, size_t(n));
        for (int i = 0; i < n; ++i)
            centred[i] = still ? 0.0 : chain[i] - means[size_t(c)];
    }
    AutocovarianceMeans acov(m_scratch, n, vChains, m_acovMeans);
    const double meanVar = acov.at(0) * n / (n - 1);
    double varPlus = meanVar * (n - 1) / n;
    if (vChains > 1)
        varPlus += variance(means.data(), means.size());

    // Geyer's initial positive sequence over pairs of autocorrelations...
    m_rho.assign(size_t(n), 0.0);
    std::vector<double> &rho = m_rho;
    int t = 0;
    double rhoEven = 1;
    double rhoOdd = 1 - (meanVar - acov.at(1)) / varPlus;
    rho[0] = rhoEven;
    rho[1] = rhoOdd;
    while (t < n - 5 && !std::isnan(rhoEven + rhoOdd) && rhoEven + rhoOdd > 0) {
        t += 2;
        rhoEven = 1 - (meanVar - acov.at(t)) / varPlus;
        rhoOdd = 1 - (meanVar - acov.at(t + 1)) / varPlus;
        if (rhoEven + rhoOdd >= 0) {
            rho[size_t(t)] = rhoEven;
            rho[size_t(t + 1)] = rhoOdd;
        }
    }
    const int maxT = t;
    if (rhoEven > 0)
        rho[size_t(maxT)] = rhoEven;
    // ...made monotone.
    for (t = 0; t <= maxT - 4;) {
        t += 2;
        if (rho[size_t(t)] + rho[size_t(t + 1)] > rho[size_t(t - 2)] + rho[size_t(t - 1)]) {
            rho[size_t(t)] = (rho[size_t(t - 2)] + rho[size_t(t - 1)]) / 2;
            rho[size_t(t + 1)] = rho[size_t(t)];
        }
    }
    const double draws = double(vChains) * n;
    // With no pair accepted the sum runs over the first correlation alone.
    double sum = rho[0];
    for (int k = 1; k < maxT; ++k)
        sum += rho[size_t(k)];
    double tau = -1 + 2 * sum + rho[size_t(maxT)];
    // Capped so an antithetic chain cannot claim more than log10 of its draws over their count.
    tau = std::max(tau, 1 / std::log10(draws));
    return draws / tau;
}

double ConvergenceStats::tailEss(const double *vDraws, int vIterations, int vChains,
                                 const std::vector<double> &vSortedAll)
{
    const size_t total = size_t(vIterations) * size_t(vChains);
    for (size_t i = 0; i < total; ++i)
        if (!std::isfinite(vDraws[i]))
            return kNaN;
    if (isConstant(vDraws, total))
        return kNaN;
    double smallest = kInf;
    std::vector<double> below(total);
    for (double p : {0.05, 0.95}) {
        const double q = quantileSorted(vSortedAll, p);
        for (size_t i = 0; i < total; ++i)
            below[i] = vDraws[i] <= q ? 1.0 : 0.0;
        splitChains(below.data(), vIterations, vChains, m_split);
        const auto [half, chains] = splitShape(vIterations, vChains);
        const double ess = essOf(m_split, half, chains);
        if (std::isnan(ess))
            return kNaN;
        smallest = std::min(smallest, ess);
    }
    return smallest;
}

ParameterSummary ConvergenceStats::summarise(const double *vDraws, int vIterations, int vChains)
{
    ParameterSummary s;
    const size_t total = size_t(vIterations) * size_t(vChains);
    bool finite = true;
    for (size_t i = 0; i < total; ++i) {
        if (std::isnan(vDraws[i]))
            return {kNaN, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN};
        finite = finite && std::isfinite(vDraws[i]);
    }
    if (total == 0)
        return {kNaN, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN};

    const auto [half, splitCount] = splitShape(vIterations, vChains);
    splitChains(vDraws, vIterations, vChains, m_split);
    std::vector<double> bulk = m_split;
    zScale(bulk);

    // The split draws are all the draws unless an odd middle one was left out.
    std::vector<double> sorted;
    sorted.reserve(total);
    if (m_order.size() == total) {
        for (const Ranked &r : m_order)
            sorted.push_back(r.value);
    } else {
        sorted.assign(vDraws, vDraws + total);
        std::sort(sorted.begin(), sorted.end());
    }
    s.median = medianSorted(sorted);
    s.q025 = quantileSorted(sorted, 0.025);
    s.q975 = quantileSorted(sorted, 0.975);
    s.sd = finite ? std::sqrt(variance(vDraws, total)) : kNaN;

    const double rhatBulk = rhatOf(bulk, half, splitCount);
    s.essBulk = essOf(bulk, half, splitCount);
    double rhatTail = kNaN;
    if (std::isfinite(s.median)) {
        std::vector<double> folded(m_split.size());
        zScaleFolded(folded, s.median);
        rhatTail = rhatOf(folded, half, splitCount);
    }
    s.rhat = std::isnan(rhatBulk) || std::isnan(rhatTail) ? kNaN : std::max(rhatBulk, rhatTail);

    // The raw split draws, for the Monte Carlo error of the mean.
    s.mcseMean = s.sd / std::sqrt(essOf(m_split, half, splitCount));
    s.essTail = tailEss(vDraws, vIterations, vChains, sorted);
    return s;
}
