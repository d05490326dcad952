#pragma once

#include "maths/core/mlCompactPrint.h"
#include "maths/core/mlMatrix.h"
#include "maths/core/mlRun.h"

/// Selects the sum or the difference of two vectors.
enum mlVectorAdd { mlVectorAdd };
enum mlVectorSubtract { mlVectorSubtract };

/// s itself; in a checked build, stops when it has fewer than n elements. For use by `mlTinyVector`.
inline mlSlice const & ml_components(mlSlice const & s, [[maybe_unused]] int n) {
    MATHS_CHECK(s.length() >= n, "fixed-size vector: %d components wanted, %d given", n, s.length());
    return s;
}

/// Vector of N doubles held inline, N = 2 .. 6: a point or a direction.
///
/// A plain value: N doubles and nothing else, trivially copyable, never allocating. Sums go in index order.
/// An operand that is a slice has at least N elements. Bad input: nothing is checked.
/// Threads: like a double.
template <int N> class mlTinyVector {
public:
    /// Components are not initialised.
    mlTinyVector() = default;

    explicit mlTinyVector(enum mlVectorZero) { fill(0.0); }
    mlTinyVector(enum utConvert, double const * p) { become(::utConvert, p); }
    mlTinyVector(enum utCopy, mlTinyVector const & v) : mlTinyVector(v) {}
    mlTinyVector(enum mlVectorAdd, mlTinyVector const & a, mlTinyVector const & b) { become(::mlVectorAdd, a, b); }
    mlTinyVector(enum mlVectorSubtract, mlTinyVector const & a, mlTinyVector const & b) {
        become(::mlVectorSubtract, a, b);
    }

    /// m v, for an m of N rows.
    mlTinyVector(enum mlMatrixProduct, mlMatrix const & m, mlTinyVector const & v) { become(::mlMatrixProduct, m, v); }

    double & operator[](int i) {
        MATHS_CHECK(i >= 0 && i < N, "fixed-size vector: component %d of %d", i, N);
        return components_[i];
    }
    [[nodiscard]] double const & operator[](int i) const {
        MATHS_CHECK(i >= 0 && i < N, "fixed-size vector: component %d of %d", i, N);
        return components_[i];
    }

    void operator=(mlSlice const & s) { update(ml_components(s, N), mlAssign()); }
    void operator+=(mlTinyVector const & v) { update(v, mlAdd()); }
    void operator-=(mlTinyVector const & v) { update(v, mlSubtract()); }
    void operator+=(mlSlice const & s) { update(ml_components(s, N), mlAdd()); }
    void operator-=(mlSlice const & s) { update(ml_components(s, N), mlSubtract()); }
    void operator+=(double x) { update(mlConstantRun{x}, mlAdd()); }
    void operator-=(double x) { update(mlConstantRun{x}, mlSubtract()); }
    void operator*=(double x) { update(mlConstantRun{x}, mlMultiply()); }

    /// Deliberate: multiplies by the reciprocal of x, formed once, unlike `mlVector`, which divides.
    void operator/=(double x) { *this *= 1.0 / x; }

    void fill(double x) { update(mlConstantRun{x}, mlAssign()); }

    /// Adds s v.
    void add_multiple(double s, mlTinyVector const & v) {
        for (int i = 0; i < N; ++i)
            components_[i] += s * v.components_[i];
    }

    /// Becomes \f$(1 - t) a + t b\f$.
    void interpolate(mlTinyVector const & a, mlTinyVector const & b, double t) {
        for (int i = 0; i < N; ++i)
            components_[i] = (1.0 - t) * a.components_[i] + t * b.components_[i];
    }

    /// Becomes \f$a \times b\f$; either may be this vector. In three dimensions only.
    void vector_product(mlTinyVector const & a, mlTinyVector const & b) requires(N == 3) {
        // The library's own instantiation reaches this body for every N.
        if constexpr (N == 3) {
            double const x = a.components_[1] * b.components_[2] - a.components_[2] * b.components_[1];
            double const y = a.components_[2] * b.components_[0] - a.components_[0] * b.components_[2];
            double const z = a.components_[0] * b.components_[1] - a.components_[1] * b.components_[0];
            components_[0] = x;
            components_[1] = y;
            components_[2] = z;
        }
    }

    mlTinyVector & become(enum mlVectorZero) { return take(mlConstantRun{0.0}); }
    mlTinyVector & become(enum utConvert, double const * p) { return take(mlDenseRun<double const>{p}); }
    mlTinyVector & become(enum utCopy, mlTinyVector const & v) { return *this = v; }
    mlTinyVector & become(enum mlVectorAdd, mlTinyVector const & a, mlTinyVector const & b) {
        for (int i = 0; i < N; ++i)
            components_[i] = a.components_[i] + b.components_[i];
        return *this;
    }
    mlTinyVector & become(enum mlVectorSubtract, mlTinyVector const & a, mlTinyVector const & b) {
        for (int i = 0; i < N; ++i)
            components_[i] = a.components_[i] - b.components_[i];
        return *this;
    }

    /// m v, as `multiply`.
    mlTinyVector & become(enum mlMatrixProduct, mlMatrix const & m, mlTinyVector const & v);

    [[nodiscard]] double sum() const { return ml_run_sum(run(), N); }
    [[nodiscard]] double modulus_squared() const { return scalar_product(*this, *this); }

    /// The largest magnitude; NaN components are passed over.
    [[nodiscard]] double max_absolute_value() const { return ml_run_max_absolute_value(run(), N); }

    /// All components; or those start, start + stride, ..., `length` of them.
    [[nodiscard]] mlSlice slice() { return view(0, 1, N); }
    [[nodiscard]] mlSlice const slice() const { return view(0, 1, N); }
    [[nodiscard]] mlSlice slice(int start, int stride, int length) { return view(start, stride, length); }
    [[nodiscard]] mlSlice const slice(int start, int stride, int length) const { return view(start, stride, length); }

    [[nodiscard]] mlDenseRun<double const> run() const { return {components_}; }

private:
    template <mlRunOfDoubles X, std::invocable<double &, double> Change> void update(X const & x, Change change) {
        for (int i = 0; i < N; ++i)
            change(components_[i], x[i]);
    }
    template <mlRunOfDoubles X> mlTinyVector & take(X x) {
        update(x, mlAssign());
        return *this;
    }
    mlSlice view(int start, int stride, int length) const {
        MATHS_CHECK(length < 1 || (start >= 0 && start < N && start + (length - 1) * stride >= 0 &&
                                   start + (length - 1) * stride < N),
                    "slice: start %d, stride %d, length %d of %d components", start, stride, length, N);
        return mlSlice(const_cast<double *>(components_), start, length, stride);
    }

    double components_[static_cast<unsigned>(N)]; // -Wsign-conversion looks here too
};

/// \f$a_0 b_0 + a_1 b_1 + \dots\f$, from the first product on.
template <int N> [[nodiscard]] double scalar_product(mlTinyVector<N> const & a, mlTinyVector<N> const & b) {
    double sum = a[0] * b[0];
    for (int i = 1; i < N; ++i)
        sum += a[i] * b[i];
    return sum;
}

/// \f$\sum_i (a_i - b_i)^2\f$, from 0.0 on.
template <int N> [[nodiscard]] double distance_squared(mlTinyVector<N> const & a, mlTinyVector<N> const & b) {
    return ml_run_distance_squared(a.run(), b.run(), N);
}

/// \f$\max_i |a_i - b_i|\f$; NaN is passed over.
template <int N> [[nodiscard]] double norm_diff(mlTinyVector<N> const & a, mlTinyVector<N> const & b) {
    return ml_run_norm_diff(a.run(), b.run(), N);
}

/// 1 when all components are equal, exactly; a NaN equals nothing.
template <int N> [[nodiscard]] int operator==(mlTinyVector<N> const & a, mlTinyVector<N> const & b) {
    return ml_run_equal(a.run(), b.run(), N);
}
template <int N> [[nodiscard]] int operator!=(mlTinyVector<N> const & a, mlTinyVector<N> const & b) {
    return !(a == b);
}

/// out = m v: the rows of m say how many components are written and its columns how many of v are read, up to N of
/// each. Every one is a sum from 0.0 in increasing column order. out must not be v.
template <int N> void multiply(mlMatrix const & m, mlTinyVector<N> const & v, mlTinyVector<N> & out) {
    MATHS_CHECK(m.rows() <= N && m.cols() <= N, "multiply: %d x %d times %d components", m.rows(), m.cols(), N);
    for (int i = 0; i < m.rows(); ++i) {
        out[i] = 0.0;
        for (int k = 0; k < m.cols(); ++k)
            out[i] += m(i, k) * v[k];
    }
}

template <int N>
mlTinyVector<N> & mlTinyVector<N>::become(enum mlMatrixProduct, mlMatrix const & m, mlTinyVector const & v) {
    multiply(m, v, *this);
    return *this;
}

using mlTinyVector2 = mlTinyVector<2>;
using mlTinyVector3 = mlTinyVector<3>;
using mlTinyVector4 = mlTinyVector<4>;
using mlTinyVector5 = mlTinyVector<5>;
using mlTinyVector6 = mlTinyVector<6>;

#if MATHS_EXTERN_TEMPLATES
extern template class MATHS_API_TEMPLATE_DECLARATION mlTinyVector<2>;
extern template class MATHS_API_TEMPLATE_DECLARATION mlTinyVector<3>;
extern template class MATHS_API_TEMPLATE_DECLARATION mlTinyVector<4>;
extern template class MATHS_API_TEMPLATE_DECLARATION mlTinyVector<5>;
extern template class MATHS_API_TEMPLATE_DECLARATION mlTinyVector<6>;
#endif

/// \f$c \cdot (a \times b)\f$, the volume of the box that the three span.
[[nodiscard]] inline double scalar_triple_product(mlTinyVector3 const & a, mlTinyVector3 const & b,
                                                  mlTinyVector3 const & c) {
    mlTinyVector3 product;
    product.vector_product(a, b);
    return scalar_product(product, c);
}

/// Prints "<", the components separated by "," and ">", in the stream's current number format.
template <int N> utOstream & operator<<(utOstream & stream, mlTinyVector<N> const & v) {
    return ml_print_compact(stream, v.run(), N);
}
template <int N> std::ostream & operator<<(std::ostream & stream, mlTinyVector<N> const & v) {
    utOstream indenting(stream, 0, 2);
    indenting << v;
    return stream;
}
