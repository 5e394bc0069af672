// The numerical building blocks: random draws, small matrix algebra, convergence statistics.
#include "diagnostics.h"
#include "harness.h"
#include "matrix.h"
#include "random.h"

#include <algorithm>
#include <cmath>

namespace {

double normalTail(double x)
{
    return std::erfc(x / std::sqrt(2.0)); // two-sided
}

} // namespace

DEMO_TEST(random, streamsAreReproducibleAndDistinct)
{
    Random a = Random::forStream(42, 0);
    Random b = Random::forStream(42, 0);
    Random other = Random::forStream(42, 1);
    Random reseeded(43);
    int same = 0;
    for (int i = 0; i < 1000; ++i) {
        const auto x = a.next();
        CHECK_EQ(x, b.next());
        same += x == other.next() ? 1 : 0;
        same += x == reseeded.next() ? 1 : 0;
    }
    CHECK_EQ(same, 0);
}

DEMO_TEST(random, bulkNormalsEqualSingleDraws)
{
    // The sampler draws normals in bulk; that must not change which numbers a seed gives, even
    // across the rare draws that fall outside the ziggurat's rectangles.
    Random single(21);
    Random bulk(21);
    std::vector<double> drawn(100000);
    bulk.fillNormal(drawn.data(), drawn.size());
    bool same = true;
    for (double value : drawn)
        same = same && value == single.normal();
    CHECK(same);
    CHECK_EQ(bulk.next(), single.next());
}

DEMO_TEST(random, normalMomentsAndTails)
{
    Random random(7);
    const int n = 1000000;
    const double thresholds[] = {0.5, 1.0, 2.0, 3.0, 3.6541528853610088, 4.0};
    long beyond[6] = {0, 0, 0, 0, 0, 0};
    double sum = 0.0;
    double squares = 0.0;
    double cubes = 0.0;
    double fourth = 0.0;
    for (int i = 0; i < n; ++i) {
        const double x = random.normal();
        sum += x;
        squares += x * x;
        cubes += x * x * x;
        fourth += x * x * x * x;
        for (int t = 0; t < 6; ++t)
            beyond[t] += std::fabs(x) > thresholds[t] ? 1 : 0;
    }
    CHECK_NEAR(sum / n, 0.0, 0.005);
    CHECK_NEAR(squares / n, 1.0, 0.006);
    CHECK_NEAR(cubes / n, 0.0, 0.02);
    CHECK_NEAR(fourth / n, 3.0, 0.05);
    // Each band of the ziggurat (body, wedges, tail) must carry the right probability.
    for (int t = 0; t < 6; ++t) {
        harness::Row row("beyond " + harness::show(thresholds[t]));
        const double expected = normalTail(thresholds[t]);
        const double sd = std::sqrt(expected * (1 - expected) / n);
        CHECK_NEAR(static_cast<double>(beyond[t]) / n, expected, 4.5 * sd);
    }
}

DEMO_TEST(random, gammaMeanAndVariance)
{
    const double shapes[] = {0.3, 1.0, 2.5, 40.0, 5000.0};
    for (double shape : shapes) {
        harness::Row row("shape " + harness::show(shape));
        Random random(11);
        const int n = 200000;
        double sum = 0.0;
        double squares = 0.0;
        bool positive = true;
        for (int i = 0; i < n; ++i) {
            const double x = random.gamma(shape);
            positive = positive && x > 0.0;
            sum += x;
            squares += x * x;
        }
        const double mean = sum / n;
        const double variance = squares / n - mean * mean;
        CHECK(positive);
        CHECK_NEAR(mean, shape, 4.5 * std::sqrt(shape / n));
        CHECK_NEAR(variance / shape, 1.0, 0.04);
    }
}

DEMO_TEST(matrix, choleskyAndTriangularSolves)
{
    Matrix a(3, 3);
    const double values[3][3] = {{4, 2, 0.6}, {2, 5, 1.5}, {0.6, 1.5, 3}};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            a(i, j) = values[i][j];
    Matrix lower;
    CHECK(a.cholesky(lower));
    const Matrix back = lower.timesOwnTranspose();
    const Matrix identity = lower * lower.lowerInverse();
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            CHECK_NEAR(back(i, j), a(i, j), 1e-12);
            CHECK_NEAR(identity(i, j), i == j ? 1.0 : 0.0, 1e-12);
            if (j > i)
                CHECK_EQ(lower(i, j), 0.0);
        }
    const std::vector<double> b {1.0, -2.0, 0.5};
    const std::vector<double> x = lower.solveLowerTransposed(lower.solveLower(b));
    const std::vector<double> ax = a.times(x);
    for (int i = 0; i < 3; ++i)
        CHECK_NEAR(ax[i], b[i], 1e-12);
}

DEMO_TEST(matrix, choleskyRefusesSingularAndIndefinite)
{
    struct Case
    {
        const char *name;
        double cells[4];
    };
    const Case cases[] = {
        {"singular", {1, 2, 2, 4}},
        {"indefinite", {1, 3, 3, 1}},
        {"zero", {0, 0, 0, 0}},
        {"negative diagonal", {-1, 0, 0, 1}},
    };
    for (const auto &c : cases) {
        harness::Row row(c.name);
        Matrix m(2, 2);
        for (int i = 0; i < 4; ++i)
            m(i / 2, i % 2) = c.cells[i];
        Matrix lower;
        CHECK(!m.cholesky(lower));
    }
}

DEMO_TEST(diagnostics, psrSeparatesAgreeingFromDisagreeingChains)
{
    Random random(3);
    Diagnostics::Sequences same(4, std::vector<double>(500));
    Diagnostics::Sequences apart = same;
    for (std::size_t s = 0; s < 4; ++s)
        for (std::size_t i = 0; i < 500; ++i) {
            same[s][i] = random.normal();
            apart[s][i] = random.normal() + 3.0 * static_cast<double>(s);
        }
    CHECK_NEAR(Diagnostics::psr(same), 1.0, 0.01);
    CHECK(Diagnostics::psr(apart) > 3.0);
    CHECK_EQ(Diagnostics::psr({{2, 2, 2}, {2, 2, 2}}), 1.0);
    CHECK(std::isinf(Diagnostics::psr({{2, 2, 2}, {3, 3, 3}})));
}

DEMO_TEST(diagnostics, splitHalvesUsesTheEndOfTheRange)
{
    const Diagnostics::Sequences chains {{0, 1, 2, 3, 4, 5, 6, 7, 8},
                                         {10, 11, 12, 13, 14, 15, 16, 17, 18}};
    const auto halves = Diagnostics::splitHalves(chains, 2, 9);
    CHECK_EQ(halves.size(), std::size_t(4));
    CHECK(halves[0] == (std::vector<double> {3, 4, 5}));
    CHECK(halves[1] == (std::vector<double> {6, 7, 8}));
    CHECK(halves[3] == (std::vector<double> {16, 17, 18}));
}

DEMO_TEST(diagnostics, effectiveSizeOfIndependentAndAutocorrelatedDraws)
{
    struct Case
    {
        const char *name;
        double phi;
    };
    const Case cases[] = {{"independent", 0.0}, {"ar 0.5", 0.5}, {"ar 0.9", 0.9}};
    for (const auto &c : cases) {
        harness::Row row(c.name);
        Random random(5);
        const std::size_t n = 20000;
        Diagnostics::Sequences sequences(4, std::vector<double>(n));
        for (auto &s : sequences) {
            double x = random.normal() / std::sqrt(1.0 - c.phi * c.phi);
            for (auto &value : s) {
                x = c.phi * x + random.normal();
                value = x;
            }
        }
        const double expected = 4.0 * n * (1.0 - c.phi) / (1.0 + c.phi);
        CHECK_NEAR(Diagnostics::effectiveSize(sequences) / expected, 1.0, 0.12);
    }
}

DEMO_TEST(diagnostics, autocovarianceMatchesDirectSums)
{
    Random random(9);
    std::vector<double> x(37);
    for (auto &value : x)
        value = random.normal() + 0.1 * value;
    double mean = 0.0;
    for (double value : x)
        mean += value / x.size();
    const auto fast = Diagnostics::autocovariance(x);
    for (std::size_t t = 0; t < x.size(); ++t) {
        double direct = 0.0;
        for (std::size_t i = 0; i + t < x.size(); ++i)
            direct += (x[i] - mean) * (x[i + t] - mean);
        CHECK_NEAR(fast[t], direct / x.size(), 1e-12);
    }
}

DEMO_TEST(diagnostics, quantilesInterpolate)
{
    std::vector<double> values(41);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<double>(i + 1);
    const struct
    {
        double probability;
        double expected;
    } cases[] = {{0.0, 1.0}, {0.025, 2.0}, {0.5, 21.0}, {0.975, 40.0}, {1.0, 41.0}, {0.0125, 1.5}};
    for (const auto &c : cases) {
        harness::Row row("p = " + harness::show(c.probability));
        CHECK_NEAR(Diagnostics::quantile(values, c.probability), c.expected, 1e-12);
    }
}
