#include <algorithm>
#include <cmath>
#include <vector>

#include "fuzz/support/bytes.h"
#include "maths/kernels/mlInstructionSet.h"
#include "maths/maths.h"

// Factorisations, solves and spectra of matrices of all shapes and numbers. They end, and every number has the same
// bits in every instruction set; of matrices of small whole numbers the factors give the matrix again.

namespace {

using Numbers = std::vector<double>;

template <class Array> void append(Numbers & all, Array const & array) {
    all.insert(all.end(), array.begin(), array.end());
}

void solve_equations(mlMatrix const & a, Numbers & all) {
    int const n = a.rows();
    mlMatrix b(mlMatrixHilbert, n), out;
    mlVector x(mlVectorZero, n);
    b.expand(n, 19, 2.0);
    x.fill(1.0);
    mlLUDecomposition const lu(a);
    lu.lower_matrix(out), append(all, out);
    lu.upper_matrix(out), append(all, out);
    all.push_back(lu.determinant());
    if (!lu.is_singular()) {
        lu.solve(b, out), append(all, out);
        lu.solve(x, x), append(all, x);
    }
    mlCholeskyDecomposition const cholesky(a);
    cholesky.matrix_l(out), append(all, out);
    if (!cholesky.is_singular()) {
        cholesky.solve(b, out), append(all, out);
        cholesky.solve(x, x), append(all, x);
        cholesky.matrix_l_inverted(out), append(all, out);
    }
}

void find_spectra(mlMatrix const & a, bool whole, Numbers & all) {
    int const rows = a.rows(), cols = a.cols();
    mlSingularValueDecomposition const svd(a);
    append(all, svd.diagonal()), append(all, svd.U()), append(all, svd.V());
    append(all, svd.inverse(1e-7));
    mlATAEigenVecs ata(a);
    ata.calculate();
    append(all, ata.eigen_vectors());
    mlMatrix both;
    both.become(utCopy, a).expand(rows + cols, cols, 0.0);
    mlVector squares(mlVectorZero, cols);
    ml_svd(both.data(), squares.data(), rows, cols);
    append(all, both), append(all, squares);
    if (!whole) return;
    require(svd.invalid() == 0, "singular values of whole numbers are found");
    mlMatrix s(mlMatrixZero, rows, cols);
    s.diagonal() = svd.diagonal();
    mlMatrix const us(mlMatrixProduct, svd.U(), s), product(mlMatrixProduct, us, mlMatrix(mlMatrixTranspose, svd.V()));
    for (int k = 0; k < rows * cols; ++k)
        require(std::fabs(product.data()[k] - a.data()[k]) < 1e-11, "U S V^T is the matrix");
}

void find_eigenvectors(mlMatrix const & a, bool whole, Numbers & all) {
    int const n = a.rows();
    mlMatrix symmetric;
    symmetric.become(utCopy, a);
    bool sane = true; // little beside much never ends
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            symmetric(i, j) = a(std::min(i, j), std::max(i, j));
            sane = sane && (!std::isfinite(a(i, j)) || std::fabs(a(i, j)) < 1e6);
        }
    }
    if (sane) {
        mlSymEigenVecs eigen(symmetric);
        eigen.calculate();
        append(all, eigen.eigen_values()), append(all, eigen.eigen_vectors());
        require(!whole || eigen.status() == mlEigenVecsCalculated, "eigenvalues of whole numbers are found");
    }
    mlSymmetricEigen const found(symmetric);
    append(all, found.eigen_values()), append(all, found.eigen_vectors());
    require(found.status() != mlSymmetricEigenIterationLimit, "eigenvalues of finite numbers are found");
    if (n == 2) mlAsymEigenVecs2(a).calculate();
    if (n == 3) mlAsymEigenVecs3(a).calculate();
}

void add_vectors(mlMatrix const & a, Numbers & all) {
    mlMatrix q, r, basis_rows;
    mlQRDecomposition qr(&q, &r);
    mlGramSchmidt basis(&basis_rows);
    mlVector v(mlVectorZero, a.cols());
    doublecoDynArr2D points(1, 1, 1, 1);
    points.expand(a.rows(), a.cols());
    for (int i = 0; i < a.rows(); ++i) {
        v = a.row(i);
        qr.add(&v);
        basis.add(&v, i % 2);
        for (int j = 0; j < a.cols(); ++j)
            points(i, j) = a(i, j);
    }
    append(all, q), append(all, r), append(all, basis_rows);
    mlVector values;
    if (mlPCA(points).eigenvalues(values) == mlPCAComputed) append(all, values);
    if (a.rows() < 4 || a.cols() < 1) return;
    mlVector x(mlVectorZero, a.cols());
    mlSlice solution = x.slice();
    mlTridiagonal const system(a.cols(), a.row(0), a.row(1), a.row(2));
    system.solve(a.row(3), solution), append(all, x);
    system.solve_periodic(a.row(3), solution), append(all, x);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    Bytes script(data, size);
    int const what = script.below(4), rows = script.below(48), cols = what % 2 == 0 ? rows : script.below(48);
    bool const whole = script.below(2) == 0;
    int const period = 1 + script.below(64); // few numbers make a matrix of any size
    mlMatrix a(mlMatrixZero, rows, cols);
    Numbers numbers(period), results[3];
    for (double & x : numbers)
        x = whole ? script.below(7) - 3.0 : script.number();
    for (int k = 0; k < rows * cols; ++k)
        a[k] = numbers[k % period] + (whole && k / period % 3 == 1 ? 1.0 : 0.0);

    for (int set = 2; set >= 0; --set) {
        if (!ml_use_instruction_set(mlInstructionSet(set))) continue;
        Numbers & all = results[set];
        switch (what) {
        case 0: solve_equations(a, all); break;
        case 1: find_spectra(a, whole, all); break;
        case 2: find_eigenvectors(a, whole, all); break;
        case 3: add_vectors(a, all); break;
        }
    }
    for (Numbers const & other : results) {
        require(other.empty() || other.size() == results[0].size(), "as many numbers in each instruction set");
        for (std::size_t k = 0; k < other.size(); ++k)
            require(std::memcmp(&other[k], &results[0][k], sizeof(double)) == 0 ||
                        (std::isnan(other[k]) && std::isnan(results[0][k])),
                    "the same bits in each instruction set");
    }
    return 0;
}
