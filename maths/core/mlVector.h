#pragma once

#include <concepts>
#include <initializer_list>
#include <iosfwd>
#include <span>
#include <utility>

#include "maths/core/mlNumber.h"
#include "maths/core/mlSlice.h"
#include "maths/core/mlTags.h"
#include "platform/coDynArr.h"

class mlMatrix;
class utOstream;

/// Growable vector of doubles.
///
/// Elements: v[i]. Deliberate: non-const access past the end extends the vector, and the elements that it skips are not
/// initialised. Storage and growth are those of `doublecoDynArr`, and the object is just as large. Assignment and
/// compound assignment never resize: they run over this vector's own elements and read as many of the other operand,
/// which must have them. Size the vector first, with `become(mlVectorZero, n)`; a checked build stops at an assignment
/// of another number of elements than the vector has.
/// Moves: a vector can be moved when it is made, so functions return vectors, and `become` takes a temporary's storage.
/// Deliberate: there is no move assignment; `v = f()` copies elements like any other assignment. So what assigns to
/// move, as `erase` and `insert` of std::vector<mlVector> and `std::sort` do, keeps each slot's size: values move down
/// rightly when all vectors have one size, and otherwise come out cut off, or read past the end. A slot moved from is
/// empty and takes nothing. A checked build stops at each of these.
/// Lifetime: slices are valid until the vector grows, shrinks or is cleared.
/// Bad input: nothing is checked. Failure: growth throws std::bad_alloc and changes nothing. Threads: one at a time.
class MATHS_API mlVector : public doublecoDynArr {
public:
    /// Empty.
    mlVector() noexcept = default;

    /// The numbers in the braces: `mlVector{1.0, 2.0}`. A tag is no number and keeps its meaning there.
    mlVector(std::initializer_list<mlNumber> values);

    /// n zeros.
    mlVector(enum mlVectorZero, int n);

    /// The n values at src.
    mlVector(enum utConvert, double const * src, int n);

    /// Copies, with the capacity and the increment of an array.
    mlVector(enum utCopy, doublecoDynArr const & v) : doublecoDynArr(::utCopy, v) {}
    mlVector(enum utCopy, mlSlice const & s);
    mlVector(enum utCopy, std::span<double const> values);

    /// The same of what is no vector: standard containers and arrays, and slices.
    explicit mlVector(mlSlice const & s);
    explicit mlVector(std::span<double const> values);

    // clang-format off
    /// Which elements of a matrix are meant would have to be said.
    template <std::derived_from<doublecoDynArr> Array>
        requires(!std::derived_from<Array, mlVector>)
    explicit mlVector(Array const & array) = delete;
    // clang-format on

    /// m v.
    mlVector(enum mlMatrixProduct, mlMatrix const & m, mlVector const & v);
    mlVector(enum mlMatrixProduct, mlMatrix const & m, mlSlice const & s);

    /// Takes the storage of v, which is left empty.
    mlVector(mlVector && v) noexcept = default;

    mlVector(mlVector const &) = delete;

    using doublecoDynArr::become;

    /// Frees its storage and takes that of a temporary, which is left empty. Nothing happens when it is this vector.
    mlVector & become(mlVector && temporary) noexcept {
        doublecoDynArr::become(std::move(temporary));
        return *this;
    }

    /// Just the elements of the slice, which may view this vector, or of another container.
    mlVector & become(enum utCopy, mlSlice const & s);
    mlVector & become(enum utCopy, std::span<double const> values);

    /// Just the numbers in the braces: `v.become({1.0, 2.0})`.
    mlVector & become(std::initializer_list<mlNumber> values);

    /// At least n elements, all of them zero. Deliberate: a longer vector keeps its size.
    mlVector & become(enum mlVectorZero, int n);

    /// At least n elements, the first n of them copied from src. Deliberate: a longer vector keeps its other elements.
    mlVector & become(enum utConvert, double const * src, int n);

    /// m v, of m.rows() elements. v must not be this vector, nor view its storage.
    mlVector & become(enum mlMatrixProduct, mlMatrix const & m, mlVector const & v);
    mlVector & become(enum mlMatrixProduct, mlMatrix const & m, mlSlice const & s);

    /// Makes the vector empty; the storage is kept for `release` = 0, else freed.
    void clear(int release) { doublecoDynArr::clear(release); }

    /// Element by element, in index order. A slice may view this vector.
    void operator=(mlVector const & v);
    void operator=(mlSlice const & s);
    void operator+=(mlVector const & v);
    void operator+=(mlSlice const & s);
    void operator-=(mlVector const & v);
    void operator-=(mlSlice const & s);
    void operator+=(double x);
    void operator-=(double x);
    void operator*=(double x);

    /// Divides every element; does not multiply by 1 / x.
    void operator/=(double x);

    /// v[i] += s w[i] for each element, in index order: the product is rounded, then added.
    void add_multiple(double s, mlVector const & w);
    void add_multiple(double s, mlSlice const & w);

    /// Sets every element to x.
    void fill(double x);

    /// Removes element i; those after it move down by one place.
    void delete_element(int i);

    /// Sums in index order, 0.0 when empty.
    [[nodiscard]] double sum() const;
    [[nodiscard]] double modulus_squared() const;

    /// The largest magnitude; NaN elements are passed over. The most negative finite double when there is none.
    [[nodiscard]] double max_absolute_value() const;

    /// The whole vector.
    [[nodiscard]] mlSlice slice() { return mlSlice(data(), 0, size(), 1); }
    [[nodiscard]] mlSlice const slice() const { return view(0, 1, size()); }

    /// Elements start, start + stride, ..., `length` of them.
    [[nodiscard]] mlSlice slice(int start, int stride, int length) { return view(start, stride, length); }
    [[nodiscard]] mlSlice const slice(int start, int stride, int length) const { return view(start, stride, length); }

private:
    mlSlice view(int start, int stride, int length) const {
        [[maybe_unused]] long long const last = start + (length - 1LL) * stride;
        MATHS_CHECK(length < 1 || (start >= 0 && start < size() && last >= 0 && last < size()),
                    "vector slice: start %d, stride %d, length %d of %d elements", start, stride, length, size());
        return mlSlice(const_cast<double *>(data()), start, length, stride);
    }
};

/// Exchanges two vectors in constant time.
inline void swap(mlVector & a, mlVector & b) noexcept { a.swap(b); }

/// Assigns an element of an array of vectors. A fresh slot holds an empty vector, so nothing is assigned to it, which
/// no checked build reports.
MATHS_API void coAssignElement(mlVector & to, mlVector const & from);

/// \f$\sum_i a_i b_i\f$ over the elements of a, in index order.
[[nodiscard]] MATHS_API double scalar_product(mlVector const & a, mlVector const & b);

/// \f$\sum_i (a_i - b_i)^2\f$ over the elements of a, in index order.
[[nodiscard]] MATHS_API double distance_squared(mlVector const & a, mlVector const & b);

/// \f$\max_i |a_i - b_i|\f$ over the elements of a, NaN passed over; the most negative finite double when there is
/// none.
[[nodiscard]] MATHS_API double norm_diff(mlVector const & a, mlVector const & b);

/// 1 when each element of a equals that of b, exactly; a NaN equals nothing. Deliberate: only as many elements as a has
/// are compared, so a longer b can be equal.
[[nodiscard]] MATHS_API int operator==(mlVector const & a, mlVector const & b);
[[nodiscard]] inline int operator!=(mlVector const & a, mlVector const & b) { return !(a == b); }

/// Prints "< ", each element followed by a blank, "> " and a newline, in fixed-point format and the stream's precision.
MATHS_API std::ostream & operator<<(std::ostream & stream, mlVector const & v);
MATHS_API utOstream & operator<<(utOstream & stream, mlVector const & v);
