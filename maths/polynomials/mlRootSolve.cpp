#include "maths/polynomials/mlRootSolve.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

double const largest_double = std::numeric_limits<double>::max();

void sort_two(double & x, double & y) {
    if (y < x) std::swap(x, y);
}

void sort_three(double & x, double & y, double & z) {
    sort_two(x, y);
    sort_two(y, z);
    sort_two(x, y);
}

/// x to the power of `exponent`, an odd function of x.
double signed_power(double x, double exponent) {
    if (x < 0.0) return -std::pow(-x, exponent);
    return x == 0.0 ? 0.0 : std::pow(x, exponent);
}

double cube_root(double x) { return signed_power(x, 1.0 / 3.0); }

/// 1 when the coefficient of the highest power is zero, or negligible beside the one below it.
bool negligible(double leading, double next) {
    return leading == 0.0 || (next != 0.0 && std::fabs(leading) / std::fabs(next) < 1e-10);
}

/// The roots of a quartic in ascending order, as they are found.
class QuarticRoots {
public:
    /// A root is compared with its lower neighbour only, so a new lowest root always counts.
    void insert(double x) {
        int place = count_;
        while (place > 0 && roots_[place - 1] > x)
            --place;
        if (place > 0 && std::fabs(x - roots_[place - 1]) < 1e-6) return;
        std::copy_backward(roots_ + place, roots_ + count_, roots_ + count_ + 1);
        roots_[place] = x;
        ++count_;
    }

    int count() const { return count_; }
    double operator[](int i) const { return roots_[i]; }

private:
    double roots_[4] = {};
    int count_ = 0;
};

/// A quartic without its cubic term, y^4 + p y^2 + q y + r, where x = y - shift.
struct DepressedQuartic {
    double p, q, r, shift;
};

DepressedQuartic depress(double a, double b, double c, double d, double e) {
    double const a2 = a * a, a3 = a2 * a, a4 = a3 * a;
    double const b2 = b * b, b3 = b2 * b, b4 = b3 * b;
    return {(8.0 * a * c - 3.0 * b2) / (8.0 * a2), (b3 - 4.0 * a * b * c + 8.0 * a2 * d) / (8.0 * a3),
            (16.0 * a * b2 * c + 256.0 * a3 * e - 3.0 * b4 - 64.0 * a2 * b * d) / (256.0 * a4), b / (4.0 * a)};
}

/// q = 0: a quadratic in z = y^2.
void solve_biquadratic(DepressedQuartic const & f, QuarticRoots & roots) {
    double z[2];
    int const count = mlRootSolve::quadratic_solve(1.0, f.p, f.r, z[0], z[1]);
    for (int i = 0; i < count; ++i) {
        if (!(z[i] >= 0.0)) continue;
        roots.insert(std::sqrt(z[i]) - f.shift);
        roots.insert(-std::sqrt(z[i]) - f.shift);
    }
}

/// The largest root of m^3 - p m^2 - 4 r m + (4 p r - q^2).
double resolvent_root(DepressedQuartic const & f) {
    double m[3];
    int const count = mlRootSolve::cubic_solve(1.0, -f.p, -4.0 * f.r, 4.0 * f.p * f.r - f.q * f.q, m[0], m[1], m[2]);
    return count > 0 ? m[count - 1] : largest_double;
}

/// The quartic is the product of y^2 + s y + (m/2 - t) and y^2 - s y + (m/2 + t).
void solve_factors(DepressedQuartic const & f, QuarticRoots & roots) {
    double const m = resolvent_root(f);
    double const s = std::sqrt(std::max(m - f.p, 0.0));
    double const t = s * f.q / (2.0 * (m - f.p));
    double y[2];
    int count = mlRootSolve::quadratic_solve(1.0, s, m / 2.0 - t, y[0], y[1]);
    for (int i = 0; i < count; ++i)
        roots.insert(y[i] - f.shift);
    count = mlRootSolve::quadratic_solve(1.0, -s, m / 2.0 + t, y[0], y[1]);
    for (int i = 0; i < count; ++i)
        roots.insert(y[i] - f.shift);
}

} // namespace

mlRootType mlRootSolve::quadratic_solve(double a, double b, double c, double & r1, double & r2) {
    r1 = r2 = 0.0;
    double scale = std::max(std::max(std::fabs(a), std::fabs(b)), std::fabs(c));
    if (scale == 0.0) return mlRootTypeEverywhere;
    if (a < 0.0) scale = -scale;
    a /= scale;
    b /= scale;
    c /= scale;

    if (std::fabs(a) < 1e-11) {
        if (b == 0.0) return mlRootTypeNone;
        r1 = -c / b;
        return mlRootTypeOne;
    }
    if (c == 0.0) {
        r1 = -b / a;
        sort_two(r1, r2);
        return mlRootTypeTwo;
    }
    double const discriminant = b * b - 4.0 * a * c;
    double const relative = discriminant / (b * b);
    if (b == 0.0 || !(-1e-11 < relative && relative < 1e-11)) {
        if (discriminant < 0.0) return mlRootTypeNone;
        if (discriminant > 0.0) { // b and the root of like sign: the sum does not cancel
            double const q = -0.5 * (b + (b > 0.0 ? 1.0 : -1.0) * std::sqrt(discriminant));
            r1 = q / a;
            r2 = c / q;
            sort_two(r1, r2);
            return mlRootTypeTwo;
        }
    }
    r1 = r2 = -b / (2.0 * a);
    return mlRootTypeTwo;
}

mlRootType mlRootSolve::cubic_solve(double a, double b, double c, double d, double & r1, double & r2, double & r3) {
    r1 = r2 = r3 = 0.0;
    if (a == 0.0 && b == 0.0 && c == 0.0 && d == 0.0) return mlRootTypeEverywhere;
    if (negligible(a, b)) return quadratic_solve(b, c, d, r1, r2);
    if (d == 0.0) { // 0 is a root, which r1, r2 or r3 holds already
        int const others = quadratic_solve(a, b, c, r1, r2);
        if (others < 1) return mlRootTypeOne;
        if (others == 1)
            sort_two(r1, r2);
        else
            sort_three(r1, r2, r3);
        return static_cast<mlRootType>(others + 1);
    }

    double const p = b / a, q = c / a, r = d / a;
    double const p2 = p * p;
    double const e = p * q - 3.0 * r;
    double const R = e / 6.0 - p2 * p / 27.0;
    double const D = (0.75 * (e * e) + q * q * q + (p * r - q * q) * p2) / 27.0;
    double const shift = p / 3.0;
    if (D > 0.0) {
        double const root = std::sqrt(D);
        r1 = cube_root(R + root) + cube_root(R - root) - shift;
        return mlRootTypeOne;
    }
    if (D < 0.0) {
        double const m = signed_power(R * R - D, 1.0 / 6.0);
        double const theta = std::atan2(std::sqrt(-D), R) / 3.0;
        double const along = -m * std::cos(theta) - shift;
        double const across = std::sqrt(3.0) * m * std::sin(theta);
        r1 = 2.0 * m * std::cos(theta) - shift;
        r2 = along - across;
        r3 = along + across;
    } else {
        double const u = cube_root(R);
        r1 = 2.0 * u - shift;
        r2 = r3 = -u - shift;
    }
    sort_three(r1, r2, r3);
    return mlRootTypeThree;
}

mlRootType mlRootSolve::quartic_solve(double a, double b, double c, double d, double e, double & r1, double & r2,
                                      double & r3, double & r4) {
    r1 = r2 = r3 = r4 = 0.0;
    if (negligible(a, b)) return cubic_solve(b, c, d, e, r1, r2, r3);

    DepressedQuartic const f = depress(a, b, c, d, e);
    QuarticRoots roots;
    if (f.q == 0.0)
        solve_biquadratic(f, roots);
    else
        solve_factors(f, roots);
    r1 = roots[0];
    r2 = roots[1];
    r3 = roots[2];
    r4 = roots[3];
    return static_cast<mlRootType>(roots.count());
}
