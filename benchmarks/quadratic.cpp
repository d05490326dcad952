// A quadratic programme beside CGAL's solver: the mixture of n shares that has the least variance for a return, with a
// limit on each of n / 2 groups of shares. CGAL computes with exact numbers, as it must to be safe on any problem, so
// that its result is right to the last bit, and the library's is held against it.

#include <CGAL/Gmpzf.h>
#include <CGAL/QP_functions.h>
#include <CGAL/QP_models.h>

#include "benchmarks/race.h"
#include "maths/maths.h"

namespace {

struct Mixtures {
    explicit Mixtures(int shares) : n(shares), covariance(mlMatrixZero, n, n), ones(mlVectorZero, n) {
        mlRandom random(n);
        mlMatrix factors(mlMatrixZero, n + 2, n);
        for (double & x : factors)
            x = random.uniform(-1.0, 1.0);
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                covariance(i, j) = scalar_product(factors.col(i), factors.col(j));
        ones.fill(1.0);
        means.expand(n);
        for (double & x : means)
            x = random.uniform(0.0, 0.2);
        groups.become(n / 2, n);
        for (double & x : groups)
            x = random.uniform() < 0.3 ? 1.0 : 0.0;
    }

    int n;
    mlMatrix covariance, groups;
    mlVector ones, means;
    static constexpr double least_return = 0.12, most_of_a_group = 0.4;
};

void minimise(Mixtures const & p, mlVector & x) {
    mlConstrainedQuadraticMinimiser minimiser(p.covariance, mlVector(mlVectorZero, p.n));
    minimiser.add_equality(p.ones.slice(), 1.0);
    minimiser.add_inequality(p.means.slice(), Mixtures::least_return);
    mlVector minus(mlVectorZero, p.n);
    for (int k = 0; k < p.groups.rows(); ++k) {
        minus = p.groups.row(k);
        minus *= -1.0;
        minimiser.add_inequality(minus.slice(), -Mixtures::most_of_a_group);
    }
    for (int i = 0; i < p.n; ++i)
        minimiser.add_lower_bound(i, 0.0);
    x.clear(0);
    minimiser.minimise(x);
}

void minimise(Mixtures const & p, Values & x) {
    CGAL::Quadratic_program<double> programme(CGAL::SMALLER, true, 0.0, false, 0.0);
    int const groups = p.groups.rows();
    for (int i = 0; i < p.n; ++i) {
        programme.set_a(i, 0, 1.0);
        programme.set_a(i, 1, p.means[i]);
        for (int k = 0; k < groups; ++k)
            programme.set_a(i, k + 2, p.groups(k, i));
        for (int j = 0; j <= i; ++j)
            programme.set_d(i, j, p.covariance(i, j));
    }
    programme.set_b(0, 1.0);
    programme.set_r(0, CGAL::EQUAL);
    programme.set_b(1, Mixtures::least_return);
    programme.set_r(1, CGAL::LARGER);
    for (int k = 0; k < groups; ++k)
        programme.set_b(k + 2, Mixtures::most_of_a_group);
    auto const solution = CGAL::solve_quadratic_program(programme, CGAL::Gmpzf());
    auto value = solution.variable_values_begin();
    for (double & x_i : x)
        x_i = CGAL::to_double(*value++);
}

auto mixtures(Race & race) {
    Mixtures const problem(race.size());
    mlVector own(mlVectorZero, race.size());
    Values cgal(static_cast<std::size_t>(race.size()));
    race.set_tolerance(1e-12);
    race.add("maths", own, [&] { minimise(problem, own); });
    race.add("cgal", cgal, [&] { minimise(problem, cgal); });
    return race.run();
}

bool const entered = enter("mixture", {5, 10, 20, 40}, mixtures);

} // namespace
