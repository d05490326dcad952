#include "maths/decompositions/mlTridiagonalQL.h"

#include <cmath>
#include <limits>

#include "maths/decompositions/svd/mlLevel1.h"

namespace {

int const steps_per_value = 30;

/// The rotation that takes (x, y) to (r, 0), r >= 0 unless y is 0.
mlRotation rotation_of(double x, double y, double & r) {
    if (y == 0.0) {
        r = x;
        return {1.0, 0.0};
    }
    r = ml_length(x, y);
    return {x / r, y / r};
}

/// Values are taken off a block at its `near` end. A step begins with the shift, an estimate of the value there, goes
/// through the block from its `far` end and leaves the element beside the near end smaller. When near is above far that
/// is a QL step, else a QR step; `step` is the way from far to near.
class QLIteration {
public:
    QLIteration(mlFortranVector & d, mlFortranVector & e, mlRotatedBasis * basis)
        : d_(d), e_(e), basis_(basis), steps_left_(steps_per_value * static_cast<long long>(d.size())) {}

    [[nodiscard]] int run();

private:
    [[nodiscard]] bool negligible(int i) const;
    [[nodiscard]] int solve_block(int first, int last);
    [[nodiscard]] double shift(int near, int step) const;
    void sweep(int far, int near, int step);

    /// The element between i and its neighbour i + step.
    double & beside(int i, int step) { return e_(step > 0 ? i : i - 1); }
    double beside(int i, int step) const { return e_(step > 0 ? i : i - 1); }

    mlFortranVector & d_;
    mlFortranVector & e_;
    mlRotatedBasis * const basis_;
    long long steps_left_;
};

int QLIteration::run() {
    int const n = d_.size();
    for (int first = 1, last; first <= n; first = last + 1) {
        for (last = first; last < n && !negligible(last); ++last) {
        }
        if (!solve_block(first, last)) return 0;
    }
    return 1;
}

/// Whether e_i changes no value by a roundoff of the value itself, in a matrix that is graded along its diagonal:
/// e_i^2 <= eps^2 |d_i d_{i+1}|, or e_i^2 near underflow.
bool QLIteration::negligible(int i) const {
    double const eps = std::numeric_limits<double>::epsilon() / 2.0;
    return e_(i) * e_(i) <=
           (eps * std::fabs(d_(i))) * (eps * std::fabs(d_(i + 1))) + std::numeric_limits<double>::min();
}

/// All values of rows first to last. The end with the smaller diagonal element is near: a graded matrix then gives its
/// small values first, which later steps for large ones would drown in roundoff.
int QLIteration::solve_block(int first, int last) {
    bool const up = std::fabs(d_(last)) < std::fabs(d_(first));
    int const step = up ? 1 : -1, end = up ? first : last;
    for (int near = up ? last : first; near != end;) {
        int far = near;
        while (far != end && !negligible(step > 0 ? far - 1 : far))
            far -= step;
        if (far == near) {
            near -= step; // its value is found
            continue;
        }
        if (steps_left_-- == 0) return 0;
        sweep(far, near, step);
    }
    return 1;
}

/// Wilkinson's: the eigenvalue of the 2 x 2 block at the near end that is nearer to the diagonal element there.
double QLIteration::shift(int near, int step) const {
    double const e = beside(near, -step);
    double const g = (d_(near - step) - d_(near)) / (2.0 * e);
    return d_(near) - e / (g + std::copysign(ml_length(g, 1.0), g));
}

void QLIteration::sweep(int far, int near, int step) {
    double g = d_(far) - shift(near, step), p = 0.0;
    mlRotation rotation{1.0, 1.0}; // none yet: f and b begin as the element itself
    for (int i = far; i != near; i += step) {
        int const next = i + step;
        double const f = rotation.s * beside(i, step), b = rotation.c * beside(i, step);
        double r;
        rotation = rotation_of(g, f, r);
        if (i != far) beside(i, -step) = r;
        g = d_(i) - p;
        double const t = (d_(next) - g) * rotation.s + 2.0 * rotation.c * b;
        p = rotation.s * t;
        d_(i) = g + p;
        g = rotation.c * t - b;
        if (basis_ != nullptr) basis_->rotate(i, next, rotation);
    }
    d_(near) -= p;
    beside(near, -step) = g;
}

} // namespace

int ml_tridiagonal_ql(mlFortranVector & d, mlFortranVector & e, mlRotatedBasis * basis) {
    return QLIteration(d, e, basis).run();
}
