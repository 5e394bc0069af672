// The numerical building blocks: random draws, small matrix algebra, convergence statistics.
#include "diagnostics.h"
#include "harness.h"
#include "matrix.h"
#include "random.h"

#include <cmath>

DEMO_TEST(random, normalMomentsAndTails)
{
    const int n = 1000000;
    // The sampler draws normals in bulk; that must not change which numbers a seed gives, even
    // across the rare draws that fall outside the ziggurat's rectangles.
    Random single(7), bulk(7);
    std::vector<double> drawn(n);
    bulk.fillNormal(drawn.data(), drawn.size());
    bool same = true;
    // Each band of the ziggurat (body, wedges, beyond the last layer) must carry its probability.
    const double thresholds[] = {0.5, 1.0, 2.0, 3.0, 3.6541528853610088, 4.0};
    double beyond[6] = {}, moments[5] = {};
    for (double x : drawn) {
        same = same && x == single.normal();
        for (int k = 1; k < 5; ++k)
            moments[k] += std::pow(x, k) / n;
        for (int t = 0; t < 6; ++t)
            beyond[t] += std::fabs(x) > thresholds[t] ? 1.0 / n : 0.0;
    }
    CHECK(same);
    CHECK_EQ(bulk.next(), single.next());
    CHECK_NEAR(moments[1], 0.0, 0.005);
    CHECK_NEAR(moments[2], 1.0, 0.006);
    CHECK_NEAR(moments[3], 0.0, 0.02);
    CHECK_NEAR(moments[4], 3.0, 0.05);
    for (int t = 0; t < 6; ++t) {
        harness::Row row("beyond " + harness::show(thresholds[t]));
        const double expected = std::erfc(thresholds[t] / std::sqrt(2.0));
        CHECK_NEAR(beyond[t], expected, 4.5 * std::sqrt(expected * (1 - expected) / n));
    }
}

DEMO_TEST(random, gammaMeanAndVariance)
{
    for (double shape : {0.3, 1.0, 2.5, 40.0, 5000.0}) {
        harness::Row row("shape " + harness::show(shape));
        Random random(11);
        const int n = 200000;
        double mean = 0.0, squares = 0.0, smallest = 1.0;
        for (int i = 0; i < n; ++i) {
            const double x = random.gamma(shape);
            smallest = std::fmin(smallest, x);
            mean += x / n;
            squares += x * x / n;
        }
        CHECK(smallest > 0.0);
        CHECK_NEAR(mean, shape, 4.5 * std::sqrt(shape / n));
        CHECK_NEAR((squares - mean * mean) / shape, 1.0, 0.04);
    }
}

DEMO_TEST(matrix, choleskyInverseAndSolves)
{
    const double values[3][3] = {{4, 2, 0.6}, {2, 5, 1.5}, {0.6, 1.5, 3}};
    Matrix a(3, 3), lower;
    for (int i = 0; i < 9; ++i)
        a(i / 3, i % 3) = values[i / 3][i % 3];
    CHECK(a.cholesky(lower));
    const Matrix back = lower.timesOwnTranspose(), identity = lower * lower.lowerInverse();
    for (int i = 0; i < 9; ++i) {
        const int r = i / 3, c = i % 3;
        CHECK_NEAR(back(r, c), a(r, c), 1e-12);
        CHECK_NEAR(identity(r, c), r == c, 1e-12);
        CHECK(c <= r || lower(r, c) == 0.0);
    }
    const std::vector<double> b {1.0, -2.0, 0.5};
    const std::vector<double> ax = a.times(lower.solveLowerTransposed(lower.solveLower(b)));
    for (int i = 0; i < 3; ++i)
        CHECK_NEAR(ax[i], b[i], 1e-12);
}

DEMO_TEST(diagnostics, psrOfConstantSequences)
{
    // A parameter that never moves: the chains agree when they hold the same value.
    CHECK_EQ(Diagnostics::psr({{2, 2, 2}, {2, 2, 2}}), 1.0);
    CHECK(std::isinf(Diagnostics::psr({{2, 2, 2}, {3, 3, 3}})));
}

DEMO_TEST(diagnostics, splitHalvesUsesTheEndOfTheRange)
{
    const auto halves = Diagnostics::splitHalves(
        {{0, 1, 2, 3, 4, 5, 6, 7, 8}, {10, 11, 12, 13, 14, 15, 16, 17, 18}}, 2, 9);
    CHECK(halves == (Diagnostics::Sequences {{3, 4, 5}, {6, 7, 8}, {13, 14, 15}, {16, 17, 18}}));
}
