#include "maths/optimisation/active_set/mlConstraintRows.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "maths/core/mlExactArithmetic.h"
#include "maths/core/mlSlice.h"
#include "maths/optimisation/active_set/mlDenseRuns.h"
#include "platform/coSize.h"

namespace {

double const most = 0x1p1020;

} // namespace

double ml_power_of_two(double x) {
    std::uint64_t const exponent = (std::bit_cast<std::uint64_t>(x) >> 52) & 0x7ff;
    if (x == 0.0 || exponent == 0x7ff) return 1.0;
    std::uint64_t const kept = exponent < 23 ? 23 : exponent > 2023 ? 2023 : exponent;
    return std::bit_cast<double>(kept << 52);
}

int mlConstraintRows::add(mlSlice const & normal, double bound, bool equality) {
    MATHS_CHECK(normal.length() == n_, "constraint: a normal of %d elements, %d variables", normal.length(), n_);
    double * const a = next_normal();
    for (int i = 0; i < n_; ++i)
        a[i] = normal[i];
    return finish(bound, equality, -1);
}

int mlConstraintRows::add_unit(int i, double sign, double bound) {
    MATHS_CHECK(i >= 0 && i < n_, "constraint: variable %d of %d", i, n_);
    double * const a = next_normal();
    for (int k = 0; k < n_; ++k)
        a[k] = k == i ? sign : 0.0;
    return finish(bound, false, i);
}

// The place of the normal to come, room for which is made everywhere before anything is stored.
double * mlConstraintRows::next_normal() {
    int const count = coSizeSum(size(), 1);
    normals_.expand(coTableSize(count, n_));
    for (doublecoDynArr * array : {&bounds_, &lengths_, &sums_, &scales_})
        array->reserve(count);
    for (intcoDynArr * array : {&equalities_, &units_})
        array->reserve(count);
    return normals_.data() + size() * n_;
}

// Scales the normal at `next_normal` and takes the constraint in.
int mlConstraintRows::finish(double bound, bool equality, int unit) {
    double * const a = normals_.data() + size() * n_;
    finite_ = finite_ && std::isfinite(bound);
    for (int i = 0; i < n_; ++i)
        finite_ = finite_ && std::isfinite(a[i]);
    double scale = 1.0;
    for (int pass = 0; pass < 2; ++pass) { // by the largest element, which keeps the squares in range, then the length
        double const size = pass == 0 ? ml_run_largest(a, n_) : std::sqrt(ml_run_product(a, a, n_));
        double const factor = 1.0 / ml_power_of_two(size);
        for (int i = 0; i < n_; ++i)
            a[i] *= factor;
        scale = std::min(scale * factor, most); // the multiplier of such a normal may overflow, nothing else
        bound = std::clamp(bound * factor, -most, most);
    }
    double sum = 0.0;
    for (int i = 0; i < n_; ++i)
        sum += std::fabs(a[i]);
    lengths_[lengths_.size()] = std::sqrt(ml_run_product(a, a, n_));
    sums_[sums_.size()] = sum;
    scales_[scales_.size()] = scale;
    equalities_[equalities_.size()] = equality;
    units_[units_.size()] = unit;
    bounds_[bounds_.size()] = bound;
    return bounds_.size() - 1;
}

double mlConstraintRows::excess(int i, double const * x) const { return ml_run_product(normal(i), x, n_) - bounds_[i]; }

double mlConstraintRows::precise_excess(int i, double const * x) const {
    double const * const a = normal(i);
    mlPreciseSum sum;
    sum.add(-bounds_[i]);
    for (int k = 0; k < n_; ++k)
        sum.add_product(a[k], x[k]);
    return sum.value();
}

double mlConstraintRows::rounding(int i, double largest) const {
    return 16.0 * std::numeric_limits<double>::epsilon() * (sums_[i] * largest + std::fabs(bounds_[i]));
}

bool mlConstraintRows::zeros_hold() const {
    for (int i = 0; i < size(); ++i)
        if (zero(i) && (equality(i) ? bound(i) != 0.0 : bound(i) > 0.0)) return false;
    return true;
}
