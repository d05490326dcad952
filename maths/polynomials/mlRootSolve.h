#pragma once

#include "maths/functions/mlFunction.h"

/// The number of real roots that a closed-form solver found, a double root counted twice by the quadratic and the
/// cubic; -1 when every coefficient is zero, so that every x is a root.
enum mlRootType : int {
    mlRootTypeEverywhere = -1,
    mlRootTypeNone = 0,
    mlRootTypeOne = 1,
    mlRootTypeTwo = 2,
    mlRootTypeThree = 3,
    mlRootTypeFour = 4
};

/// Real roots: of quadratics, cubics and quartics in closed form, and of any function of one variable by iteration.
/// Only static operations, without state: they may run concurrently.
///
/// Deliberate: the closed-form solvers take the coefficients highest power first, the opposite of `mlPolynomial`. They
/// set all their roots to 0, then write those found in ascending order and return how many. A leading coefficient that
/// is negligible beside the others lowers the degree: below 1e-11 of the largest in the quadratic, below 1e-10 of the
/// next in the cubic and the quartic. NaN or infinite coefficients give meaningless roots; the solvers return all the
/// same.
/// Accuracy: roots that lie close together lose up to half of the digits (double) or two thirds (triple), and a root
/// much smaller than the others in a cubic or quartic loses digits to cancellation. So does the only root of a cubic
/// near \f$x^3 = c\f$: up to two thirds. A quartic that nearly is a quadratic in \f$(x - s)^2\f$, but not quite, can
/// get roots that are wrong altogether, \f$11089 x^4 + 64 x^3 - 20377\f$ for one: check them, or polish them by
/// `newton_raphson`.
///
/// The iterative solvers set `converged` to 1, and to 0 when they give up. Their calls of the function, in order and
/// number, are part of what they promise.
class MATHS_API mlRootSolve {
public:
    /// \f$a x^2 + b x + c = 0\f$, free of cancellation. A discriminant below 1e-11 b^2 in magnitude counts as zero: the
    /// two roots are then equal.
    static mlRootType quadratic_solve(double a, double b, double c, double & r1, double & r2);

    /// \f$a x^3 + b x^2 + c x + d = 0\f$, by Cardano's formula, in its trigonometric form where there are three real
    /// roots.
    static mlRootType cubic_solve(double a, double b, double c, double d, double & r1, double & r2, double & r3);

    /// \f$a x^4 + b x^3 + c x^2 + d x + e = 0\f$, by Ferrari's method. A root that exceeds another by less than 1e-6
    /// counts as a repetition of it and is dropped, unless it was found before the smaller one.
    static mlRootType quartic_solve(double a, double b, double c, double d, double e, double & r1, double & r2,
                                    double & r3, double & r4);

    /// Newton's method from x on, kept inside the function's domain; stops when a step is shorter than `tolerance`.
    /// Fails when it would leave the domain, when the limit of iterations is reached, and where the derivative is zero;
    /// the result is then the last point, or in the last case the largest double. Deliberate: a root exactly on an end
    /// of the domain is found, but never counts as converged; the search stays there up to the limit.
    static double newton_raphson(mlFunction const & f, double x, double tolerance, int & converged, int max_iterations);

    /// Newton's method inside the bracket [a, b], at whose ends the function has opposite signs; steps that would leave
    /// it, or of too small a derivative, are replaced by steps of regula falsi. Starts where regula falsi does, unless
    /// |f| <= `tolerance` at an end. Stops when a step or the bracket is shorter than `tolerance`. Fails at the limit
    /// of iterations, and returns the last point.
    static double newton_raphson(mlFunction const & f, double a, double b, double tolerance, int & converged,
                                 int max_iterations);

    /// Regula falsi inside the bracket [a, b]; the value kept at an end that stays put is halved (Illinois). Stops when
    /// |f| <= `tolerance` at an end to begin with, at an exact root, or when the bracket is no longer than `tolerance`.
    static double regula_falsi(mlFunction const & f, double a, double b, double tolerance, int & converged,
                               int max_iterations);
};
