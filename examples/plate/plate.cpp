// The steady temperature of a plate with holes: five pipes run through a plate of 3 by 2, each at its temperature, and
// its edge is kept at another. Laplace's equation by 5-point differences on grids up to about a million unknowns,
// solved by a sparse Cholesky factorisation, once for all temperatures: what a pipe at 1 and all else at 0 gives is
// that pipe's influence, and any temperatures of pipes and edge then need no more than a sum.
//
// plate [n [folder]]       The finest grid has n intervals to a unit of length, 420 by default. Temperatures are
//                          written to the folder, the current one by default, for the points of a grid of some hundred.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <string>

#include "examples/support/figure_file.h"
#include "maths/maths.h"

namespace {

int const width = 3, height = 2;

/// What is kept at a temperature: the edge, and pipes around (x, y).
struct Held {
    char const * name;
    double x, y, radius, temperature;
};
Held const all_held[] = {
    {"edge", 0.0, 0.0, 0.0, 20.0},      {"supply", 0.55, 0.55, 0.20, 90.0},  {"return", 0.70, 1.40, 0.20, 55.0},
    {"coolant", 1.50, 1.00, 0.28, 4.0}, {"exhaust", 2.30, 1.45, 0.16, 70.0}, {"drain", 2.45, 0.55, 0.24, 30.0},
};
int const num_held = std::size(all_held);

/// The points (i / n, j / n) of the plate: what holds each, or its number among the unknowns.
class Grid {
public:
    explicit Grid(int n) : n_(n) {
        unknown_.expand((width * n + 1) * (height * n + 1));
        for (int j = 0; j <= height * n; ++j)
            for (int i = 0; i <= width * n; ++i)
                at(i, j) = held_by(i, j) < 0 ? unknowns_++ : -1 - held_by(i, j);
    }

    int n() const { return n_; }
    int unknowns() const { return unknowns_; }

    /// The number of an unknown, or -1 - h where all_held[h] holds the point.
    int number(int i, int j) const { return unknown_[j * (width * n_ + 1) + i]; }

    /// Calls visit(point, neighbour) for the numbers of each two neighbours, the first an unknown of a smaller number
    /// than the second, or that is no unknown; the unknowns in increasing order, and the neighbours of one.
    template <class Visit> void for_each_pair(Visit visit) const {
        for (int j = 1; j < height * n_; ++j)
            for (int i = 1; i < width * n_; ++i) {
                int const k = number(i, j);
                if (k < 0) continue;
                for (int const other : {number(i, j - 1), number(i - 1, j), number(i + 1, j), number(i, j + 1)})
                    if (other < 0 || other > k) visit(k, other);
            }
    }

private:
    int held_by(int i, int j) const {
        if (i == 0 || j == 0 || i == width * n_ || j == height * n_) return 0;
        for (int h = 1; h < num_held; ++h) {
            double const x = static_cast<double>(i) / n_ - all_held[h].x;
            double const y = static_cast<double>(j) / n_ - all_held[h].y;
            if (x * x + y * y <= all_held[h].radius * all_held[h].radius) return h;
        }
        return -1;
    }
    int & at(int i, int j) { return unknown_[j * (width * n_ + 1) + i]; }

    int n_, unknowns_ = 0;
    intcoDynArr unknown_;
};

/// -Laplace times h^2 on the unknowns, and in column h of b what comes from the points that all_held[h] holds at 1.
void assemble(Grid const & grid, mlSparseSymMatrix & a, mlMatrix & b) {
    a.become(mlMatrixZero, grid.unknowns());
    b.become(mlMatrixZero, grid.unknowns(), num_held);
    int last = -1;
    grid.for_each_pair([&](int k, int other) {
        for (; last < k; ++last)
            a.set(last + 1, last + 1, 4.0);
        if (other < 0)
            b(k, -1 - other) += 1.0;
        else
            a.set(k, other, -1.0);
    });
    for (; last + 1 < grid.unknowns(); ++last)
        a.set(last + 1, last + 1, 4.0);
}

double temperature(int number, mlVector const & t) {
    return number < 0 ? all_held[-1 - number].temperature : t[number];
}

/// The heat that leaves what is held, in units of the plate's conductivity and thickness.
mlVector heat_flows(Grid const & grid, mlVector const & t) {
    mlVector flows(mlVectorZero, num_held);
    grid.for_each_pair([&](int k, int other) {
        if (other < 0) flows[-1 - other] += temperature(other, t) - t[k];
    });
    return flows;
}

void write_temperatures(Grid const & grid, mlVector const & t, std::string const & path) {
    FigureFile file(path);
    int const step = std::max(grid.n() / 100, 1);
    for (int j = 0; j <= height * grid.n(); j += step) {
        for (int i = 0; i <= width * grid.n(); i += step)
            file << static_cast<double>(i) / grid.n() << ' ' << static_cast<double>(j) / grid.n() << ' '
                 << temperature(grid.number(i, j), t) << '\n';
        file << '\n';
    }
    file.finish();
}

/// Solves on one grid and prints its line; t gets the temperatures and `influences` a column for each held thing.
void solve(Grid const & grid, mlMatrix & influences, mlVector & t) {
    mlSparseSymMatrix a;
    assemble(grid, a, influences);
    mlSparseCholesky const cholesky(a);
    if (cholesky.status() != mlSparseCholeskyFactored) {
        std::cerr << "the plate's matrix is not positive definite\n";
        std::exit(2);
    }
    cholesky.solve(influences, influences);

    mlVector degrees(mlVectorZero, num_held);
    for (int h = 0; h < num_held; ++h)
        degrees[h] = all_held[h].temperature;
    multiply(influences, degrees, t);
    mlVector const flows = heat_flows(grid, t);
    int const n = grid.n();
    long long exponent;
    double const mantissa = cholesky.determinant(exponent);
    std::printf("  %5d   %8d   %10lld   %6.1f   %.6f 2^%lld   %10.6f   %10.6f\n", n, grid.unknowns(),
                cholesky.num_non_zero_elements(),
                static_cast<double>(cholesky.num_non_zero_elements()) / grid.unknowns(), mantissa, exponent,
                t[grid.number(n, n)], flows[3]);
}

void print_influences(Grid const & grid, mlMatrix const & influences, mlVector const & t) {
    int const probe = grid.number(grid.n(), grid.n());
    mlVector const flows = heat_flows(grid, t);
    std::printf("\n  held      temperature   influence at (1, 1)   heat that leaves it\n");
    for (int h = 0; h < num_held; ++h)
        std::printf("  %-8s   %10.1f   %19.6f   %19.4f\n", all_held[h].name, all_held[h].temperature,
                    influences(probe, h), flows[h]);

    double off = 0.0;
    for (int k = 0; k < grid.unknowns(); ++k)
        off = std::max(off, std::fabs(influences.row(k).sum() - 1.0));
    double largest = 0.0;
    for (double const flow : flows)
        largest = std::max(largest, std::fabs(flow));
    std::printf("  The influences add up to 1 at every point, but for %.0e; all heat, to 0, but for %.0e of the most\n",
                off, std::fabs(flows.sum()) / largest);
}

} // namespace

int main(int argc, char ** argv) {
    int const finest = argc > 1 ? std::atoi(argv[1]) : 420;
    std::string const folder = argc > 2 ? argv[2] : ".";
    if (finest < 16 || finest > 2000) {
        std::cerr << "plate: the number of intervals is to be from 16 to 2000\n";
        return 2;
    }
    std::printf("A plate of %d x %d with %d pipes through it\n", width, height, num_held - 1);
    std::printf("  %5s   %8s   %10s   %6s   %15s   %10s   %10s\n", "n", "unknowns", "in L", "a row", "determinant",
                "t at (1, 1)", "into coolant");
    mlMatrix influences;
    mlVector t;
    for (int n : {finest / 8, finest / 4, finest / 2})
        if (n >= 4) solve(Grid(n), influences, t);
    Grid const grid(finest);
    solve(grid, influences, t);
    print_influences(grid, influences, t);
    write_temperatures(grid, t, folder + "/plate_temperature.txt");
}
