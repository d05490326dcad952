#pragma once

#include "maths/polynomials/mlPolynomialOf.h"

#if MATHS_EXTERN_TEMPLATES
extern template class MATHS_API_TEMPLATE_DECLARATION mlPolynomialOf<double>;
#endif

/// Real polynomials, with fitting: see `mlPolynomialOf` for the operations. Distances between samples are absolute
/// differences.
class MATHS_API mlPolynomial : public mlPolynomialOf<double> {
public:
    mlPolynomial() = default;
};
