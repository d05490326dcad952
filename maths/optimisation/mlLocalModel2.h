#pragma once

#include "maths/optimisation/mlWindowFunction.h"

/// The quadratic model of a function of two parameters at the current point of a search, made of what derivatives there
/// are. For use inside the library.
///
/// Second derivatives are asked for at the start, and later where the model has predicted badly or a minimum is to be
/// confirmed; between, and without them, the curvature is carried on by secant updates. A sum of squares has the
/// curvature of its Jacobian, corrected by secant updates. Without derivatives both come from differences of values:
/// central ones where the curvature is made afresh and in narrow valleys, else forward ones, corrected by the
/// curvature.
class mlLocalModel2 {
public:
    explicit mlLocalModel2(mlWindowFunction & function) : function_(&function) {}

    /// Makes the model at a point other than the last one; a step that came from there updates the curvature. False
    /// where the numbers are not finite, or the absolute minimum was met on the way.
    bool move_to(mlWindowPoint const & point);

    /// The next point's curvature is made afresh, not by an update.
    void forget_curvature() { stale_ = true; }

    /// Makes the curvature, and by differences the gradient too, afresh at the current point; false as above.
    bool renew(mlWindowPoint const & point);

    /// Whether there are second derivatives, made so near that a clear curvature there is of the same kind here.
    bool is_nearly_fresh() const;

    /// Sees to it that the curvature may confirm a minimum at the current point: that it is fresh, or complete where no
    /// step has corrected a partial one. False as above.
    bool confirm(mlWindowPoint const & point);

    /// Whether the gradient beside the point, where the last step moved less and the updates learned little, is as the
    /// curvature says. Two first derivatives.
    bool agrees_across(mlWindowPoint const & point);

    /// Forgets what was learned at other points.
    void forget();

    /// Compares what a step was to gain with what it gained: a bad prediction calls for fresh second derivatives. A
    /// correction of a partial curvature is used as long as it makes predictions better.
    void judge(mlPair const & s, double gain);
    /// Bad predictions call for a fresh curvature: at the current point, or at the next.
    bool is_doubtful() const;

    /// Whether the curvature was made at the current point, or is partial, which cannot be made better.
    bool is_fresh() const { return fresh_ || function_->curvature_is_partial(); }
    mlQuadraticModel2 const & quadratic() const { return model_; }
    mlSymmetric2 const & curvature() const { return model_.b; }
    mlPair const & gradient() const { return model_.g; }
    mlPair const & last_step() const { return last_step_; }
    bool has_last_step() const { return has_last_step_; }

private:
    bool renew_by_gradients(mlWindowPoint const & point);
    bool renew_by_values(mlWindowPoint const & point);
    bool difference_gradient(mlWindowPoint const & point, mlPair & g);
    void update_curvature(mlPair const & g);
    void use_correction(bool use);
    void forget_correction();
    double central_step(mlWindowPoint const & point, int i) const;
    double forward_step(mlWindowPoint const & point, int i) const;
    double scale(mlPair const & x, int i) const;

    mlWindowFunction * function_;
    mlQuadraticModel2 model_;
    mlSymmetric2 partial_;
    mlSymmetric2 correction_; // of the partial curvature
    bool corrects_ = false;
    double way_since_fresh_ = 0.0;
    mlPair at_ = {0.0, 0.0};
    mlPair last_step_ = {0.0, 0.0};
    bool has_model_ = false;
    bool stale_ = false; // the curvature does not serve at the next point
    bool has_last_step_ = false;
    bool fresh_ = false;
    bool bad_prediction_ = false;
    int bad_predictions_ = 0; // since the curvature was fresh
};
