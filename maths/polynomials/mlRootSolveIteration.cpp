#include "maths/polynomials/mlRootSolve.h"

#include <cmath>
#include <limits>

#include "platform/utCheck.h"

namespace {

/// Two points and their values, between which a sign change is sought.
struct Bracket {
    double a, b;
    double fa = 0.0, fb = 0.0;

    /// Evaluates the ends, a first; sets x to the first whose value is at most the tolerance in magnitude, and returns
    /// true then.
    bool ends_at_root(mlFunction const & f, double tolerance, double & x) {
        x = a;
        fa = f.function(a);
        if (std::fabs(fa) <= tolerance) return true;
        x = b;
        fb = f.function(b);
        return std::fabs(fb) <= tolerance;
    }

    /// In a checked build, stops when the values at the ends have one sign: there is no bracket.
    void check_signs() const {
        MATHS_CHECK(!((fa > 0.0 && fb > 0.0) || (fa < 0.0 && fb < 0.0)),
                    "root: from %g to %g is no bracket, f has one sign there: %g and %g", a, b, fa, fb);
    }

    /// Where the straight line through both points vanishes.
    double false_position() const { return (fa * b - fb * a) / (fa - fb); }

    /// Newton's step from x leads the wrong way or out of the bracket.
    bool rejects(double fx, double step, double newton_point) const {
        return (fx * fa < 0.0 && (step < 0.0 || newton_point < a)) ||
               (fx * fb < 0.0 && (step > 0.0 || newton_point > b));
    }
};

} // namespace

double mlRootSolve::newton_raphson(mlFunction const & f, double x, double tolerance, int & converged,
                                   int max_iterations) {
    converged = 1;
    for (int i = 1; i <= max_iterations; ++i) {
        double fx = f.function(x);
        double derivative = f.function_derivative(1, x);
        double step = 0.0;
        if (fx != 0.0) {
            if (derivative == 0.0) {
                converged = 0;
                return std::numeric_limits<double>::max();
            }
            step = fx / derivative;
            x -= step;
        }
        bool const below = x <= f.t_min();
        if (below || x >= f.t_max()) { // at the border, go on only when the function leads back inside
            x = below ? f.t_min() : f.t_max();
            derivative = f.function_derivative(1, x);
            fx = f.function(x);
            if (below ? fx * derivative > 0.0 : fx * derivative < 0.0) {
                converged = 0;
                return x;
            }
        } else if (fx == 0.0 || std::fabs(step) < tolerance) { // fx is that of the point before the step
            return x;
        }
    }
    converged = 0;
    return x;
}

double mlRootSolve::newton_raphson(mlFunction const & f, double a, double b, double tolerance, int & converged,
                                   int max_iterations) {
    converged = 1;
    Bracket bracket{a, b};
    double x;
    MATHS_CHECK(!(a > b), "root: from %g to %g is no bracket", a, b);
    if (bracket.ends_at_root(f, tolerance, x)) return x;
    bracket.check_signs();
    x = bracket.false_position();
    for (int i = 1; i <= max_iterations; ++i) {
        double const fx = f.function(x);
        double const derivative = f.function_derivative(1, x);
        if (fx == 0.0) return x;
        if (derivative != 0.0 && !(std::fabs(derivative) < tolerance)) {
            double const step = fx / derivative;
            double const newton_point = x - step;
            if (std::fabs(step) < tolerance) return x; // deliberate: x, not the Newton point
            if (!bracket.rejects(fx, step, newton_point)) {
                x = newton_point; // the bracket stays as it is
                continue;
            }
        }
        if (fx * bracket.fa < 0.0) {
            bracket.b = x;
            bracket.fb = fx;
        } else {
            bracket.a = x;
            bracket.fa = fx;
        }
        x = bracket.false_position();
        if (bracket.b - bracket.a < tolerance) return x;
    }
    converged = 0;
    return x;
}

double mlRootSolve::regula_falsi(mlFunction const & f, double a, double b, double tolerance, int & converged,
                                 int max_iterations) {
    converged = 1;
    Bracket bracket{a, b};
    double x;
    if (bracket.ends_at_root(f, tolerance, x)) return x;
    bracket.check_signs();
    x = a;
    double previous = f.function(a); // deliberate: once more, since the number of calls is part of the promise
    for (int i = 1; i <= max_iterations; ++i) {
        if (previous == 0.0 || std::fabs(bracket.b - bracket.a) <= tolerance) return x;
        x = bracket.false_position();
        double const fx = f.function(x);
        double * stale = &bracket.fa; // the value at the end that stays
        if (fx * bracket.fa > 0.0) {
            bracket.a = x;
            bracket.fa = fx;
            stale = &bracket.fb;
        } else {
            bracket.b = x;
            bracket.fb = fx;
        }
        if (fx * previous > 0.0) *stale *= 0.5;
        previous = fx;
    }
    converged = std::fabs(bracket.b - bracket.a) <= tolerance;
    return x;
}
