#include "maths/optimisation/active_set/mlActiveSetSearch.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>

#include "maths/optimisation/active_set/mlDenseRuns.h"

namespace {

double const epsilon = std::numeric_limits<double>::epsilon();
double const infinity = std::numeric_limits<double>::infinity();

// A constraint missed by this part of the scale of x counts as met where nothing better is possible.
double const waiver = 1e-9;

// Within this part of the scale of x a point lies on a constraint, and a step is none.
double const touching = 1e-11;

int const max_rounds = 8;

} // namespace

mlActiveSetSearch::mlActiveSetSearch(mlMatrix const & g_matrix, mlVector const & g_vector, double largest)
    : g_matrix_(g_matrix), g_vector_(g_vector), largest_(largest), n_(g_vector.size()),
      convex_(g_matrix, g_vector, largest) {
    normals_.start(n_);
    curvature_.start(g_matrix_, largest_);
    for (mlVector * const v : {&multipliers_, &gradient_, &reduced_, &coordinates_, &direction_, &work_})
        v->expand(n_);
}

mlActiveSetSearch::Outcome mlActiveSetSearch::run(mlConstraintRows const & rows, double * x) {
    rows_ = &rows;
    x_ = x;
    start_scale_ = ml_run_largest(x, n_);
    iterations_ = 0;
    steps_left_ = static_cast<int>(std::min(1000 + 50 * (n_ + 1LL * rows.size()), 1LL * INT_MAX));
    int const limit = steps_left_;
    Outcome outcome = solved;
    bool const begun = convex_.serves() && convex_.find(rows, normals_, x, steps_left_);
    if (!begun && warm_) shift_start();
    for (int round = 0; round < max_rounds && outcome == solved; ++round) {
        normals_.start(rows, round == 0 && begun ? convex_.normals() : normals_);
        outcome = make_feasible();
        if (outcome == solved) outcome = descend();
        if (outcome != solved) break;
        refine();
        if (holds()) break;
    }
    warm_ = outcome == solved;
    iterations_ = limit - std::max(steps_left_, 0);
    for (int i = 0; i < normals_.size(); ++i)
        if (!rows.equality(normals_.constraint(i))) multipliers_[i] = std::max(multipliers_[i], 0.0);
    return outcome;
}

// Moves the start x downhill, off the feasible points if it is the last solution: the constraints that held that one
// then hold the feasible point nearest to the start too, which is the last solution again.
void mlActiveSetSearch::shift_start() {
    calculate_gradient();
    double const steepest = ml_run_largest(gradient_.data(), n_);
    if (steepest == 0.0) return;
    double const length = largest_ > 0.0 ? 1.0 / largest_ : std::max(1.0, ml_run_largest(x_, n_)) / steepest;
    ml_run_add(-length, gradient_.data(), x_, n_);
}

// x becomes the nearest point that meets the constraints; the search for it begins with the active set.
mlActiveSetSearch::Outcome mlActiveSetSearch::make_feasible() {
    int const m = rows_->size();
    waived_.expand(m);
    auto const result = nearest_.find(*rows_, rows_->bounds(), nullptr, normals_, x_, 1.0, waiver, steps_left_);
    for (int i = 0; i < m; ++i)
        waived_[i] = nearest_.waived(i);
    return result == mlNearestPoint::found ? solved : result == mlNearestPoint::none ? infeasible : out_of_steps;
}

// From a feasible point to a minimum; `solved` there, where no multiplier of an inequality is negative.
mlActiveSetSearch::Outcome mlActiveSetSearch::descend() {
    curvature_.refresh(normals_);
    moved_ = true;
    stationary_ = false;
    int newton_steps = 0; // to the minimum on one active set: a second one mends the first, a third would not
    while (--steps_left_ >= 0) {
        double const rounding = calculate_gradient();
        normals_.null_part(gradient_.data(), reduced_.data());
        mlReducedStep const kind = curvature_.step(normals_, reduced_.data(), rounding, coordinates_.data());
        if (kind == mlReducedStepNone || (kind == mlReducedStepNewton && newton_steps > 1)) {
            newton_steps = 0;
            calculate_multipliers();
            int const weakest = stationary_ ? -1 : most_negative_multiplier(rounding);
            if (weakest < 0) return solved;
            Outcome const outcome = moved_ ? let_go(weakest) : leave_degenerate_point(rounding);
            if (outcome != solved) return outcome;
            continue;
        }
        std::fill_n(direction_.data(), n_, 0.0);
        normals_.add_null(coordinates_.data(), direction_.data());
        double length = kind == mlReducedStepNewton ? 1.0 : infinity;
        int const blocker = blocking(length);
        if (!(length < infinity)) return unbounded;
        move(length, blocker);
        newton_steps = blocker < 0 ? newton_steps + 1 : 0;
    }
    return out_of_steps;
}

// G x + g. Returns up to which magnitude its elements can be rounding.
double mlActiveSetSearch::calculate_gradient() {
    double const largest = ml_run_largest(x_, n_);
    double scale = 0.0;
    for (int i = 0; i < n_; ++i) {
        gradient_[i] = ml_run_product(g_matrix_.data() + i * n_, x_, n_) + g_vector_[i];
        scale = std::max(scale, std::fabs(g_vector_[i]));
    }
    return 16.0 * (n_ + 4) * epsilon * std::max(scale, largest_ * largest);
}

// gradient = sum of multiplier * normal, by least squares.
void mlActiveSetSearch::calculate_multipliers() {
    normals_.range_part(gradient_.data(), multipliers_.data());
    normals_.solve(multipliers_.data());
}

// Its position among the active constraints, -1 when there is none below rounding.
int mlActiveSetSearch::most_negative_multiplier(double rounding) const {
    int found = -1;
    double most = -rounding;
    for (int i = 0; i < normals_.size(); ++i) {
        int const constraint = normals_.constraint(i);
        if (rows_->equality(constraint)) continue;
        double const multiplier = multipliers_[i] * rows_->length(constraint);
        if (multiplier < most) most = multiplier, found = i;
    }
    return found;
}

// The constraint at this position is no longer active; always `solved`.
mlActiveSetSearch::Outcome mlActiveSetSearch::let_go(int position) {
    normals_.remove(position);
    curvature_.removed(normals_);
    moved_ = false;
    return solved;
}

// The steepest feasible descent is the direction nearest to -gradient among those that no constraint on which the point
// lies forbids. Makes those constraints active that it slides along, and moves to the lowest value on its line. Where
// it is zero, the point is stationary.
mlActiveSetSearch::Outcome mlActiveSetSearch::leave_degenerate_point(double rounding) {
    int const m = rows_->size();
    double const scale = std::max(1.0, ml_run_largest(x_, n_));
    considered_.expand(m);
    bounds_.expand(m);
    bounds_.fill(0.0);
    for (int i = 0; i < m; ++i)
        considered_[i] =
            !rows_->zero(i) && !rows_->equality(i) && rows_->excess(i, x_) <= touching * scale * rows_->length(i);
    for (int i = normals_.size() - 1; i >= 0; --i)
        if (!rows_->equality(normals_.constraint(i))) normals_.remove(i);
    for (int i = 0; i < n_; ++i)
        direction_[i] = -gradient_[i];
    double const steepest = ml_run_largest(direction_.data(), n_);
    auto const result = nearest_.find(*rows_, bounds_.data(), considered_.data(), normals_, direction_.data(), steepest,
                                      touching, steps_left_);
    curvature_.refresh(normals_);
    if (result != mlNearestPoint::found) return out_of_steps;
    stationary_ = !(ml_run_largest(direction_.data(), n_) > rounding);
    if (stationary_) return solved;
    double slope = ml_run_product(gradient_.data(), direction_.data(), n_), bend = 0.0;
    for (int i = 0; i < n_; ++i)
        bend += direction_[i] * ml_run_product(g_matrix_.data() + i * n_, direction_.data(), n_);
    double const square = ml_run_product(direction_.data(), direction_.data(), n_);
    double length = bend > 32.0 * (n_ + 4) * epsilon * largest_ * square ? -slope / bend : infinity;
    int const blocker = blocking(length);
    if (!(length < infinity)) return unbounded;
    move(length, blocker);
    return solved;
}

// The constraint that a step of at most `length` along the direction meets first, -1 when there is none; `length` is
// cut down to it. Among those met at nearly the same place it is the one that the direction meets most squarely.
int mlActiveSetSearch::blocking(double & length) {
    int const m = rows_->size();
    approach_.expand(m);
    room_.expand(m);
    double const scale = std::max(1.0, ml_run_largest(x_, n_));
    double const speed = std::sqrt(ml_run_product(direction_.data(), direction_.data(), n_));
    double * const approach = approach_.data();
    double * const room = room_.data();
    double reach = length;
    for (int i = 0; i < m; ++i)
        approach[i] = 0.0;
    for (int i = 0; i < normals_.size(); ++i)
        approach[normals_.constraint(i)] = -1.0;
    for (int i = 0; i < m; ++i) {
        if (approach[i] < 0.0 || rows_->equality(i) || rows_->zero(i)) continue;
        double const a = -ml_run_product(rows_->normal(i), direction_.data(), n_);
        if (!(a > mlActiveNormals::dependence * rows_->length(i) * speed)) continue;
        approach[i] = a;
        room[i] = std::max(rows_->excess(i, x_), 0.0);
        reach = std::min(reach, (room[i] + rows_->rounding(i, scale)) / a);
    }
    int found = -1;
    for (int i = 0; i < m; ++i) {
        if (!(approach[i] > 0.0) || !(room[i] <= reach * approach[i])) continue;
        if (found < 0 || approach[i] * rows_->length(found) > approach[found] * rows_->length(i)) found = i;
    }
    if (found >= 0) length = room[found] / approach[found];
    return found;
}

// x += length * direction; the blocker, unless it is -1, becomes active.
void mlActiveSetSearch::move(double length, int blocker) {
    double const scale = std::max(1.0, ml_run_largest(x_, n_));
    ml_run_add(length, direction_.data(), x_, n_);
    if (length * ml_run_largest(direction_.data(), n_) > touching * scale) {
        moved_ = true;
        stationary_ = false;
    }
    if (blocker < 0) return;
    normals_.append(blocker, rows_->normal(blocker));
    curvature_.appended(normals_);
}
