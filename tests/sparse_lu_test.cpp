#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <ostream>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "maths/core/mlRandom.h"
#include "maths/decompositions/mlLUDecomposition.h"
#include "maths/sparse/mlSparseLU.h"
#include "maths/sparse/mlSparseMatrix.h"
#include "tests/support/grid.h"
#include "tests/support/matrices.h"
#include "tests/support/plain_lu.h"
#include "tests/support/ratios.h"
#include "tests/support/values.h"

namespace {

using Fill = std::function<void(mlMatrix &, mlRandom &)>;

struct Pattern {
    char const * name;
    int n;
    Fill fill;      ///< of a zero matrix
    int blocks;     ///< on the diagonal; -1 where any number may come out
    bool exchanges; ///< of rows are needed
    friend std::ostream & operator<<(std::ostream & stream, Pattern const & p) { return stream << p.name; }
};

/// The non-zero elements.
mlSparseMatrix sparse(mlMatrix const & dense) {
    mlSparseMatrix a(mlMatrixZero, dense.rows(), dense.cols());
    for (int i = 0; i < dense.rows(); ++i)
        for (int j = 0; j < dense.cols(); ++j)
            if (dense(i, j) != 0.0) a.set(i, j, dense(i, j));
    return a;
}

mlSparseMatrix matrix(Pattern const & p, long seed = 1) {
    mlMatrix dense(mlMatrixZero, p.n, p.n);
    mlRandom random(seed);
    p.fill(dense, random);
    return sparse(dense);
}

std::vector<int> shuffled(int n, long seed) {
    std::vector<int> order(n);
    std::iota(order.begin(), order.end(), 0);
    mlRandom random(seed);
    for (int i = n - 1; i > 0; --i)
        std::swap(order[i], order[static_cast<int>(random.uniform() * (i + 1))]);
    return order;
}

void exchange_rows_and_columns(mlMatrix & a) {
    int const n = a.rows();
    auto const rows = shuffled(n, 7), columns = shuffled(n, 8);
    mlMatrix const old(utCopy, a);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            a(i, j) = old(rows[i], columns[j]);
}

Fill diagonal() {
    return [](mlMatrix & a, mlRandom & random) {
        for (int i = 0; i < a.rows(); ++i)
            a(i, i) = random.uniform(0.5, 1.0);
    };
}

/// A diagonal and `each` more elements a column, in the upper triangle alone or anywhere.
Fill random_columns(int each, double on_diagonal, bool upper) {
    return [=](mlMatrix & a, mlRandom & random) {
        int const n = a.rows();
        for (int j = 0; j < n; ++j) {
            for (int e = 0; e < each; ++e) {
                int const i = static_cast<int>(random.uniform() * (upper ? j + 1 : n));
                a(i, j) = random.uniform(-1.0, 1.0);
            }
            a(j, j) = on_diagonal * random.uniform(1.0, 2.0);
        }
    };
}

Fill full(double on_diagonal) {
    return [=](mlMatrix & a, mlRandom & random) {
        for (int i = 0; i < a.size(); ++i)
            a[i] = random.uniform(-1.0, 1.0);
        for (int i = 0; i < a.rows(); ++i)
            a(i, i) *= on_diagonal;
    };
}

/// Small integers, of which many are equal and many cancel.
Fill small_integers(int each) {
    return [=](mlMatrix & a, mlRandom & random) {
        int const n = a.rows();
        for (int j = 0; j < n; ++j) {
            for (int e = 0; e < each; ++e) {
                int const i = static_cast<int>(random.uniform() * n);
                a(i, j) = random.uniform() < 0.5 ? -1.0 : 1.0;
            }
            a((j + 1) % n, j) = 2.0;
        }
    };
}

/// Elements of one size, but for a small diagonal.
Fill equal_sizes() {
    return [](mlMatrix & a, mlRandom & random) {
        for (int i = 0; i < a.size(); ++i)
            a[i] = random.uniform() < 0.5 ? -1.0 : 1.0;
        for (int i = 0; i < a.rows(); ++i)
            a(i, i) *= 0x1p-20;
    };
}

/// Neighbours on a plane, with a stronger coupling one way.
Fill flow(int side) {
    return [=](mlMatrix & a, mlRandom & random) {
        for (auto const & [i, j] : grid(side, a.rows() / side, 1)) {
            a(i, j) = -random.uniform(0.1, 0.5);
            a(j, i) = -random.uniform(0.5, 1.5);
        }
        for (int i = 0; i < a.rows(); ++i)
            a(i, i) = 4.0;
    };
}

/// Conductances between nodes, and sources of given voltage, whose rows have no diagonal.
Fill circuit(int nodes) {
    return [=](mlMatrix & a, mlRandom & random) {
        for (int j = 1; j < nodes; ++j)
            for (int e = 0; e < 2; ++e) {
                int const i = static_cast<int>(random.uniform() * j);
                double const g = std::exp2(std::floor(random.uniform(-20.0, 1.0))) * random.uniform(1.0, 2.0);
                a(i, j) -= g;
                a(j, i) -= g;
                a(i, i) += g;
                a(j, j) += g;
            }
        for (int j = nodes; j < a.rows(); ++j) {
            int const i = 2 * (j - nodes);
            a(i, j) = a(j, i) = 1.0;
            a(i + 1, j) = a(j, i + 1) = -1.0;
        }
        a(0, 0) += 1.0;
    };
}

/// Blocks of 1, 2, 3, ... rows, full, and some elements above them.
Fill blocks() {
    return [](mlMatrix & a, mlRandom & random) {
        int const n = a.rows();
        for (int first = 0, size = 1; first < n; first += size++)
            for (int i = first; i < std::min(first + size, n); ++i)
                for (int j = first; j < n; ++j)
                    if (j < first + size || random.uniform() < 0.05) a(i, j) = random.uniform(-1.0, 1.0);
        exchange_rows_and_columns(a);
    };
}

Fill scrambled(Fill const & fill) {
    return [=](mlMatrix & a, mlRandom & random) {
        fill(a, random);
        exchange_rows_and_columns(a);
    };
}

/// Rows multiplied by powers of ten.
Fill badly_scaled(Fill const & fill) {
    return [=](mlMatrix & a, mlRandom & random) {
        fill(a, random);
        for (int i = 0; i < a.rows(); ++i) {
            double const scale = std::pow(10.0, i * 37 % 200 - 100);
            for (int j = 0; j < a.cols(); ++j)
                a(i, j) *= scale;
        }
    };
}

Pattern const patterns[] = {
    {"none", 0, diagonal(), 0, false},
    {"one", 1, diagonal(), 1, false},
    {"diagonal", 9, diagonal(), 9, false},
    {"permutation", 40, scrambled(diagonal()), 40, false},
    {"triangle", 60, random_columns(3, 1.0, true), 60, false},
    {"scrambled_triangle", 90, scrambled(random_columns(4, 1.0, true)), 90, false},
    {"full", 25, full(1.0), 1, true},
    {"full_with_small_diagonal", 30, full(1e-5), 1, true},
    {"large_diagonal", 150, random_columns(3, 9.0, false), -1, false},
    {"small_diagonal", 150, random_columns(3, 1e-9, false), -1, true},
    {"scrambled_random", 120, scrambled(random_columns(3, 0.01, false)), -1, true},
    {"small_integers", 80, small_integers(3), -1, true},
    {"equal_sizes", 30, equal_sizes(), 1, true},
    {"flow", 144, flow(12), 1, false},
    {"circuit", 130, circuit(110), 1, false},
    {"blocks", 120, blocks(), 15, false},
    {"badly_scaled", 120, badly_scaled(circuit(100)), 1, false},
    {"more_than_a_word", 200, full(0.001), 1, true},
};

class SparseLUOf : public testing::TestWithParam<Pattern> {
protected:
    mlSparseMatrix const a = matrix(GetParam());
    int const n = a.rows();
};

void expect_same(mlSparseLU const & lu, PlainLu const & plain) {
    EXPECT_EQ(contents(lu.row_order()), plain.row_order);
    EXPECT_EQ(std::tuple(lu.num_non_zero_elements_l(), lu.num_non_zero_elements_u(), lu.num_non_zero_elements_f()),
              std::tuple(plain.in_l + plain.n, plain.in_u, plain.in_f));
    EXPECT_EQ(std::tuple(lu.num_blocks(), lu.num_exchanges()),
              std::tuple(static_cast<int>(plain.blocks.size()), plain.exchanges));
    mlSparseMatrix l, u, f;
    mlMatrix dense;
    lu.matrix_l(l), lu.matrix_u(u), lu.matrix_f(f);
    l.decompress(dense);
    EXPECT_TRUE(dense == plain.l);
    u.decompress(dense);
    EXPECT_TRUE(dense == plain.u);
    f.decompress(dense);
    EXPECT_TRUE(dense == plain.f);
    for (int i = 0; i < plain.n; ++i)
        EXPECT_EQ(lu.pivots()[i], plain.u(i, i));
}

// The definition in the header, term by term, with the exchanges, the blocks and the elements that elimination makes.
TEST_P(SparseLUOf, HasTheBitsAndThePatternOfPlainElimination) {
    mlSparseLU lu;
    lu.analyse(a);
    intcoDynArr rows(utCopy, lu.row_order());
    for (double const threshold : {mlSparseLUThreshold, 1.0, 0.0}) {
        ASSERT_EQ(std::tuple(lu.factor(a, threshold), lu.failed_column()), std::tuple(mlSparseLUFactored, -1));
        PlainLu const plain(a, rows, lu.column_order(), threshold);
        expect_same(lu, plain);
        if (threshold == mlSparseLUThreshold) {
            EXPECT_EQ(lu.num_exchanges() > 0, GetParam().exchanges);
        }
    }
    if (GetParam().blocks >= 0) {
        EXPECT_EQ(lu.num_blocks(), GetParam().blocks);
    }
    for (auto order : {contents(rows), contents(lu.row_order()), contents(lu.column_order())}) {
        std::sort(order.begin(), order.end());
        for (int i = 0; i < n; ++i)
            ASSERT_EQ(order[i], i);
    }
}

TEST_P(SparseLUOf, SolvesLikePlainSubstitutionInEveryForm) {
    mlSparseLU analysed;
    analysed.analyse(a);
    mlSparseLU const lu(a);
    PlainLu const plain(a, analysed.row_order(), lu.column_order(), mlSparseLUThreshold);
    mlMatrix dense, b, x, in_place;
    a.decompress(dense);
    fill_random(b, n, 3, 2);
    lu.solve(b, x);
    in_place.become(utCopy, b);
    lu.solve(in_place, in_place);
    if (std::string(GetParam().name) != "badly_scaled") {
        EXPECT_LT(solve_ratio(dense, x, b), 30.0);
    }
    for (int c = 0; c < 3; ++c) {
        Values y(n), expected(n);
        for (int i = 0; i < n; ++i)
            y[i] = b(plain.row_order[i], c);
        for (int block = static_cast<int>(plain.blocks.size()), end = n; --block >= 0; end = plain.blocks[block]) {
            int const first = plain.blocks[block];
            for (int i = first; i < end; ++i) {
                for (int j = n - 1; j >= end; --j)
                    y[i] -= plain.f(i, j) * y[j];
                for (int j = first; j < i; ++j)
                    y[i] -= plain.l(i, j) * y[j];
            }
            for (int i = end - 1; i >= first; --i) {
                for (int j = end - 1; j > i; --j)
                    y[i] -= plain.u(i, j) * y[j];
                y[i] /= plain.u(i, i);
            }
        }
        for (int k = 0; k < n; ++k)
            expected[lu.column_order()[k]] = y[k];
        mlVector in_vector(b.col(c)), from_slice{1.0}, from_vector{1.0};
        lu.solve(in_vector, from_vector);
        lu.solve(in_vector, in_vector);
        lu.solve(b.col(c), from_slice);
        EXPECT_EQ(contents(from_vector), expected);
        EXPECT_EQ(contents(in_vector), expected);
        EXPECT_EQ(contents(from_slice), expected);
        EXPECT_EQ(contents(x.col(c)), expected);
        EXPECT_EQ(contents(in_place.col(c)), expected);
    }
}

INSTANTIATE_TEST_SUITE_P(, SparseLUOf, testing::ValuesIn(patterns), testing::PrintToStringParamName());

TEST(SparseLU, FactorsNewValuesByTheSameAnalysis) {
    Pattern const pattern{"", 120, scrambled(random_columns(3, 0.01, false)), -1, true};
    mlSparseMatrix const a = matrix(pattern);
    mlSparseMatrix other(utCopy, a), zero(utCopy, a);
    zero *= 0.0;
    for (int i = 0; i < other.rows(); ++i)
        other *= i % 2 == 0 ? -3.0 : 0.7;
    mlSparseLU lu;
    EXPECT_EQ(std::tuple(lu.dimension(), lu.status(), lu.pivots().size()), std::tuple(0, mlSparseLUNotFactored, 0));
    lu.analyse(other);
    EXPECT_EQ(std::tuple(lu.status(), lu.num_non_zero_elements_l()), std::tuple(mlSparseLUNotFactored, 0));
    EXPECT_EQ(lu.factor(zero), mlSparseLUSingular);
    EXPECT_EQ(lu.factor(other), mlSparseLUFactored);
    EXPECT_EQ(lu.factor(a), mlSparseLUFactored);
    mlSparseLU const fresh(a);
    EXPECT_EQ(std::tuple(contents(lu.pivots()), contents(lu.row_order()), lu.failed_column(), lu.num_exchanges()),
              std::tuple(contents(fresh.pivots()), contents(fresh.row_order()), -1, fresh.num_exchanges()));
    lu.analyse(mlSparseMatrix(mlMatrixIdentity, 9));
    EXPECT_EQ(std::tuple(lu.status(), lu.pivots().size(), lu.dimension(), lu.num_non_zero_elements_u()),
              std::tuple(mlSparseLUNotFactored, 0, 9, 0));
}

// A thousand rows and more: the search for columns goes through groups of words, and elements are taken out of it.
TEST(SparseLU, SolvesLargeSystemsWithLittleFill) {
    struct Large {
        char const * name;
        int side;
        long long most_in_l, most_in_u;
    };
    for (Large const & large : {Large{"plane", 70, 110000, 110000}, Large{"long plane", 3, 40000, 40000}}) {
        int const n = large.side == 3 ? 9000 : large.side * large.side;
        mlSparseMatrix a(mlMatrixZero, n, n);
        std::vector<std::vector<std::pair<int, double>>> rows(n);
        mlRandom random(n);
        for (auto const & [i, j] : grid(large.side, n / large.side, 1)) {
            double const there = random.uniform(-1.0, 1.0), back = random.uniform(-1.0, 1.0);
            rows[i].emplace_back(j, there);
            rows[j].emplace_back(i, back);
        }
        mlVector b(mlVectorZero, n), x, image;
        for (int i = 0; i < n; ++i) {
            rows[i].emplace_back(i, 0.3);
            std::sort(rows[i].begin(), rows[i].end());
            for (auto const & [j, value] : rows[i])
                a.set(i, j, value);
            b[i] = random.uniform(-1.0, 1.0);
        }
        mlSparseLU const lu(a);
        ASSERT_EQ(lu.status(), mlSparseLUFactored) << large.name;
        EXPECT_GT(lu.num_exchanges(), 0) << large.name;
        EXPECT_LE(lu.num_non_zero_elements_l(), large.most_in_l) << large.name;
        EXPECT_LE(lu.num_non_zero_elements_u(), large.most_in_u) << large.name;
        lu.solve(b, x);
        a.multiply_vector(x, image);
        image -= b;
        double size = 0.0;
        for (int i = 0; i < n; ++i)
            size = std::max(size, std::fabs(x[i]));
        for (int i = 0; i < n; ++i)
            ASSERT_LT(std::fabs(image[i]), 1e-9 * size) << large.name << ", row " << i;
    }
}

/// Makes row or column 4 zero, or column 4 equal to column 3.
void change(mlMatrix & a, bool row, bool to_zero) {
    for (int k = 0; k < a.rows(); ++k)
        (row ? a(4, k) : a(k, 4)) = to_zero ? 0.0 : a(k, 3);
}

struct Failure {
    char const * name;
    std::function<void(mlMatrix &)> change; ///< of a matrix of one block
    mlSparseLUStatus status;
    std::vector<int> columns; ///< of which one is named
};

TEST(SparseLU, SaysWhyAndWhereItEnds) {
    int const n = 9;
    std::vector<int> all(n);
    std::iota(all.begin(), all.end(), 0);
    Failure const failures[] = {
        {"column missing", [](mlMatrix & a) { change(a, false, true); }, mlSparseLUStructurallySingular, {4}},
        {"two columns missing",
         [](mlMatrix & a) {
             for (int i = 0; i < n; ++i)
                 a(i, 2) = a(i, 6) = 0.0;
         },
         mlSparseLUStructurallySingular,
         {2}},
        {"row missing", [](mlMatrix & a) { change(a, true, true); }, mlSparseLUStructurallySingular, all},
        {"three columns in two rows",
         [](mlMatrix & a) {
             for (int j : {2, 5, 6})
                 for (int i = 0; i < n; ++i)
                     a(i, j) = i == 1 || i == 7 ? 1.0 + i * j : 0.0;
         },
         mlSparseLUStructurallySingular,
         {2, 5, 6}},
        {"equal columns", [](mlMatrix & a) { change(a, false, false); }, mlSparseLUSingular, all},
        {"rows add up to zero",
         [](mlMatrix & a) {
             for (int i = 0; i < n; ++i)
                 for (int j = 0; j < n; ++j)
                     a(i, j) = j == i ? 1.0 : j == (i + 1) % n ? -1.0 : 0.0;
         },
         mlSparseLUSingular, all},
        {"NaN", [](mlMatrix & a) { a(6, 5) = a(7, 1) = nan_value; }, mlSparseLUNotFinite, {5}},
        {"infinite", [](mlMatrix & a) { a(0, 0) = -infinity; }, mlSparseLUNotFinite, {0}},
        {"overflow",
         [](mlMatrix & a) {
             a *= 5e307;
             for (int i = 0; i < n; ++i)
                 a(i, i) *= 0.01;
         },
         mlSparseLUNotFinite, all},
    };
    for (Failure const & failure : failures) {
        mlMatrix dense(mlMatrixZero, n, n);
        for (int i = 0; i < n; ++i) {
            dense(i, i) = 2.0;
            dense(i, (i + 1) % n) = -1.0 - 0.1 * i;
            dense((i + 3) % n, i) = 1.3 + 0.2 * i;
        }
        failure.change(dense);
        mlSparseLU const lu(sparse(dense));
        EXPECT_EQ(lu.status(), failure.status) << failure.name;
        EXPECT_EQ(std::count(failure.columns.begin(), failure.columns.end(), lu.failed_column()), 1) << failure.name;
        auto const order = contents(lu.column_order());
        auto const failed = std::find(order.begin(), order.end(), lu.failed_column()) - order.begin();
        mlSparseMatrix l, u;
        lu.matrix_l(l), lu.matrix_u(u);
        for (int k = 0; k < n; ++k) {
            bool const done = failure.status == mlSparseLUSingular && k < failed;
            EXPECT_EQ(lu.pivots()[k] != 0.0, done || (failure.name == std::string("overflow") && k < failed))
                << failure.name << ", column " << k;
            for (int i = 0; i < n && !(k < failed); ++i) {
                EXPECT_EQ(l.element(i, k), i == k ? 1.0 : 0.0) << failure.name;
                EXPECT_EQ(u.element(i, k), 0.0) << failure.name;
            }
        }
        long long exponent = 7;
        EXPECT_EQ(std::tuple(lu.determinant(exponent), exponent), std::tuple(0.0, 0)) << failure.name;
    }
}

TEST(SparseLU, TakesAPivotAsZeroThatRoundingMayHaveMade) {
    for (double const scale : {1.0, 0x1p-900, 0x1p900}) {
        for (double const excess : {0.0, 0x1p-52, 0x1p-50, 0x1p-49}) {
            mlSparseMatrix a(mlMatrixZero, 2, 2);
            a.set(0, 0, scale);
            a.set(0, 1, scale);
            a.set(1, 0, 1.0);
            a.set(1, 1, 1.0 + excess);
            EXPECT_EQ(mlSparseLU(a).status(), excess > 0x1p-50 ? mlSparseLUFactored : mlSparseLUSingular) << excess;
        }
    }
    Matrix const large(2, 2, {1.5e308, 1.5e308, -1.5e308, 1.5e308}); // the last pivot overflows
    EXPECT_EQ(mlSparseLU(sparse(large)).status(), mlSparseLUNotFinite);
    mlSparseMatrix tiny(mlMatrixIdentity, 3);
    tiny *= 0x1p-1074;
    EXPECT_EQ(mlSparseLU(tiny).determinant(), 0.0);
    EXPECT_EQ(mlSparseLU(tiny).status(), mlSparseLUFactored);
}

TEST(SparseLU, PrefersTheDiagonalDownToTheThreshold) {
    for (double const threshold : {0.001, 0.25, 1.0}) {
        for (double const part : {0.5, 1.0, 2.0}) {
            mlSparseMatrix a(mlMatrixZero, 2, 2);
            a.set(0, 0, threshold * part);
            a.set(0, 1, 1.0);
            a.set(1, 0, 1.0);
            a.set(1, 1, 1.0 + threshold * part);
            mlSparseLU const lu(a, threshold);
            int const diagonal = lu.column_order()[0] == 0 ? part >= 1.0 : 1; // the other column's is larger
            EXPECT_EQ(lu.num_exchanges(), 1 - diagonal) << threshold << ", " << part;
        }
    }
}

TEST(SparseLU, KeepsTheSignAndTheSizeOfTheDeterminant) {
    for (Pattern const & p : patterns) {
        if (p.n > 40 || p.n == 0) continue;
        mlMatrix dense;
        matrix(p).decompress(dense);
        double const expected = mlLUDecomposition(dense).determinant();
        EXPECT_NEAR(mlSparseLU(sparse(dense)).determinant() / expected, 1.0, 1e-10) << p;
    }
    for (int n = 1; n < 40; ++n) {
        mlMatrix dense;
        matrix({"", n, scrambled(random_columns(2, 1.0, n % 2 == 0)), 0, false}, n).decompress(dense);
        double const expected = mlLUDecomposition(dense).determinant();
        EXPECT_NEAR(mlSparseLU(sparse(dense)).determinant() / expected, 1.0, 1e-9) << n;
    }
    for (double const value : {-0x1.8p-1060, 0x1.8p-1000, -0x1.8p0, 0x1.8p1000}) {
        mlSparseMatrix a(mlMatrixIdentity, 3);
        a *= value;
        long long exponent;
        EXPECT_EQ(mlSparseLU(a).determinant(exponent), std::copysign(0.84375, value)); // 1.5^3 / 4
        EXPECT_EQ(exponent, 3LL * std::ilogb(value) + 2);
        EXPECT_EQ(mlSparseLU(a).determinant(), value * value * value);
    }
    EXPECT_EQ(mlSparseLU(mlSparseMatrix()).determinant(), 1.0);
}

} // namespace
