#pragma once

#include "maths/optimisation/mlDistanceLeastSquares.h"

// What the fits of a model share. For use inside the library.

/// The square distance of the point evaluated last, whose signed distance is d.
inline double ml_square_distance(mlDistanceLeastSquares const & model, double d) {
    return model.have_precise_square_distance() == 1 ? model.get_last_square_distance() : d * d;
}

/// Sets the parameters to p and returns the sum of square distances, from 0.0 in the order of the points.
inline double ml_sum_of_square_distances(mlDistanceLeastSquares & model, mlVector const & p) {
    model.set_parameters(p);
    double sum = 0.0;
    for (int i = 0; i < model.n_points(); ++i) {
        double d;
        model.distance(d, i);
        sum += ml_square_distance(model, d);
    }
    return sum;
}
