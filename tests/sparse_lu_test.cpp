#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "maths/decompositions/mlLUDecomposition.h"
#include "maths/sparse/mlSparseLU.h"
#include "tests/support/plain_lu.h"
#include "tests/support/sparse_patterns.h"

namespace {

struct Pattern {
    char const * name;
    int n;
    Elements elements;
    int blocks;     ///< on the diagonal; -1 where any number may come out
    bool exchanges; ///< of rows are needed
    friend std::ostream & operator<<(std::ostream & stream, Pattern const & p) { return stream << p.name; }
};

/// Rows and columns exchanged; n has no factor in common with 41 and 43.
Elements scrambled(int n, Elements const & elements) {
    Elements result;
    for (auto const & [at, value] : elements)
        result[{at.first * 41 % n, at.second * 43 % n}] = value;
    return result;
}

/// A diagonal of about this size and up to `each` more elements a column, in the upper triangle alone or anywhere.
Elements random_columns(int n, int each, double on_diagonal, bool upper = false) {
    mlRandom random(n);
    Elements elements;
    for (int j = 0; j < n; ++j) {
        for (int e = 0; e < each; ++e)
            elements[{static_cast<int>(random.uniform() * (upper ? j + 1 : n)), j}] = random.uniform(-1.0, 1.0);
        elements[{j, j}] = on_diagonal * random.uniform(1.0, 2.0);
    }
    return elements;
}

Elements full(int n, double on_diagonal) { return random_columns(n, 10 * n, on_diagonal); }

/// Magnitudes of which many are equal and many cancel, but for the diagonal's.
Elements with_equal_sizes(Elements elements, double on_diagonal) {
    for (auto & [at, value] : elements)
        value = std::copysign(at.first == at.second ? on_diagonal : 1.0, value);
    return elements;
}

/// Conductances between nodes, and sources of given voltage, whose rows have no diagonal. The scales of the rows vary
/// by so many decades up and down.
Elements circuit(int n, int nodes, int decades) {
    mlRandom random(n);
    Elements elements = coupled(nodes, random_edges(nodes, 2, 3), 0.01, [&] {
        return -std::exp2(std::floor(random.uniform(-20.0, 1.0))) * random.uniform(1.0, 2.0);
    });
    for (int j = nodes, i = 0; j < n; ++j, i += 2) {
        elements[{i, j}] = elements[{j, i}] = 1.0;
        elements[{i + 1, j}] = elements[{j, i + 1}] = -1.0;
    }
    for (auto & [at, value] : elements)
        value *= std::pow(10.0, at.first * 37 % (2 * decades + 1) - decades);
    return elements;
}

/// Blocks of 1, 2, 3, ... rows, full, and some elements above them.
Elements blocks(int n) {
    mlRandom random(n);
    Elements elements;
    for (int first = 0, size = 1; first < n; first += size++)
        for (int i = first; i < std::min(first + size, n); ++i)
            for (int j = first; j < n; ++j)
                if (j < first + size || random.uniform() < 0.05) elements[{i, j}] = random.uniform(-1.0, 1.0);
    return elements;
}

Pattern const patterns[] = {
    {"none", 0, {}, 0, false},
    {"one", 1, random_columns(1, 0, 1.0), 1, false},
    {"permutation", 40, scrambled(40, random_columns(40, 0, 1.0)), 40, false},
    {"scrambled_triangle", 90, scrambled(90, random_columns(90, 4, 1.0, true)), 90, false},
    {"full_with_small_diagonal", 30, full(30, 1e-5), 1, true},
    {"large_diagonal", 150, random_columns(150, 3, 9.0), -1, false},
    {"small_diagonal", 150, random_columns(150, 3, 1e-9), -1, true},
    {"scrambled_random", 120, scrambled(120, random_columns(120, 3, 0.01)), -1, true},
    {"equal_sizes", 30, with_equal_sizes(full(30, 1.0), 0x1p-20), 1, true},
    {"few_equal_sizes", 80, scrambled(80, with_equal_sizes(random_columns(80, 3, 1.0), 0x1p-6)), -1, true},
    {"circuit", 130, circuit(130, 110, 0), 1, false},
    {"blocks", 120, scrambled(120, blocks(120)), 15, false},
    {"badly_scaled", 120, circuit(120, 100, 100), 1, false},
    {"more_than_a_word", 200, full(200, 1e-5), 1, true},
};

class SparseLUOf : public testing::TestWithParam<Pattern> {};

// The definition in the header, term by term, with the exchanges, the blocks and the elements that elimination makes.
TEST_P(SparseLUOf, HasTheBitsAndThePatternOfPlainEliminationAndSolvesInEveryForm) {
    int const n = GetParam().n;
    mlSparseMatrix const a = general_matrix(n, GetParam().elements);
    mlMatrix dense;
    mlSparseLU lu;
    lu.analyse(a);
    intcoDynArr const rows(utCopy, lu.row_order());
    for (double const threshold : {1.0, 0.0, mlSparseLUThreshold}) {
        ASSERT_EQ((std::tuple{lu.factor(a, threshold), lu.failed_column()}), std::tuple(mlSparseLUFactored, -1));
        PlainLu const plain(a, rows, lu.column_order(), threshold);
        EXPECT_EQ(contents(lu.row_order()), plain.row_order);
        EXPECT_EQ(std::tuple(lu.num_non_zero_elements_l(), lu.num_non_zero_elements_u(), lu.num_non_zero_elements_f()),
                  std::tuple(plain.in_l + n, plain.in_u, plain.in_f));
        EXPECT_EQ(std::tuple(lu.num_blocks() + 1, lu.num_exchanges()),
                  std::tuple(plain.blocks.size(), plain.exchanges));
        mlSparseMatrix l, u, f;
        lu.matrix_l(l), lu.matrix_u(u), lu.matrix_f(f);
        for (auto const & [found, expected] : {std::pair(&l, &plain.l), {&u, &plain.u}, {&f, &plain.f}}) {
            found->decompress(dense);
            EXPECT_TRUE(equal_bits(*expected, dense)) << "of L, U or F";
        }
        for (int i = 0; i < n; ++i)
            EXPECT_EQ(lu.pivots()[i], plain.u(i, i));
        a.decompress(dense);
        double const ratio = solve_in_every_form(lu, plain, dense);
        bool const stable = threshold > 0.0 && GetParam().name != std::string("badly_scaled");
        EXPECT_LT(ratio, stable ? 30.0 : infinity) << threshold;
    }
    EXPECT_EQ(lu.num_exchanges() > 0, GetParam().exchanges);
    if (GetParam().blocks >= 0) {
        EXPECT_EQ(lu.num_blocks(), GetParam().blocks);
    }
    for (auto order : {contents(rows), contents(lu.row_order()), contents(lu.column_order())}) {
        std::sort(order.begin(), order.end());
        for (int i = 0; i < n; ++i)
            ASSERT_EQ(order[i], i);
    }
}

INSTANTIATE_TEST_SUITE_P(, SparseLUOf, testing::ValuesIn(patterns), testing::PrintToStringParamName());

TEST(SparseLU, FactorsNewValuesByTheSameAnalysis) {
    mlSparseMatrix const a = general_matrix(120, scrambled(120, random_columns(120, 3, 0.01)));
    expect_to_factor_new_values<mlSparseLU>(a, 0.0, [](mlSparseLU const & lu) {
        return std::tuple(lu.dimension(), lu.status() + 0, lu.pivots().size(), lu.failed_column());
    });
    mlSparseLU const none;
    EXPECT_EQ(std::tuple(none.num_non_zero_elements_l(), none.num_non_zero_elements_u(), none.num_non_zero_elements_f(),
                         none.num_exchanges()),
              std::tuple(0, 0, 0, 0));
}

// Of thousands of rows: the search for columns goes through groups of words, and elements are taken out of it.
TEST(SparseLU, SolvesLargeSystemsWithLittleFill) {
    for (auto const & [side, n, most_elements] : {std::tuple(70, 4900, 110000), std::tuple(3, 9000, 40000)}) {
        mlRandom random(n);
        Elements elements;
        for (auto const & [i, j] : grid(side, n / side, 1))
            for (auto const & at : {std::pair(i, j), std::pair(j, i)})
                elements[at] = random.uniform(-1.0, 1.0);
        for (int i = 0; i < n; ++i)
            elements[{i, i}] = 0.3;
        mlSparseMatrix const a = general_matrix(n, elements);
        mlSparseLU const lu(a);
        ASSERT_EQ(lu.status(), mlSparseLUFactored) << n;
        EXPECT_GT(lu.num_exchanges(), 0) << n;
        EXPECT_LE(std::max(lu.num_non_zero_elements_l(), lu.num_non_zero_elements_u()), most_elements) << n;
        mlVector b, x, image;
        fill_random(b, n, 2);
        lu.solve(b, x);
        a.multiply_vector(x, image);
        double const limit = 1e-9 * x.max_absolute_value();
        for (int i = 0; i < n; ++i)
            ASSERT_LT(std::fabs(image[i] - b[i]), limit) << "row " << i << " of " << n;
    }
}

struct Failure {
    char const * name;
    std::function<void(mlMatrix &)> change; ///< of a matrix of one block
    mlSparseLUStatus status;
    std::vector<int> columns; ///< of which one is named; none when it may be any, after all before it are done
};

TEST(SparseLU, SaysWhyAndWhereItEnds) {
    int const n = 9;
    auto const remove = [](auto && slice) { slice = mlVector(mlVectorZero, slice.length()); };
    Failure const failures[] = {
        {"column missing", [&](mlMatrix & a) { remove(a.col(4)); }, mlSparseLUStructurallySingular, {4}},
        {"two columns missing",
         [&](mlMatrix & a) { remove(a.col(2)), remove(a.col(6)); },
         mlSparseLUStructurallySingular,
         {2}},
        {"row missing",
         [&](mlMatrix & a) { remove(a.row(4)); },
         mlSparseLUStructurallySingular,
         {0, 1, 2, 3, 4, 5, 6, 7, 8}},
        {"three columns in two rows",
         [&](mlMatrix & a) {
             for (int const j : {2, 5, 6})
                 remove(a.col(j)), a(1, j) = 1.0 + j, a(7, j) = 1.0 + 7 * j;
         },
         mlSparseLUStructurallySingular,
         {2, 5, 6}},
        {"equal columns", [](mlMatrix & a) { a.col(4) = a.col(3); }, mlSparseLUSingular, {}},
        {"NaN", [](mlMatrix & a) { a(6, 5) = a(7, 1) = nan_value; }, mlSparseLUNotFinite, {5}},
        {"infinite", [](mlMatrix & a) { a(0, 0) = -infinity; }, mlSparseLUNotFinite, {0}},
        {"overflow",
         [](mlMatrix & a) {
             a *= 5e307;
             for (int i = 0; i < n; ++i)
                 a(i, i) *= 0.01;
         },
         mlSparseLUNotFinite,
         {}},
    };
    for (Failure const & failure : failures) {
        SCOPED_TRACE(failure.name);
        mlMatrix dense(mlMatrixZero, n, n);
        for (int i = 0; i < n; ++i) {
            dense(i, i) = 2.0;
            dense(i, (i + 1) % n) = -1.0 - 0.1 * i;
            dense((i + 3) % n, i) = 1.3 + 0.2 * i;
        }
        failure.change(dense);
        mlSparseLU const lu(general_matrix(dense));
        EXPECT_EQ(lu.status(), failure.status);
        EXPECT_EQ(std::count(failure.columns.begin(), failure.columns.end(), lu.failed_column()),
                  !failure.columns.empty());
        auto const order = contents(lu.column_order());
        auto const failed = std::find(order.begin(), order.end(), lu.failed_column()) - order.begin();
        EXPECT_LT(failed, n);
        auto const done = failure.columns.empty() ? failed : 0;
        mlSparseMatrix l, u;
        lu.matrix_l(l), lu.matrix_u(u);
        for (int k = 0; k < n; ++k) {
            EXPECT_EQ(lu.pivots()[k] != 0.0, k < done) << "column " << k;
            for (int i = 0; i < n && k >= done; ++i)
                EXPECT_EQ(std::pair(l.element(i, k), u.element(i, k)), std::pair(i == k ? 1.0 : 0.0, 0.0));
        }
        long long exponent = 7;
        EXPECT_EQ(std::tuple(lu.determinant(exponent), exponent), std::tuple(0.0, 0));
    }
}

TEST(SparseLU, TakesAPivotAsZeroThatRoundingMayHaveMade) {
    for (double const scale : {1.0, 0x1p-900, 0x1p900})
        for (double const excess : {0.0, 0x1p-52, 0x1p-50, 0x1p-49})
            EXPECT_EQ(mlSparseLU(general_matrix(mlMatrix{{scale, scale}, {1.0, 1.0 + excess}})).status(),
                      excess > 0x1p-50 ? mlSparseLUFactored : mlSparseLUSingular)
                << excess;
    mlMatrix const large{{1.5e308, 1.5e308}, {-1.5e308, 1.5e308}}; // the last pivot overflows
    EXPECT_EQ(mlSparseLU(general_matrix(large)).status(), mlSparseLUNotFinite);
    mlSparseMatrix tiny(mlMatrixIdentity, 3);
    tiny *= 0x1p-1074;
    EXPECT_EQ(mlSparseLU(tiny).status(), mlSparseLUFactored);
}

TEST(SparseLU, KeepsTheOrderOfATriangleAndPrefersTheDiagonalDownToTheThreshold) {
    mlSparseLU const triangle(general_matrix(30, random_columns(30, 2, 1.0, true)));
    for (int k = 0; k < 30; ++k)
        ASSERT_EQ(std::pair(triangle.row_order()[k], triangle.column_order()[k]), std::pair(k, k));
    for (double const threshold : {0.001, 0.25, 1.0})
        for (double const part : {0.5, 1.0, 2.0}) {
            double const small = threshold * part;
            mlSparseLU const lu(general_matrix(mlMatrix{{small, 1.0}, {1.0, 1.0 + small}}), threshold);
            bool const exchanged = lu.column_order()[0] == 0 && part < 1.0; // the other column's diagonal is larger
            EXPECT_EQ(lu.num_exchanges(), exchanged) << threshold << ", " << part;
        }
}

TEST(SparseLU, KeepsTheSignAndTheSizeOfTheDeterminant) {
    for (int n = 1; n < 40; ++n) {
        mlSparseMatrix const a = general_matrix(n, scrambled(n, random_columns(n, 2, 0.1, n % 2 == 0)));
        mlMatrix dense;
        a.decompress(dense);
        EXPECT_NEAR(mlSparseLU(a).determinant() / mlLUDecomposition(dense).determinant(), 1.0, 1e-9) << n;
    }
    expect_determinants_of_pivots<mlSparseLU, mlSparseMatrix>({-0x1.8p-1060, 0x1.8p-1000, -0x1.8p0, 0x1.8p1000});
    EXPECT_EQ(mlSparseLU(mlSparseMatrix()).determinant(), 1.0);
}

} // namespace
