#pragma once

#include "maths/core/mlVector.h"

/// A model with parameters that is to be fitted to points: derive from it and supply, for each point, its signed
/// distance from the model and the distance's gradient with respect to the parameters.
///
/// `mlLevenbergMarquardt` finds the parameters that minimise the sum of squared distances.
/// Shapes: all parameter vectors and gradients have `n_parameters()` elements.
/// Threads: as the deriving class; its operations may change the object.
class MATHS_API mlDistanceLeastSquares {
public:
    /// The parameters are zeros until set.
    mlDistanceLeastSquares(int n_parameters, int n_points);
    mlDistanceLeastSquares(mlDistanceLeastSquares const &) = delete;
    mlDistanceLeastSquares & operator=(mlDistanceLeastSquares const &) = delete;

    /// Copies p into `parameters`. A deriving class that keeps anything that depends on them extends this.
    virtual void set_parameters(mlVector const & p);

    /// Brings p to its canonical form, where the model has one: a direction to length 1, say. Called for every new
    /// parameter vector before it is set.
    virtual void normalise_parameters(mlVector & p) = 0;

    /// The signed distance d of a point from the model as set, and its gradient, which has its size already.
    virtual void distance_and_gradient(double & d, mlVector & gradient, int point) = 0;

    /// The signed distance alone.
    virtual void distance(double & d, int point) = 0;

    /// The square distance of the point evaluated last: for models whose square distance is not the square of the
    /// signed distance. Used only while `precise_square_distance` is 1; such a model supplies it. By default 0.0.
    [[nodiscard]] virtual double get_last_square_distance() const;

    /// By default `n_parameters()`.
    [[nodiscard]] virtual int n_independent_parameters() const;

    /// Sizes `scales` to the number of independent parameters and writes the scale of each, by default 1.0.
    virtual void parameter_scales(mlVector & scales) const;

    virtual ~mlDistanceLeastSquares();

    [[nodiscard]] int n_parameters() const { return parameters.size(); }
    [[nodiscard]] int n_points() const { return n_points_; }
    [[nodiscard]] int have_precise_square_distance() const { return precise_square_distance; }

    /// How well the points determine the parameters at p, which it sets: the ratio of the smallest to the largest
    /// singular value of the matrix whose rows are the points' gradients. Near 0 some combination of the parameters is
    /// as good as free; 0.0 exactly when there are fewer points than parameters or all gradients are 0. NaN among the
    /// gradients gives a meaningless result.
    double point_distribution_quality(mlVector const & p);

private:
    int n_points_;

protected:
    mlVector parameters;
    int precise_square_distance; ///< 1 when square distances come from `get_last_square_distance`; 0 at first
};
