// The sparse factorisations against plain elimination, term by term.

#include "tests/support/bits.h"
#include "tests/support/matrices.h"
#include "tests/support/plain_ldlt.h"
#include "tests/support/plain_lu.h"
#include "tests/support/ratios.h"
#include "tests/support/sparse_patterns.h"
#include "tests/support/test.h"

namespace {

// ---- what both have in common, by the same names ----

struct Cholesky : mlSparseCholesky {
    using mlSparseCholesky::mlSparseCholesky;
    using Matrix = mlSparseSymMatrix;
    int failed() const { return failed_row(); }
    mlVector const & pivots() const { return d(); }
    long long elements() const { return num_non_zero_elements(); }

    /// Of a matrix that was analysed.
    PlainLdlt plain(Matrix const & a) const { return {a, order()}; }
    static constexpr std::array parts = {std::pair(&mlSparseCholesky::matrix_l, &PlainLdlt::l)};
};

struct LU : mlSparseLU {
    using mlSparseLU::mlSparseLU;
    using Matrix = mlSparseMatrix;
    int failed() const { return failed_column(); }
    long long elements() const {
        return num_non_zero_elements_l() + num_non_zero_elements_u() + num_non_zero_elements_f();
    }

    /// Of a matrix that was analysed and not factored yet.
    PlainLu plain(Matrix const & a, double threshold = mlSparseLUThreshold) const {
        return {a, row_order(), column_order(), threshold};
    }
    static constexpr std::array parts = {std::pair(&mlSparseLU::matrix_l, &PlainLu::l),
                                         std::pair(&mlSparseLU::matrix_u, &PlainLu::u),
                                         std::pair(&mlSparseLU::matrix_f, &PlainLu::f)};
};

/// But for its sign, the determinant is the product of the pivots, with the powers of two set apart.
template <class Factors> void expect_determinant(Factors const & factors, Values const & pivots) {
    double mantissa = 0.5;
    int exponent = 1;
    for (double const pivot : pivots) {
        int of_pivot, of_product;
        mantissa = std::frexp(mantissa * std::frexp(std::fabs(pivot), &of_pivot), &of_product);
        exponent += of_pivot + of_product;
    }
    long long found = 7;
    EXPECT_EQ(std::fabs(factors.determinant(found)), mantissa);
    EXPECT_EQ(found, mantissa == 0.0 ? 0 : exponent);
    EXPECT_EQ(std::fabs(factors.determinant()), std::ldexp(mantissa, exponent));
}

/// How it ended, with which pivots and which factors.
template <class Factors, class Plain> void expect_factors(Factors const & factors, Plain const & plain) {
    EXPECT_EQ(std::tuple(factors.status(), factors.failed()), std::tuple(plain.status, plain.failed));
    EXPECT_EQ(contents(factors.pivots()), plain.d);
    expect_determinant(factors, plain.failed < 0 ? plain.d : Values{0.0});
    long long elements = 0;
    for (auto const & [part, expected] : Factors::parts) {
        mlSparseMatrix found;
        mlMatrix dense;
        (factors.*part)(found);
        found.decompress(dense);
        EXPECT_TRUE(equal_bits(plain.*expected, dense)) << "of L, U or F";
        elements += found.num_non_zero_elements();
    }
    EXPECT_EQ(factors.elements(), elements);
}

/// Every form of `solve`, in place too, has the bits of the plain one for a column. Returns the ratio of the errors.
template <class Factors, class Plain, class Matrix>
double solve_in_every_form(Factors const & factors, Plain const & plain, Matrix const & a) {
    mlMatrix dense, b, x, in_place;
    a.decompress(dense);
    fill_random(b, a.rows(), 3, 2);
    in_place.become(utCopy, b);
    factors.solve(in_place, in_place);
    for (auto const & [rows, cols] : {std::pair(a.rows(), 4), {a.rows() + 1, 3}}) {
        x.become(mlMatrixZero, rows, cols);
        factors.solve(b, x);
        EXPECT_TRUE(equal_bits(in_place, x)) << "it was " << rows << " x " << cols;
    }
    for (int c = 0; c < b.cols(); ++c) {
        Values const expected = plain.solve(contents(b.col(c)));
        mlVector in_vector(b.col(c)), from_slice{1.0}, from_vector{1.0};
        factors.solve(in_vector, from_vector);
        factors.solve(in_vector, in_vector);
        factors.solve(b.col(c), from_slice);
        for (Values const & found :
             {contents(from_vector), contents(in_vector), contents(from_slice), contents(x.col(c))})
            EXPECT_EQ(found, expected) << "column " << c;
    }
    return solve_ratio(dense, x, b);
}

template <class Factors> class SparseFactors : public testing::Test {};
using BothFactorisations = testing::Types<Cholesky, LU>;
TYPED_TEST_SUITE(SparseFactors, BothFactorisations);

TYPED_TEST(SparseFactors, AreDroppedByAnotherAnalysis) {
    TypeParam factors;
    auto const state = [&] {
        return std::tuple(factors.dimension(), factors.status() + 0, factors.pivots().size(), factors.failed());
    };
    EXPECT_EQ(state(), std::tuple(0, 0, 0, -1));
    for (int const n : {9, 4}) {
        typename TypeParam::Matrix a(mlMatrixIdentity, n);
        factors.analyse(a);
        EXPECT_EQ(state(), std::tuple(n, 0, 0, -1));
        factors.factor(a);
        EXPECT_EQ(state(), std::tuple(n, 1, n, -1));
        a *= 0.0;
        EXPECT_GT(factors.factor(a), 1);
    }
}

// Whatever matrix of the pattern came before. With pivots beside 2^-50 of their own diagonal or column, below which
// they count as zero, and with determinants beyond the range of a double.
TYPED_TEST(SparseFactors, EndWherePlainEliminationEnds) {
    std::vector<mlMatrix> cases;
    cases.push_back({{1.0, 1e-11}, {1e-11, 1e-20}});
    cases.push_back({{1.5e308, 1.5e308}, {-1.5e308, 1.5e308}});
    for (double const scale : {1.0, 0x1p-900, 0x1p900})
        for (int k = 0; k < 6; ++k) {
            double const less = scale * (1.0 - k * 0x1p-52);
            cases.push_back({{scale, less}, {less, scale}});
            cases.push_back({{scale, scale}, {1.0, 1.0 + k * 0x1p-51}});
        }
    for (auto const & [i, j, value] :
         {std::tuple(5, 5, 0.0), {0, 0, -1.0}, {0, 0, nan_value}, {0, 0, infinity}, {6, 7, nan_value}, {6, 7, 1e200}}) {
        cases.push_back(symmetric_matrix(12, [](int r, int c) { return r == c ? 2.1 : c == r + 1 ? -1.0 : 0.0; }));
        cases.back()(i, j) = cases.back()(j, i) = value;
    }
    cases.push_back(random_matrix(9, 9, 1));
    cases.back().col(4) = cases.back().col(3);
    for (double const pivot : {0x1.8p-1060, 0x1.8p-1000, 1.5, 0x1.8p1000}) {
        cases.push_back(mlMatrix(mlMatrixIdentity, 40));
        cases.back() *= pivot;
    }
    for (mlMatrix const & dense : cases) {
        SCOPED_TRACE(&dense - cases.data());
        auto const a = sparse<typename TypeParam::Matrix>(dense);
        TypeParam factors;
        factors.analyse(a);
        auto const plain = factors.plain(a);
        for (double const s : {0.0, 3.0, 1.0}) {
            typename TypeParam::Matrix multiple(utCopy, a);
            multiple *= s;
            factors.factor(multiple);
        }
        expect_factors(factors, plain);
    }
}

// ---- Cholesky ----

/// A matrix with this graph, positive definite, every value different.
mlSparseSymMatrix matrix(int n, Edges const & edges) {
    mlRandom random(1);
    return sparse<mlSparseSymMatrix>(n, coupled(n, edges, 0.1, [&] { return random.uniform(-1.0, 1.0); }));
}

// The definition in the header, term by term, and which elements elimination makes. The large ones have as many as the
// authors of the ordering say.
TEST(SparseCholesky, HasTheBitsAndThePatternOfPlainEliminationAndSolvesInEveryForm) {
    std::tuple<char const *, int, Edges, int> const graphs[] = {
        // name, points, edges, elements of L
        {"none", 0, {}, 0},
        {"fan", 6, {{0, 1}, {0, 2}, {0, 3}, {1, 3}, {1, 5}, {2, 3}, {2, 4}, {3, 4}, {3, 5}}, 15},
        {"full", 24, random_edges(24, 400, 2), 300},
        {"plane", 625, grid(25, 25, 1), 6368},
        {"space", 343, grid(7, 7, 7), 5745},
        {"sparse random", 300, random_edges(300, 2, 5), 3229},
        {"large plane", 10000, grid(100, 100, 1), 206332},
        {"large space", 8000, grid(20, 20, 20), 842282},
    };
    for (auto const & [name, n, edges, in_l] : graphs) {
        SCOPED_TRACE(name);
        mlSparseSymMatrix const a = matrix(n, edges);
        Cholesky cholesky;
        cholesky.analyse(a);
        EXPECT_EQ(cholesky.num_non_zero_elements(), in_l);
        if (n > 1000) continue;
        cholesky.factor(a);
        PlainLdlt const plain = cholesky.plain(a);
        ASSERT_EQ(plain.failed, -1);
        expect_factors(cholesky, plain);
        EXPECT_EQ(n * n - std::count(plain.l.data(), plain.l.data() + n * n, 0.0), in_l) << "none cancels";
        EXPECT_LT(solve_in_every_form(cholesky, plain, a), 4.0);
    }
}

TEST(SparseCholesky, PutsARowOfManyElementsLast) {
    Edges edges = grid(10, 10, 1);
    for (int leaf = 101; leaf < 500; ++leaf)
        edges.emplace_back(100, leaf);
    edges.emplace_back(99, 100); // without the leaves it has few
    mlSparseCholesky cholesky;
    cholesky.analyse(matrix(500, edges));
    EXPECT_EQ(cholesky.order()[499], 100);
    for (int const neighbours : {200, 201}) { // 10 sqrt(n), and more
        Edges star;
        for (int leaf = 1; leaf <= neighbours; ++leaf)
            star.emplace_back(0, leaf);
        cholesky.analyse(matrix(400, star));
        EXPECT_EQ(cholesky.order()[399] == 0, neighbours > 200) << neighbours;
    }
    cholesky.analyse(mlSparseSymMatrix(mlMatrixIdentity, 4));
    EXPECT_EQ(contents(cholesky.order()), (std::vector<int>{3, 2, 1, 0})) << "of equals the last";
}

// ---- LU ----

/// Rows and columns exchanged; n has no factor in common with 41 and 43.
Elements scrambled(int n, Elements const & elements) {
    Elements result;
    for (auto const & [at, value] : elements)
        result[{at.first * 41 % n, at.second * 43 % n}] = value;
    return result;
}

/// A diagonal of about this size and up to `each` more elements a column, in its block of so many rows and above it.
Elements random_columns(int n, int each, double on_diagonal, int block) {
    mlRandom random(n);
    Elements elements;
    for (int j = 0; j < n; ++j) {
        for (int e = 0; e < each; ++e)
            elements[{static_cast<int>(random.uniform() * (j - j % block + block)), j}] = random.uniform(-1.0, 1.0);
        elements[{j, j}] = on_diagonal * random.uniform(1.0, 2.0);
    }
    return elements;
}

/// Magnitudes of which many are equal and many cancel, but for the diagonal's.
Elements with_equal_sizes(Elements elements) {
    for (auto & [at, value] : elements)
        value = std::copysign(at.first == at.second ? 0.25 : 1.0, value);
    return elements;
}

// The definition in the header, term by term, with the exchanges, the blocks and the elements that elimination makes.
TEST(SparseLU, HasTheBitsAndThePatternOfPlainEliminationAndSolvesInEveryForm) {
    std::tuple<char const *, int, Elements, int, int> const patterns[] = {
        // name, order, elements, blocks on the diagonal, exchanges of rows
        {"none", 0, {}, 0, 0},
        {"scrambled triangle", 90, scrambled(90, random_columns(90, 4, 1.0, 1)), 90, 0},
        {"large diagonal", 150, random_columns(150, 3, 9.0, 150), 11, 0},
        {"small diagonal", 150, random_columns(150, 3, 1e-9, 150), 11, 103},
        {"scrambled random", 120, scrambled(120, random_columns(120, 3, 0.01, 120)), 7, 10},
        {"equal sizes", 30, with_equal_sizes(random_columns(30, 300, 1.0, 30)), 1, 0},
        {"few equal sizes", 80, scrambled(80, with_equal_sizes(random_columns(80, 3, 1.0, 80))), 11, 1},
        {"scrambled blocks", 120, scrambled(120, random_columns(120, 12, 0.01, 20)), 17, 2},
    };
    for (auto const & [name, n, elements, blocks, exchanges] : patterns) {
        mlSparseMatrix const a = sparse<mlSparseMatrix>(n, elements);
        mlMatrix dense;
        a.decompress(dense);
        bool const negative = std::signbit(mlLUDecomposition(dense).determinant());
        LU lu;
        lu.analyse(a);
        EXPECT_EQ(std::tuple(lu.num_blocks(), lu.num_exchanges(), lu.elements()), std::tuple(blocks, 0, 0)) << name;
        intcoDynArr const rows(utCopy, lu.row_order());
        for (double const threshold : {1.0, 0.0, 0.25, mlSparseLUThreshold}) {
            SCOPED_TRACE(testing::Message() << name << ", threshold " << threshold);
            PlainLu const plain(a, rows, lu.column_order(), threshold);
            ASSERT_EQ(plain.status, mlSparseLUFactored);
            lu.factor(a, threshold);
            expect_factors(lu, plain);
            EXPECT_EQ(std::signbit(lu.determinant()), negative);
            EXPECT_EQ(contents(lu.row_order()), plain.row_order);
            EXPECT_EQ(std::tuple(lu.num_blocks() + 1, lu.num_exchanges(), lu.elements()),
                      std::tuple(plain.blocks.size(), plain.exchanges, plain.elements));
            EXPECT_LT(solve_in_every_form(lu, plain, a), threshold > 0.0 ? 30.0 : infinity);
        }
        EXPECT_EQ(lu.num_exchanges(), exchanges) << name;
    }
}

// Of thousands of rows: the search for columns goes through groups of words, and elements are taken out of it.
TEST(SparseLU, SolvesLargeSystemsWithLittleFill) {
    for (auto const & [side, n, in_l, in_u] : {std::tuple(70, 4900, 89544, 86106), {3, 9000, 35990, 36005}}) {
        mlRandom random(n);
        Elements elements = coupled(n, grid(side, n / side, 1), 0.0, [] { return 1.0; });
        for (auto & [at, value] : elements)
            value = at.first == at.second ? 0.3 : random.uniform(-1.0, 1.0);
        mlSparseMatrix const a = sparse<mlSparseMatrix>(n, elements);
        mlSparseLU const lu(a);
        EXPECT_EQ(std::tuple(lu.status(), lu.num_non_zero_elements_l(), lu.num_non_zero_elements_u()),
                  std::tuple(mlSparseLUFactored, in_l, in_u));
        mlVector b, x, image;
        fill_random(b, n, 2);
        lu.solve(b, x);
        a.multiply_vector(x, image);
        image -= b;
        EXPECT_LT(image.max_absolute_value(), 1e-9 * x.max_absolute_value());
    }
}

TEST(SparseLU, NamesAColumnThatIsLeftWithoutAPivot) {
    struct {
        std::vector<int> columns;
        int rows, failed; ///< only so many rows have elements in these columns
    } const cases[] = {{{4}, 0, 4}, {{2, 6}, 0, 2}, {{2, 5, 6}, 2, 6}, {{0, 1, 2, 3, 4, 5, 6, 7, 8}, 8, 8}};
    for (auto const & [columns, rows, failed] : cases) {
        Elements elements = random_columns(9, 90, 1.0, 9);
        for (int const column : columns)
            for (int row = rows; row < 9; ++row)
                elements.erase({row, column});
        LU const lu(sparse<mlSparseMatrix>(9, elements));
        EXPECT_EQ(std::tuple(lu.status(), lu.failed()), std::tuple(mlSparseLUStructurallySingular, failed));
        expect_determinant(lu, {0.0});
    }
}

TEST(SparseLU, KeepsTheOrderOfATriangle) {
    mlSparseLU const triangle(sparse<mlSparseMatrix>(30, random_columns(30, 2, 1.0, 1)));
    for (int k = 0; k < 30; ++k)
        ASSERT_EQ(std::pair(triangle.row_order()[k], triangle.column_order()[k]), std::pair(k, k));
}

} // namespace
