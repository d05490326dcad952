#include "platform/utMath.h"

#include <numeric>

double utMath::pow(double x, int n) {
    double power = 1.0;
    for (int k = 0; k < n; ++k)
        power *= x;
    return power;
}

long long utMath::n_choose_i(int n, int i) {
    if (i < 0 || i > n) return 0;
    if (i > n - i) i = n - i;
    long long count = 1;
    for (int k = 1; k <= i; ++k) { // C(n, k) = C(n, k - 1) (n - k + 1) / k
        // Dividing before multiplying keeps every intermediate value at most the result.
        long long const shared = std::gcd(count, static_cast<long long>(k));
        count = count / shared * ((n - k + 1) / (k / shared));
    }
    return count;
}
