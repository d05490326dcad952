// The efficient frontier of nine shares: for each return on the average, the mixture of the least variance. All money
// is invested and none is borrowed, so the shares of the mixture are not negative and their sum is 1.
//
// portfolio [file [folder]]      file: a year and nine returns a line, examples/data/portfolio.txt without one. With a
//                                folder, its portfolio_frontier.txt gets the frontier in fine steps (return, risk, nine
//                                weights) and then each share by itself, for docs/plots/portfolio.gp.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include "examples/support/column_table.h"
#include "examples/support/figure_file.h"
#include "maths/maths.h"

namespace {

int const shares = 9;
char const * const names[shares] = {"Tobacco", "AT&T",   "US Steel",  "GM",    "Santa Fe",
                                    "Coca-C.", "Borden", "Firestone", "Sharon"};

/// Average returns and their covariances, divided by the number of years as in the source.
struct Market {
    explicit Market(ColumnTable const & table) : mean(mlVectorZero, shares), covariance(mlMatrixZero, shares, shares) {
        int const years = table.rows();
        for (int i = 0; i < shares; ++i)
            mean[i] = table.column(i + 1).sum() / years;
        for (int i = 0; i < shares; ++i) {
            mlSlice const a = table.column(i + 1);
            for (int j = 0; j < shares; ++j) {
                mlSlice const b = table.column(j + 1);
                for (int year = 0; year < years; ++year)
                    covariance(i, j) += (a[year] - mean[i]) * (b[year] - mean[j]) / years;
            }
        }
    }

    mlVector mean;
    mlMatrix covariance;
};

/// The mixture of the least variance among those that return at least what was demanded.
class Mixture {
public:
    explicit Mixture(Market const & market)
        : market_(market), minimiser_(market.covariance, mlVector(mlVectorZero, shares)) {
        mlVector ones(mlVectorZero, shares);
        ones.fill(1.0);
        minimiser_.add_equality(ones.slice(), 1.0);
        for (int i = 0; i < shares; ++i)
            minimiser_.add_lower_bound(i, 0.0);
    }

    /// Each call may only ask for more than the one before: its constraint is added to theirs, and the search starts
    /// from the last mixture and the constraints active there.
    void ask(double least_return) {
        minimiser_.add_inequality(market_.mean.slice(), least_return);
        find();
    }

    void find() {
        mlConstrainedQuadraticStatus const status = minimiser_.minimise(weights);
        if (status != mlConstrainedQuadraticSolved) {
            std::cerr << "the search for a mixture ended with status " << status << '\n';
            std::exit(1);
        }
    }

    double average_return() const { return scalar_product(market_.mean, weights); }
    double risk() const { return std::sqrt(2.0 * minimiser_.value()); }
    int iterations() const { return minimiser_.iterations(); }

    /// What half the variance costs a unit more of the return asked for last.
    double price() const { return minimiser_.multiplier(minimiser_.num_constraints() - 1); }

    mlVector weights;

private:
    Market const & market_;
    mlConstrainedQuadraticMinimiser minimiser_;
};

double highest_return(Market const & market) { return market.mean.max_absolute_value(); }

void print_shares(Market const & market, int years) {
    std::printf("%d years of nine shares\n\n  %-12s   average   risk\n", years, "share");
    for (int i = 0; i < shares; ++i)
        std::printf("  %-12s   %6.3f    %5.3f\n", names[i], market.mean[i], std::sqrt(market.covariance(i, i)));
}

void print_frontier(Market const & market) {
    std::printf("\nMixtures of the least risk, in percent\n\n  return   risk    price   changes: warm   cold ");
    for (char const * const name : names)
        std::printf(" %9s", name);
    std::printf("\n");
    Mixture warm(market);
    warm.find();
    double const lowest = warm.average_return(), highest = highest_return(market);
    int const steps = 10;
    for (int k = 0; k <= steps; ++k) {
        double const asked = k == steps ? highest : lowest + (highest - lowest) * k / steps;
        Mixture cold(market);
        warm.ask(asked);
        cold.ask(asked);
        std::printf("  %6.4f   %.4f  %.4f   %13d   %4d ", asked, warm.risk(), warm.price(), warm.iterations(),
                    cold.iterations());
        for (double const weight : warm.weights)
            std::printf(" %9.2f", 100.0 * weight);
        std::printf("\n");
    }
}

void write_frontier(Market const & market, std::string const & path) {
    FigureFile file(path);
    file << "# return, risk, the weights of nine shares\n";
    Mixture mixture(market);
    mixture.find();
    double const lowest = mixture.average_return(), highest = highest_return(market);
    int const steps = 200;
    for (int k = 0; k <= steps; ++k) {
        mixture.ask(k == steps ? highest : lowest + (highest - lowest) * k / steps);
        file << mixture.average_return() << ' ' << mixture.risk();
        for (double const weight : mixture.weights)
            file << ' ' << weight;
        file << '\n';
    }
    file << "\n\n";
    for (int i = 0; i < shares; ++i)
        file << market.mean[i] << ' ' << std::sqrt(market.covariance(i, i)) << " \"" << names[i] << "\"\n";
    file.finish();
}

} // namespace

int main(int argc, char ** argv) {
    ColumnTable const table(argc > 1 ? argv[1] : MATHS_EXAMPLE_DATA "portfolio.txt", 1 + shares);
    std::printf("%s\n", table.source().c_str());
    Market const market(table);
    print_shares(market, table.rows());
    print_frontier(market);
    if (argc > 2) write_frontier(market, std::string(argv[2]) + "/portfolio_frontier.txt");
}
