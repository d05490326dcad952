#pragma once

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "maths/core/mlRandom.h"
#include "maths/decompositions/mlSingularValueDecomposition.h"
#include "maths/decompositions/mlSymEigenVecs.h"
#include "maths/optimisation/mlConstrainedQuadraticMinimiser.h"
#include "tests/support/values.h"

// Quadratic programmes, and what makes a point a solution of one.

enum class Relation { equal, at_least, lower_bound, upper_bound };

struct Constraint {
    Relation relation;
    Values normal; ///< of an upper bound: minus the unit vector
    double bound;  ///< of normal·x, so that it is minus an upper bound
    int variable = -1;
};

struct QuadraticProgramme {
    int n;
    Values matrix; ///< n x n, symmetric
    Values vector;
    std::vector<Constraint> constraints = {};

    double element(int i, int j) const { return matrix[static_cast<std::size_t>(i * n + j)]; }

    void equal(Values const & normal, double value) { constraints.push_back({Relation::equal, normal, value}); }
    void at_least(Values const & normal, double bound) { constraints.push_back({Relation::at_least, normal, bound}); }
    void lower(int i, double bound) { constraints.push_back({Relation::lower_bound, unit(i, 1.0), bound, i}); }
    void upper(int i, double bound) { constraints.push_back({Relation::upper_bound, unit(i, -1.0), -bound, i}); }
    void box(double low, double high) {
        for (int i = 0; i < n; ++i) {
            lower(i, low);
            upper(i, high);
        }
    }

private:
    Values unit(int i, double x) const {
        Values normal(static_cast<std::size_t>(n), 0.0);
        normal[static_cast<std::size_t>(i)] = x;
        return normal;
    }
};

/// The class on a problem; what stands above G's diagonal is not to be read.
struct Minimiser {
    explicit Minimiser(QuadraticProgramme const & problem) : p(problem) {
        mlMatrix matrix(mlMatrixZero, p.n, p.n);
        for (int i = 0; i < p.n; ++i)
            for (int j = 0; j < p.n; ++j)
                matrix(i, j) = j <= i ? p.element(i, j) : nan_value;
        mlVector vector;
        vector.become(utConvert, p.vector.data(), p.n);
        minimiser = std::make_unique<mlConstrainedQuadraticMinimiser>(matrix, vector);
        for (Constraint const & c : p.constraints)
            add(c);
    }
    void add(Constraint const & c) {
        Values spread(2 * c.normal.size() + 2, nan_value); // backwards, every other place
        int const n = p.n;
        for (int i = 0; i < n; ++i)
            spread[static_cast<std::size_t>(2 * (n - 1 - i))] = c.normal[static_cast<std::size_t>(i)];
        mlSlice const normal(spread.data(), 2 * (n - 1), n, -2);
        switch (c.relation) {
        case Relation::equal: minimiser->add_equality(normal, c.bound); break;
        case Relation::at_least: minimiser->add_inequality(normal, c.bound); break;
        case Relation::lower_bound: minimiser->add_lower_bound(c.variable, c.bound); break;
        case Relation::upper_bound: minimiser->add_upper_bound(c.variable, -c.bound); break;
        }
    }
    mlConstrainedQuadraticStatus solve() { return minimiser->minimise(x); }

    QuadraticProgramme p;
    std::unique_ptr<mlConstrainedQuadraticMinimiser> minimiser;
    mlVector x;
};

/// How far a result is from the optimality conditions, in roundoffs: the largest of all, relative to its terms. Signs,
/// the multipliers of constraints that are not active, and bounds that are, must be exact.
inline double roundoffs_off(Minimiser const & m) {
    QuadraticProgramme const & p = m.p;
    double const eps = std::numeric_limits<double>::epsilon(), wrong = infinity;
    double worst = 0.0, scale = std::max(1.0, p.n > 0 ? m.x.max_absolute_value() : 0.0);
    for (int i = 0; i < p.n; ++i) {
        long double sum = p.vector[static_cast<std::size_t>(i)], terms = std::fabs(sum);
        auto const add = [&](double a, double b) {
            sum += static_cast<long double>(a) * b;
            terms += std::fabs(a * b);
        };
        for (int j = 0; j < p.n; ++j)
            add(p.element(i, j), m.x[j]);
        for (std::size_t k = 0; k < p.constraints.size(); ++k)
            add(-m.minimiser->multiplier(static_cast<int>(k)), p.constraints[k].normal[static_cast<std::size_t>(i)]);
        if (terms > 0.0) worst = std::max(worst, static_cast<double>(std::fabs(sum) / terms) / eps);
    }
    for (std::size_t k = 0; k < p.constraints.size(); ++k) {
        Constraint const & c = p.constraints[k];
        int const active = m.minimiser->is_active(static_cast<int>(k));
        double const multiplier = m.minimiser->multiplier(static_cast<int>(k));
        bool const equality = c.relation == Relation::equal;
        if ((!active && multiplier != 0.0) || (!equality && !(multiplier >= 0.0))) return wrong;
        double const end = c.relation == Relation::upper_bound ? -c.bound : c.bound;
        if (active && c.variable >= 0 && m.x[c.variable] != end) return wrong;
        long double excess = -c.bound, square = 0.0;
        for (int i = 0; i < p.n; ++i) {
            double const a = c.normal[static_cast<std::size_t>(i)];
            excess += static_cast<long double>(a) * m.x[i];
            square += static_cast<long double>(a) * a;
        }
        if (square == 0.0) continue;
        double const missed = static_cast<double>(excess / std::sqrt(square)) / scale / eps;
        worst = std::max(worst, equality || active ? std::fabs(missed) : -missed);
    }
    return worst;
}

/// The normals of the active constraints, as rows of length 1; none is one row of zeros.
inline void active_normals(Minimiser const & m, mlMatrix & out) {
    out.become(mlMatrixZero, 0, m.p.n);
    mlVector row(mlVectorZero, m.p.n);
    for (std::size_t k = 0; k < m.p.constraints.size(); ++k) {
        if (!m.minimiser->is_active(static_cast<int>(k))) continue;
        row.become(utConvert, m.p.constraints[k].normal.data(), m.p.n);
        row /= std::sqrt(row.modulus_squared());
        out.append_row(row);
    }
    if (out.rows() == 0) out.become(mlMatrixZero, 1, m.p.n);
}

/// The lowest eigenvalue of Z^T G Z relative to the largest magnitude in G, Z the null space of the active normals,
/// where it is negative; 1 when those are dependent.
inline double negative_curvature(Minimiser const & m) {
    int const n = m.p.n;
    mlMatrix a;
    active_normals(m, a);
    mlSingularValueDecomposition const svd(a);
    int rank = 0;
    for (double const s : svd.diagonal())
        rank += s > 1e-11;
    if (rank < a.rows() && svd.diagonal()[0] > 0.0) return 1.0;
    int const size = n - rank;
    double largest = 0.0, lowest = 0.0;
    for (double const g : m.p.matrix)
        largest = std::max(largest, std::fabs(g));
    if (size == 0 || largest == 0.0) return 0.0;
    mlMatrix h(mlMatrixZero, size, size);
    for (int r = 0; r < size; ++r)
        for (int c = 0; c < size; ++c)
            for (int i = 0; i < n; ++i)
                for (int j = 0; j < n; ++j)
                    h(r, c) += svd.V()(i, rank + r) * m.p.element(i, j) / largest * svd.V()(j, rank + c);
    for (int r = 0; r < size; ++r)
        for (int c = 0; c < r; ++c)
            h(r, c) = h(c, r);
    mlSymEigenVecs eigen(h);
    eigen.calculate();
    for (double const value : eigen.eigen_values())
        lowest = std::min(lowest, value);
    return -lowest;
}
