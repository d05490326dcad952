// Spectra: the principal components of flowers, a picture compressed by its singular values, the roots of quartics
// beside how nearly they are roots, and the tones of an L-shaped drum.
//
// spectra [file [folder]]      The file holds the flowers' four measures in columns; the default is the one that comes
//                              along. The pictures are written to the folder, the current one by default.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "examples/support/column_table.h"
#include "examples/support/figure_file.h"
#include "maths/maths.h"

namespace {

// --- Principal components
// ---------------------------------------------------------------------------------------------

void analyse_flowers(ColumnTable const & table) {
    char const * const measures[] = {"sepal length", "sepal width", "petal length", "petal width"};
    int const d = 4;
    doublecoDynArr2D points(table.rows(), d, 1, 1);
    for (int i = 0; i < table.rows(); ++i) {
        for (int j = 0; j < d; ++j)
            points(i, j) = table.column(j)[i];
    }
    mlPCA const pca(points);
    if (pca.status() != mlPCAComputed) {
        std::cerr << "principal components of " << d << " measures need at least " << d << " flowers\n";
        std::exit(2);
    }

    double const total = pca.eigenvalues().sum();
    std::printf("Principal components of %d flowers\n(%s)\n\n", table.rows(), table.source().c_str());
    std::printf("  %-14s", "variance");
    for (int c = 0; c < d; ++c)
        std::printf("%12.8f", pca.eigenvalue(c));
    std::printf("\n  %-14s", "share [%]");
    for (int c = 0; c < d; ++c)
        std::printf("%12.2f", 100.0 * pca.eigenvalue(c) / total);
    std::printf("\n  axes, beside the mean flower [cm]\n");
    for (int j = 0; j < d; ++j) {
        std::printf("  %-14s", measures[j]);
        for (int c = 0; c < d; ++c)
            std::printf("%12.6f", pca.axis(c)[j]);
        std::printf("%12.4f\n", pca.mass_centre()[j]);
    }
    std::printf("\n");
}

// --- Compression
// ------------------------------------------------------------------------------------------------------

/// Rings around a dark centre, a post, and light that grows downwards: grey levels from 0 to 255.
void draw_picture(mlMatrix & picture, int rows, int cols) {
    picture.become(rows, cols);
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < cols; ++c) {
            double const x = (c - 0.42 * cols) / rows, y = (r - 0.55 * rows) / rows;
            double const distance = std::sqrt(x * x + 1.6 * y * y);
            double const light = 90.0 + 110.0 * r / rows;
            double const centre = 120.0 * std::exp(-9.0 * distance * distance);
            double const rings = 28.0 * std::cos(60.0 * distance) * std::exp(-2.5 * distance);
            double const post = std::fabs(x - 0.45) < 0.06 && y > -0.2 ? -70.0 : 0.0;
            picture(r, c) = std::clamp(light - centre + rings + post, 0.0, 255.0);
        }
    }
}

void write_picture(mlMatrix const & picture, std::string const & path) {
    FigureFile file(path);
    file << "P2\n" << picture.cols() << ' ' << picture.rows() << "\n255\n";
    for (int r = 0; r < picture.rows(); ++r) {
        for (int c = 0; c < picture.cols(); ++c)
            file << std::lround(std::clamp(picture(r, c), 0.0, 255.0)) << (c + 1 < picture.cols() ? ' ' : '\n');
    }
    file.finish();
}

/// Adds term k of the decomposition, s[k] times the product of the k-th left and right singular vectors.
void add_term(mlMatrix & sum, mlSingularValueDecomposition const & svd, int k) {
    for (int r = 0; r < sum.rows(); ++r) {
        for (int c = 0; c < sum.cols(); ++c)
            sum(r, c) += svd.diagonal()[k] * svd.U()(r, k) * svd.V()(c, k);
    }
}

void compress_picture(std::string const & folder) {
    int const rows = 96, cols = 128;
    mlMatrix picture, sum(mlMatrixZero, rows, cols);
    draw_picture(picture, rows, cols);
    write_picture(picture, folder + "/picture.pgm");

    mlSingularValueDecomposition const svd(picture);
    mlVector const & s = svd.diagonal();
    std::printf("A picture of %d x %d grey levels, from its first singular values\n", rows, cols);
    std::printf("  %4s  %11s  %12s  %12s  %s\n", "rank", "numbers [%]", "found error", "from values", "picture");
    for (int rank = 1; rank <= 32; ++rank) {
        add_term(sum, svd, rank - 1);
        if ((rank & (rank - 1)) != 0) continue; // powers of two

        double const error = std::sqrt(
            distance_squared(mlSlice(picture.data(), 0, rows * cols, 1), mlSlice(sum.data(), 0, rows * cols, 1)) /
            (rows * cols));
        double const left_out = s.slice(rank, 1, s.size() - rank).modulus_squared();
        std::string const name = "picture_rank_" + std::to_string(rank) + ".pgm";
        bool const kept = rank == 1 || rank == 4 || rank == 16;
        if (kept) write_picture(sum, folder + "/" + name);
        std::printf("  %4d  %11.1f  %12.6f  %12.6f  %s\n", rank, 100.0 * rank * (rows + cols + 1) / (rows * cols),
                    error, std::sqrt(left_out / (rows * cols)), kept ? name.c_str() : "");
    }
    std::printf("  Errors are root mean squares in grey levels; no approximation of that rank has a smaller one.\n\n");
}

// --- Roots
// ------------------------------------------------------------------------------------------------------------

/// By how many roundoffs the coefficients must change for x to be an exact root.
double backward_error(double const * p, double x) {
    long double value = 0.0L, magnitude = 0.0L;
    for (int i = 0; i < 5; ++i) {
        value = value * x + p[i];
        magnitude = magnitude * std::fabs(x) + std::fabs(p[i]);
    }
    return static_cast<double>(std::fabs(value) / magnitude / 2.220446049250313e-16L);
}

void solve_quartics() {
    double const quartics[][5] = {
        {1, -10, 35, -50, 24},                 // 1, 2, 3, 4
        {1, 0, -5, 0, 4},                      // -2, -1, 1, 2
        {1, -3, -3, 11, -6},                   // -2, 1 twice, 3: a repeated root is reported once
        {1, 2, 3, 4, -5},                      // two real roots
        {1, -1111, 112110, -1111000, 1000000}, // 1, 10, 100, 1000: the small ones lose digits
        {1, 0, 0, 0, 4},                       // none
    };
    std::printf("Real roots of quartics, each with its backward error in roundoffs\n");
    for (double const * p : quartics) {
        double x[4];
        int const count = mlRootSolve::quartic_solve(p[0], p[1], p[2], p[3], p[4], x[0], x[1], x[2], x[3]);
        std::printf("  %g x^4 %+g x^3 %+g x^2 %+g x %+g = 0: %d\n", p[0], p[1], p[2], p[3], p[4], count);
        for (int i = 0; i < count; ++i)
            std::printf("    %20.15f  %8.1f\n", x[i], backward_error(p, x[i]));
    }
}

// --- Vibrations
// -------------------------------------------------------------------------------------------------------

/// Minus the Laplacian by differences, on the points inside three unit squares in the form of an L, whose edge is held.
/// There are m steps to a unit.
mlMatrix stiffness(int m) {
    auto const inside = [m](int i, int j) { return i > 0 && j > 0 && i < 2 * m && j < 2 * m && (i < m || j < m); };
    std::vector<std::pair<int, int>> points;
    for (int i = 0; i < 2 * m; ++i) {
        for (int j = 0; j < 2 * m; ++j) {
            if (inside(i, j)) points.emplace_back(i, j);
        }
    }
    int const n = static_cast<int>(points.size());
    mlMatrix a(mlMatrixZero, n, n);
    for (int p = 0; p < n; ++p) {
        for (int q = 0; q < n; ++q) {
            int const steps =
                std::abs(points[p].first - points[q].first) + std::abs(points[p].second - points[q].second);
            a(p, q) = steps == 0 ? 4.0 * m * m : steps == 1 ? -1.0 * m * m : 0.0;
        }
    }
    return a;
}

/// The lowest eigenvalues of the drum itself are known. Those of a grid of step h come near them by h^2, and where the
/// mode has its singularity at the inner corner, as the first, by h^(4/3).
void tune_drum() {
    double const known[] = {9.6397238440219, 15.197252, 19.739208802178716, 29.521481, 31.912636};
    int const coarse = 6, fine = 12;
    mlSymmetricEigen const few(stiffness(coarse), mlSymmetricEigen::mlVALUES), many(stiffness(fine));
    if (few.status() != mlSymmetricEigenCalculated || many.status() != mlSymmetricEigenCalculated) {
        std::cerr << "the drum's eigenvalues were not found\n";
        std::exit(2);
    }
    int const n = few.eigen_values().size(), count = many.eigen_values().size();
    std::printf("\nTones of an L-shaped drum, from %d and %d points\n", n, count);
    std::printf("  %4s  %12s  %12s  %12s  %9s\n", "tone", "coarse", "fine", "drum", "pitch");
    for (int k = 0; k < 5; ++k) // the lowest are the last
        std::printf("  %4d  %12.6f  %12.6f  %12.6f  %9.4f\n", k + 1, few.eigen_value(n - 1 - k),
                    many.eigen_value(count - 1 - k), known[k],
                    std::sqrt(many.eigen_value(count - 1 - k) / many.eigen_value(count - 1)));
    mlMatrix products;
    multiply_transposed(many.eigen_vectors(), many.eigen_vectors(), products);
    double farthest = 0.0;
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < count; ++j)
            farthest = std::max(farthest, std::fabs(products(i, j) - (i == j ? 1.0 : 0.0)));
    }
    std::printf("  The %d modes are orthonormal to %.0e.\n", count, farthest);
}

} // namespace

int main(int argc, char ** argv) {
    analyse_flowers(ColumnTable(argc > 1 ? argv[1] : MATHS_EXAMPLE_DATA "iris.txt", 4));
    compress_picture(argc > 2 ? argv[2] : ".");
    solve_quartics();
    tune_drum();
}
