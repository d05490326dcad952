// Roots of polynomials: the poles of Bessel filters from their published coefficients, each with the bound of its
// error, and Wilkinson's polynomial, whose roots lose ten digits when its coefficients are rounded but no more after.
//
// roots [file]     The file holds order, power and coefficient in columns; the default is in examples/data.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include "examples/support/column_table.h"
#include "maths/maths.h"

namespace {

// --- Filters

/// The coefficients of one order, ascending. Rows of the table are in any sequence.
mlVector const & coefficients(ColumnTable const & table, int order, mlVector & a) {
    a.become(mlVectorZero, order + 1);
    for (int row = 0; row < table.rows(); ++row) {
        int const power = static_cast<int>(table.column(1)[row]);
        if (table.column(0)[row] == order && 0 <= power && power <= order) a[power] = table.column(2)[row];
    }
    return a;
}

/// How long a slow signal is late, in units of the filter's nominal delay: the sum of -1 / pole.
double delay(mlPolynomialSolver const & poles) {
    double sum = 0.0;
    for (int i = 0; i < poles.num_roots(); ++i) {
        double const x = poles.real_part(i), y = poles.imaginary_part(i);
        sum -= x / (x * x + y * y);
    }
    return sum;
}

void find_poles(ColumnTable const & table) {
    std::printf("Poles of Bessel filters\n(%s)\n", table.source().c_str());
    mlPolynomialSolver solver;
    mlVector a;
    int highest = 0;
    for (int row = 0; row < table.rows(); ++row)
        highest = std::max(highest, static_cast<int>(std::min(table.column(0)[row], 1000.0)));
    for (int order = 2; order <= highest; ++order) {
        if (solver.solve(order, coefficients(table, order, a).data()) != mlPolynomialSolverSolved) {
            std::cerr << "the polynomial of order " << order << " was not solved\n";
            std::exit(2);
        }
        std::printf("\n  order %d, delay %.15f\n", solver.num_roots(), delay(solver));
        for (int i = 0; i < solver.num_roots(); ++i)
            std::printf("  %2d %20.15f %20.15f %10.1e\n", order, solver.real_part(i), solver.imaginary_part(i),
                        solver.error_bound(i));
    }
    std::printf("\n");
}

// --- A polynomial that is hard to solve

/// (t - 1)(t - 2) ... (t - n), rounded after each factor.
mlVector const & wilkinson(int n, mlVector & a) {
    a.become(mlVectorZero, n + 1);
    a[0] = 1.0;
    for (int k = 1; k <= n; ++k) {
        for (int i = k; i >= 0; --i)
            a[i] = (i > 0 ? a[i - 1] : 0.0) - k * a[i];
    }
    return a;
}

void find_roots_of_wilkinson() {
    std::printf("Roots of (t - 1)(t - 2) ... (t - n) as its rounded coefficients have them\n\n"
                "   n   real   furthest from an integer   largest error bound\n");
    mlPolynomialSolver solver;
    mlVector a;
    for (int const n : {5, 10, 15, 20, 25}) {
        solver.solve(n, wilkinson(n, a).data());
        double off = 0.0, bound = 0.0;
        for (int i = 0; i < solver.num_roots(); ++i) {
            off = std::max(off, std::fabs(solver.real_part(i) - (i + 1.0)));
            bound = std::max(bound, solver.error_bound(i));
        }
        std::printf("  %2d   %4d   %24.1e   %19.1e\n", n, solver.num_real_roots(), off, bound);
    }
}

} // namespace

int main(int argc, char ** argv) {
    ColumnTable const table(argc > 1 ? argv[1] : MATHS_EXAMPLE_DATA "bessel_polynomials.txt", 3);
    find_poles(table);
    find_roots_of_wilkinson();
}
