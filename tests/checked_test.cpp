#include <functional>

#include "maths/kernels/mlKernels.h"
#include "tests/support/test.h"
#include "tests/support/traces.h"

// Built and run only where the library checks its callers.

namespace {

/// Mistakes, and the messages that they stop with.
void expect_stops(std::initializer_list<std::pair<std::function<void()>, char const *>> mistakes) {
    for (auto const & [make, message] : mistakes)
        EXPECT_DEATH(make(), message);
}

TEST(CheckedDeathTest, KernelsStopWithoutTheRoomTheyAskFor) {
    int const n = 2 * ml_max_lanes;
    mlMatrix m(mlMatrixZero, n, n);
    mlBlock const a{m.data(), n};
    double x[3 * ml_max_lanes] = {}, *const y = x + ml_max_lanes;
    int pivot_rows[3 * ml_max_lanes];
    mlRotationChain const past_the_end{0, n - 2, 3};
    mlRotation const rotations[3] = {};
    mlKernels const & kernels = ml_kernels();
    EXPECT_DEATH(kernels.divide(3, x, 2.0), "kernel divide: 3 elements");
    EXPECT_DEATH(kernels.rotate(3, x, y, {1.0, 0.0}), "kernel rotate: 3 elements");
    EXPECT_DEATH(kernels.rotate_strips(1, n, m.data(), 1, &past_the_end, rotations), "14 and on, 3 rotations");
    EXPECT_DEATH(kernels.gemm(n, n, n, {x, n}, {x, n}, {x, n - 1}), "dimensions 16, 16 and 15");
    EXPECT_DEATH(kernels.gemv(n, n, {x, n - 1}, x, y), "kernel gemv: 16 x 16, leading dimension 15");
    EXPECT_DEATH(kernels.rank_one_update(2, n, a, {x, x}), "16 and padding, leading dimension 16");
    EXPECT_DEATH(kernels.update_gemv(2, n, a, {nullptr, x}, x, y), "16 and padding, leading dimension 16");
    EXPECT_DEATH(kernels.factor_panel(n + 1, 2, x, n, 0.0, pivot_rows), "factor_panel: 17 x 2, leading dimension 16");
    EXPECT_DEATH(kernels.solve_latest_first(0, 2, 3, {x, 1, 1, nullptr, 0}, a), "width 3");
    EXPECT_DEATH(kernels.copy_transposed(2, 3, {x, 2}, a), "leading dimensions 2 and 16");
    kernels.divide(0, x, 2.0); // dividing no elements is no misuse
}

TEST(CheckedDeathTest, MisuseOfVectorsMatricesAndArraysStopsWithTheOperationAndItsOperands) {
    Vector v{0, 0, 0}, longer{1, 2, 3, 4};
    mlVector const & fixed = v;
    mlVector y, none;
    mlMatrix const m(mlMatrixZero, 2, 4);
    mlMatrix n(mlMatrixZero, 2, 2), shaped(mlMatrixZero, 2, 4), product, shapeless;
    mlTinyVector3 tiny(mlVectorZero);
    intcoPageArr pages{1, 2, 3};
    std::initializer_list<std::initializer_list<mlNumber>> const ragged = {{1, 2}, {3}};
    int out[8];
    expect_stops({
        {[&] { static_cast<void>(fixed[3]); }, "index 3 of 3"},
        {[&] { static_cast<void>(v.slice(1, 2, 3)); }, "start 1, stride 2, length 3 of 3"},
        {[&] { v = longer; }, "vector assignment: 4 elements to a vector of 3"},
        {[&] { v = mlVector(mlVectorZero, 4); }, "vector assignment: 4 elements to a vector of 3"}, // moved
        {[&] { v += y; }, "vector sum: 3 elements wanted, 0 given"},
        {[&] { static_cast<void>(m(1, 4)); }, "\\(1, 4\\) of 2 x 4"},
        {[&] { shaped(0, 4) = 1.0; }, "\\(0, 4\\) of 2 x 4"},
        {[&] { shaped[8] = 1.0; }, "element 8 of 8, of a 2 x 4 matrix"},
        {[&] { static_cast<void>(m[8]); }, "element 8 of 8, of a 2 x 4 matrix"},
        {[&] { mlMatrix(mlMatrixProduct, m, m); }, "2 x 4 times 2 x 4"},
        {[&] { multiply(m, v, y); }, "4 elements wanted, 3 given"},
        {[&] { n.append_col(none); }, "append_col: 0 elements to 2 x 2"},
        {[&] { n += m; }, "matrix sum: 2 x 2 and 2 x 4"},
        {[&] { mlMatrix const made(ragged); }, "a row of 1 elements in a matrix of 2 columns"},
        {[&] { tiny[3] = 0.0; }, "component 3 of 3"},
        {[&] { tiny = longer.slice(0, 1, 2); }, "fixed-size vector: 3 components wanted, 2 given"},
        {[&] { pages.copyout(out, 4, 0, 0); }, "copyout: 4 elements from 0 on of 3"},
    });
    static_cast<void>(v.slice(9, 1, 0)); // of no elements; nor are growth and longer operands misuse
    shapeless(0, 7) = shapeless[9] = shaped(3, 1) = 1.0;
    n.append_col(longer);
    multiply(n, longer, y);
    multiply(mlMatrix(mlMatrixIdentity, 2), mlMatrix(mlMatrixIdentity, 3), product);
}

TEST(CheckedDeathTest, MisuseOfDecompositionsNamesTheMistake) {
    mlMatrix const asymmetric{{1, 2}, {3, 4}}, zero{{0, 0}, {0, 0}}, wide{{1, 2, 3}, {4, 5, 6}}, column{{1}, {2}};
    mlMatrix q(mlMatrixIdentity, 2), r, x;
    mlGramSchmidt basis(&q);
    mlVector b(mlVectorZero, 2), y;
    mlSymEigenVecs symmetric(zero);
    mlSymmetricEigen const values(zero, mlSymmetricEigen::mlVALUES);
    mlLUDecomposition const lu(zero);
    mlCholeskyDecomposition const cholesky(zero);
    doublecoDynArr2D const points(1, 2, 1, 1);
    using Svd = mlSingularValueDecomposition;
    Svd const values_only(column, Svd::mlNO_U, Svd::mlNO_V);
    expect_stops({
        {[&] { static_cast<void>(symmetric.eigen_value(0)); }, "eigen_value: `calculate` was not called"},
        {[&] { symmetric.calculate(), static_cast<void>(symmetric.eigen_value(2)); }, "eigen_value: 2 of 2 found"},
        {[&] { symmetric.calculate(), symmetric.calculate(); }, "`calculate` runs once"},
        {[&] { mlSymEigenVecs(asymmetric).calculate(); }, "2 x 2 matrix is not symmetric to 1e-06"},
        {[&] { mlSymmetricEigen{wide}; }, "symmetric eigenvalues: the matrix is 2 x 3"},
        {[&] { static_cast<void>(values.eigen_value(2)); }, "eigen_value: 2 of 2 found"},
        {[&] { static_cast<void>(values.eigen_vector(0)); }, "eigen_vector: 0 of 0 found"},
        {[&] { mlAsymEigenVecs3(asymmetric).calculate(); }, "the matrix is 2 x 2, not 3 x 3"},
        {[&] { lu.solve(b, y); }, "LU solve: the 2 x 2 matrix is singular"},
        {[&] { static_cast<void>(mlLUDecomposition{column}.determinant()); }, "LU determinant: a 2 x 1 matrix"},
        {[&] { cholesky.solve(b, y); }, "Cholesky solve: the matrix of order 2 is not positive definite"},
        {[&] { values_only.solve(b, y); }, "pseudo-inverse: 1 singular values, but U is 1 x 1"},
        {[&] { mlPCA(points).principal_axis(); }, "principal components: axis 0 of 0"},
        {[&] { mlTridiagonal(3, wide.row(0), wide.row(1), b.slice()); }, "order 3, but diagonals of 3, 3 and 2"},
        {[&] { x.become(utCopy, wide), mlQRDecomposition(&x, &r); }, "begun on Q with 2 rows"},
        {[&] { q.delete_row(1), basis.add(&b, 1); }, "2 rows were made orthogonal, and there are 1"},
    });
}

TEST(CheckedDeathTest, MisuseOfFunctionsAndSearchesNamesTheMistake) {
    mlFunctionN1Of f(0, [](mlSlice const &) { return 0.0; }); // as if its dimension was never set
    mlFunctionNOf const g(0, 0, [](mlSlice const &, mlVector &) {});
    TracedFunction const positive([](double t) { return 1.0 + t * t; });
    TracedFunction parabola([](double t) { return t * t; });
    TracedFunctionN1 plane(2, [](mlSlice const & x) { return x[0]; });
    mlVector x(mlVectorZero, 2), y(mlVectorZero, 3);
    mlMatrix directions(mlMatrixIdentity, 3);
    int flag = 0;
    double t;
    expect_stops({
        {[&] { f.gradient(x.slice(), y); }, "gradient: the function's `dimension` is 0, its argument has 2"},
        {[&] { mlDownHillSimplex(3).solve(plane, y, mlDownHillSimplexQuick); }, "`dimension` is 2, the simplex's 3"},
        {[&] { mlDownHillSimplex(2).solve(plane, y, mlDownHillSimplexQuick); }, "a start of 3 elements in 2"},
        {[&] { mlQuasiNewton(3).minimise(plane, y); }, "`dimension` is 2, the search's 3"},
        {[&] { mlQuasiNewton(2).minimise(plane, y); }, "a start of 3 elements, 2 variables"},
        {[&] { mlQuasiNewton(2).set_box(x, y); }, "2 lower and 3 upper bounds, 2 variables"},
        {[&] { mlDownHillSimplex(2).result(x); }, "no result before `solve`"},
        {[&] { ml_powell_minimum_search(y, directions, 1e-9, flag, plane); }, "powell: the function's `dimension`"},
        {[&] { mlLineOnFunctionN1(x, y, &f); }, "line: the function's `dimension` is 0"},
        {[&] { mlNewtonRaphson(mlNRDim, 2).solve(g, x, 1e-9, flag); }, "the function's dimensions are 0 and 0, for 2"},
        {[&] { mlCachedFunctionN cache(&g); }, "the function's dimensions are 0 and 0: were they set"},
        {[&] { mlSquaredLengthFunc2 squared(&g); }, "the function's dimensions are 0 and 0"},
        {[&] { mlRootSolve::regula_falsi(positive, 0, 1, 1e-9, flag, 9); }, "no bracket, f has one sign"},
        {[&] { mlRootSolve::newton_raphson(positive, 0, 1, 1e-9, flag, 9); }, "from 0 to 1 is no bracket"},
        {[&] { ml_brent_minimum_search(parabola, 0, -5, 3, 1e-9, 9, &t); }, "-5 is not between 0 and 3"},
        {[&] { mlMinimiser(parabola, 0, 1, -1, 1e-9); }, "the range from 1 to -1 is none"},
    });
}

TEST(CheckedDeathTest, MisuseOfSparseMatricesNamesTheElement) {
    mlSparseMatrix m(mlMatrixZero, 2, 3), tall(mlMatrixZero, 3, 3), out;
    mlSparseSymMatrix s(mlMatrixZero, 3);
    mlSparseRow row;
    m.set(1, 2, 1.0);
    s.set(1, 2, 1.0);
    row.append_element(5, 1.0);
    expect_stops({
        {[&] { m.set(1, 2, 1.0); }, "sparse set: \\(1, 2\\) after \\(1, 2\\)"},
        {[&] { s.set(1, 1, 1.0); }, "sparse set: \\(1, 1\\) after \\(1, 2\\)"},
        {[&] { row.append_element(4, 1.0); }, "sparse row: column 4 after column 5"},
        {[&] { tall.concatenate_right(m); }, "concatenate_right: 2 x 3 to 3 x 3"},
        {[&] { m.extract_sub_matrix(1, 0, 2, 1, out); }, "extract_sub_matrix: 2 rows from 1 on of 2 x 3"},
    });
    out.become(mlMatrixProduct, m, mlSparseMatrix(mlMatrixIdentity, 4)); // whose last row is not needed
}

TEST(CheckedDeathTest, MisuseOfSparseSolversNamesTheOrders) {
    mlVector const two(mlVectorZero, 2), three(mlMatrix(mlMatrixHilbert, 3).row(0));
    mlVector x;
    mlSparseMatrix const unit(mlMatrixIdentity, 3), wide(mlMatrixZero, 2, 3);
    mlSparseMatrix cycle(mlMatrixZero, 3, 3), out;
    mlSparseSymMatrix const identity(mlMatrixIdentity, 3), smaller(mlMatrixIdentity, 2);
    mlSparseSymMatrix further(utCopy, identity), shifted(mlMatrixZero, 3), fewer(mlMatrixZero, 3);
    further.set(0, 2, 1.0);
    for (int i = 0; i < 3; ++i) {
        cycle.set(i, (i + 1) % 3, 1.0);
        shifted.set(i, i == 1 ? 2 : i, 1.0);
    }
    mlSparseCholesky cholesky;
    mlSparseLU lu;
    cholesky.analyse(identity);
    lu.analyse(unit);
    for (mlSparseSymMatrix * other : {&further, &shifted, &fewer})
        EXPECT_DEATH(cholesky.factor(*other), "Cholesky: order 3, 3 x 3 of another pattern than analysed");
    mlConjugateGradients iterative, preconditioned;
    mlIncompleteFactors const factors(smaller);
    preconditioned.set_preconditioner(&factors);
    mlLinearOperatorOf const cut(3, [&](mlVector const &, mlVector & to) { to.become(utCopy, two.slice()); });
    expect_stops({
        {[&] { cholesky.factor(smaller); }, "sparse Cholesky: order 3, 2 x 2 of another pattern than analysed"},
        {[&] { cholesky.solve(three, x); }, "sparse Cholesky solve: order 3, status 0"},
        {[&] { lu.factor(cycle); }, "sparse LU: order 3, 3 x 3 of another pattern than analysed"},
        {[&] { lu.factor(wide); }, "sparse LU: order 3, 2 x 3 of another pattern than analysed"},
        {[&] { lu.analyse(wide); }, "sparse LU: a 2 x 3 matrix"},
        {[&] { lu.matrix_f(out); }, "sparse LU: F of order 3, not factored"},
        {[&] { lu.solve(three, x); }, "sparse LU solve: order 3, status 0"},
        {[&] { iterative.improve(identity, three, x); }, "iterative solver, from x: 3 elements wanted"},
        {[&] { iterative.solve(wide, three, x); }, "matrix operator: 2 x 3"},
        {[&] { iterative.solve(cut, three, x); }, "iterative solver: a product of 2 elements, not 3"},
        {[&] { preconditioned.solve(identity, three, x); }, "iterative solver: 3 unknowns, preconditioner of 2"},
        {[&] { mlIncompleteFactors const of_wide(wide); }, "incomplete factors: 2 x 3"},
    });
}

} // namespace
