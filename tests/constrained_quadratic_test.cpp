#include <numeric>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/support/quadratic_programmes.h"

namespace {

double const few = 20.0; // roundoffs that are allowed

void expect_solution(Minimiser & m, double value, double tolerance = 1e-13) {
    ASSERT_EQ(m.solve(), mlConstrainedQuadraticSolved);
    EXPECT_NEAR(m.minimiser->value(), value, tolerance * std::max(1.0, std::fabs(value)));
    EXPECT_LT(roundoffs_off(m), few);
    EXPECT_LT(negative_curvature(m), 1e-12);
}

void expect_solution(QuadraticProgramme const & p, double value) {
    Minimiser m(p);
    expect_solution(m, value);
}

Values zeros(int n) { return Values(static_cast<std::size_t>(n), 0.0); }

Values identity(int n) {
    Values m = zeros(n * n);
    for (int i = 0; i < n; ++i)
        m[static_cast<std::size_t>(i * n + i)] = 1.0;
    return m;
}

/// Integers from -2 to 2, so that points where many constraints meet, and dependent ones, are frequent. G has the rank
/// asked for, of positive squares and after them of negative ones.
QuadraticProgramme integer_programme(int n, int constraints, int positive, int negative, long seed) {
    mlRandom random(seed);
    auto const integer = [&](int low, int high) { return low + std::floor(random.uniform() * (high - low + 1)); };
    QuadraticProgramme p{n, zeros(n * n), zeros(n)};
    for (int k = 0; k < positive + negative; ++k) {
        Values row;
        for (int i = 0; i < n; ++i)
            row.push_back(integer(-2, 2));
        for (int i = 0; i < n * n; ++i)
            p.matrix[static_cast<std::size_t>(i)] += (k < positive ? 1.0 : -1.0) *
                                                     row[static_cast<std::size_t>(i / n)] *
                                                     row[static_cast<std::size_t>(i % n)];
    }
    for (double & g : p.vector)
        g = integer(-3, 3);
    for (int k = 0; k < constraints; ++k) {
        Values normal;
        for (int i = 0; i < n; ++i)
            normal.push_back(integer(-2, 2));
        if (k > 0 && integer(0, 3) == 0.0) normal = p.constraints[static_cast<std::size_t>(integer(0, k - 1))].normal;
        if (integer(0, 7) == 0.0) {
            p.equal(normal, integer(-1, 1));
        } else {
            p.at_least(normal, integer(-2, integer(0, 1)));
        }
    }
    return p;
}

/// The solution with the constraints of the set as equalities, by least squares; false when there is none.
bool stationary(QuadraticProgramme const & p, unsigned set, mlVector & x, Values & multipliers) {
    std::vector<std::size_t> rows;
    for (std::size_t k = 0; k < p.constraints.size(); ++k)
        if (set >> k & 1u) rows.push_back(k);
    int const n = p.n, size = n + static_cast<int>(rows.size());
    mlMatrix kkt(mlMatrixZero, size, size);
    mlVector right(mlVectorZero, size), solution, product;
    for (int i = 0; i < n; ++i) {
        right[i] = -p.vector[static_cast<std::size_t>(i)];
        for (int j = 0; j < n; ++j)
            kkt(i, j) = p.element(i, j);
        for (int k = n; k < size; ++k)
            kkt(k, i) = kkt(i, k) =
                p.constraints[rows[static_cast<std::size_t>(k - n)]].normal[static_cast<std::size_t>(i)];
    }
    for (int k = n; k < size; ++k)
        right[k] = p.constraints[rows[static_cast<std::size_t>(k - n)]].bound;
    mlSingularValueDecomposition(kkt).solve(right, solution);
    multiply(kkt, solution, product);
    if (norm_diff(product, right) > 1e-9) return false;
    x.become(utConvert, solution.data(), n);
    multipliers.assign(p.constraints.size(), 0.0);
    for (int k = n; k < size; ++k)
        multipliers[rows[static_cast<std::size_t>(k - n)]] = -solution[k];
    return true;
}

/// The least value of a strictly convex problem, over all sets of constraints that may be active; infinity when it has
/// no feasible point.
double least_by_enumeration(QuadraticProgramme const & p) {
    double least = infinity;
    Values multipliers;
    for (unsigned set = 0; set < 1u << p.constraints.size(); ++set) {
        mlVector x(mlVectorZero, p.n);
        if (!stationary(p, set, x, multipliers)) continue;
        bool meets = true;
        for (Constraint const & c : p.constraints) {
            double const excess = std::inner_product(x.begin(), x.end(), c.normal.begin(), -c.bound);
            meets = meets && (c.relation == Relation::equal ? std::fabs(excess) : -excess) < 1e-9;
        }
        if (!meets) continue;
        double value = 0.0;
        for (int i = 0; i < p.n; ++i) {
            value += p.vector[static_cast<std::size_t>(i)] * x[i];
            for (int j = 0; j < p.n; ++j)
                value += 0.5 * x[i] * p.element(i, j) * x[j];
        }
        least = std::min(least, value);
    }
    return least;
}

TEST(ConstrainedQuadratic, FindsWhatEnumerationOfTheActiveSetsFinds) {
    int infeasible = 0;
    for (long seed = 0; seed < 1500; ++seed) {
        SCOPED_TRACE(seed);
        int const n = 1 + static_cast<int>(seed % 3);
        QuadraticProgramme p = integer_programme(n, 1 + static_cast<int>(seed % 6), n, 0, seed);
        for (int i = 0; i < n; ++i)
            p.matrix[static_cast<std::size_t>(i * n + i)] += 1.0;
        double const least = least_by_enumeration(p);
        Minimiser m(p);
        if (least < infinity) {
            expect_solution(m, least, 1e-12);
        } else {
            ++infeasible;
            EXPECT_EQ(m.solve(), mlConstrainedQuadraticInfeasible);
        }
    }
    EXPECT_TRUE(infeasible > 150 && infeasible < 1000) << infeasible;
}

TEST(ConstrainedQuadratic, MeetsTheOptimalityConditionsWhateverTheCurvature) {
    for (long seed = 0; seed < 4000; ++seed) {
        SCOPED_TRACE(seed);
        int const n = 2 + static_cast<int>(seed % 11), positive = static_cast<int>(seed % (n + 1));
        QuadraticProgramme p = integer_programme(n, 0, positive, seed % 2 == 0 ? 0 : n / 2, seed);
        QuadraticProgramme const rows = integer_programme(n, 2 * n, 0, 0, seed + 1000);
        for (Constraint const & c : rows.constraints) // all meet in the origin, many of them
            if (c.relation == Relation::equal ? c.bound == 0.0 : c.bound < 0.5) p.constraints.push_back(c);
        p.box(-3.1, 1.9);
        Minimiser m(p);
        ASSERT_EQ(m.solve(), mlConstrainedQuadraticSolved);
        EXPECT_LT(roundoffs_off(m), few);
        EXPECT_LT(negative_curvature(m), 1e-12);
    }
}

TEST(ConstrainedQuadratic, LeavesASaddleAndPointsOfNegativeCurvatureAtTheEnds) {
    QuadraticProgramme saddle{2, {0, 1, 1, 0}, {0, 0}}, peak{2, {-2, 0, 0, -2}, {0, 0}};
    EXPECT_EQ(Minimiser(saddle).solve(), mlConstrainedQuadraticUnbounded);
    saddle.box(-1.0, 2.0);
    expect_solution(saddle, -2.0);
    peak.lower(0, 0.0);
    peak.lower(1, 0.0);
    EXPECT_EQ(Minimiser(peak).solve(), mlConstrainedQuadraticUnbounded);
    peak.upper(0, 1.0);
    peak.upper(1, 3.0);
    expect_solution(peak, -10.0);
}

TEST(ConstrainedQuadratic, EndsOnLinearProgrammesThatMakeSimplexMethodsCycle) {
    QuadraticProgramme beale{4, zeros(16), {-0.75, 150, -0.02, 6}}, kuhn{4, zeros(16), {-2, -3, 1, 12}};
    beale.at_least({-0.25, 60, 0.04, -9}, 0);
    beale.at_least({-0.5, 90, 0.02, -3}, 0);
    beale.at_least({0, 0, -1, 0}, -1);
    kuhn.at_least({2, 9, -1, -9}, 0);
    kuhn.at_least({-1.0 / 3, -1, 1.0 / 3, 2}, 0);
    kuhn.at_least({-2, -3, 1, 12}, -2);
    for (int i = 0; i < 4; ++i) {
        beale.lower(i, 0.0);
        kuhn.lower(i, 0.0);
    }
    expect_solution(beale, -0.05);
    expect_solution(kuhn, -2.0);
}

TEST(ConstrainedQuadratic, SeesContradictionsAboveABillionthAndNoneBelow) {
    for (double const length : {1.0, 3e8, 1e-8}) {
        for (double const gap : {1e-11, 1e-7}) {
            QuadraticProgramme p{2, identity(2), {0, 0}}, equal = p;
            p.at_least({length, length}, 2.0 * length);
            p.at_least({-3.0, -3.0}, -6.0 + 3.0 * gap);
            equal.equal({1, 1}, 2.0);
            equal.equal({length, length}, (2.0 + gap) * length);
            for (QuadraticProgramme const & q : {p, equal}) {
                Minimiser m(q);
                EXPECT_EQ(m.solve(), gap < 1e-9 ? mlConstrainedQuadraticSolved : mlConstrainedQuadraticInfeasible);
                EXPECT_NEAR(m.x[0], 1.0, 1e-6);
                EXPECT_LE(m.minimiser->is_active(0) + m.minimiser->is_active(1), 1);
            }
        }
    }
}

TEST(ConstrainedQuadratic, TakesNormalsAtAnAngleOfABillionthForOne) {
    for (auto const & [tilt, x] : {std::pair(1e-10, 1.0), {1e-5, 2.0}}) {
        QuadraticProgramme p{2, identity(2), {0, 0}};
        p.equal({1, 1}, 2.0);
        p.equal({1, 1 + tilt}, 2.0); // meets the other in (2, 0)
        Minimiser m(p);
        EXPECT_EQ(m.solve(), mlConstrainedQuadraticSolved);
        EXPECT_NEAR(m.x[0], x, 1e-6);
    }
    QuadraticProgramme small_bound{2, identity(2), {1, -1e10}}, tiny{2, identity(2), {0, 0}};
    small_bound.lower(0, 1e-30); // no rounded zero beside 1e10
    expect_solution(small_bound, -0.5e20);
    tiny.equal({5e-324, 0}, 0.0); // its multiplier's scale is beyond the largest double
    Minimiser m(tiny);
    expect_solution(m, 0.0);
    EXPECT_EQ(m.minimiser->multiplier(0), 0.0);
}

TEST(ConstrainedQuadratic, TakesAZeroNormalForNoConstraintOrAContradiction) {
    QuadraticProgramme p{2, identity(2), {-1, -1}};
    p.equal({0, 0}, 0.0);
    p.at_least({0, 0}, -1.0);
    p.at_least({0, 0}, 0.0);
    expect_solution(p, -1.0);
    for (Relation const relation : {Relation::equal, Relation::at_least}) {
        Minimiser m(p);
        m.add({relation, {0, 0}, 1e-30});
        EXPECT_EQ(m.solve(), mlConstrainedQuadraticInfeasible);
    }
}

TEST(ConstrainedQuadratic, IsUnboundedOnlyAlongADirectionThatNothingBlocks) {
    QuadraticProgramme p{3, {1, 1, 0, 1, 1, 0, 0, 0, 0}, {-1, -1, 0}}; // flat along (1, -1, 0) and (0, 0, 1)
    expect_solution(p, -0.5);
    p.vector = {-1, -1 + 1e-6, 0};
    EXPECT_EQ(Minimiser(p).solve(), mlConstrainedQuadraticUnbounded);
    p.upper(1, 5.0);
    EXPECT_EQ(Minimiser(p).solve(), mlConstrainedQuadraticUnbounded) << "it falls the other way";
    p.lower(1, -5.0);
    Minimiser m(p);
    EXPECT_EQ(m.solve(), mlConstrainedQuadraticSolved);
    EXPECT_EQ(m.x[1], -5.0);
}

TEST(ConstrainedQuadratic, GivesTheSameBitsWhenRowsAreScaledByPowersOfTwo) {
    for (long seed = 0; seed < 20; ++seed) {
        QuadraticProgramme p = integer_programme(8, 12, 5, 0, seed);
        for (Constraint & c : p.constraints) // the origin meets them all
            c.bound = c.relation == Relation::equal ? 0.0 : std::min(c.bound, 0.0);
        p.box(-3.0, 3.0);
        QuadraticProgramme scaled = p;
        for (std::size_t k = 0; k < 12; ++k) {
            double const factor = std::ldexp(1.0, static_cast<int>((k * 31) % 55) - 27);
            for (double & a : scaled.constraints[k].normal)
                a *= factor;
            scaled.constraints[k].bound *= factor;
        }
        Minimiser a(p), b(scaled);
        ASSERT_EQ(a.solve(), mlConstrainedQuadraticSolved) << seed;
        ASSERT_EQ(b.solve(), mlConstrainedQuadraticSolved) << seed;
        EXPECT_EQ(a.x, b.x);
        EXPECT_LT(roundoffs_off(b), few);
    }
}

TEST(ConstrainedQuadratic, BringsHardScalesToRoundoff) {
    for (long seed = 0; seed < 30; ++seed) {
        SCOPED_TRACE(seed);
        mlRandom random(seed);
        int const n = 10;
        QuadraticProgramme p{n, zeros(n * n), zeros(n)};
        for (int i = 0; i < n; ++i) // decades apart, and a Hilbert matrix's condition
            for (int j = 0; j < n; ++j)
                p.matrix[static_cast<std::size_t>(i * n + j)] = std::ldexp(1.0 / (i + j + 1), i % 5 + j % 5);
        for (double & g : p.vector)
            g = random.uniform(-1.0, 1.0);
        for (int k = 0; k < 15; ++k) {
            Values normal;
            for (int i = 0; i < n; ++i)
                normal.push_back(std::ldexp(random.uniform(-1.0, 1.0), 5 * (k % 11) - 27));
            p.at_least(normal, std::ldexp(-0.1, 5 * (k % 11) - 27));
        }
        p.box(-2.0, 2.0);
        Minimiser m(p);
        ASSERT_EQ(m.solve(), mlConstrainedQuadraticSolved);
        EXPECT_LT(roundoffs_off(m), few);
    }
}

TEST(ConstrainedQuadratic, StartsWarmFromTheLastActiveSet) {
    QuadraticProgramme p = integer_programme(20, 0, 20, 0, 5);
    for (int i = 0; i < 20; ++i)
        p.matrix[static_cast<std::size_t>(i * 21)] += 1.0;
    p.box(-0.5, 0.5);
    Minimiser warm(p);
    expect_solution(warm, warm.solve() == mlConstrainedQuadraticSolved ? warm.minimiser->value() : nan_value);
    mlRandom random(7);
    int warm_iterations = 0, cold_iterations = 0;
    for (int k = 0; k < 8; ++k) {
        Values normal;
        for (int i = 0; i < 20; ++i)
            normal.push_back(random.uniform(-1.0, 1.0));
        warm.p.at_least(normal, 0.02 * k);
        warm.add(warm.p.constraints.back());
        Minimiser cold(warm.p);
        ASSERT_EQ(cold.solve(), mlConstrainedQuadraticSolved);
        if (k == 5) warm.x.clear(0); // starts at 0 again
        expect_solution(warm, cold.minimiser->value());
        warm_iterations += warm.minimiser->iterations();
        cold_iterations += cold.minimiser->iterations();
    }
    EXPECT_EQ(warm.minimiser->num_constraints(), 48);
    EXPECT_LT(4 * warm_iterations, 3 * cold_iterations);
    warm.add({Relation::at_least, Values(20, 1.0), 10.5});
    EXPECT_EQ(warm.solve(), mlConstrainedQuadraticInfeasible);
    EXPECT_EQ(std::tuple(warm.minimiser->is_active(0), warm.minimiser->multiplier(0)), std::tuple(0, 0.0));
}

TEST(ConstrainedQuadratic, StartsWhereTheCallerSaysOrAtZero) {
    QuadraticProgramme p{2, zeros(4), {0, 0}}; // every point is a solution
    Minimiser m(p);
    m.x.become(utCopy, Vector{3, -4});
    expect_solution(m, 0.0);
    EXPECT_EQ(contents(m.x), (Values{3, -4}));
    m.x.become(utCopy, Vector{1, 2, 3});
    expect_solution(m, 0.0);
    EXPECT_EQ(contents(m.x), (Values{0, 0}));
    for (bool const feasible : {true, false}) {
        Minimiser none(QuadraticProgramme{0, {}, {}});
        none.add({Relation::equal, {}, feasible ? 0.0 : 1.0});
        none.x.become(utCopy, Vector{1});
        EXPECT_EQ(none.solve(), feasible ? mlConstrainedQuadraticSolved : mlConstrainedQuadraticInfeasible);
        EXPECT_EQ(std::tuple(none.x.size(), none.minimiser->value()), std::tuple(0, 0.0));
    }
}

TEST(ConstrainedQuadratic, TellsNumbersThatAreNotFinite) {
    for (double const bad : {nan_value, infinity, -infinity}) {
        QuadraticProgramme const p{2, identity(2), {0, 0}};
        auto const expect_not_finite = [](QuadraticProgramme const & q, Vector const & start) {
            Minimiser m(q);
            m.x.become(utCopy, start);
            EXPECT_EQ(m.solve(), mlConstrainedQuadraticNotFinite);
            EXPECT_EQ(m.minimiser->status(), mlConstrainedQuadraticNotFinite);
            EXPECT_TRUE(std::isnan(m.minimiser->value()));
            EXPECT_TRUE(m.x.size() == start.size() && same(m.x[0], start[0])) << "left alone";
        };
        QuadraticProgramme q = p;
        q.matrix[2] = bad;
        expect_not_finite(q, {5, 6});
        (q = p).vector[1] = bad;
        expect_not_finite(q, {5, 6, 7});
        (q = p).upper(1, bad);
        expect_not_finite(q, {5, 6});
        (q = p).at_least({bad, 0}, 1.0);
        expect_not_finite(q, {5, 6});
        (q = p).equal({0, 0}, bad);
        expect_not_finite(q, {5, 6});
        expect_not_finite(p, {bad, 6});
    }
    QuadraticProgramme far{2, identity(2), {0, 0}}; // finite numbers, with a solution out of range
    far.at_least({1e-308, 0}, 1e308);
    EXPECT_NE(Minimiser(far).solve(), mlConstrainedQuadraticSolved);
}

} // namespace
