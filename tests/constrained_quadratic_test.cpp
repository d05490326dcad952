#include <numeric>

#include "tests/support/ratios.h"
#include "tests/support/test.h"

namespace {

struct Constraint {
    Values normal; ///< of an upper bound: minus the unit vector
    double bound;  ///< of normal·x, so that it is minus an upper bound
    bool equality = false;
    int variable = -1; ///< that is bounded
};

struct QuadraticProgramme {
    int n;
    Values matrix; ///< n x n, symmetric
    Values vector;
    std::vector<Constraint> constraints = {};

    void equal(Values const & normal, double value) { constraints.push_back({normal, value, true}); }
    void at_least(Values const & normal, double bound) { constraints.push_back({normal, bound}); }
    void lower(int i, double bound, double sign = 1.0) {
        Values normal(n);
        normal[i] = sign;
        constraints.push_back({normal, sign * bound, false, i});
    }
    void upper(int i, double bound) { lower(i, bound, -1.0); }
    void box(double low, double high) {
        for (int i = 0; i < n; ++i) {
            lower(i, low);
            upper(i, high);
        }
    }
};

/// The class on a problem; what stands above G's diagonal is not to be read.
struct Minimiser : mlConstrainedQuadraticMinimiser {
    explicit Minimiser(QuadraticProgramme const & problem)
        : mlConstrainedQuadraticMinimiser(lower_half(problem.matrix, problem.n), mlVector(problem.vector)), p(problem) {
        for (Constraint const & c : p.constraints)
            add(c);
    }
    int add(Constraint const & c) {
        if (int const i = c.variable; i >= 0)
            return c.normal[i] < 0.0 ? add_upper_bound(i, -c.bound) : add_lower_bound(i, c.bound);
        Values spread(2 * p.n + 2, nan_value); // backwards, every other place
        for (int i = 0; i < p.n; ++i)
            spread[2 * (p.n - 1 - i)] = c.normal[i];
        mlSlice const normal(spread.data(), 2 * (p.n - 1), p.n, -2);
        return c.equality ? add_equality(normal, c.bound) : add_inequality(normal, c.bound);
    }
    mlConstrainedQuadraticStatus solve() { return minimise(x); }

    QuadraticProgramme p;
    mlVector x;

    static mlMatrix lower_half(Values elements, int n) {
        for (int k = 0; k < n * n; ++k)
            if (k / n < k % n) elements[k] = nan_value;
        return mlMatrix(elements, n, n);
    }
};

/// How far a result is from the optimality conditions, in roundoffs: the largest of all, relative to its terms. Signs,
/// the multipliers of constraints that are not active, and bounds that are, must be exact.
double roundoffs_off(Minimiser const & m) {
    QuadraticProgramme const & p = m.p;
    double worst = 0.0, scale = std::max(1.0, m.x.max_absolute_value());
    for (int i = 0; i < p.n; ++i) { // the gradient is the sum of the normals times their multipliers
        double sum = p.vector[i], terms = std::fabs(sum);
        auto const add = [&](double term) { sum += term, terms += std::fabs(term); };
        for (int j = 0; j < p.n; ++j)
            add(p.matrix[i * p.n + j] * m.x[j]);
        for (int k = 0; k < m.num_constraints(); ++k)
            add(-m.multiplier(k) * p.constraints[k].normal[i]);
        worst = std::max(worst, std::fabs(sum) / std::max(terms, 1e-300));
    }
    for (int k = 0; k < m.num_constraints(); ++k) {
        Constraint const & c = p.constraints[k];
        bool const active = m.is_active(k);
        if ((!c.equality && m.multiplier(k) < 0.0) || (!active && m.multiplier(k) != 0.0)) return infinity;
        if (active && c.variable >= 0 && m.x[c.variable] * c.normal[c.variable] != c.bound) return infinity;
        mlVector const normal(c.normal);
        if (normal.modulus_squared() == 0.0) continue;
        double const missed = (scalar_product(normal, m.x) - c.bound) / euclidean_norm(normal) / scale;
        worst = std::max(worst, c.equality || active ? std::fabs(missed) : -missed);
    }
    return worst / roundoff;
}

void expect_optimal(Minimiser & m) {
    ASSERT_EQ(m.solve(), mlConstrainedQuadraticSolved);
    EXPECT_LT(roundoffs_off(m), 20.0);
}

void expect_solution(QuadraticProgramme const & p, double value) {
    Minimiser m(p);
    expect_optimal(m);
    EXPECT_NEAR(m.value(), value, 1e-13 * std::max(1.0, std::fabs(value)));
}

Values identity(int n) { return contents(mlMatrix(mlMatrixIdentity, n)); }

/// Integers from -2 to 2, so that points where many constraints meet, and dependent ones, are frequent; one such point
/// meets them all. G has the rank asked for, of positive squares and after them of negative ones.
QuadraticProgramme integer_programme(int n, int constraints, int positive, int negative, long seed) {
    mlRandom random(seed);
    auto const integers = [&](int count, int low, int high) {
        Values values(count);
        for (double & x : values)
            x = low + std::floor(random.uniform() * (high - low + 1));
        return values;
    };
    QuadraticProgramme p{n, Values(n * n), integers(n, -3, 3)};
    for (int k = 0; k < positive + negative; ++k) {
        Values const row = integers(n, -2, 2);
        for (int i = 0; i < n * n; ++i)
            p.matrix[i] += (k < positive ? 1.0 : -1.0) * row[i / n] * row[i % n];
    }
    Values const point = integers(n, -2, 1);
    for (int k = 0; k < constraints; ++k) {
        Values normal = integers(n, -2, 2);
        if (k > 0 && integers(1, 0, 3)[0] == 0.0) normal = p.constraints[k / 2].normal;
        double const at_point = std::inner_product(normal.begin(), normal.end(), point.begin(), 0.0);
        bool const equality = integers(1, 0, 7)[0] == 0.0;
        p.constraints.push_back({normal, equality ? at_point : at_point - integers(1, 0, 2)[0], equality});
    }
    return p;
}

TEST(ConstrainedQuadratic, MeetsTheOptimalityConditionsAlikeForScaledRowsOrTellsOfAContradiction) {
    int iterations = 0;
    double values = 0.0;
    for (long seed = 0; seed < 5000; ++seed) {
        SCOPED_TRACE(seed);
        int const n = 1 + seed % 12, constraints = 1 + seed % (2 * n + 2);
        QuadraticProgramme p = integer_programme(n, constraints, seed % (n + 1), seed % 2 == 0 ? 0 : n / 2, seed);
        p.box(-3.1, 1.9);
        QuadraticProgramme scaled = p;
        Constraint opposite{Values(n), 1.0}; // of a sum of constraints
        for (int k = 0; k < constraints; ++k) {
            double const factor = std::ldexp(1.0, k * 31 % 55 - 27), weight = (seed + k) % 3;
            for (int i = 0; i < n; ++i) {
                scaled.constraints[k].normal[i] *= factor;
                opposite.normal[i] -= weight * p.constraints[k].normal[i];
            }
            scaled.constraints[k].bound *= factor;
            opposite.bound -= weight * p.constraints[k].bound;
        }
        Minimiser m(p), of_scaled(scaled);
        expect_optimal(m);
        iterations += m.iterations();
        values += m.value();
        of_scaled.solve();
        EXPECT_EQ(of_scaled.x, m.x);
        m.solve();
        EXPECT_LE(m.iterations(), 2) << "to stay there";
        p.constraints.push_back(opposite);
        EXPECT_EQ(Minimiser(p).solve(), mlConstrainedQuadraticInfeasible);
    }
    EXPECT_EQ(iterations, 45065) << "a slip in the method costs or saves iterations before it costs results";
    EXPECT_NEAR(values, -628397.972821, 1e-6) << "at other stationary points, or at saddles";
}

TEST(ConstrainedQuadratic, SeesContradictionsAndAnglesAboveABillionthAndNoneBelow) {
    for (double const length : {1.0, 3e8, 1e-8})
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
                EXPECT_LE(m.is_active(0) + m.is_active(1), 1);
            }
        }
    for (auto const & [tilt, x] : {std::pair(1e-10, 1.0), {1e-5, 2.0}}) {
        QuadraticProgramme p{2, identity(2), {0, 0}};
        p.equal({1, 1}, 2.0);
        p.equal({1, 1 + tilt}, 2.0); // meets the other in (2, 0)
        Minimiser m(p);
        EXPECT_EQ(m.solve(), mlConstrainedQuadraticSolved);
        EXPECT_NEAR(m.x[0], x, 1e-6);
    }
}

TEST(ConstrainedQuadratic, TakesATinyNormalOrBoundForItselfAndAZeroNormalForNoneOrAContradiction) {
    QuadraticProgramme p{2, identity(2), {-1, -1}}, small_bound{2, identity(2), {1, -1e10}},
        tiny{2, identity(2), {0, 0}};
    small_bound.lower(0, 1e-30); // no rounded zero beside 1e10
    expect_solution(small_bound, -0.5e20);
    tiny.equal({5e-324, 0}, 0.0); // its multiplier's scale is beyond the largest double
    Minimiser of_tiny(tiny);
    expect_optimal(of_tiny);
    EXPECT_EQ(of_tiny.multiplier(0), 0.0);
    p.equal({0, 0}, 0.0);
    p.at_least({0, 0}, -1.0);
    p.at_least({0, 0}, 0.0);
    expect_solution(p, -1.0);
    for (bool const equality : {true, false}) {
        Minimiser m(p);
        m.add({{0, 0}, 1e-30, equality});
        EXPECT_EQ(m.solve(), mlConstrainedQuadraticInfeasible);
    }
}

TEST(ConstrainedQuadratic, IsUnboundedOnlyAlongADirectionThatNothingBlocks) {
    QuadraticProgramme peak{2, {-2, 0, 0, -2}, {0, 0}};
    peak.box(0.0, 3.0);
    expect_solution(peak, -18.0);
    peak.constraints.resize(3); // of the second variable only the lower bound
    EXPECT_EQ(Minimiser(peak).solve(), mlConstrainedQuadraticUnbounded);
    QuadraticProgramme p{3, {1, 1, 0, 1, 1, 0, 0, 0, 0}, {-1, -1, 0}}; // flat along (1, -1, 0) and (0, 0, 1)
    expect_solution(p, -0.5);
    p.vector = {-1, -1 + 1e-6, 0};
    EXPECT_EQ(Minimiser(p).solve(), mlConstrainedQuadraticUnbounded);
    QuadraticProgramme slight{3, {1, 0, 0, 0, 1e-9, 0, 0, 0, 0}, {1, 1e-9, 0}};
    expect_solution(slight, -0.5 - 0.5e-9);
    slight.vector[2] = 1.0;
    EXPECT_EQ(Minimiser(slight).solve(), mlConstrainedQuadraticUnbounded);
    p.upper(1, 5.0);
    EXPECT_EQ(Minimiser(p).solve(), mlConstrainedQuadraticUnbounded) << "it falls the other way";
    p.lower(1, -5.0);
    expect_solution(p, -0.5 - 5e-6);
}

TEST(ConstrainedQuadratic, StartsWarmFromTheLastActiveSet) {
    QuadraticProgramme p = integer_programme(20, 0, 20, 0, 5);
    p.box(-0.5, 0.5);
    Minimiser warm(p);
    expect_optimal(warm);
    int iterations = 0, of_cold = 0;
    for (int k = 0; k < 8; ++k) {
        warm.p.at_least(integer_programme(20, 0, 0, 0, k).vector, 0.02 * k);
        warm.add(warm.p.constraints.back());
        Minimiser cold(warm.p);
        expect_optimal(cold);
        if (k == 5) warm.x.clear(0); // starts at 0 again
        expect_optimal(warm);
        iterations += warm.iterations();
        of_cold += cold.iterations();
    }
    EXPECT_EQ(std::pair(iterations, of_cold), std::pair(33, 58));
    QuadraticProgramme far = integer_programme(20, 20, 20, 0, 1);
    for (Constraint & c : far.constraints)
        c.bound += 1e8 * std::accumulate(c.normal.begin(), c.normal.end(), 0.0);
    Minimiser of_far(far);
    expect_optimal(of_far);
    of_far.solve();
    EXPECT_EQ(of_far.iterations(), 1) << "to stay far from zero";
    warm.add({Values(20, 1.0), 10.5});
    EXPECT_EQ(warm.solve(), mlConstrainedQuadraticInfeasible);
    EXPECT_EQ(std::tuple(warm.is_active(0), warm.multiplier(0)), std::tuple(0, 0.0));
}

TEST(ConstrainedQuadratic, StartsAnewWhereTheLastOneWasUnbounded) {
    for (long seed = 0; seed < 20; ++seed) {
        QuadraticProgramme p = integer_programme(5, 0, 2, 2, seed);
        Minimiser again(p);
        EXPECT_EQ(again.solve(), mlConstrainedQuadraticUnbounded);
        p.box(-3.1, 1.9);
        for (Constraint const & c : p.constraints)
            again.add(c);
        again.x.clear(0);
        again.solve();
        Minimiser anew(p);
        anew.solve();
        EXPECT_EQ(std::pair(contents(again.x), again.iterations()), std::pair(contents(anew.x), anew.iterations()));
    }
}

TEST(ConstrainedQuadratic, StartsWhereTheCallerSaysOrAtZero) {
    Minimiser m(QuadraticProgramme{2, Values(4), {0, 0}}); // every point is a solution
    for (Values const & start : {Values{3, -4}, Values{1, 2, 3}}) {
        m.x.become(utConvert, start.data(), static_cast<int>(start.size()));
        expect_optimal(m);
        EXPECT_EQ(contents(m.x), start.size() == 2 ? start : Values(2));
    }
    for (bool const feasible : {true, false}) {
        Minimiser none(QuadraticProgramme{0, {}, {}});
        none.add({{}, feasible ? 0.0 : 1.0, true});
        none.x.become({1});
        EXPECT_EQ(none.solve(), feasible ? mlConstrainedQuadraticSolved : mlConstrainedQuadraticInfeasible);
        EXPECT_EQ(std::tuple(none.x.size(), none.value()), std::tuple(0, 0.0));
    }
}

TEST(ConstrainedQuadratic, TellsNumbersThatAreNotFinite) {
    for (double const bad : {nan_value, infinity, -infinity}) {
        std::vector<QuadraticProgramme> problems(6, {2, identity(2), {0, 0}});
        problems[0].matrix[2] = bad;
        problems[1].vector[1] = bad;
        problems[2].upper(1, bad);
        problems[3].at_least({bad, 0}, 1.0);
        problems[4].equal({0, 0}, bad);
        for (QuadraticProgramme const & p : problems) {
            double const start = &p == &problems[5] ? bad : 5.0;
            Minimiser m(p);
            m.solve(); // whose value is forgotten
            m.x.become({start, 6.0});
            EXPECT_EQ(m.solve(), mlConstrainedQuadraticNotFinite);
            EXPECT_TRUE(std::isnan(m.value()));
            ASSERT_EQ(m.x.size(), 2);
            EXPECT_TRUE(same(m.x[0], start)) << m.x << "in place of " << start;
        }
    }
    QuadraticProgramme far{2, identity(2), {0, 0}}; // finite numbers, with a solution out of range
    far.at_least({1e-308, 0}, 1e308);
    EXPECT_NE(Minimiser(far).solve(), mlConstrainedQuadraticSolved);
}

} // namespace
