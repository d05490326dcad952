#include "maths/core/mlVector.h"

#include <algorithm>
#include <concepts>
#include <cstring>
#include <functional>

#include "maths/core/mlMatrix.h"
#include "maths/core/mlStreamFlags.h"
#include "maths/core/mlVectorRuns.h"
#include "platform/utOstream.h"

namespace {

// In a checked build, stops when an assignment would leave elements out.
void check_room([[maybe_unused]] int size, [[maybe_unused]] int given) {
    MATHS_CHECK(given <= size, "vector assignment: %d elements to a vector of %d, which it does not resize", given,
                size);
}

template <std::invocable<double &, double> Change>
void update(mlVector & v, mlVector const & other, char const * operation, Change change) {
    ml_check_length(operation, v.size(), other.size());
    ml_run_update(ml_run(v), ml_run(other), v.size(), change);
}

template <std::invocable<double &, double> Change>
void update(mlVector & v, mlSlice const & other, char const * operation, Change change) {
    ml_check_length(operation, v.size(), other.length());
    ml_run_update(ml_run(v), ml_run(other), v.size(), change);
}

template <std::invocable<double &, double> Change> void update(mlVector & v, double x, Change change) {
    ml_run_update(ml_run(v), mlConstantRun{x}, v.size(), change);
}

} // namespace

mlVector::mlVector(enum mlVectorZero, int n) : doublecoDynArr(n, 1) { become(::mlVectorZero, n); }

mlVector::mlVector(std::initializer_list<mlNumber> values) : doublecoDynArr(coSize(values.size()), 1) {
    become(values);
}

mlVector::mlVector(enum utConvert, double const * src, int n) : doublecoDynArr(n, 1) { become(::utConvert, src, n); }

mlVector::mlVector(enum utCopy, mlSlice const & s) : mlVector(s) {}

mlVector::mlVector(enum utCopy, std::span<double const> values) : mlVector(values) {}

mlVector::mlVector(mlSlice const & s) : doublecoDynArr(s.length(), 1) { become(::utCopy, s); }

mlVector::mlVector(std::span<double const> values) : mlVector(::utConvert, values.data(), coSize(values.size())) {}

mlVector::mlVector(enum mlMatrixProduct, mlMatrix const & m, mlVector const & v) { multiply(m, v, *this); }

mlVector::mlVector(enum mlMatrixProduct, mlMatrix const & m, mlSlice const & s) { multiply(m, s, *this); }

mlVector & mlVector::become(enum utCopy, mlSlice const & s) {
    std::less<double const *> const before; // a total order, also for data of another block
    if (!before(s.data(), data()) && before(s.data(), data() + size())) return become(mlVector(s));
    reserve(s.length()); // first, since it may fail
    clear(0);
    expand(s.length());
    ml_run_update(ml_run(*this), ml_run(s), size(), mlAssign());
    return *this;
}

mlVector & mlVector::become(std::initializer_list<mlNumber> values) {
    reserve(coSize(values.size())); // first, since it may fail
    clear(0);
    expand(coSize(values.size()));
    std::copy(values.begin(), values.end(), data());
    return *this;
}

mlVector & mlVector::become(enum utCopy, std::span<double const> values) {
    return become(::utCopy, mlSlice(const_cast<double *>(values.data()), 0, coSize(values.size()), 1));
}

mlVector & mlVector::become(enum mlVectorZero, int n) {
    expand(n);
    fill(0.0);
    return *this;
}

mlVector & mlVector::become(enum utConvert, double const * src, int n) {
    expand(n);
    std::copy(src, src + std::max(n, 0), data());
    return *this;
}

mlVector & mlVector::become(enum mlMatrixProduct, mlMatrix const & m, mlVector const & v) {
    multiply(m, v, *this);
    return *this;
}

mlVector & mlVector::become(enum mlMatrixProduct, mlMatrix const & m, mlSlice const & s) {
    multiply(m, s, *this);
    return *this;
}

void mlVector::operator=(mlVector const & v) {
    check_room(size(), v.size());
    update(*this, v, "vector assignment", mlAssign());
}

void mlVector::operator=(mlSlice const & s) {
    check_room(size(), s.length());
    update(*this, s, "vector assignment", mlAssign());
}

void coAssignElement(mlVector & to, mlVector const & from) { update(to, from, "vector assignment", mlAssign()); }

void mlVector::operator+=(mlVector const & v) { update(*this, v, "vector sum", mlAdd()); }
void mlVector::operator+=(mlSlice const & s) { update(*this, s, "vector sum", mlAdd()); }
void mlVector::operator-=(mlVector const & v) { update(*this, v, "vector difference", mlSubtract()); }
void mlVector::operator-=(mlSlice const & s) { update(*this, s, "vector difference", mlSubtract()); }
void mlVector::operator+=(double x) { update(*this, x, mlAdd()); }
void mlVector::operator-=(double x) { update(*this, x, mlSubtract()); }
void mlVector::operator*=(double x) { update(*this, x, mlMultiply()); }
void mlVector::operator/=(double x) { update(*this, x, mlDivide()); }
void mlVector::add_multiple(double s, mlVector const & w) { update(*this, w, "add_multiple", mlAddMultiple{s}); }
void mlVector::add_multiple(double s, mlSlice const & w) { update(*this, w, "add_multiple", mlAddMultiple{s}); }
void mlVector::fill(double x) { update(*this, x, mlAssign()); }

void mlVector::delete_element(int i) {
    MATHS_CHECK(i >= 0 && i < size(), "delete_element: index %d of %d elements", i, size());
    if (i + 1 < size()) std::memmove(data() + i, data() + i + 1, (size() - i - 1) * sizeof(double));
    shrink(size() - 1, 0);
}

double mlVector::sum() const { return ml_run_sum(ml_run(*this), size()); }

double mlVector::modulus_squared() const { return ml_run_scalar_product(ml_run(*this), ml_run(*this), size()); }

double mlVector::max_absolute_value() const { return ml_run_max_absolute_value(ml_run(*this), size()); }

double scalar_product(mlVector const & a, mlVector const & b) {
    ml_check_length("scalar_product", a.size(), b.size());
    return ml_run_scalar_product(ml_run(a), ml_run(b), a.size());
}

double distance_squared(mlVector const & a, mlVector const & b) {
    ml_check_length("distance_squared", a.size(), b.size());
    return ml_run_distance_squared(ml_run(a), ml_run(b), a.size());
}

double norm_diff(mlVector const & a, mlVector const & b) {
    ml_check_length("norm_diff", a.size(), b.size());
    return ml_run_norm_diff(ml_run(a), ml_run(b), a.size());
}

int operator==(mlVector const & a, mlVector const & b) {
    ml_check_length("vector comparison", a.size(), b.size());
    return ml_run_equal(ml_run(a), ml_run(b), a.size());
}

std::ostream & operator<<(std::ostream & stream, mlVector const & v) {
    utOstream indenting(stream, 0, 2);
    indenting << v;
    return stream;
}

utOstream & operator<<(utOstream & stream, mlVector const & v) {
    mlStreamFlags const fixed_point(stream.get_ostream());
    stream << "< ";
    for (double const x : v)
        stream << x << " ";
    return stream << "> " << std::endl;
}
