#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

/// A product of pivots, whose powers of two are set apart: m 2^exponent, 1/2 <= |m| < 1. For use inside the library.
class mlPivotProduct {
public:
    mlPivotProduct() { m_ = without_exponent(1.0); }

    /// x is finite and not 0.
    void operator*=(double x) {
        m_ *= without_exponent(x);
        m_ = without_exponent(m_);
    }

    [[nodiscard]] double mantissa() const { return m_; }
    [[nodiscard]] long long exponent() const { return exponent_; }

    /// mantissa 2^exponent; 0 or infinite where a double does not reach.
    [[nodiscard]] static double value(double mantissa, long long exponent) {
        int const e = static_cast<int>(std::clamp(exponent, -1200LL, 1200LL));
        return mantissa * power_of_two(e / 2) * power_of_two(e - e / 2);
    }

private:
    double without_exponent(double x) {
        if (std::fabs(x) < std::numeric_limits<double>::min()) { // subnormal
            x *= 0x1p54;
            exponent_ -= 54;
        }
        auto const bits = std::bit_cast<std::uint64_t>(x);
        exponent_ += static_cast<long long>((bits >> 52) & 0x7ff) - 1022;
        return std::bit_cast<double>((bits & 0x800fffffffffffff) | 0x3fe0000000000000);
    }

    /// 2^e for -1022 <= e <= 1023.
    static double power_of_two(int e) { return std::bit_cast<double>(static_cast<std::uint64_t>(e + 1023) << 52); }

    double m_;
    long long exponent_ = 0;
};
