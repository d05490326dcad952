#pragma once

#include <cstdint>
#include <functional>
#include <utility>

#include "maths/functions/mlFunction.h"
#include "maths/functions/mlFunctionN1.h"
#include "tests/support/values.h"

// Functions that record the calls made to them: the calls are part of what the solvers promise.

/// A call of a function of one variable: its order, 0 for the value, 1 and 2 for derivatives, and its argument.
using Call = std::pair<int, double>;

/// A function of one variable made of up to three callables, on a domain of choice.
class TracedFunction : public mlFunction {
public:
    using Formula = std::function<double(double)>;

    explicit TracedFunction(Formula value, Formula first = nullptr, Formula second = nullptr)
        : formulas_{std::move(value), std::move(first), std::move(second)} {
        highest_derivative_order = formulas_[2] ? 2 : formulas_[1] ? 1 : 0;
    }

    double function(double t) const override { return answer(0, t); }
    double function_derivative(int order, double t) const override { return answer(order, t); }
    double t_min() const override { return low; }
    double t_max() const override { return high; }

    double low = mlUnboundedMin;
    double high = mlUnboundedMax;
    mutable std::vector<Call> calls;

private:
    double answer(int order, double t) const {
        calls.push_back({order, t});
        return formulas_[order] ? formulas_[order](t) : mlNoDerivative;
    }

    Formula formulas_[3];
};

/// A fixed sequence of whole numbers: choice(n) is in 0 .. n - 1.
class Choice {
public:
    explicit Choice(std::uint64_t seed) : state_(seed) {}
    int operator()(int n) {
        state_ = state_ * 6364136223846793005 + 1442695040888963407;
        return static_cast<int>((state_ >> 33) % static_cast<unsigned>(n));
    }

private:
    std::uint64_t state_;
};

/// A function of n variables that records the points at which it is evaluated.
class TracedFunctionN1 : public mlFunctionN1 {
public:
    using Formula = std::function<double(mlSlice const &)>;

    TracedFunctionN1(int n, Formula value) : value_(std::move(value)) { dimension = n; }

    double function(mlSlice const & x) const override {
        points.push_back(contents(x));
        return value_(x);
    }

    mutable std::vector<Values> points;

private:
    Formula value_;
};
