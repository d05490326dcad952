// What a panel of a triangular factorisation does to contiguous columns. Included after mlKernelSource.h.

inline Lanes magnitude(Lanes x) { return x < 0.0 ? -x : x; }

int first_largest(int n, double const * x) {
    double largest = fabs(x[0]);
    if (!(largest == largest)) return 0; // nothing exceeds a NaN
    int i = 0;
    Lanes lane_largest = broadcast(largest);
    for (; i + lanes <= n; i += lanes) {
        Lanes const m = magnitude(load(x + i));
        lane_largest = m > lane_largest ? m : lane_largest; // a NaN never replaces
    }
    for (int lane = 0; lane < lanes; ++lane) {
        if (lane_largest[lane] > largest) largest = lane_largest[lane];
    }
    for (; i < n; ++i) {
        if (fabs(x[i]) > largest) largest = fabs(x[i]);
    }
    int first = 0;
    while (fabs(x[first]) != largest)
        ++first;
    return first;
}

void divide(int n, double * x, double divisor) {
    Lanes const divisors = broadcast(divisor);
    int i = 0;
    for (; i + lanes <= n; i += lanes)
        store(x + i, load(x + i) / divisors);
    for (; i < n; ++i)
        x[i] /= divisor;
}

/// y -= x_0 f_0, then x_1 f_1 and so on, for `count` columns x a distance `ld` apart.
template <int count> inline void subtract_some(int n, double * y, double const * x, ptrdiff_t ld, double const * f) {
    Lanes factors[count];
    for (int k = 0; k < count; ++k)
        factors[k] = broadcast(f[k]);
    int i = 0;
    for (; i + lanes <= n; i += lanes) {
        Lanes sum = load(y + i);
        for (int k = 0; k < count; ++k)
            sum -= load(x + k * ld + i) * factors[k];
        store(y + i, sum);
    }
    for (; i < n; ++i) {
        for (int k = 0; k < count; ++k)
            y[i] -= x[k * ld + i] * f[k];
    }
}

void subtract_columns(int n, int count, double * y, double const * x, ptrdiff_t ld, double const * f) {
    for (; count >= 4; count -= 4, x += 4 * ld, f += 4)
        subtract_some<4>(n, y, x, ld, f);
    for (; count > 0; --count, x += ld, ++f)
        subtract_some<1>(n, y, x, ld, f);
}
