#include "multilevelsampler.h"

#include "multileveldata.h"

#include <algorithm>
#include <cmath>

namespace {

// The prior on the level-2 covariance matrix: inverse Wishart with q - 1 degrees of freedom and a
// diagonal scale of this fraction of the outcome's variance, in each random effect's own units.
// The few degrees of freedom pull small variances towards zero far less than the usual q + 1
// (with 30 clusters a slope variance's 95% interval then covers the truth about 92% of the time
// rather than 77%); the small scale keeps the posterior proper without moving real variances.
constexpr double priorFraction = 0.01;

// In-place Cholesky factor of a small row-major n x n matrix (lower triangle kept).
bool choleskyInPlace(double *a, std::size_t n)
{
    for (std::size_t j = 0; j < n; ++j) {
        double diagonal = a[j * n + j];
        for (std::size_t k = 0; k < j; ++k)
            diagonal -= a[j * n + k] * a[j * n + k];
        if (!(diagonal > 0.0))
            return false;
        const double root = std::sqrt(diagonal);
        a[j * n + j] = root;
        for (std::size_t i = j + 1; i < n; ++i) {
            double s = a[i * n + j];
            for (std::size_t k = 0; k < j; ++k)
                s -= a[i * n + k] * a[j * n + k];
            a[i * n + j] = s / root;
        }
    }
    return true;
}

// Solve L x = b, then L' x = b, in place, for the lower factor above.
void solveLower(const double *l, std::size_t n, double *b)
{
    for (std::size_t i = 0; i < n; ++i) {
        double s = b[i];
        for (std::size_t k = 0; k < i; ++k)
            s -= l[i * n + k] * b[k];
        b[i] = s / l[i * n + i];
    }
}

void solveUpper(const double *l, std::size_t n, double *b)
{
    for (std::size_t i = n; i-- > 0;) {
        double s = b[i];
        for (std::size_t k = i + 1; k < n; ++k)
            s -= l[k * n + i] * b[k];
        b[i] = s / l[i * n + i];
    }
}

// A draw from N(A^-1 h, scale^2 A^-1) given the factor of A; h is overwritten by the draw.
void drawNormal(const double *l, std::size_t n, double *h, double scale, Random &random)
{
    solveLower(l, n, h);
    for (std::size_t i = 0; i < n; ++i)
        h[i] += scale * random.normal();
    solveUpper(l, n, h);
}

} // namespace

std::size_t MultilevelSampler::parameterCount(const MultilevelData &data, bool keepRandomEffects)
{
    const std::size_t q = data.randomColumns().size();
    return data.predictors() + 1 + q * (q + 1) / 2 + 1
        + (keepRandomEffects ? q * data.clusters().size() : 0);
}

MultilevelSampler::MultilevelSampler(const MultilevelData &data, bool keepRandomEffects,
                                     std::uint64_t seed, unsigned chain, unsigned chains)
    : model(data)
    , keepRandom(keepRandomEffects)
    , random(Random::forStream(seed, chain))
    , w(data.width())
    , q(data.randomColumns().size())
    , clusters(data.clusters().size())
    , values(data.values())
    , cross(clusters * w * w, 0.0)
    , factors(clusters * q * q, 0.0)
    , beta(w - 1, 0.0)
    , effects(clusters * q, 0.0)
    , priorScale(q, q)
{
    const double ySd = model.sd(w - 1);
    for (std::size_t a = 0; a < q; ++a) {
        const std::size_t position = model.randomColumns()[a];
        const double unit = position == 0 ? ySd : ySd / model.sd(position);
        priorScale(a, a) = priorFraction * unit * unit;
    }
    start(chain, chains);
    accumulate(true);
    history.reserve(1024);
}

// Chains start from spread-out variances and imputations (shifted two standard deviations in a
// different direction per chain), so a PSR near 1 means they have forgotten their start.
void MultilevelSampler::start(unsigned chain, unsigned chains)
{
    const double spread = chains > 1 ? 2.0 * (2.0 * chain / (chains - 1.0) - 1.0) : 0.0;
    const double ySd = model.sd(w - 1);
    sigma2 = ySd * ySd * 0.5 * std::pow(2.0, spread);
    sigma = Matrix(q, q);
    for (std::size_t a = 0; a < q; ++a)
        sigma(a, a) = 25.0 * priorScale(a, a) * std::pow(2.0, -spread);
    Matrix lower;
    sigma.cholesky(lower);
    const Matrix inverseLower = lower.lowerInverse();
    sigmaInverse = inverseLower.transposed() * inverseLower;
    for (const auto &cell : model.missingCells()) {
        const std::size_t position = cell.second;
        values[cell.first * w + position] = model.mean(position)
            + model.sd(position) * ((position % 2 == 0 ? spread : -spread) + random.normal());
    }
}

void MultilevelSampler::keepImputationsAt(std::vector<long> iterations)
{
    keepAt = std::move(iterations);
    nextKeep = 0;
    kept.clear();
}

bool MultilevelSampler::runTo(long iteration)
{
    while (iterationsDone < iteration) {
        if (!drawFixed() || !drawRandom())
            return false;
        drawResidual();
        if (!drawCovariance())
            return false;
        if (model.anyMissing()) {
            if (!drawPredictorModel() || !impute())
                return false;
            accumulate(false);
        }
        ++iterationsDone;
        record();
        keepIfWanted();
    }
    return true;
}

// Cross products of every cluster's rows; after the first time only clusters holding imputed
// values change.
void MultilevelSampler::accumulate(bool all)
{
    for (std::size_t g = 0; g < clusters; ++g) {
        const MultilevelData::Cluster &cluster = model.clusters()[g];
        if (!all && !cluster.incomplete)
            continue;
        double *c = &cross[g * w * w];
        std::fill(c, c + w * w, 0.0);
        for (std::size_t i = cluster.first; i < cluster.first + cluster.count; ++i) {
            const double *row = &values[i * w];
            for (std::size_t j = 0; j < w; ++j)
                for (std::size_t k = j; k < w; ++k)
                    c[j * w + k] += row[j] * row[k];
        }
        for (std::size_t j = 0; j < w; ++j)
            for (std::size_t k = j + 1; k < w; ++k)
                c[k * w + j] = c[j * w + k];
    }
}

// beta | sigma2, Sigma, data with u integrated out: with A_j = Z'Z + sigma2 Sigma^-1,
// X'V^-1X = (X'X - X'Z A^-1 Z'X) / sigma2 and likewise for X'V^-1y, summed over clusters.
bool MultilevelSampler::drawFixed()
{
    const std::size_t p1 = w - 1;
    const std::vector<std::size_t> &z = model.randomColumns();
    std::vector<double> m(p1 * p1, 0.0);
    std::vector<double> b(p1, 0.0);
    std::vector<double> solved(q * w);
    for (std::size_t g = 0; g < clusters; ++g) {
        const double *c = &cross[g * w * w];
        double *l = &factors[g * q * q];
        for (std::size_t a = 0; a < q; ++a)
            for (std::size_t e = 0; e < q; ++e)
                l[a * q + e] = c[z[a] * w + z[e]] + sigma2 * sigmaInverse(a, e);
        if (!choleskyInPlace(l, q)) {
            failure = "the random-effects model became singular.";
            return false;
        }
        // Column k of L^-1 Z'[X y].
        std::vector<double> column(q);
        for (std::size_t k = 0; k < w; ++k) {
            for (std::size_t a = 0; a < q; ++a)
                column[a] = c[z[a] * w + k];
            solveLower(l, q, column.data());
            for (std::size_t a = 0; a < q; ++a)
                solved[a * w + k] = column[a];
        }
        for (std::size_t j = 0; j < p1; ++j) {
            for (std::size_t k = j; k < p1; ++k) {
                double s = c[j * w + k];
                for (std::size_t a = 0; a < q; ++a)
                    s -= solved[a * w + j] * solved[a * w + k];
                m[j * p1 + k] += s;
            }
            double s = c[j * w + p1];
            for (std::size_t a = 0; a < q; ++a)
                s -= solved[a * w + j] * solved[a * w + p1];
            b[j] += s;
        }
    }
    for (std::size_t j = 0; j < p1; ++j)
        for (std::size_t k = 0; k < j; ++k)
            m[j * p1 + k] = m[k * p1 + j];
    if (!choleskyInPlace(m.data(), p1)) {
        failure = "the predictors are linearly dependent (one is a combination of the others).";
        return false;
    }
    drawNormal(m.data(), p1, b.data(), std::sqrt(sigma2), random);
    beta = b;
    return true;
}

// u_j | beta: N(A_j^-1 Z'(y - X beta), sigma2 A_j^-1), with the factors drawFixed() left.
bool MultilevelSampler::drawRandom()
{
    const std::size_t p1 = w - 1;
    const std::vector<std::size_t> &z = model.randomColumns();
    const double sd = std::sqrt(sigma2);
    std::vector<double> h(q);
    for (std::size_t g = 0; g < clusters; ++g) {
        const double *c = &cross[g * w * w];
        for (std::size_t a = 0; a < q; ++a) {
            double s = c[z[a] * w + p1];
            for (std::size_t k = 0; k < p1; ++k)
                s -= c[z[a] * w + k] * beta[k];
            h[a] = s;
        }
        drawNormal(&factors[g * q * q], q, h.data(), sd, random);
        std::copy(h.begin(), h.end(), effects.begin() + static_cast<std::ptrdiff_t>(g * q));
    }
    return true;
}

void MultilevelSampler::clusterCoefficients(std::size_t g, double *gamma) const
{
    std::copy(beta.begin(), beta.end(), gamma);
    for (std::size_t a = 0; a < q; ++a)
        gamma[model.randomColumns()[a]] += effects[g * q + a];
}

// sigma2 | rest, under the prior 1/sigma2: the residual sum of squares over a chi-square on n.
void MultilevelSampler::drawResidual()
{
    const std::size_t p1 = w - 1;
    std::vector<double> gamma(p1);
    double sse = 0.0;
    for (std::size_t g = 0; g < clusters; ++g) {
        const double *c = &cross[g * w * w];
        clusterCoefficients(g, gamma.data());
        double s = c[p1 * w + p1];
        for (std::size_t j = 0; j < p1; ++j) {
            s -= 2.0 * gamma[j] * c[j * w + p1];
            for (std::size_t k = 0; k < p1; ++k)
                s += gamma[j] * c[j * w + k] * gamma[k];
        }
        sse += s;
    }
    sse = std::max(sse, 1e-300);
    sigma2 = sse / random.chiSquare(static_cast<double>(model.rows()));
}

// Sigma | u: inverse Wishart(J + q - 1, prior scale + sum u u'), drawn through Bartlett's
// construction of its inverse.
bool MultilevelSampler::drawCovariance()
{
    Matrix scatter = priorScale;
    for (std::size_t g = 0; g < clusters; ++g)
        for (std::size_t a = 0; a < q; ++a)
            for (std::size_t e = 0; e < q; ++e)
                scatter(a, e) += effects[g * q + a] * effects[g * q + e];
    Matrix lower;
    if (!scatter.cholesky(lower)) {
        failure = "the level-2 covariance matrix became singular.";
        return false;
    }
    const double df = static_cast<double>(clusters + q - 1);
    Matrix bartlett(q, q);
    for (std::size_t i = 0; i < q; ++i) {
        bartlett(i, i) = std::sqrt(random.chiSquare(df - static_cast<double>(i)));
        for (std::size_t j = 0; j < i; ++j)
            bartlett(i, j) = random.normal();
    }
    sigmaInverse = (lower.lowerInverse().transposed() * bartlett).timesOwnTranspose();
    sigma = (lower * bartlett.lowerInverse().transposed()).timesOwnTranspose();
    return true;
}

// Mean and precision of the level-1 predictors under a Jeffreys-type prior, from the completed
// rows; only needed when some of them are missing.
bool MultilevelSampler::drawPredictorModel()
{
    const std::vector<std::size_t> &level = model.levelOnePredictors();
    const std::size_t m = level.size();
    if (m == 0)
        return true;
    const std::size_t n = model.rows();
    std::vector<double> mean(m, 0.0);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t a = 0; a < m; ++a)
            mean[a] += values[i * w + level[a]];
    for (double &value : mean)
        value /= static_cast<double>(n);
    Matrix scatter(m, m);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t a = 0; a < m; ++a) {
            const double da = values[i * w + level[a]] - mean[a];
            for (std::size_t e = 0; e <= a; ++e)
                scatter(a, e) += da * (values[i * w + level[e]] - mean[e]);
        }
    for (std::size_t a = 0; a < m; ++a)
        for (std::size_t e = a + 1; e < m; ++e)
            scatter(a, e) = scatter(e, a);
    Matrix lower;
    if (!scatter.cholesky(lower)) {
        failure = "the predictors are linearly dependent (one is a combination of the others).";
        return false;
    }
    const double dn = static_cast<double>(n);
    Matrix bartlett(m, m);
    for (std::size_t i = 0; i < m; ++i) {
        bartlett(i, i) = std::sqrt(random.chiSquare(dn - 1.0 - static_cast<double>(i)));
        for (std::size_t j = 0; j < i; ++j)
            bartlett(i, j) = random.normal();
    }
    precision = (lower.lowerInverse().transposed() * bartlett).timesOwnTranspose();
    const Matrix factor = lower * bartlett.lowerInverse().transposed();
    std::vector<double> e(m);
    for (double &value : e)
        value = random.normal();
    const std::vector<double> shift = factor.times(e);
    mu.resize(m);
    for (std::size_t a = 0; a < m; ++a)
        mu[a] = mean[a] + shift[a] / std::sqrt(dn);
    return true;
}

// Each incomplete row in turn: its missing level-1 predictors from their normal model given the
// row's observed predictors and (when observed) its outcome under the cluster's coefficients;
// then a missing outcome from the regression.
bool MultilevelSampler::impute()
{
    const std::vector<std::size_t> &level = model.levelOnePredictors();
    const std::size_t m1 = level.size();
    const std::size_t y = w - 1;
    const double sd = std::sqrt(sigma2);
    std::vector<double> gamma(w - 1);
    std::vector<std::size_t> gone; // indices into `level`
    std::vector<double> q2;
    std::vector<double> h;
    for (std::size_t g = 0; g < clusters; ++g) {
        const MultilevelData::Cluster &cluster = model.clusters()[g];
        if (!cluster.incomplete)
            continue;
        clusterCoefficients(g, gamma.data());
        for (std::size_t i = cluster.first; i < cluster.first + cluster.count; ++i) {
            double *row = &values[i * w];
            gone.clear();
            for (std::size_t a = 0; a < m1; ++a)
                if (model.isMissing(i, level[a]))
                    gone.push_back(a);
            const bool outcomeMissing = model.isMissing(i, y);
            const std::size_t m = gone.size();
            if (m > 0) {
                q2.assign(m * m, 0.0);
                h.assign(m, 0.0);
                std::vector<char> isGone(m1, 0);
                for (std::size_t a : gone)
                    isGone[a] = 1;
                for (std::size_t r = 0; r < m; ++r) {
                    const std::size_t a = gone[r];
                    double s = 0.0;
                    for (std::size_t e = 0; e < m1; ++e)
                        s += isGone[e] ? precision(a, e) * mu[e]
                                       : -precision(a, e) * (row[level[e]] - mu[e]);
                    h[r] = s;
                    for (std::size_t c = 0; c < m; ++c)
                        q2[r * m + c] = precision(a, gone[c]);
                }
                if (!outcomeMissing) {
                    double rest = row[y];
                    for (std::size_t k = 0; k < y; ++k)
                        rest -= gamma[k] * row[k];
                    for (std::size_t a : gone)
                        rest += gamma[level[a]] * row[level[a]]; // undo the missing terms
                    for (std::size_t r = 0; r < m; ++r) {
                        const double cr = gamma[level[gone[r]]];
                        h[r] += cr * rest / sigma2;
                        for (std::size_t c = 0; c < m; ++c)
                            q2[r * m + c] += cr * gamma[level[gone[c]]] / sigma2;
                    }
                }
                if (!choleskyInPlace(q2.data(), m)) {
                    failure = "the imputation model became singular.";
                    return false;
                }
                drawNormal(q2.data(), m, h.data(), 1.0, random);
                for (std::size_t r = 0; r < m; ++r)
                    row[level[gone[r]]] = h[r];
            }
            if (outcomeMissing) {
                double s = sd * random.normal();
                for (std::size_t k = 0; k < y; ++k)
                    s += gamma[k] * row[k];
                row[y] = s;
            }
        }
    }
    return true;
}

void MultilevelSampler::record()
{
    history.insert(history.end(), beta.begin(), beta.end());
    for (std::size_t a = 0; a < q; ++a)
        for (std::size_t e = 0; e <= a; ++e)
            history.push_back(sigma(a, e));
    history.push_back(sigma2);
    if (keepRandom)
        history.insert(history.end(), effects.begin(), effects.end());
}

void MultilevelSampler::keepIfWanted()
{
    if (nextKeep >= keepAt.size() || keepAt[nextKeep] != iterationsDone)
        return;
    ++nextKeep;
    std::vector<double> cells;
    for (const auto &cell : model.missingCells())
        cells.push_back(values[cell.first * w + cell.second]);
    kept.push_back(std::move(cells));
}
