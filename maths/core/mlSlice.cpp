#include "maths/core/mlSlice.h"

#include "maths/core/mlCompactPrint.h"
#include "maths/core/mlVectorRuns.h"
#include "platform/utOstream.h"

void mlSlice::operator=(mlSlice const & s) {
    ml_check_length("slice assignment", length_, s.length_);
    ml_run_update(ml_run(*this), ml_run(s), length_, mlAssign());
}

void mlSlice::operator=(mlVector const & v) {
    ml_check_length("slice assignment", length_, v.size());
    ml_run_update(ml_run(*this), ml_run(v), length_, mlAssign());
}

void mlSlice::operator-=(mlSlice const & s) {
    ml_check_length("slice difference", length_, s.length_);
    ml_run_update(ml_run(*this), ml_run(s), length_, mlSubtract());
}

void mlSlice::operator-=(double x) { ml_run_update(ml_run(*this), mlConstantRun{x}, length_, mlSubtract()); }

void mlSlice::add_multiple(double factor, mlSlice const & w) {
    ml_check_length("add_multiple", length_, w.length_);
    ml_run_update(ml_run(*this), ml_run(w), length_, mlAddMultiple{factor});
}

void mlSlice::add_multiple(double factor, mlVector const & w) {
    ml_check_length("add_multiple", length_, w.size());
    ml_run_update(ml_run(*this), ml_run(w), length_, mlAddMultiple{factor});
}

int mlSlice::operator==(mlSlice const & s) const {
    return ml_run_equal(mlDenseRun<double const>{data_}, mlDenseRun<double const>{s.data_}, length_);
}

double mlSlice::sum() const { return ml_run_sum(ml_run(*this), length_); }

double mlSlice::modulus_squared() const { return ml_run_scalar_product(ml_run(*this), ml_run(*this), length_); }

double mlSlice::max_absolute_value() const { return ml_run_max_absolute_value(ml_run(*this), length_); }

double scalar_product(mlSlice const & a, mlSlice const & b) {
    ml_check_length("scalar_product", a.length(), b.length());
    return ml_run_scalar_product(ml_run(a), ml_run(b), a.length());
}

double distance_squared(mlSlice const & a, mlSlice const & b) {
    ml_check_length("distance_squared", a.length(), b.length());
    return ml_run_distance_squared(ml_run(a), ml_run(b), a.length());
}

double norm_diff(mlSlice const & a, mlSlice const & b) {
    ml_check_length("norm_diff", a.length(), b.length());
    return ml_run_norm_diff(ml_run(a), ml_run(b), a.length());
}

std::ostream & operator<<(std::ostream & stream, mlSlice const & s) {
    utOstream indenting(stream, 0, 2);
    indenting << s;
    return stream;
}

utOstream & operator<<(utOstream & stream, mlSlice const & s) {
    return ml_print_compact(stream, ml_run(s), s.length());
}
