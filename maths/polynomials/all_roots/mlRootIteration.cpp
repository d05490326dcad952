#include "maths/polynomials/all_roots/mlRootIteration.h"

#include <algorithm>
#include <utility>

#include "maths/polynomials/all_roots/mlBinaryScale.h"
#include "platform/coSize.h"

namespace {

int const max_sweeps = 120; // of a phase

} // namespace

bool mlRootIteration::solve(int n, double const * a, double const * known) {
    n_ = n;
    a_ = a;
    all_met_ = true;
    make_room();
    polygon_.become(n, a);
    choose_scale();
    std::fill(bound_, bound_ + n, -1.0);
    if (known == nullptr || !take(known)) {
        place_starts();
        sweep_all(plain);
        sweep_all(precise);
    }
    return finish();
}

void mlRootIteration::make_room() {
    numbers_.expand(coTableSize(5, n_));
    integers_.expand(coTableSize(2, n_));
    x_ = numbers_.data();
    y_ = x_ + n_;
    local_x_ = y_ + n_;
    local_y_ = local_x_ + n_;
    bound_ = local_y_ + n_;
    done_ = integers_.data();
    order_ = done_ + n_;
}

// One scale serves all points while the end coefficients are not too small in it. It has the roots' geometric mean
// near 1.
void mlRootIteration::choose_scale() {
    double const mean = (ml_exponent(a_[0]) - ml_exponent(a_[n_])) / static_cast<double>(n_);
    int const k = static_cast<int>(mean);
    scaled_.become(n_, a_, k);
    double const least = std::min(std::fabs(scaled_.coefficient(0)), std::fabs(scaled_.coefficient(n_)));
    wide_ = !(least >= 0x1p-480);
    px_ = wide_ ? local_x_ : x_;
    py_ = wide_ ? local_y_ : y_;
}

// Sweeps until all points are done; those with a known bound are from the start.
void mlRootIteration::sweep_all(Phase phase) {
    for (int i = 0; i < n_; ++i)
        done_[i] = bound_[i] >= 0.0;
    for (int count = 0; count < max_sweeps && !sweep(phase); ++count) {
    }
}

// Moves every factor once. Returns whether all points are done.
bool mlRootIteration::sweep(Phase phase) {
    pair_up_real_points();
    for (int i = 0; i + 1 < n_; i += 2) {
        if (y_[i] != 0.0)
            move_pair(i, phase);
        else
            move_real_points(i, i + 1, phase);
    }
    if (n_ % 2 == 1) move_real_point(n_ - 1, phase);
    return std::all_of(done_, done_ + n_, [](int done) { return done != 0; });
}

// Sorts the real points over their slots, those still under way first and each kind in increasing order: neighbours
// then share a factor, in which they can become a pair.
void mlRootIteration::pair_up_real_points() {
    int * const slots = order_;
    int count = 0, under_way = 0;
    for (int i = 0; i < n_; ++i) {
        if (y_[i] != 0.0) continue;
        slots[count++] = i;
        under_way += !done_[i];
    }
    if (under_way < 2) return;
    for (int k = 1; k < count; ++k) {
        for (int l = k; l > 0; --l) {
            int const i = slots[l - 1], j = slots[l];
            bool const in_order = done_[i] != done_[j] ? done_[j] != 0 : !(x_[j] < x_[i]);
            if (in_order) break;
            std::swap(x_[i], x_[j]);
            std::swap(done_[i], done_[j]);
            std::swap(bound_[i], bound_[j]);
        }
    }
}
