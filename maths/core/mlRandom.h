#pragma once

#include <cmath>
#include <cstdint>

#include "maths/maths_api.h"

/// Seeded generator of random numbers. The same seed, of which the low 32 bits count, gives the same sequence of
/// uniform numbers on every machine, to the bit; normal ones pass through the C runtime's logarithm.
///
/// Source: Steele, Lea & Flood, Fast splittable pseudorandom number generators (2014), SplitMix64; Marsaglia's polar
/// method for normal numbers. Not for secrets.
class mlRandom {
public:
    explicit mlRandom(long seed) : state_(static_cast<std::uint32_t>(seed)) {}

    /// In [0, 1), a multiple of 2⁻⁵³.
    double uniform() { return static_cast<double>(next() >> 11) * 0x1p-53; }

    /// From low up to high: low + (high - low) uniform().
    double uniform(double low, double high) { return low + (high - low) * uniform(); }

    /// Normal with mean 0 and variance 1.
    double normal() {
        double u, v, s;
        do { // a point of the unit disc without its centre
            u = uniform(-1.0, 1.0);
            v = uniform(-1.0, 1.0);
            s = u * u + v * v;
        } while (s >= 1.0 || s == 0.0);
        return u * std::sqrt(-2.0 * std::log(s) / s);
    }

private:
    std::uint64_t next() {
        state_ += 0x9e3779b97f4a7c15u;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
        return z ^ (z >> 31);
    }

    std::uint64_t state_;
};
