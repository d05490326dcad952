#pragma once

#include "fuzz/support/bytes.h"
#include "maths/maths.h"

/// Functions of every interface, in two variables or with two parameters and five points, that answer what the script
/// says, whatever they are asked; after its end always the same, or small whole numbers in turn. Nothing may ask for
/// ever.
class Answers : public mlFunction,
                public mlFunction2,
                public mlFunctionN1,
                public mlFunctionN,
                public mlDistanceLeastSquares {
public:
    explicit Answers(Bytes & script)
        : mlDistanceLeastSquares(2, 5), script_(script), rest_(script.below(2) == 0 ? 0.0 : script.number()) {
        mlFunction::highest_derivative_order = script.below(3);
        mlFunction2::highest_derivative_order = script.below(3);
        dimension = input_dimension = output_dimension = 2;
        precise_square_distance = script.below(2);
    }

    double next() const {
        require(++asked_ < 3000000, "asked no more than three million times");
        if (!script_.empty()) return script_.number();
        return rest_ == 0.0 ? asked_ % 7 : rest_;
    }

    double function(double) const override { return next(); }
    double function_derivative(int, double) const override { return next(); }
    double function(double, double) const override { return next(); }
    double uv_function_derivative(int, int, double, double) const override { return next(); }
    double function(mlSlice const &) const override { return next(); }
    void function(mlSlice const &, mlVector & y) const override { fill(y); }
    void function_gradient(mlSlice const &, mlMatrix & jacobian) const override { fill(jacobian); }
    void function_derivative(mlSlice const &, int * const, mlVector & y) const override { fill(y); }
    void normalise_parameters(mlVector &) override {}
    void distance(double & d, int) override { d = next(); }
    void distance_and_gradient(double & d, mlVector & gradient, int) override { d = next(), fill(gradient); }
    double get_last_square_distance() const override { return next(); }

private:
    template <class Array> void fill(Array & array) const {
        for (double & x : array)
            x = next();
    }

    Bytes & script_;
    double const rest_; ///< of the answers; 0: numbers in turn
    mutable int asked_ = 0;
};
