#pragma once

#include <iosfwd>
#include <span> // declares enable_borrowed_range too, and costs a fifth of <ranges>

#include "maths/core/mlSliceIterator.h"
#include "maths/maths_api.h"
#include "platform/utCheck.h"

class mlVector;
class utOstream;

/// View of `length` doubles, `stride` apart, in the storage of some other object: a vector, a row, column or diagonal
/// of a matrix, a fixed-size vector.
///
/// Element i is data()[start() + i * stride()]; the stride may be negative. The length governs every operation: an
/// operand must have at least as many elements. A slice never grows or allocates.
/// Assignment writes through into the viewed storage; copy construction makes another view of it.
/// The slice of a const object is an `mlSlice const`, through which nothing can be written: keep it const, since a copy
/// is writable. A copy that a constructor makes from such a temporary, as in `std::make_unique<mlSlice>(m.row(0))`,
/// does not compile; `mlSlice s = m.row(0)` calls no constructor, and the language cannot refuse it.
/// Lifetime: valid until the viewed storage is freed or reallocated. Bad input: nothing is checked.
/// Threads: writing through a slice while another thread reads its source is a data race.
class MATHS_API mlSlice {
public:
    mlSlice(double * data, int start, int length, int stride)
        : data_(data), start_(start), length_(length), stride_(stride) {}
    mlSlice(mlSlice const &) = default;
    mlSlice(mlSlice &&) = default;
    explicit mlSlice(mlSlice const &&) = delete; // explicit: a function may still return a const view

    [[nodiscard]] double * data() const { return data_; }
    [[nodiscard]] int start() const { return start_; }
    [[nodiscard]] int length() const { return length_; }
    [[nodiscard]] int stride() const { return stride_; }

    double & operator[](int i) {
        MATHS_CHECK(i >= 0 && i < length_, "slice element: index %d of %d elements", i, length_);
        return data_[start_ + i * stride_];
    }
    [[nodiscard]] double const & operator[](int i) const {
        MATHS_CHECK(i >= 0 && i < length_, "slice element: index %d of %d elements", i, length_);
        return data_[start_ + i * stride_];
    }

    /// For ranges and algorithms: `std::ranges::sort(m.col(0))`.
    [[nodiscard]] mlSliceIterator<double> begin() { return {data_, start_, stride_, 0}; }
    [[nodiscard]] mlSliceIterator<double> end() { return {data_, start_, stride_, length_}; }
    [[nodiscard]] mlSliceIterator<double const> begin() const { return {data_, start_, stride_, 0}; }
    [[nodiscard]] mlSliceIterator<double const> end() const { return {data_, start_, stride_, length_}; }

    /// Element by element, in index order; views of the same storage may overlap.
    void operator=(mlSlice const & s);
    void operator=(mlVector const & v);
    void operator-=(mlSlice const & s);
    void operator-=(double x);

    /// s[i] += factor w[i] for each element, in index order: the product is rounded, then added.
    void add_multiple(double factor, mlSlice const & w);
    void add_multiple(double factor, mlVector const & w);

    /// 1 when the first length() doubles from data() on equal those from s.data() on, exactly; a NaN equals nothing.
    /// Deliberate: start and stride are ignored, as if both were whole vectors; the function caches rely on it.
    [[nodiscard]] int operator==(mlSlice const & s) const;
    [[nodiscard]] int operator!=(mlSlice const & s) const { return !(*this == s); }

    /// Sums in index order, 0.0 when empty.
    [[nodiscard]] double sum() const;
    [[nodiscard]] double modulus_squared() const;

    /// The largest magnitude; NaN elements are passed over. The most negative finite double when there is none.
    [[nodiscard]] double max_absolute_value() const;

    /// Elements first, first + step, ... of this slice, `length` of them.
    [[nodiscard]] mlSlice const slice(int first, int step, int length) const {
        return mlSlice(data_, start_ + stride_ * first, length, stride_ * step);
    }

private:
    double * data_;
    int start_;
    int length_;
    int stride_;
};

/// @cond
// The iterators of a slice outlive it. (Doxygen takes the specialisation of a variable for one that is not declared.)
template <> inline constexpr bool std::ranges::enable_borrowed_range<mlSlice> = true;
/// @endcond

/// \f$\sum_i a_i b_i\f$ over the elements of a, in index order.
[[nodiscard]] MATHS_API double scalar_product(mlSlice const & a, mlSlice const & b);

/// \f$\sum_i (a_i - b_i)^2\f$ over the elements of a, in index order.
[[nodiscard]] MATHS_API double distance_squared(mlSlice const & a, mlSlice const & b);

/// \f$\max_i |a_i - b_i|\f$ over the elements of a, NaN passed over; the most negative finite double when there is
/// none.
[[nodiscard]] MATHS_API double norm_diff(mlSlice const & a, mlSlice const & b);

/// Prints "<", the elements separated by "," and ">", in the stream's current number format.
MATHS_API std::ostream & operator<<(std::ostream & stream, mlSlice const & s);
MATHS_API utOstream & operator<<(utOstream & stream, mlSlice const & s);
