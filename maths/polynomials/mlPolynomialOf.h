#pragma once

#include <iosfwd>

#include "maths/core/mlTinyVector.h"
#include "platform/coDynArr.h"

/// Operations on polynomials with coefficients of one kind: doubles (`mlPolynomial`) or fixed-size vectors, which make
/// polynomial curves (`mlTinyVectorPolynomial`). Use one of those two.
///
/// A polynomial is an int degree n and the caller's array of n + 1 coefficients, in ascending powers of t. The degree
/// -1 is that of the zero polynomial which results from differentiation; operations on coefficients 0 .. n then do
/// nothing. The static operations keep no state. Objects are needed for the two `fit` and for the in-place `multiply`;
/// they hold nothing but scratch arrays, which are reused.
/// Bad input: nothing is checked; the arrays have room for the degrees involved, the new one included.
/// Failure: std::bad_alloc, in the member operations only. Threads: static operations are re-entrant, one object is for
/// one thread.
template <class Coefficient> class mlPolynomialOf {
public:
    mlPolynomialOf() = default;
    mlPolynomialOf(mlPolynomialOf const &) = delete;
    mlPolynomialOf & operator=(mlPolynomialOf const &) = delete;

    /// r[0 .. n] = 0.
    static void set_zero(int n, Coefficient * r);

    /// r[0 .. n] = a[0 .. n].
    static void copy(int n, Coefficient const * a, Coefficient * r);

    /// r += a and r -= a over the coefficients of a. Deliberate: the degree m of r, which must be at least n, is not
    /// used, and r keeps it.
    static void add(int n, Coefficient const * a, int m, Coefficient * r);
    static void subtract(int n, Coefficient const * a, int m, Coefficient * r);

    /// r *= s.
    static void multiply(double s, int n, Coefficient * r);

    /// r = a b, of degree d = n + m; a has numbers for coefficients. r must be neither a nor b. O(n m).
    static void multiply(int n, double const * a, int m, Coefficient const * b, int & d, Coefficient * r);

    /// b = a b, with m raised to the degree of the product. b may be a.
    void multiply(int n, double const * a, int & m, Coefficient * b);

    /// v = a(t), by Horner's rule; zero for a negative degree, and a is not read then.
    static void evaluate(int n, Coefficient const * a, double t, Coefficient & v) {
        if (n < 0) {
            v = Coefficient();
            return;
        }
        Coefficient const * next = a + n;
        Coefficient value = *next;
        while (next != a) { // the shortest of loops: more evaluations overlap, each of them a chain of waits
            value *= t;
            value += *--next;
        }
        v = value;
    }

    /// Differentiates k times in place and lowers the degree n by as much; does nothing for k < 1. k is at most n + 1,
    /// which leaves a[0] = 0 and the degree -1.
    static void derivative(int k, int & n, Coefficient * a);

    /// The antiderivative that is zero at t = 0, in place; raises the degree n by one.
    static void integral(int & n, Coefficient * a);

    /// Prints the terms from the highest power down and ends the line: "3t^2 + -2t + 1". The constant a[0] is printed
    /// for a negative degree too.
    static void print(std::ostream & stream, int n, Coefficient const * a);
    static void print(utOstream & stream, int n, Coefficient const * a);

    /// The polynomial c of degree n through the n + 1 points (x[i], y[i]), by Lagrange's formula. The abscissae must be
    /// distinct: equal ones divide by zero. c must be neither x nor y. \f$O(n^3)\f$.
    void fit(double const * x, Coefficient const * y, int n, Coefficient * c);

    /// The polynomial c through the n + 1 samples y[i] in this order, over the interval t0 .. t1: chord-length
    /// parametrisation, in which the parameter advances with the distance between samples. Deliberate: a sample no more
    /// than 1e-10 away from the last one taken is left out, so the degree can come out lower than n; the higher
    /// coefficients are then zero. A negative n counts as 0. t0 and t1 must differ. c must not be y. \f$O(n^3)\f$.
    void fit(double t0, double t1, Coefficient const * y, int n, Coefficient * c);

private:
    void make_basis(double const * x, int n, int i);
    void keep_distinct_samples(Coefficient const * y, int n);

    coDynArr<Coefficient> kept_values_{8, 8};
    intcoDynArr kept_indices_{8, 8};
    doublecoDynArr parameters_{8, 8};
    doublecoDynArr basis_;
    doublecoDynArr basis_work_;
    coDynArr<Coefficient> term_;
};
