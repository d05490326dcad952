#include "maths/polynomials/mlPolynomial.h"

#include <cmath>

#include "maths/polynomials/mlTinyVectorPolynomial.h"
#include "platform/utOstream.h"

namespace {

// r += a b, where two vectors multiply to their scalar product.
void add_product(double & r, double a, double b) { r += b * a; }
template <int N> void add_product(mlTinyVector<N> & r, double a, mlTinyVector<N> const & b) { r.add_multiple(a, b); }
template <int N> void add_product(double & r, mlTinyVector<N> const & a, mlTinyVector<N> const & b) {
    r += scalar_product(a, b);
}

double distance(double a, double b) { return std::fabs(a - b); }
template <int N> double distance(mlTinyVector<N> const & a, mlTinyVector<N> const & b) {
    mlTinyVector<N> difference;
    return std::sqrt(difference.become(mlVectorSubtract, a, b).modulus_squared());
}

template <class A, class B, class R>
    requires requires(R & r, A const & a, B const & b) { add_product(r, a, b); }
void product(int n, A const * a, int m, B const * b, int & d, R * r) {
    d = n + m;
    mlPolynomialOf<R>::set_zero(d, r);
    for (int i = 0; i <= n; ++i) {
        for (int j = 0; j <= m; ++j)
            add_product(r[i + j], a[i], b[j]);
    }
}

} // namespace

template <class Coefficient> void mlPolynomialOf<Coefficient>::set_zero(int n, Coefficient * r) {
    for (int i = 0; i <= n; ++i)
        r[i] = Coefficient(); // the zero vector or 0.0
}

template <class Coefficient> void mlPolynomialOf<Coefficient>::copy(int n, Coefficient const * a, Coefficient * r) {
    for (int i = 0; i <= n; ++i)
        r[i] = a[i];
}

template <class Coefficient> void mlPolynomialOf<Coefficient>::add(int n, Coefficient const * a, int, Coefficient * r) {
    for (int i = 0; i <= n; ++i)
        r[i] += a[i];
}

template <class Coefficient>
void mlPolynomialOf<Coefficient>::subtract(int n, Coefficient const * a, int, Coefficient * r) {
    for (int i = 0; i <= n; ++i)
        r[i] -= a[i];
}

template <class Coefficient> void mlPolynomialOf<Coefficient>::multiply(double s, int n, Coefficient * r) {
    for (int i = 0; i <= n; ++i)
        r[i] *= s;
}

template <class Coefficient>
void mlPolynomialOf<Coefficient>::multiply(int n, double const * a, int m, Coefficient const * b, int & d,
                                           Coefficient * r) {
    product(n, a, m, b, d, r);
}

template <class Coefficient>
void mlPolynomialOf<Coefficient>::multiply(int n, double const * a, int & m, Coefficient * b) {
    kept_values_.expand(coSizeSum(coSizeSum(n, m), 2));
    int d;
    multiply(n, a, m, b, d, kept_values_.data());
    copy(d, kept_values_.data(), b);
    m = d;
}

template <class Coefficient> void mlPolynomialOf<Coefficient>::derivative(int k, int & n, Coefficient * a) {
    MATHS_CHECK(k < 1 || k <= n + 1, "polynomial derivative: order %d of degree %d", k, n);
    for (; k > 0 && n >= 0; --k) {
        for (int i = 1; i <= n; ++i) { // the derivative of a t^i is i a t^(i-1)
            a[i - 1] = a[i];
            a[i - 1] *= i;
        }
        a[n] = Coefficient();
        --n;
    }
}

template <class Coefficient> void mlPolynomialOf<Coefficient>::integral(int & n, Coefficient * a) {
    for (int i = n; i >= 0; --i) {
        a[i + 1] = a[i];
        a[i + 1] /= i + 1; // deliberate: a vector multiplies by the reciprocal; results depend on it
    }
    a[0] = Coefficient();
    ++n;
}

template <class Coefficient>
void mlPolynomialOf<Coefficient>::print(std::ostream & stream, int n, Coefficient const * a) {
    utOstream indenting(stream, 0, 2);
    print(indenting, n, a);
}

template <class Coefficient> void mlPolynomialOf<Coefficient>::print(utOstream & stream, int n, Coefficient const * a) {
    for (int i = n; i >= 2; --i)
        stream << a[i] << "t^" << i << " + ";
    if (n >= 1) stream << a[1] << "t + ";
    stream << a[0] << std::endl;
}

template <class Coefficient>
void mlPolynomialOf<Coefficient>::fit(double const * x, Coefficient const * y, int n, Coefficient * c) {
    int const count = coSizeSum(n, 1);
    basis_.expand(count);
    basis_work_.expand(count);
    term_.expand(count);
    set_zero(n, c);
    for (int i = 0; i <= n; ++i) { // c += y[i] times the basis polynomial that is 1 at x[i] and 0 at the others
        make_basis(x, n, i);
        int degree;
        multiply(n, basis_.data(), 0, &y[i], degree, term_.data());
        add(degree, term_.data(), n, c);
    }
}

template <class Coefficient>
void mlPolynomialOf<Coefficient>::fit(double t0, double t1, Coefficient const * y, int n, Coefficient * c) {
    keep_distinct_samples(y, n);
    set_zero(n, c);
    int const m = kept_values_.size() - 1;
    if (m == 0) {
        c[0] = y[0];
        return;
    }
    double const total = parameters_[m];
    parameters_[0] = t0;
    for (int i = 1; i < m; ++i)
        parameters_[i] = parameters_[i] * (t1 - t0) / total + t0;
    parameters_[m] = t1; // exactly, as the formula would not give it
    fit(parameters_.data(), kept_values_.data(), m, c);
}

// The product of (t - x[j]) / (x[i] - x[j]) over j != i.
template <class Coefficient> void mlPolynomialOf<Coefficient>::make_basis(double const * x, int n, int i) {
    int degree = 0;
    basis_[0] = 1.0;
    for (int j = 0; j <= n; ++j) {
        if (j == i) continue;
        double const d = x[i] - x[j];
        double const linear[] = {-x[j] / d, 1.0 / d};
        product(degree, basis_.data(), 1, linear, degree, basis_work_.data());
        basis_.swap(basis_work_);
    }
}

// The samples that are not too close to the one kept before, with their distances from the first along the chords.
template <class Coefficient> void mlPolynomialOf<Coefficient>::keep_distinct_samples(Coefficient const * y, int n) {
    parameters_.clear(0);
    kept_values_.clear(0);
    kept_indices_.clear(0);
    auto const keep = [&](int i, double parameter) {
        int const end = kept_values_.size();
        parameters_[end] = parameter;
        kept_values_[end] = y[i];
        kept_indices_[end] = i;
    };
    keep(0, 0.0);
    for (int i = 1; i <= n; ++i) {
        int const last = kept_indices_.size() - 1;
        double const chord = distance(y[i], y[kept_indices_[last]]);
        if (chord > 1e-10) keep(i, parameters_[last] + chord); // a distance that is NaN drops the sample
    }
}

template <int N>
void mlTinyVectorPolynomial<N>::scalar_product(int n, mlTinyVector<N> const * a, int m, mlTinyVector<N> const * b,
                                               int & d, double * r) {
    product(n, a, m, b, d, r);
}

template class MATHS_API_TEMPLATE_DEFINITION mlPolynomialOf<double>;
template class MATHS_API_TEMPLATE_DEFINITION mlPolynomialOf<mlTinyVector2>;
template class MATHS_API_TEMPLATE_DEFINITION mlPolynomialOf<mlTinyVector3>;
template class MATHS_API_TEMPLATE_DEFINITION mlPolynomialOf<mlTinyVector4>;
template class MATHS_API_TEMPLATE_DEFINITION mlPolynomialOf<mlTinyVector5>;
template class MATHS_API_TEMPLATE_DEFINITION mlPolynomialOf<mlTinyVector6>;

template class MATHS_API_TEMPLATE_DEFINITION mlTinyVectorPolynomial<2>;
template class MATHS_API_TEMPLATE_DEFINITION mlTinyVectorPolynomial<3>;
template class MATHS_API_TEMPLATE_DEFINITION mlTinyVectorPolynomial<4>;
template class MATHS_API_TEMPLATE_DEFINITION mlTinyVectorPolynomial<5>;
template class MATHS_API_TEMPLATE_DEFINITION mlTinyVectorPolynomial<6>;
