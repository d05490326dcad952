#pragma once

#include <optional>

#include "maths/optimisation/mlLocalModel2.h"
#include "maths/optimisation/mlPatternSearch2.h"

/// One search of `mlBaseMinimiser2`. For use inside the library.
///
/// Newton's method in a trust region, a rectangle like the window, on the intersection of which the model is minimised
/// exactly, whatever its curvature: ends of the window and negative curvature need no care of their own. Where steps
/// fail though they are within the resolution, values are sampled.
/// Source: Conn, Gould & Toint, Trust-Region Methods (2000).
class mlWindowSearch {
public:
    explicit mlWindowSearch(mlBaseMinimiser2 & minimiser);

    /// Searches from the minimiser's point and counts its iterations. No more than one search an object.
    mlMinimiser2State run();

    mlWindowPoint const & point() const { return point_; }

    /// Whether the function falls towards lower values of a parameter that has no room to move.
    bool falls_downwards(int parameter) const { return model_.gradient()[parameter] > 0.0; }

private:
    using End = std::optional<mlMinimiser2State>;

    End iterate();
    End try_step(mlPair const & s);
    bool try_longer_step(mlPair const & s);
    bool try_two_steps(mlWindowPoint const & first, double predicted);
    mlWindowPoint newton_from(mlWindowPoint const & there);
    mlWindowPoint down_the_wall(mlWindowPoint const & there, double floor);
    End reject(mlPair const & s, double f, double predicted);
    End settle(mlPair s);
    End confirm();
    bool is_far_from_valleys() const;
    End sample();
    End start_sampling(double distance);
    End finish();

    mlPair model_step() const;
    bool is_within_resolution(mlPair const & s) const;
    void set_first_radius();
    void adapt_radius(double ratio, double size);
    void move_to(mlWindowPoint const & point);
    bool changes_ends(mlPair const & x) const;
    bool is_flat() const;
    bool escape();
    bool held_by_an_end(int i) const;
    bool is_firmly_held(int i, mlPair const & s) const;
    bool is_narrow(mlPair const & s) const;
    bool shrinks_fast(mlPair const & s) const;
    bool has_to_be_renewed_near_the_end(mlPair const & s) const;
    bool is_lower(mlPair const & x);
    bool is_lower_down_the_slope();
    bool is_lower_at_an_end_nearby();
    bool is_unbounded(mlPair const & x) const;

    mlBaseMinimiser2 & minimiser_;
    mlWindowFunction function_;
    mlLocalModel2 model_;
    mlPatternSearch2 pattern_;
    mlWindowPoint point_;
    bool modelled_ = false; // the model is that of the point
    bool sampling_ = false;
    double radius_ = 0.0; // of the trust region, in units; 0 before the first model
    double growth_ = 2.0; // of the radius, when it next grows
    double lengthening_ = 10.0;
    int failed_lengthenings_ = 0;
    int settlings_ = 0; // steps within the resolution since the last longer one
    int level_steps_ = 0;
    bool settled_ = false;            // no value down the slope need be looked at
    int rejections_ = 0;              // at this point
    bool last_step_was_free_ = false; // of the trust region
};
