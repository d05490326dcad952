#pragma once

#include <algorithm>
#include <cmath>

/// How many decimal digits of x agree with the certified value c: -log10(|x - c| / |c|), at most 11, because certified
/// values are given to 11 digits; 11 when x equals c. Negative when x is off by more than c itself, NaN when x is NaN.
inline double agreeing_digits(double x, double c) {
    if (x == c) return 11.0;
    return std::min(-std::log10(std::abs(x - c) / std::abs(c)), 11.0);
}
