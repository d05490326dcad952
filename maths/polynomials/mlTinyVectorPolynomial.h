#pragma once

#include "maths/containers/mlTinyVectorcoDynArr.h"
#include "maths/polynomials/mlPolynomialOf.h"

#if MATHS_EXTERN_TEMPLATES
extern template class MATHS_API_TEMPLATE_DECLARATION mlPolynomialOf<mlTinyVector2>;
extern template class MATHS_API_TEMPLATE_DECLARATION mlPolynomialOf<mlTinyVector3>;
extern template class MATHS_API_TEMPLATE_DECLARATION mlPolynomialOf<mlTinyVector4>;
extern template class MATHS_API_TEMPLATE_DECLARATION mlPolynomialOf<mlTinyVector5>;
extern template class MATHS_API_TEMPLATE_DECLARATION mlPolynomialOf<mlTinyVector6>;
#endif

/// Polynomial curves in N dimensions, N = 2 .. 6, with fitting: see `mlPolynomialOf` for the operations. Distances
/// between samples are Euclidean. Deliberate: `integral` multiplies by reciprocals, where that of `mlPolynomial`
/// divides.
template <int N> class mlTinyVectorPolynomial : public mlPolynomialOf<mlTinyVector<N>> {
public:
    mlTinyVectorPolynomial() = default;

    /// r = a . b, a polynomial with numbers for coefficients, of degree d = n + m.
    static void scalar_product(int n, mlTinyVector<N> const * a, int m, mlTinyVector<N> const * b, int & d, double * r);
};

using mlTinyVector2Polynomial = mlTinyVectorPolynomial<2>;
using mlTinyVector3Polynomial = mlTinyVectorPolynomial<3>;
using mlTinyVector4Polynomial = mlTinyVectorPolynomial<4>;
using mlTinyVector5Polynomial = mlTinyVectorPolynomial<5>;
using mlTinyVector6Polynomial = mlTinyVectorPolynomial<6>;

#if MATHS_EXTERN_TEMPLATES
extern template class MATHS_API_TEMPLATE_DECLARATION mlTinyVectorPolynomial<2>;
extern template class MATHS_API_TEMPLATE_DECLARATION mlTinyVectorPolynomial<3>;
extern template class MATHS_API_TEMPLATE_DECLARATION mlTinyVectorPolynomial<4>;
extern template class MATHS_API_TEMPLATE_DECLARATION mlTinyVectorPolynomial<5>;
extern template class MATHS_API_TEMPLATE_DECLARATION mlTinyVectorPolynomial<6>;
#endif
