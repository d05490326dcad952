// Two linear systems that are sparse: Poisson's equation on an L-shaped domain, and the power flow in a real network,
// whose matrix comes from its incidence matrix. Both are solved by conjugate gradients, watched by an observer.
//
// sparse           The network is part of the examples' data.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <string>

#include "examples/support/agreeing_digits.h"
#include "examples/support/column_table.h"
#include "maths/maths.h"

namespace {

/// Solves A x = b for a positive definite A until the residual is 1e-12 of b. Returns the number of iterations, and
/// prints the residual after every `print_every`-th one, when that isn't 0.
int conjugate_gradients(mlSparseSymMatrix const & a, mlVector const & b, mlVector & x, int print_every) {
    mlObserverOf print([&](mlProgress const & progress) {
        if (print_every > 0 && progress.iteration % print_every == 0)
            std::printf("  %9d   %.1e\n", progress.iteration, progress.value);
        return true;
    });
    mlConjugateGradients solver;
    solver.set_tolerance(1e-12);
    solver.set_observer(&print);
    solver.solve(a, b, x);
    return solver.iterations();
}

/// The interior points (-1 + i h, -1 + j h), h = 1 / m, of the square (-1, 1)^2 without its lower right quarter,
/// numbered row by row, and -Laplace times h^2 on them.
class LShape {
public:
    explicit LShape(int m) : m_(m), number_(2 * m + 1, 1) {
        number_.expand((2 * m + 1) * (2 * m + 1));
        for (int j = 0; j <= 2 * m; ++j)
            for (int i = 0; i <= 2 * m; ++i)
                number(i, j) = inside(i, j) ? unknowns_++ : -1;
        assemble();
    }

    int unknowns() const { return unknowns_; }
    mlSparseSymMatrix const & matrix() const { return a_; }

    /// The integral of u with -Laplace u = 1 inside and u = 0 on the boundary; `print_every` as above.
    double integral(int print_every, int & iterations) const {
        double const h = 1.0 / m_;
        mlVector b(mlVectorZero, unknowns_), u;
        b.fill(h * h);
        iterations = conjugate_gradients(a_, b, u, print_every);
        return h * h * u.sum();
    }

private:
    bool inside(int i, int j) const { return i > 0 && j > 0 && i < 2 * m_ && j < 2 * m_ && (i < m_ || j > m_); }
    int & number(int i, int j) { return number_[j * (2 * m_ + 1) + i]; }

    void assemble() { // the upper triangle: each point with itself and with its right and upper neighbours
        a_.become(mlMatrixZero, unknowns_);
        for (int j = 1; j < 2 * m_; ++j)
            for (int i = 1; i < 2 * m_; ++i) {
                int const k = number(i, j);
                if (k < 0) continue;
                a_.set(k, k, 4.0);
                if (number(i + 1, j) >= 0) a_.set(k, number(i + 1, j), -1.0);
                if (number(i, j + 1) >= 0) a_.set(k, number(i, j + 1), -1.0);
            }
    }

    int m_, unknowns_ = 0;
    intcoDynArr number_;
    mlSparseSymMatrix a_;
};

/// Elements are small integers: a digit where positive, '-' where negative.
void print_pattern(mlSparseMatrix const & a) {
    for (int i = 0; i < a.rows(); ++i) {
        std::string line(a.cols(), '.');
        mlSparseRowIT it = a.row_iterator(i);
        for (mlSparseElement const * e = it.first(); e != nullptr; e = it.next())
            line[e->index] = e->value > 0.0 ? static_cast<char>('0' + e->value) : '-';
        std::printf("  %s\n", line.c_str());
    }
}

/// How far a product of sparse matrices is from that of the dense ones, and how full it is.
template <class Product> void print_beside_dense(char const * name, mlMatrix const & dense, Product const & product) {
    mlMatrix found;
    product.decompress(found);
    double difference = 0.0;
    for (int i = 0; i < dense.size(); ++i)
        difference = std::max(difference, std::abs(found[i] - dense[i]));
    std::printf("  %-26s %4d elements stored, largest difference from the dense one %g\n", name,
                product.num_non_zero_elements(), difference);
}

void show_matrix() {
    LShape const domain(4);
    mlSparseMatrix const a(utCopy, domain.matrix());
    std::printf("Poisson's equation on an L-shaped domain, 5-point differences: %d unknowns\n", domain.unknowns());
    print_pattern(a);

    mlMatrix dense, dense_square;
    a.decompress(dense);
    multiply(dense, dense, dense_square);
    print_beside_dense("A A", dense_square, mlSparseMatrix(mlMatrixProduct, a, a));
    print_beside_dense("A^T A, its upper triangle", dense_square, mlSparseSymMatrix(mlMatrixPremultiplyTranspose, a));
}

void solve_poisson() {
    int iterations;
    std::printf("\nConjugate gradients on %d unknowns\n  iteration   residual / right side\n", LShape(32).unknowns());
    LShape(32).integral(10, iterations);

    // The corner costs accuracy: the error is of order h^(4/3), followed by a term of order h^2.
    double const published = 0.2140758036, corner = std::pow(2.0, 4.0 / 3.0);
    double coarser = 0.0, coarser_corrected = 0.0;
    std::printf("\nThe integral of u, and what extrapolation makes of it; published: %.10f\n", published);
    std::printf("  %8s   %10s   %12s   %6s   %12s   %6s\n", "unknowns", "iterations", "integral", "digits",
                "extrapolated", "digits");
    for (int m = 4; m <= 128; m *= 2) {
        LShape const domain(m);
        double const integral = domain.integral(0, iterations);
        double const corrected = (corner * integral - coarser) / (corner - 1.0);
        double const extrapolated = (4.0 * corrected - coarser_corrected) / 3.0;
        std::printf("  %8d   %10d   %.10f   %6.1f", domain.unknowns(), iterations, integral,
                    agreeing_digits(integral, published));
        if (m >= 16) std::printf("   %.10f   %6.1f", extrapolated, agreeing_digits(extrapolated, published));
        std::printf("\n");
        coarser = integral;
        coarser_corrected = corrected;
    }
}

/// A row for each branch: 1 and -1 at the buses at its ends.
void make_incidence(ColumnTable const & branches, int buses, mlSparseMatrix & incidence) {
    incidence.become(mlMatrixZero, branches.rows(), buses);
    for (int k = 0; k < branches.rows(); ++k) {
        double const from = branches.column(0)[k], to = branches.column(1)[k];
        incidence.set(k, static_cast<int>(std::min(from, to)) - 1, 1.0);
        incidence.set(k, static_cast<int>(std::max(from, to)) - 1, -1.0);
    }
}

/// The linear power flow: power = S^T S angle, where row k of S is the incidence of branch k over the square root of
/// its reactance. The angle of the first bus is 0. Losses and voltages are left out, hence the differences.
void solve_network(ColumnTable const & branches, ColumnTable const & buses) {
    mlSparseMatrix incidence, scale(mlMatrixZero, branches.rows(), branches.rows());
    make_incidence(branches, buses.rows(), incidence);
    std::printf("\n%s\nand its %d branches: A^T A counts a bus's branches\n", buses.source().c_str(), branches.rows());
    mlSparseSymMatrix const laplacian(mlMatrixPremultiplyTranspose, incidence);
    print_pattern(mlSparseMatrix(utCopy, laplacian));

    mlMatrix dense, dense_laplacian;
    incidence.decompress(dense);
    multiply(mlMatrix(mlMatrixTranspose, dense), dense, dense_laplacian);
    print_beside_dense("A^T A, its upper triangle", dense_laplacian, laplacian);

    for (int k = 0; k < branches.rows(); ++k)
        scale.set(k, k, 1.0 / std::sqrt(branches.column(2)[k]));
    mlSparseMatrix scaled(mlMatrixProduct, scale, incidence);
    scaled.extract_sub_matrix(0, 1, branches.rows(), buses.rows() - 1, scaled);
    mlVector power, angle;
    for (int i = 1; i < buses.rows(); ++i)
        power[i - 1] = buses.column(0)[i] / 100.0; // in the unit of the reactances
    int const iterations =
        conjugate_gradients(mlSparseSymMatrix(mlMatrixPremultiplyTranspose, scaled), power, angle, 0);

    std::printf("  %d iterations\n  %3s   %10s   %14s   %10s\n", iterations, "bus", "power [MW]", "angle [degree]",
                "full model");
    for (int i = 1; i < buses.rows(); ++i)
        std::printf("  %3d   %10.1f   %14.2f   %10.2f\n", i + 1, buses.column(0)[i],
                    angle[i - 1] * 180.0 / std::numbers::pi, buses.column(1)[i]);
}

} // namespace

int main() {
    ColumnTable const branches(MATHS_EXAMPLE_DATA "power_network_14_branches.txt", 3);
    ColumnTable const buses(MATHS_EXAMPLE_DATA "power_network_14_buses.txt", 2);
    show_matrix();
    solve_poisson();
    solve_network(branches, buses);
}
