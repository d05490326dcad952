#include <algorithm>
#include <cmath>
#include <vector>

#include "fuzz/support/bytes.h"
#include "maths/maths.h"

// Sparse systems of all patterns and numbers, solved directly and by iteration. Everything ends; factors give the
// matrix again to the last bits that roundoff leaves; solutions by iteration are what their status says.

namespace {

/// A matrix of order n of the script's making: most of the diagonal and a few others in each row, some of them zeros.
mlSparseMatrix make(Bytes & script, int n, bool strange) {
    mlSparseMatrix m(mlMatrixZero, n, n);
    int const most = 1 + script.below(5);
    for (int i = 0; i < n; ++i) {
        std::vector<char> stored(n, 0);
        stored[i] = script.below(8) != 0;
        for (int k = script.below(most); k > 0; --k)
            stored[script.below(n)] = 1;
        for (int j = 0; j < n; ++j)
            if (stored[j] != 0) m.set(i, j, strange ? script.number() : script.below(9) - 4.0);
    }
    return m;
}

/// g^T g, with the identity added when `definite`.
mlSparseSymMatrix square(mlSparseMatrix const & g, bool definite) {
    mlSparseSymMatrix s(mlMatrixPremultiplyTranspose, g);
    if (definite) s += mlSparseSymMatrix(mlMatrixIdentity, g.cols());
    return s;
}

template <class Matrix> mlMatrix dense(Matrix const & m) {
    mlMatrix d;
    m.decompress(d);
    return d;
}

bool same_bits(double const * x, double const * y, int n) {
    return std::equal(x, x + n, y, [](double u, double v) { return u == v || (u != u && v != v); });
}

/// Whether a row can be matched with each column: by paths of exchanges, one after another.
bool structurally_regular(mlSparseMatrix const & m) {
    int const n = m.rows();
    std::vector<int> column_of(n, -1), row_of(n, -1), seen(n, -1);
    auto augment = [&](auto const & self, int row, int start) -> bool {
        mlSparseRowIT it = m.row_iterator(row);
        for (mlSparseElement const * e = it.first(); e != nullptr; e = it.next()) {
            int const j = e->index;
            if (seen[j] == start) continue;
            seen[j] = start;
            if (row_of[j] >= 0 && !self(self, row_of[j], start)) continue;
            row_of[j] = row;
            column_of[row] = j;
            return true;
        }
        return false;
    };
    for (int i = 0; i < n; ++i)
        if (!augment(augment, i, i)) return false;
    return true;
}

/// |product(i, j) - a(i, j)| within the roundoff of n products whose sizes add up to size(i, j).
void require_product(mlMatrix const & product, mlMatrix const & a, mlMatrix const & size) {
    for (int i = 0; i < a.rows(); ++i)
        for (int j = 0; j < a.cols(); ++j)
            require(std::fabs(product(i, j) - a(i, j)) <= 1e-15 * (a.rows() + 4) * size(i, j), "the factors' product");
}

mlMatrix absolute(mlMatrix const & m) {
    mlMatrix sizes(utCopy, m);
    for (double & x : sizes)
        x = std::fabs(x);
    return sizes;
}

/// The columns of many right-hand sides have the bits of each alone.
template <class Factors> void solve(Factors const & factors, Bytes & script, bool strange) {
    int const n = factors.dimension(), columns = 1 + script.below(19);
    mlMatrix b(mlMatrixZero, n, columns), x;
    for (double & value : b)
        value = strange ? script.number() : script.below(9) - 4.0;
    factors.solve(b, x);
    for (int j = 0; j < columns; ++j) {
        mlVector column(utCopy, b.col(j)), solution(utCopy, x.col(j));
        factors.solve(column, column);
        require(same_bits(column.data(), solution.data(), n), "right-hand sides together and alone");
    }
}

void factor_general(Bytes & script, bool strange) {
    double const thresholds[] = {0.001, 0.1, 1.0};
    double const threshold = thresholds[script.below(3)];
    int const n = script.below(32);
    mlSparseMatrix const a = make(script, n, strange);
    mlSparseLU lu(a, threshold);
    require((lu.status() == mlSparseLUStructurallySingular) == !structurally_regular(a), "structurally singular");
    require((lu.failed_column() >= 0) == (lu.status() != mlSparseLUFactored), "the failed column");
    if (lu.status() != mlSparseLUFactored) return;
    mlVector const pivots(utCopy, lu.pivots());
    lu.factor(a, threshold);
    require(same_bits(lu.pivots().data(), pivots.data(), n), "the same factors again");
    solve(lu, script, strange);
    if (strange) return;
    mlSparseMatrix l, u, f;
    lu.matrix_l(l), lu.matrix_u(u), lu.matrix_f(f);
    mlMatrix const dense_l = dense(l), dense_u = dense(u), dense_f = dense(f), dense_a = dense(a);
    mlMatrix product(mlMatrixProduct, dense_l, dense_u), size(mlMatrixProduct, absolute(dense_l), absolute(dense_u));
    product += dense_f;
    size += absolute(dense_f);
    mlMatrix ordered(mlMatrixZero, n, n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            ordered(i, j) = dense_a(lu.row_order()[i], lu.column_order()[j]);
    require_product(product, ordered, size);
}

void factor_symmetric(Bytes & script, bool strange) {
    int const n = script.below(32);
    bool const definite = script.below(4) != 0;
    mlSparseSymMatrix const a = square(make(script, n, strange), definite);
    mlSparseCholesky const cholesky(a);
    bool const factored = cholesky.status() == mlSparseCholeskyFactored;
    require((cholesky.failed_row() >= 0) == !factored, "the failed row");
    require(factored || strange || !definite, "a definite matrix has factors");
    if (!factored) return;
    solve(cholesky, script, strange);
    if (strange) return;
    mlSparseMatrix l;
    cholesky.matrix_l(l);
    mlMatrix const dense_l = dense(l), dense_a = dense(a);
    mlMatrix scaled(utCopy, dense_l), ordered(mlMatrixZero, n, n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            scaled(i, j) *= cholesky.d()[j];
            ordered(i, j) = dense_a(cholesky.order()[i], cholesky.order()[j]);
        }
    mlMatrix const transposed(mlMatrixTranspose, dense_l);
    require_product(mlMatrix(mlMatrixProduct, scaled, transposed), ordered,
                    mlMatrix(mlMatrixProduct, absolute(scaled), absolute(transposed)));
}

template <class Matrix> double residual(Matrix const & a, mlVector const & b, mlVector const & x) {
    mlVector product;
    a.multiply_vector(x, product);
    double const length = euclidean_norm(b);
    return length > 0.0 ? std::sqrt(distance_squared(product, b)) / length : 0.0;
}

template <class Solver, class Matrix> void iterate(Matrix const & a, mlVector const & b, bool strange) {
    mlDiagonalPreconditioner const diagonal(a);
    mlIncompleteFactors const factors(a);
    mlLinearOperator const * const preconditioners[] = {nullptr, &diagonal, &factors};
    for (mlLinearOperator const * preconditioner : preconditioners) {
        Solver solver;
        mlVector x;
        solver.set_preconditioner(preconditioner);
        solver.set_max_iterations(200);
        mlIterativeStatus const status = solver.solve(a, b, x);
        require(solver.calls() <= 1000, "number of multiplications");
        if (status == mlIterativeNotFinite) {
            require(x.size() == 0, "x as it was");
            continue;
        }
        require(x.size() == a.rows() && solver.history().size() == solver.iterations() + 1, "sizes of a solution");
        if (status == mlIterativeConverged && !strange)
            require(residual(a, b, x) <= 2e-10 + 1e-13 * std::fabs(x.max_absolute_value()), "residual");
    }
}

void iterate_both(Bytes & script, bool strange) {
    int const n = script.below(12);
    mlSparseMatrix const a = make(script, n, strange);
    mlVector b(mlVectorZero, n);
    for (double & value : b)
        value = strange ? script.number() : script.below(7) - 3.0;
    iterate<mlBiConjugateGradients>(a, b, strange);
    iterate<mlConjugateGradients>(square(a, script.below(2) == 0), b, strange);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    Bytes script(data, size);
    bool const strange = script.below(2) == 1;
    switch (script.below(3)) {
    case 0: factor_general(script, strange); break;
    case 1: factor_symmetric(script, strange); break;
    case 2: iterate_both(script, strange); break;
    }
    return 0;
}
