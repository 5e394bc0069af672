#include "sampler.h"

#include "modeldata.h"

#include <algorithm>
#include <cmath>

Sampler::Sampler(const ModelData &data, std::uint64_t seed, unsigned chain, unsigned chains)
    : model(data)
    , random(Random::forStream(seed, chain))
    , p(data.predictors())
    , d(data.width())
    , values(data.values())
    , coef(p + 1, 0.0)
{
    work.resize(model.patterns().size());
    for (std::size_t g = 0; g < work.size(); ++g) {
        const ModelData::Pattern &pattern = model.patterns()[g];
        const std::vector<int> missing = missingColumns(pattern);
        std::vector<bool> isMissing(d, false);
        for (int j : missing)
            isMissing[static_cast<std::size_t>(j)] = true;
        for (int j : missing)
            for (int k = 0; k < static_cast<int>(d); ++k)
                if (!isMissing[static_cast<std::size_t>(k)] || k >= j)
                    work[g].pairs.emplace_back(std::min(j, k), std::max(j, k));
    }
    disperseStart(chain, chains);
    imputeAndAccumulate(false);
    history.reserve(1024);
}

std::vector<int> Sampler::missingColumns(const ModelData::Pattern &pattern) const
{
    std::vector<int> missing = pattern.missing;
    if (pattern.outcomeMissing)
        missing.push_back(static_cast<int>(d - 1));
    return missing;
}

void Sampler::keepImputationsAt(std::vector<long> iterations)
{
    keepAt = std::move(iterations);
    nextKeep = 0;
    kept.clear();
}

// Chains start from imputations spread well beyond the observed values (a shift of two standard
// deviations in a different direction per chain), so that a PSR near 1 means the chains have
// forgotten where they began rather than that they began in the same place.
void Sampler::disperseStart(unsigned chain, unsigned chains)
{
    const double spread = chains > 1 ? 2.0 * (2.0 * chain / (chains - 1.0) - 1.0) : 0.0;
    for (const ModelData::Pattern &pattern : model.patterns()) {
        const std::vector<int> missing = missingColumns(pattern);
        for (std::size_t r = pattern.first; r < pattern.first + pattern.count; ++r)
            for (int j : missing)
                values[ModelData::at(pattern, d, r, static_cast<std::size_t>(j))]
                    = (j % 2 == 0 ? spread : -spread) + random.normal();
    }
}

bool Sampler::runTo(long iteration)
{
    while (iterationsDone < iteration) {
        // The predictors' model is drawn even when none of them is missing: the standardized
        // slopes and R2 are drawn from it.
        if (p > 0 && !drawPredictorModel())
            return false;
        if (!drawRegression() || !imputeAndAccumulate(true))
            return false;
        ++iterationsDone;
        record();
        keepIfWanted();
    }
    return true;
}

bool Sampler::drawPredictorModel()
{
    const double n = cross(0, 0);
    std::vector<double> mean(p);
    for (std::size_t j = 0; j < p; ++j)
        mean[j] = cross(0, j + 1) / n;
    Matrix scatter(p, p);
    for (std::size_t j = 0; j < p; ++j)
        for (std::size_t k = 0; k < p; ++k)
            scatter(j, k) = cross(j + 1, k + 1) - n * mean[j] * mean[k];
    Matrix lower;
    if (!scatter.cholesky(lower)) {
        failure = "the predictors are linearly dependent (one is a combination of the others).";
        return false;
    }
    // Bartlett's construction: precision = L'^-1 A A' L^-1 is Wishart(n - 1, scatter^-1).
    Matrix bartlett(p, p);
    for (std::size_t i = 0; i < p; ++i) {
        bartlett(i, i) = std::sqrt(random.chiSquare(n - 1.0 - static_cast<double>(i)));
        for (std::size_t j = 0; j < i; ++j)
            bartlett(i, j) = random.normal();
    }
    precision = (lower.lowerInverse().transposed() * bartlett).timesOwnTranspose();
    const Matrix factor = lower * bartlett.lowerInverse().transposed();
    covariance = factor.timesOwnTranspose();
    std::vector<double> z(p);
    for (double &value : z)
        value = random.normal();
    const std::vector<double> shift = factor.times(z);
    mu.resize(p);
    for (std::size_t j = 0; j < p; ++j)
        mu[j] = mean[j] + shift[j] / std::sqrt(n);
    return true;
}

bool Sampler::drawRegression()
{
    const std::size_t q = p + 1;
    const double n = cross(0, 0);
    Matrix xx(q, q);
    std::vector<double> xy(q);
    for (std::size_t j = 0; j < q; ++j) {
        for (std::size_t k = 0; k < q; ++k)
            xx(j, k) = cross(j, k);
        xy[j] = cross(j, d - 1);
    }
    Matrix lower;
    if (!xx.cholesky(lower)) {
        failure = "the predictors are linearly dependent (one is a combination of the others).";
        return false;
    }
    const std::vector<double> w = lower.solveLower(xy);
    const std::vector<double> fitted = lower.solveLowerTransposed(w);
    double residual = cross(d - 1, d - 1);
    for (double value : w)
        residual -= value * value;
    if (!(residual > 1e-12 * cross(d - 1, d - 1))) {
        failure = "the outcome is an exact linear function of the predictors.";
        return false;
    }
    variance = residual / random.chiSquare(n - static_cast<double>(q));
    std::vector<double> z(q);
    for (double &value : z)
        value = random.normal();
    const std::vector<double> spread = lower.solveLowerTransposed(z);
    const double sd = std::sqrt(variance);
    for (std::size_t j = 0; j < q; ++j)
        coef[j] = fitted[j] + sd * spread[j];
    return true;
}

void Sampler::record()
{
    const std::vector<double> &centers = model.centers();
    const std::vector<double> &scales = model.scales();
    const double ySd = scales[p];
    double intercept = centers[p] + ySd * coef[0];
    std::vector<double> slopes(p);
    for (std::size_t k = 0; k < p; ++k) {
        slopes[k] = ySd * coef[k + 1] / scales[k];
        intercept -= slopes[k] * centers[k];
    }
    history.push_back(intercept);
    history.insert(history.end(), slopes.begin(), slopes.end());
    history.push_back(ySd * ySd * variance);
    if (p == 0)
        return;
    // Standardized slopes and R2 from the model's own implied variances, so they are drawn
    // from their posterior rather than fixed at sample values.
    double explained = 0.0;
    for (std::size_t j = 0; j < p; ++j)
        for (std::size_t k = 0; k < p; ++k)
            explained += coef[j + 1] * covariance(j, k) * coef[k + 1];
    const double total = explained + variance;
    for (std::size_t k = 0; k < p; ++k)
        history.push_back(coef[k + 1] * std::sqrt(covariance(k, k) / total));
    history.push_back(explained / total);
}

bool Sampler::solvePattern(std::size_t index)
{
    const ModelData::Pattern &pattern = model.patterns()[index];
    PatternWork &pw = work[index];
    const std::size_t m = pattern.missing.size();
    const std::size_t o = pattern.observed.size();
    // Full conditional of the missing predictors: precision Q = Lambda (+ c c'/v when the
    // outcome is observed, as the outcome then carries information about them).
    const bool withOutcome = !pattern.outcomeMissing;
    Matrix q(m, m);
    std::vector<double> h(m);
    std::vector<double> hOutcome(m, 0.0);
    auto entry = [&](int a, int b) {
        const std::size_t i = static_cast<std::size_t>(a - 1);
        const std::size_t j = static_cast<std::size_t>(b - 1);
        double value = precision(i, j);
        if (withOutcome)
            value += coef[i + 1] * coef[j + 1] / variance;
        return value;
    };
    for (std::size_t i = 0; i < m; ++i) {
        const std::size_t row = static_cast<std::size_t>(pattern.missing[i] - 1);
        for (std::size_t j = 0; j < m; ++j)
            q(i, j) = entry(pattern.missing[i], pattern.missing[j]);
        double s = 0.0;
        for (std::size_t k = 0; k < p; ++k)
            s += precision(row, k) * mu[k];
        if (withOutcome) {
            s -= coef[row + 1] * coef[0] / variance;
            hOutcome[i] = coef[row + 1] / variance;
        }
        h[i] = s;
    }
    Matrix lower;
    if (!q.cholesky(lower)) {
        failure = "the imputation model became singular.";
        return false;
    }
    const Matrix inverseLower = lower.lowerInverse();
    const Matrix inverse = inverseLower.transposed() * inverseLower;
    pw.constant = inverse.times(h);
    pw.onOutcome = inverse.times(hOutcome);
    pw.onObserved.assign(m * o, 0.0);
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t j = 0; j < o; ++j) {
            double s = 0.0;
            for (std::size_t k = 0; k < m; ++k)
                s += inverse(i, k) * entry(pattern.missing[k], pattern.observed[j]);
            pw.onObserved[i * o + j] = s;
        }
    pw.noise.assign(m * m, 0.0);
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t k = i; k < m; ++k)
            pw.noise[i * m + k] = inverseLower(k, i);
    return true;
}

bool Sampler::imputeAndAccumulate(bool impute)
{
    cross = model.observedCross();
    const double sd = std::sqrt(variance);
    const std::size_t y = d - 1;
    for (std::size_t g = 0; g < work.size(); ++g) {
        const ModelData::Pattern &pattern = model.patterns()[g];
        PatternWork &pw = work[g];
        if (pw.pairs.empty())
            continue;
        const std::size_t m = pattern.missing.size();
        const std::size_t n = pattern.count;
        double *block = &values[pattern.first * d];
        auto column = [&](std::size_t c) {
            return block + c * n;
        };
        if (impute) {
            if (m > 0 && !solvePattern(g))
                return false;
            const std::size_t draws = (m + (pattern.outcomeMissing ? 1 : 0)) * n;
            noise.resize(std::max(noise.size(), draws));
            random.fillNormal(noise.data(), draws);
            imputePredictors(pattern, pw, block);
            if (pattern.outcomeMissing) {
                double *out = column(y);
                const double *e = &noise[m * n];
                for (std::size_t r = 0; r < n; ++r)
                    out[r] = coef[0] + sd * e[r];
                for (std::size_t k = 1; k <= p; ++k) {
                    const double c = coef[k];
                    const double *x = column(k);
                    for (std::size_t r = 0; r < n; ++r)
                        out[r] += c * x[r];
                }
            }
        }
        for (const auto &pair : pw.pairs)
            cross(static_cast<std::size_t>(pair.first), static_cast<std::size_t>(pair.second))
                += dot(column(static_cast<std::size_t>(pair.first)),
                       column(static_cast<std::size_t>(pair.second)), n);
    }
    // Only the upper triangle was accumulated.
    for (std::size_t j = 0; j < d; ++j)
        for (std::size_t k = j + 1; k < d; ++k)
            cross(k, j) = cross(j, k);
    return true;
}

// x_M = constant + onOutcome * y - onObserved x_O + noise e, one missing column at a time; the
// loops run over the pattern's rows, so they are long and contiguous.
void Sampler::imputePredictors(const ModelData::Pattern &pattern, const PatternWork &pw,
                               double *block)
{
    const std::size_t m = pattern.missing.size();
    const std::size_t o = pattern.observed.size();
    const std::size_t n = pattern.count;
    const double *outcome = block + (d - 1) * n;
    for (std::size_t i = 0; i < m; ++i) {
        double *out = block + static_cast<std::size_t>(pattern.missing[i]) * n;
        const double constant = pw.constant[i];
        const double onOutcome = pw.onOutcome[i];
        for (std::size_t r = 0; r < n; ++r)
            out[r] = constant + onOutcome * outcome[r];
        for (std::size_t j = 0; j < o; ++j) {
            const double a = pw.onObserved[i * o + j];
            const double *x = block + static_cast<std::size_t>(pattern.observed[j]) * n;
            for (std::size_t r = 0; r < n; ++r)
                out[r] -= a * x[r];
        }
        for (std::size_t k = i; k < m; ++k) {
            const double u = pw.noise[i * m + k];
            const double *e = &noise[k * n];
            for (std::size_t r = 0; r < n; ++r)
                out[r] += u * e[r];
        }
    }
}

double Sampler::dot(const double *a, const double *b, std::size_t n)
{
    // Four running sums break the dependency chain; the order is fixed, so results are too.
    double s0 = 0.0;
    double s1 = 0.0;
    double s2 = 0.0;
    double s3 = 0.0;
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        s0 += a[i] * b[i];
        s1 += a[i + 1] * b[i + 1];
        s2 += a[i + 2] * b[i + 2];
        s3 += a[i + 3] * b[i + 3];
    }
    for (; i < n; ++i)
        s0 += a[i] * b[i];
    return (s0 + s1) + (s2 + s3);
}

void Sampler::keepIfWanted()
{
    if (nextKeep >= keepAt.size() || keepAt[nextKeep] != iterationsDone)
        return;
    ++nextKeep;
    std::vector<double> cells;
    for (const ModelData::Pattern &pattern : model.patterns())
        for (std::size_t r = pattern.first; r < pattern.first + pattern.count; ++r) {
            for (int j : missingColumns(pattern)) {
                const std::size_t column = static_cast<std::size_t>(j);
                cells.push_back(
                    model.toOriginal(column, values[ModelData::at(pattern, d, r, column)]));
            }
        }
    kept.push_back(std::move(cells));
}
