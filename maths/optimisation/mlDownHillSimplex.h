#pragma once

#include "maths/functions/mlFunctionN1.h"
#include "maths/optimisation/mlObserver.h"

/// How long a simplex search goes on: its limit of calls and the relative spread of values at which it stops. Any value
/// other than the first three is thorough.
enum mlDownHillSimplexSpeed : int {
    mlDownHillSimplexCoarse = 0,  ///< 100 calls, 1e-5
    mlDownHillSimplexQuick = 1,   ///< 600 calls, 1e-10
    mlDownHillSimplexNormal = 2,  ///< 2000 calls, 1e-10
    mlDownHillSimplexThorough = 3 ///< 20000 calls, 1e-10
};

/// Minimises a function of n variables without derivatives, by the downhill simplex method.
///
/// Stops when the values at the simplex's vertices lie close enough together, when the limit of calls is reached (a
/// step that has begun is finished, so the count may pass it), when the highest value is below 1e-20 in magnitude or
/// when the highest and the lowest vertex coincide. NaN and infinite values end the search too.
/// Reports nothing when the limit was reached: compare `number_of_calls` with it.
/// An observer is told of the lowest value and of the distance between the vertices of the lowest and highest.
/// Lifetime: the function is used during `solve` only. Bad input: sizes are not checked. Failure: std::bad_alloc, in
/// the constructor and in `result`. Threads: one object, one thread. Deliberate: the limit of calls is one for all
/// objects, set by every `solve` and kept until the next, so searches of different speeds, also one inside the other's
/// function, must not run at the same time. Source: Nelder & Mead, A simplex method for function minimization (1965).
class MATHS_API mlDownHillSimplex : public mlObservable {
public:
    /// For functions of n variables, n at least 0.
    explicit mlDownHillSimplex(int n);
    mlDownHillSimplex(mlDownHillSimplex const &) = delete;
    mlDownHillSimplex & operator=(mlDownHillSimplex const &) = delete;
    ~mlDownHillSimplex();

    /// Minimises f from `start`, which has n elements, and returns the lowest value found.
    double solve(mlFunctionN1 & f, mlVector const & start, mlDownHillSimplexSpeed speed);

    /// Copies the point of the lowest value of the last `solve` into x, which is given n elements.
    void result(mlVector & x) const;

    /// Evaluations made by the last `solve`.
    [[nodiscard]] int number_of_calls() const { return calls_; }

protected:
    /// Tries the point at `factor` times the vertex's distance from the centroid of the others, on the line through
    /// both, and moves the vertex there when the value is lower. Returns the value at the trial point in either case.
    double move_vertex(int vertex, double factor);

    void update_simplex_sum();

private:
    struct Extremes {
        int lowest;
        int highest;
        int second_highest;
    };

    double value_at(int vertex) const { return function_->function(vertices_.row(vertex)); }
    void build_simplex(mlVector const & start);
    Extremes find_extremes() const;
    bool finished(Extremes const & e) const;
    double extent(Extremes const & e) const;
    void improve(Extremes const & e);
    void shrink_towards(int lowest);
    void move_to_front(int vertex);

    mlFunctionN1 * function_;
    double initial_step_;
    doublecoDynArr values_;
    mlMatrix vertices_; // a vertex a row
    doublecoDynArr vertex_sum_;
    int dimension_;
    double tolerance_;
    int calls_;
    doublecoDynArr trial_point_;
};
