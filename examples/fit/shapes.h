#pragma once

#include <cmath>

#include "maths/maths.h"

// Shapes that are fitted to points: their signed distances are to be 0.

/// A circle with centre (p[0], p[1]) and radius p[2], and points of the plane.
class CircleFit : public mlDistanceLeastSquares {
public:
    explicit CircleFit(mlTinyVector2coDynArr const & points)
        : mlDistanceLeastSquares(3, points.size()), points_(points) {}

    void normalise_parameters(mlVector & p) override { p[2] = std::fabs(p[2]); }

    void distance_and_gradient(double & d, mlVector & gradient, int point) override {
        double const from_centre = to_point(point);
        d = from_centre - parameters[2];
        gradient[0] = -to_point_[0] / from_centre;
        gradient[1] = -to_point_[1] / from_centre;
        gradient[2] = -1.0;
    }
    void distance(double & d, int point) override { d = to_point(point) - parameters[2]; }

private:
    // Its distance from the centre.
    double to_point(int point) {
        to_point_ = points_[point];
        to_point_ -= parameters.slice(0, 1, 2);
        return std::sqrt(to_point_.modulus_squared());
    }

    mlTinyVector2coDynArr const & points_;
    mlTinyVector2 to_point_;
};

/// A plane with the unit normal (p[0], p[1], p[2]), p[3] away from the origin, and points of space.
class PlaneFit : public mlDistanceLeastSquares {
public:
    explicit PlaneFit(mlTinyVector3coDynArr const & points)
        : mlDistanceLeastSquares(4, points.size()), points_(points) {}

    void normalise_parameters(mlVector & p) override { p /= std::sqrt(p.slice(0, 1, 3).modulus_squared()); }

    void distance_and_gradient(double & d, mlVector & gradient, int point) override {
        distance(d, point);
        for (int k = 0; k < 3; ++k)
            gradient[k] = points_[point][k];
        gradient[3] = -1.0;
    }
    void distance(double & d, int point) override {
        d = scalar_product(points_[point].slice(), parameters.slice(0, 1, 3)) - parameters[3];
    }
    int n_independent_parameters() const override { return 3; } // the normal's length is given

private:
    mlTinyVector3coDynArr const & points_;
};
