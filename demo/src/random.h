#pragma once

#include <cstddef>
#include <cstdint>

// Pseudo-random numbers with our own generator and our own transformations, so that a seed gives
// the same draws with every compiler and standard library (the standard distributions do not
// promise that). xoshiro256** seeded through splitmix64; normals by a 256-layer ziggurat.
class Random
{
public:
    explicit Random(std::uint64_t seed);

    // The stream for one chain: the seed's stream advanced by 2^128 draws per chain index, so
    // chains never overlap.
    static Random forStream(std::uint64_t seed, unsigned index);

    std::uint64_t next();
    double uniform(); // [0, 1)
    double uniformPositive(); // (0, 1)
    double normal();
    void fillNormal(double *out, std::size_t count);
    double gamma(double shape); // unit scale, shape > 0
    double chiSquare(double df);

    void jump();

private:
    double outside(int layer, double x);
    double tail(); // a normal draw beyond the ziggurat's last layer

    std::uint64_t s[4];
};
