#include "maths/optimisation/active_set/mlNearestPoint.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "maths/optimisation/active_set/mlDenseRuns.h"

namespace {

// A negative force as small as this part of the scale of x counts as zero.
double const slack = 1e-9;

} // namespace

mlNearestPoint::Result mlNearestPoint::find(mlConstraintRows const & rows, double const * bounds,
                                            int const * considered, mlActiveNormals & normals, double * x, double floor,
                                            double waiver, int & steps) {
    rows_ = &rows;
    bounds_ = bounds;
    considered_ = considered;
    waiver_ = waiver;
    int const n = rows.dimension();
    forces_.expand(n + 1);
    free_.expand(n);
    change_.expand(n);
    start_.expand(n);
    std::copy_n(x, n, start_.data());
    waived_.expand(rows.size());
    active_.expand(rows.size());
    std::fill_n(waived_.data(), rows.size(), 0);
    scale_ = std::max(floor, ml_run_largest(x, n));
    begin(normals, x);
    for (;;) {
        scale_ = std::max(floor, ml_run_largest(x, n));
        int const next = worst(normals, x);
        if (next < 0) return found;
        Result const result = meet(next, normals, x, steps);
        if (result == found) continue;
        double const missed = std::fabs(excess(next, x));
        if (result == out_of_steps || !(missed <= waiver_ * scale_ * rows.length(next))) return result;
        waived_[next] = 1;
    }
}

// x becomes the point nearest to the start that meets the constraints of `normals` with equality. An inequality of a
// negative force would keep x from a nearer feasible point: it is removed, the one of the most negative force first.
void mlNearestPoint::begin(mlActiveNormals & normals, double * x) {
    int const n = rows_->dimension();
    double * const along = change_.data();
    for (;;) {
        int const active = normals.size();
        for (int i = 0; i < active; ++i)
            along[i] = -excess(normals.constraint(i), start_.data());
        normals.solve_transposed(along);
        std::copy_n(start_.data(), n, x);
        normals.add_range(along, x);
        std::copy_n(along, active, forces_.data());
        normals.solve(forces_.data());
        int weakest = -1;
        for (int i = 0; i < active; ++i) {
            if (rows_->equality(normals.constraint(i))) continue;
            if (forces_[i] < (weakest < 0 ? -slack * scale_ : forces_[weakest])) weakest = i;
        }
        if (weakest < 0) break;
        normals.remove(weakest);
    }
    for (int i = 0; i < normals.size(); ++i)
        if (!rows_->equality(normals.constraint(i)) && forces_[i] < 0.0) forces_[i] = 0.0;
}

double mlNearestPoint::excess(int i, double const * x) const {
    return ml_run_product(rows_->normal(i), x, rows_->dimension()) - bounds_[i];
}

// The constraint missed most by x, neither active nor waived; -1 when all are met to rounding.
int mlNearestPoint::worst(mlActiveNormals const & normals, double const * x) {
    std::fill_n(active_.data(), rows_->size(), 0);
    for (int i = 0; i < normals.size(); ++i)
        active_[normals.constraint(i)] = 1;
    int next = -1;
    double most = 0.0;
    for (int i = 0; i < rows_->size(); ++i) {
        if (active_[i] || waived_[i] || rows_->zero(i) || (considered_ && !considered_[i])) continue;
        double const over = excess(i, x);
        double const missed = rows_->equality(i) ? std::fabs(over) : -over;
        if (missed > most && missed > rows_->rounding(i, scale_)) {
            most = missed;
            next = i;
        }
    }
    return next;
}

// Moves x until the constraint is met, and makes it active. On the way the active ones stay met with equality, so that
// x moves along the free part of the normal, x += sign t Z Z^T normal, and their forces lose sign t R^-1 Y^T normal. An
// inequality whose force falls to zero is dropped, and the way begins anew from there. Where the normal depends on
// those active, x cannot move: then one of them has to be dropped, and `none` says that none can.
mlNearestPoint::Result mlNearestPoint::meet(int constraint, mlActiveNormals & normals, double * x, int & steps) {
    double const * const normal = rows_->normal(constraint);
    double const sign = excess(constraint, x) > 0.0 ? -1.0 : 1.0; // of an equality that is exceeded
    double const least = mlActiveNormals::dependence * rows_->length(constraint);
    double const infinity = std::numeric_limits<double>::infinity();
    double force = 0.0;
    for (;;) {
        if (--steps < 0) return out_of_steps;
        normals.null_part(normal, free_.data());
        normals.range_part(normal, change_.data());
        normals.solve(change_.data());
        int pushed = -1;
        double until_push = infinity;
        for (int i = 0; i < normals.size(); ++i) {
            if (rows_->equality(normals.constraint(i)) || !(sign * change_[i] > 1e-12)) continue;
            double const t = forces_[i] / (sign * change_[i]);
            if (t < until_push) until_push = t, pushed = i;
        }
        double const square = ml_run_product(free_.data(), free_.data(), normals.null_size());
        double until_met = square > least * least ? std::fabs(excess(constraint, x)) / square : infinity;
        if (sign * excess(constraint, x) >= 0.0) until_met = 0.0;
        double const t = std::min(until_push, until_met);
        if (!(t < infinity)) return none;
        for (int i = 0; i < normals.size(); ++i)
            forces_[i] -= t * sign * change_[i];
        force += t;
        if (square > least * least) {
            for (int j = 0; j < normals.null_size(); ++j)
                free_[j] *= t * sign;
            normals.add_null(free_.data(), x);
        }
        if (until_met <= until_push) {
            if (square > least * least) {
                forces_[normals.size()] = sign * force;
                normals.append(constraint, normal);
            }
            return found;
        }
        drop(pushed, normals);
    }
}

// The constraint at this position is no longer active.
void mlNearestPoint::drop(int position, mlActiveNormals & normals) {
    for (int i = position; i + 1 < normals.size(); ++i)
        forces_[i] = forces_[i + 1];
    normals.remove(position);
}
