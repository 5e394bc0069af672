#include "random.h"

#include <cmath>
#include <cstring>

namespace {

std::uint64_t rotl(std::uint64_t x, int k)
{
    return (x << k) | (x >> (64 - k));
}

// Gives x the sign bit 8 of bits selects, without a branch: the bit is a coin flip, which a
// branch predictor cannot learn.
double withSign(double x, std::uint64_t bits)
{
    std::uint64_t word;
    std::memcpy(&word, &x, sizeof word);
    word ^= (bits & 0x100) << 55;
    std::memcpy(&x, &word, sizeof x);
    return x;
}

std::uint64_t splitmix64(std::uint64_t &state)
{
    std::uint64_t z = (state += 0x9e3779b97f4a7c15ULL);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    return z ^ (z >> 31);
}

// Layer i of the ziggurat is the rectangle [0, x[i]] x [f[i], f[i+1]] under exp(-x*x/2); layer 0
// is the base strip together with the tail beyond x[1]. Every layer has the same area.
struct Ziggurat
{
    static constexpr int layers = 256;
    static constexpr double tailStart = 3.6541528853610088;
    static constexpr double area = 4.92867323399e-3;

    double x[layers + 1];
    double f[layers + 1];
    // A 53-bit uniform u lands inside layer i's part under the curve when u < inside[i]; the
    // point is then u * scale[i]. Comparing integers keeps the common case cheap.
    std::uint64_t inside[layers];
    double scale[layers];

    Ziggurat()
    {
        const double fR = std::exp(-0.5 * tailStart * tailStart);
        x[0] = area / fR;
        f[0] = 0.0;
        x[1] = tailStart;
        f[1] = fR;
        for (int i = 1; i < layers - 1; ++i) {
            f[i + 1] = f[i] + area / x[i];
            x[i + 1] = std::sqrt(-2.0 * std::log(f[i + 1]));
        }
        x[layers] = 0.0;
        f[layers] = 1.0;
        for (int i = 0; i < layers; ++i) {
            inside[i] = static_cast<std::uint64_t>(x[i + 1] / x[i] * 0x1.0p53);
            scale[i] = x[i] * 0x1.0p-53;
        }
    }
};

const Ziggurat table;

} // namespace

Random::Random(std::uint64_t seed)
{
    std::uint64_t state = seed;
    for (auto &word : s)
        word = splitmix64(state);
}

Random Random::forStream(std::uint64_t seed, unsigned index)
{
    Random random(seed);
    for (unsigned i = 0; i < index; ++i)
        random.jump();
    return random;
}

std::uint64_t Random::next()
{
    const std::uint64_t result = rotl(s[1] * 5, 7) * 9;
    const std::uint64_t t = s[1] << 17;
    s[2] ^= s[0];
    s[3] ^= s[1];
    s[1] ^= s[2];
    s[0] ^= s[3];
    s[2] ^= t;
    s[3] = rotl(s[3], 45);
    return result;
}

double Random::uniform()
{
    return static_cast<double>(next() >> 11) * 0x1.0p-53;
}

double Random::uniformPositive()
{
    return (static_cast<double>(next() >> 11) + 0.5) * 0x1.0p-53;
}

double Random::normal()
{
    const std::uint64_t bits = next();
    const int layer = static_cast<int>(bits & 0xff);
    // The top 53 bits place the point across the layer; they do not overlap the layer bits.
    const std::uint64_t u = bits >> 11;
    const double x = withSign(static_cast<double>(u) * table.scale[layer], bits);
    if (u < table.inside[layer])
        return x;
    return outside(layer, x);
}

// The rare case of normal(): the point may lie in the tail or above the curve.
double Random::outside(int layer, double x)
{
    if (layer == 0)
        return std::signbit(x) ? -tail() : tail();
    const double y = table.f[layer] + uniform() * (table.f[layer + 1] - table.f[layer]);
    if (y < std::exp(-0.5 * x * x))
        return x;
    return normal();
}

// normal() over and over, with the generator's state kept in locals so that the common case
// never touches memory; gives exactly the draws that repeated normal() calls would.
void Random::fillNormal(double *out, std::size_t count)
{
    std::uint64_t s0 = s[0];
    std::uint64_t s1 = s[1];
    std::uint64_t s2 = s[2];
    std::uint64_t s3 = s[3];
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t bits = rotl(s1 * 5, 7) * 9;
        const std::uint64_t t = s1 << 17;
        s2 ^= s0;
        s3 ^= s1;
        s1 ^= s2;
        s0 ^= s3;
        s2 ^= t;
        s3 = rotl(s3, 45);
        const int layer = static_cast<int>(bits & 0xff);
        const std::uint64_t u = bits >> 11;
        const double x = withSign(static_cast<double>(u) * table.scale[layer], bits);
        if (u < table.inside[layer]) {
            out[i] = x;
            continue;
        }
        s[0] = s0;
        s[1] = s1;
        s[2] = s2;
        s[3] = s3;
        out[i] = outside(layer, x);
        s0 = s[0];
        s1 = s[1];
        s2 = s[2];
        s3 = s[3];
    }
    s[0] = s0;
    s[1] = s1;
    s[2] = s2;
    s[3] = s3;
}

double Random::tail()
{
    const double r = Ziggurat::tailStart;
    for (;;) {
        const double x = -std::log(uniformPositive()) / r;
        const double y = -std::log(uniformPositive());
        if (2.0 * y >= x * x)
            return r + x;
    }
}

double Random::gamma(double shape)
{
    if (shape < 1.0) {
        // Boost the shape above one and scale back, which keeps the fast method below usable.
        const double u = uniformPositive();
        return gamma(shape + 1.0) * std::pow(u, 1.0 / shape);
    }
    const double d = shape - 1.0 / 3.0;
    const double c = 1.0 / std::sqrt(9.0 * d);
    for (;;) {
        double x;
        double v;
        do {
            x = normal();
            v = 1.0 + c * x;
        } while (v <= 0.0);
        v = v * v * v;
        const double u = uniformPositive();
        const double x2 = x * x;
        if (u < 1.0 - 0.0331 * x2 * x2)
            return d * v;
        if (std::log(u) < 0.5 * x2 + d * (1.0 - v + std::log(v)))
            return d * v;
    }
}

double Random::chiSquare(double df)
{
    return 2.0 * gamma(0.5 * df);
}

void Random::jump()
{
    static const std::uint64_t polynomial[] = {0x180ec6d33cfd0abaULL, 0xd5a61266f0c9392cULL,
                                               0xa9582618e03fc9aaULL, 0x39abdc4529b1661cULL};
    std::uint64_t t[4] = {0, 0, 0, 0};
    for (std::uint64_t word : polynomial) {
        for (int b = 0; b < 64; ++b) {
            if (word & (std::uint64_t(1) << b)) {
                for (int i = 0; i < 4; ++i)
                    t[i] ^= s[i];
            }
            next();
        }
    }
    for (int i = 0; i < 4; ++i)
        s[i] = t[i];
}
