#pragma once

#include <bit>
#include <cstdint>

// Powers of two and exponents taken from the bits of a double, for use inside the library.

/// 2^e for -1022 <= e <= 1023.
inline double ml_power_of_two(int e) { return std::bit_cast<double>(static_cast<std::uint64_t>(e + 1023) << 52); }

/// x 2^e for any e, rounded at most twice where the result is below the smallest normal number.
inline double ml_scale(double x, int e) {
    for (; e > 1000 && x != 0.0 && x - x == 0.0; e -= 1000)
        x *= ml_power_of_two(1000);
    for (; e < -1000 && x != 0.0 && x - x == 0.0; e += 1000)
        x *= ml_power_of_two(-1000);
    return e > 1000 || e < -1000 ? x : x * ml_power_of_two(e);
}

/// The largest e with 2^e <= |x|, for x finite and other than zero.
inline int ml_exponent(double x) {
    int const field = static_cast<int>(std::bit_cast<std::uint64_t>(x) >> 52 & 0x7ff);
    return field > 0 ? field - 1023 : ml_exponent(x * ml_power_of_two(200)) - 200;
}

/// The exponent plus the fraction of the mantissa: the logarithm to base two within 0.09, x finite and not zero.
inline double ml_rough_log2(double x) {
    auto const bits = std::bit_cast<std::uint64_t>(x);
    int const field = static_cast<int>(bits >> 52 & 0x7ff);
    if (field == 0) return ml_rough_log2(x * ml_power_of_two(200)) - 200.0;
    return (field - 1024) + std::bit_cast<double>((bits & 0xfffffffffffff) | 0x3ff0000000000000);
}

/// The inverse of `ml_rough_log2`.
inline double ml_rough_exp2(double x) {
    int e = static_cast<int>(x);
    if (e > x) --e;
    return ml_scale(1.0 + (x - e), e);
}
