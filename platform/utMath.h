#pragma once

#include "maths/maths_api.h"

/// Integer powers and binomial coefficients; never instantiated.
class utMath {
public:
    utMath() = delete;

    /// 1.0 times x, n times from left to right; 1.0 for n < 1. O(n): the order of the products is part of the result.
    [[nodiscard]] MATHS_API static double pow(double x, int n);

    /// The number of ways to choose i of n things, exactly, as long as it fits into 63 bits; 0 unless 0 <= i <= n.
    [[nodiscard]] MATHS_API static long long n_choose_i(int n, int i);
};
