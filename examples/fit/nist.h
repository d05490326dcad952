#pragma once

#include <array>
#include <cmath>
#include <vector>

#include "maths/maths.h"

// Nonlinear regression problems of NIST's Statistical Reference Datasets, each with the two starts and the certified
// values published for it. The first start is the harder one.

/// Model, starts and certified parameters of one problem.
struct NistProblem {
    /// Returns the model's value at x for parameters b and writes its derivatives with respect to b.
    using Formula = double (*)(double const * b, double x, double * derivatives);

    char const * name;
    char const * level;
    char const * data; ///< file of the columns x and y
    Formula formula;
    std::vector<double> starts[2];
    std::vector<double> certified;
    double residual_sum;            ///< certified residual sum of squares
    std::vector<double> deviations; ///< certified standard deviations of the parameters
    double residual_deviation;      ///< certified residual standard deviation
};

/// The problem's residuals f(x) - y as distances.
class NistFit : public mlDistanceLeastSquares {
public:
    NistFit(NistProblem const & problem, mlSlice const & x, mlSlice const & y)
        : mlDistanceLeastSquares(static_cast<int>(problem.certified.size()), x.length()), formula_(problem.formula),
          x_(x), y_(y), unused_(mlVectorZero, n_parameters()) {}

    void normalise_parameters(mlVector &) override {}

    void distance_and_gradient(double & d, mlVector & gradient, int point) override {
        ++gradients;
        d = formula_(parameters.data(), x_[point], gradient.data()) - y_[point];
    }

    void distance(double & d, int point) override {
        ++distances;
        d = formula_(parameters.data(), x_[point], unused_.data()) - y_[point];
    }

    int gradients = 0; ///< calls so far, with and without derivatives
    int distances = 0;

private:
    NistProblem::Formula formula_;
    mlSlice x_, y_;
    mlVector unused_;
};

/// b[0 .. P] in the numerator and 1, b[P+1 .. P+Q] in the denominator, ascending powers of x.
template <int P, int Q> double rational(double const * b, double x, double * derivatives) {
    std::array<double, Q + 1> denominator{1.0};
    for (int i = 1; i <= Q; ++i)
        denominator[i] = b[P + i];
    double p, q;
    mlPolynomial::evaluate(P, b, x, p);
    mlPolynomial::evaluate(Q, denominator.data(), x, q);
    double power = 1.0;
    for (int i = 0; i <= P; ++i, power *= x)
        derivatives[i] = power / q;
    power = x;
    for (int i = 1; i <= Q; ++i, power *= x)
        derivatives[P + i] = -p / q * power / q;
    return p / q;
}

inline double misra(double const * b, double x, double * derivatives) { // b1 (1 - exp(-b2 x))
    double const e = std::exp(-b[1] * x);
    derivatives[0] = 1.0 - e;
    derivatives[1] = b[0] * x * e;
    return b[0] * (1.0 - e);
}

inline double chwirut(double const * b, double x, double * derivatives) { // exp(-b1 x) / (b2 + b3 x)
    double const q = b[1] + b[2] * x;
    double const f = std::exp(-b[0] * x) / q;
    derivatives[0] = -x * f;
    derivatives[1] = -f / q;
    derivatives[2] = -x * f / q;
    return f;
}

inline double lanczos(double const * b, double x, double * derivatives) { // b1 exp(-b2 x) + b3 exp(-b4 x) + ...
    double f = 0.0;
    for (int i = 0; i < 6; i += 2) {
        double const e = std::exp(-b[i + 1] * x);
        derivatives[i] = e;
        derivatives[i + 1] = -b[i] * x * e;
        f += b[i] * e;
    }
    return f;
}

inline double mgh(double const * b, double x, double * derivatives) { // b1 (x^2 + b2 x) / (x^2 + b3 x + b4)
    double const p = x * (x + b[1]);
    double const q = x * (x + b[2]) + b[3];
    derivatives[0] = p / q;
    derivatives[1] = b[0] * x / q;
    derivatives[2] = -b[0] * p / q * x / q;
    derivatives[3] = -b[0] * p / q / q;
    return b[0] * p / q;
}

inline double ratkowsky(double const * b, double x, double * derivatives) { // b1 / (1 + exp(b2 - b3 x))^(1/b4)
    double const e = std::exp(b[1] - b[2] * x);
    double const f = b[0] * std::pow(1.0 + e, -1.0 / b[3]);
    double const share = std::isinf(e) ? 1.0 : e / (1.0 + e);
    derivatives[0] = f / b[0];
    derivatives[1] = -f / b[3] * share;
    derivatives[2] = f / b[3] * share * x;
    derivatives[3] = f * std::log1p(e) / (b[3] * b[3]);
    return f;
}

/// From easy to hard, as NIST ranks them.
inline std::vector<NistProblem> const & nist_problems() {
    static std::vector<NistProblem> const problems = {
        {"Misra1a",
         "lower",
         "misra1a.txt",
         misra,
         {{500, 0.0001}, {250, 0.0005}},
         {2.3894212918E+02, 5.5015643181E-04},
         1.2455138894E-01,
         {2.7070075241E+00, 7.2668688436E-06},
         1.0187876330E-01},
        {"Chwirut2",
         "lower",
         "chwirut2.txt",
         chwirut,
         {{0.1, 0.01, 0.02}, {0.15, 0.008, 0.010}},
         {1.6657666537E-01, 5.1653291286E-03, 1.2150007096E-02},
         5.1304802941E+02,
         {3.8303286810E-02, 6.6621605126E-04, 1.5304234767E-03},
         3.1717133040E+00},
        {"Lanczos3",
         "lower",
         "lanczos3.txt",
         lanczos,
         {{1.2, 0.3, 5.6, 5.5, 6.5, 7.6}, {0.5, 0.7, 3.6, 4.2, 4, 6.3}},
         {8.6816414977E-02, 9.5498101505E-01, 8.4400777463E-01, 2.9515951832E+00, 1.5825685901E+00, 4.9863565084E+00},
         1.6117193594E-08,
         {1.7197908859E-02, 9.7041624475E-02, 4.1488663282E-02, 1.0766312506E-01, 5.8371576281E-02, 3.4436403035E-02},
         2.9923229172E-05},
        {"Kirby2",
         "average",
         "kirby2.txt",
         rational<2, 2>,
         {{2, -0.1, 0.003, -0.001, 0.00001}, {1.5, -0.15, 0.0025, -0.0015, 0.00002}},
         {1.6745063063E+00, -1.3927397867E-01, 2.5961181191E-03, -1.7241811870E-03, 2.1664802578E-05},
         3.9050739624E+00,
         {8.7989634338E-02, 4.1182041386E-03, 4.1856520458E-05, 5.8931897355E-05, 2.0129761919E-07},
         1.6354535131E-01},
        {"Hahn1",
         "average",
         "hahn1.txt",
         rational<3, 3>,
         {{10, -1, 0.05, -0.00001, -0.05, 0.001, -0.000001}, {1, -0.1, 0.005, -0.000001, -0.005, 0.0001, -0.0000001}},
         {1.0776351733E+00, -1.2269296921E-01, 4.0863750610E-03, -1.4262662514E-06, -5.7609940901E-03, 2.4053735503E-04,
          -1.2314450199E-07},
         1.5324382854E+00,
         {1.7070154742E-01, 1.2000289189E-02, 2.2508314937E-04, 2.7578037666E-07, 2.4712888219E-04, 1.0449373768E-05,
          1.3027335327E-08},
         8.1803852243E-02},
        {"MGH09",
         "higher",
         "mgh09.txt",
         mgh,
         {{25, 39, 41.5, 39}, {0.25, 0.39, 0.415, 0.39}},
         {1.9280693458E-01, 1.9128232873E-01, 1.2305650693E-01, 1.3606233068E-01},
         3.0750560385E-04,
         {1.1435312227E-02, 1.9633220911E-01, 8.0842031232E-02, 9.0025542308E-02},
         6.6279236551E-03},
        {"Thurber",
         "higher",
         "thurber.txt",
         rational<3, 3>,
         {{1000, 1000, 400, 40, 0.7, 0.3, 0.03}, {1300, 1500, 500, 75, 1, 0.4, 0.05}},
         {1.2881396800E+03, 1.4910792535E+03, 5.8323836877E+02, 7.5416644291E+01, 9.6629502864E-01, 3.9797285797E-01,
          4.9727297349E-02},
         5.6427082397E+03,
         {4.6647963344E+00, 3.9571156086E+01, 2.8698696102E+01, 5.5675370270E+00, 3.1333340687E-02, 1.4984928198E-02,
          6.5842344623E-03},
         1.3714600784E+01},
        {"Rat43",
         "higher",
         "rat43.txt",
         ratkowsky,
         {{100, 10, 1, 1}, {700, 5, 0.75, 1.3}},
         {6.9964151270E+02, 5.2771253025E+00, 7.5962938329E-01, 1.2792483859E+00},
         8.7864049080E+03,
         {1.6302297817E+01, 2.0828735829E+00, 1.9566123451E-01, 6.8761936385E-01},
         2.8262414662E+01},
    };
    return problems;
}
