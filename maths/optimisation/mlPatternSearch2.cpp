#include "maths/optimisation/mlPatternSearch2.h"

namespace {

mlPair const directions[] = {{1.0, 0.0}, {0.0, 1.0},  {-1.0, 0.0},  {0.0, -1.0},
                             {1.0, 1.0}, {-1.0, 1.0}, {-1.0, -1.0}, {1.0, -1.0}};
int const num_directions = 8;
double const growth = 2.0;
double const shrinkage = 0.25;

} // namespace

bool mlPatternSearch2::poll_at(mlWindowPoint & point, double distance) {
    for (int j = 0; j < num_directions; ++j) {
        int const k = (first_direction_ + j) % num_directions;
        mlPair const & d = directions[k];
        mlPair const x =
            function_.moved(point.x, {distance * function_.unit(0) * d[0], distance * function_.unit(1) * d[1]});
        if (x == point.x) continue;
        double const f = function_.value(x);
        if (!point.is_above(f)) continue;
        point = {x, f};
        first_direction_ = k;
        return true;
    }
    return false;
}

bool mlPatternSearch2::is_at_finest(mlPair const & x) const {
    if (distance_ <= function_.fine_resolution()) return true;
    return x[0] + distance_ * function_.unit(0) == x[0] && x[1] + distance_ * function_.unit(1) == x[1];
}

mlPatternSearch2::Result mlPatternSearch2::poll(mlWindowPoint & point) {
    if (poll_at(point, distance_)) {
        distance_ *= growth;
        return moved;
    }
    if (is_at_finest(point.x)) return ended;
    distance_ *= shrinkage;
    return nothing;
}

bool mlPatternSearch2::escape(mlWindowPoint & point) {
    for (double const distance : {0.1, 0.001, 4.0 * function_.coarse_resolution()})
        if (poll_at(point, distance)) return true;
    return false;
}
