// A tour of the library: a fit of real measurements with a minimiser, linear systems that lose their digits, and the
// printed forms of a few objects.
//
// tour [file]      The file holds pressures and volumes in two columns; the default is in examples/data.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <limits>

#include "examples/support/agreeing_digits.h"
#include "examples/support/column_table.h"
#include "maths/maths.h"

namespace {

/// The residual sum of squares of y = b1 (1 - exp(-b2 x)) as a function of (b1, b2) in units of `unit`, in which both
/// are near 1: the simplex starts with steps of 0.1 in every direction.
class ResidualSum : public mlFunctionN1 {
public:
    static constexpr double unit[] = {1e2, 1e-4};

    ResidualSum(mlSlice const & x, mlSlice const & y) : x_(x), y_(y) { dimension = 2; }

    double function(mlSlice const & b) const override {
        double sum = 0.0;
        for (int i = 0; i < x_.length(); ++i) {
            double const residual = y_[i] - b[0] * unit[0] * (1.0 - std::exp(-(b[1] * unit[1]) * x_[i]));
            sum += residual * residual;
        }
        return sum;
    }

private:
    mlSlice x_, y_;
};

void print_beside(char const * name, double found, double certified) {
    std::printf("  %-24s %.10e   %.10e   %4.1f\n", name, found, certified, agreeing_digits(found, certified));
}

void fit_measurements(ColumnTable const & table) {
    ResidualSum residual_sum(table.column(0), table.column(1));
    mlVector b(mlVectorZero, 2);
    b[0] = 500 / ResidualSum::unit[0];
    b[1] = 0.0001 / ResidualSum::unit[1];

    // A simplex that has shrunk may have stopped too early: start again from where it stopped, until that is no better.
    mlDownHillSimplex simplex(2);
    double least = std::numeric_limits<double>::infinity(), before;
    int solves = 0, calls = 0;
    do {
        before = least;
        least = simplex.solve(residual_sum, b, mlDownHillSimplexNormal);
        simplex.result(b);
        calls += simplex.number_of_calls();
        ++solves;
    } while (least < before);

    std::printf("Fit of y = b1 (1 - exp(-b2 x)) to %d observations\n(%s)\n\n", table.rows(), table.source().c_str());
    std::printf("  %-24s %-16s   %-16s   digits\n", "", "found", "certified");
    print_beside("b1", b[0] * ResidualSum::unit[0], 2.3894212918e+02);
    print_beside("b2", b[1] * ResidualSum::unit[1], 5.5015643181e-04);
    print_beside("residual sum of squares", least, 1.2455138894e-01);
    std::printf("  %d calls of the function in %d solves from b1 = 500, b2 = 0.0001\n\n", calls, solves);
}

/// Solves H x = H (1, ..., 1) for Hilbert's matrix H of order n: the residual stays small, the solution does not. The
/// condition says how many digits to believe, before x is compared with what it should be.
void solve_hilbert_system(int n) {
    mlMatrix const hilbert(mlMatrixHilbert, n);
    mlVector ones(mlVectorZero, n), right_side, x, image;
    ones.fill(1.0);
    multiply(hilbert, ones, right_side);

    mlLUDecomposition const lu(hilbert);
    lu.solve(right_side, x);
    multiply(hilbert, x, image);
    double const roundoff = std::numeric_limits<double>::epsilon();
    double const believed = std::max(0.0, std::log10(lu.reciprocal_condition() / roundoff));

    double digits = 11.0;
    for (int i = 0; i < n; ++i)
        digits = std::min(digits, agreeing_digits(x[i], 1.0));
    std::printf("  %5d   %14.6e   %12.1e   %10.1f   %6.1f\n", n, lu.determinant(), norm_diff(image, right_side),
                believed, digits);
}

void print_objects() {
    mlMatrix const hilbert(mlMatrixHilbert, 3);
    mlVector v;
    multiply(hilbert, hilbert.row(0), v);
    std::cout << "A vector:\n" << v;
    std::cout << "Its elements 0 and 2, a slice: " << v.slice(0, 2, 2) << '\n';
    std::cout << "A matrix:\n" << hilbert;

    mlTinyVector2coDynArr points;
    for (int i = 0; i < 3; ++i) { // element i does not exist yet: the array grows
        points[i][0] = i;
        points[i][1] = 1.0 / (i + 1);
    }
    std::cout << "An array of pairs:\n" << points;
}

} // namespace

int main(int argc, char ** argv) {
    fit_measurements(ColumnTable(argc > 1 ? argv[1] : MATHS_EXAMPLE_DATA "misra1a.txt", 2));

    std::printf("Hilbert's matrix H of order n: H x = H (1, ..., 1) solved by LU decomposition\n");
    std::printf("  %5s   %14s   %12s   %10s   %6s\n", "order", "determinant", "residual", "to believe", "digits of x");
    for (int n = 2; n <= 12; ++n)
        solve_hilbert_system(n);
    std::printf("\n");

    print_objects();
}
