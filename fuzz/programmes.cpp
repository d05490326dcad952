#include <algorithm>
#include <cmath>
#include <vector>

#include "fuzz/support/bytes.h"
#include "maths/maths.h"

// Quadratic programmes of all shapes and numbers, solved again after each new constraint. They end; a solution is made
// of numbers, and where all data are small whole numbers it meets the constraints, has multipliers of the right sign
// and a value that a fresh object finds too, if the function is convex.

namespace {

struct Rows {
    explicit Rows(int n) : dimension(n) {}
    int dimension;
    std::vector<std::vector<double>> normals;
    std::vector<double> bounds;
    std::vector<int> equalities;
};

void add(mlConstrainedQuadraticMinimiser & minimiser, Rows & rows, std::size_t k) {
    mlVector normal;
    normal.become(utConvert, rows.normals[k].data(), rows.dimension);
    if (rows.equalities[k])
        minimiser.add_equality(normal.slice(), rows.bounds[k]);
    else
        minimiser.add_inequality(normal.slice(), rows.bounds[k]);
}

void require_solution(mlConstrainedQuadraticMinimiser const & minimiser, Rows const & rows, mlVector const & x) {
    double const scale = std::max(1.0, x.size() > 0 ? x.max_absolute_value() : 0.0);
    for (std::size_t k = 0; k < rows.normals.size(); ++k) {
        double excess = -rows.bounds[k], length = 1.0;
        for (int i = 0; i < rows.dimension; ++i) {
            excess += rows.normals[k][i] * x[i];
            length += std::fabs(rows.normals[k][i]);
        }
        double const missed = rows.equalities[k] ? std::fabs(excess) : -excess;
        require(missed <= 1e-8 * length * scale, "a solution meets the constraints");
        int const index = static_cast<int>(k);
        require(rows.equalities[k] || minimiser.multiplier(index) >= 0.0, "a multiplier's sign");
        require(minimiser.is_active(index) || minimiser.multiplier(index) == 0.0, "a multiplier of what is active");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    Bytes script(data, size);
    int const n = script.below(6);
    bool const whole = script.below(2) == 0, convex = script.below(2) == 0;
    auto const number = [&] { return whole ? script.below(7) - 3.0 : script.number(); };
    mlMatrix g(mlMatrixZero, n, n), factor(mlMatrixZero, n, n);
    mlVector slope(mlVectorZero, n), x, fresh_x;
    for (int k = 0; k < n * n; ++k)
        factor[k] = number();
    if (convex)
        g.become(mlMatrixProduct, mlMatrix(mlMatrixTranspose, factor), factor);
    else
        g.become(utCopy, factor);
    for (double & s : slope)
        s = number();
    mlConstrainedQuadraticMinimiser minimiser(g, slope);
    Rows rows(n);
    for (int count = script.below(12); count >= 0; --count) {
        std::vector<double> normal(n);
        for (double & a : normal)
            a = number();
        rows.normals.push_back(normal);
        rows.bounds.push_back(number());
        rows.equalities.push_back(script.below(4) == 0);
        add(minimiser, rows, rows.normals.size() - 1);
        mlConstrainedQuadraticStatus const status = minimiser.minimise(x);
        if (whole) require(status != mlConstrainedQuadraticNotFinite, "whole numbers are finite");
        if (status != mlConstrainedQuadraticSolved) continue;
        for (double const element : x)
            require(std::isfinite(element), "a solution is made of numbers");
        if (whole) require_solution(minimiser, rows, x);
    }
    if (!whole || !convex) return 0;
    mlConstrainedQuadraticMinimiser fresh(g, slope);
    for (std::size_t k = 0; k < rows.normals.size(); ++k)
        add(fresh, rows, k);
    mlConstrainedQuadraticStatus const status = fresh.minimise(fresh_x);
    require(status == minimiser.status(), "a fresh object says the same");
    if (status == mlConstrainedQuadraticSolved)
        require(std::fabs(fresh.value() - minimiser.value()) <= 1e-7 * std::max(1.0, std::fabs(fresh.value())),
                "a fresh object finds the same value");
    return 0;
}
