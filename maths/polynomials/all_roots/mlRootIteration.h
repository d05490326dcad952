#pragma once

#include "maths/polynomials/all_roots/mlNewtonPolygon.h"
#include "maths/polynomials/all_roots/mlRootEnclosure.h"
#include "maths/polynomials/all_roots/mlScaledPolynomial.h"

/// All roots, simultaneously, of a polynomial of which neither end coefficient is zero, for use inside the library.
///
/// The method of Ehrlich and Aberth on real factors. Slots 2 i and 2 i + 1 hold a factor of degree two: a conjugate
/// pair, the upper one first, or two real points; the last slot of an odd degree is a real point. With the others'
/// share taken away, L = p'/p - sum of 1 / (z - others) is to be q'/q of the factor q = t^2 - u t + v: that is linear
/// in u and v, two real equations at the upper point of a pair or at two real points. So pairs become real and real
/// points become pairs as the coefficients have it. Two real points some way apart move on their own.
///
/// A first phase computes in plain arithmetic until a point hardly moves or its value is rounding error. The second
/// evaluates as if with twice the digits: a last Newton step for most, more of the same for the ill-conditioned.
/// mlRootIteration.cpp has the phases, mlRootSteps.cpp how points move, mlRootEnds.cpp where they start and what is
/// known of them at the end. Source: Ehrlich, A modified Newton method for polynomials (1967); Aberth, Iteration
/// methods for finding all zeros of a polynomial simultaneously (1973); Bini, Numerical computation of polynomial zeros
/// (1996).
class mlRootIteration {
public:
    /// Finds the roots of a[0] + a[1] t + ... + a[n] t^n, n >= 1; false when some don't meet the stopping test.
    /// `known` may be n real numbers, which are the roots if they meet that test, or nullptr.
    bool solve(int n, double const * a, double const * known);

    /// Root i of n, in the order of the slots: a pair's upper one comes right before its lower one.
    double real_part(int i) const { return x_[i]; }
    double imaginary_part(int i) const { return y_[i]; }
    double error_bound(int i) const { return bound_[i]; }

private:
    enum Phase : int { plain, precise };

    void make_room();
    void choose_scale();
    void place_starts();
    void place_edge(int edge, int & first_pair, int & last_real);
    bool take(double const * known);

    void sweep_all(Phase phase);
    bool sweep(Phase phase);
    void pair_up_real_points();
    void move_pair(int i, Phase phase);
    void move_real_points(int i, int j, Phase phase);
    void move_real_point(int i, Phase phase);
    void take_step(int i, double x, double step, Phase phase);
    void set_factor(int i, int j, double centre, double half_sum, double product, Phase phase);
    template <class Number> bool correction(int i, Number z, Number share, Number partner, Phase phase, Number & step);
    template <class Number>
    bool accept(int i, Number z, mlScaledValue<Number> const & at, Number share, double slope_error);
    bool meets_stopping_test(double value, double sum) const;
    template <class Number> Number share_of_others(Number z, int i, int j) const;

    static int scale_of(double x, double y);
    void focus(int i);
    void put(int i, double x, double y);
    bool has_converged(double moved, double size, Phase phase) const;
    void put_bound(int i, double bound);

    bool finish();
    void enclose(int i);
    void make_double_point(int i);
    void leave_scale(int i);
    void list_out_of_range(int i);
    bool stands_the_test(int i);

    int n_ = 0;
    double const * a_ = nullptr; // the caller's, for the time of a call
    bool wide_ = false;          // a scale for each point, because one does not serve all
    bool all_met_ = true;
    mlNewtonPolygon polygon_;
    mlScaledPolynomial scaled_, scaled_for_bound_;
    mlRootEnclosure enclosure_;
    doublecoDynArr numbers_;
    intcoDynArr integers_;
    // Parts of these two, n elements each. The points stand in the scale of scaled_, or when wide_ and at the end in
    // the caller's; when wide_, the local ones stand in that of scaled_. Bounds not yet known are negative.
    double *x_ = nullptr, *y_ = nullptr, *local_x_ = nullptr, *local_y_ = nullptr, *bound_ = nullptr;
    double *px_ = nullptr, *py_ = nullptr; // those in the scale of scaled_
    int *done_ = nullptr, *order_ = nullptr;
};
