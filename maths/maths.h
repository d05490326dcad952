#pragma once

// Every public header of the library.

#include "platform/coBufferGuard.h"
#include "platform/coDynArr.h"
#include "platform/coDynArr2D.h"
#include "platform/coPageArr.h"
#include "platform/coQuickSort.h"
#include "platform/coStorage.h"
#include "platform/doublecoQuickSortIndex.h"
#include "platform/utMath.h"
#include "platform/utOstream.h"
#include "platform/utTags.h"

#include "maths/core/mlMath.h"
#include "maths/core/mlMatrix.h"
#include "maths/core/mlRandom.h"
#include "maths/core/mlRange.h"
#include "maths/core/mlSlice.h"
#include "maths/core/mlStats.h"
#include "maths/core/mlTinyVector.h"
#include "maths/core/mlVector.h"
#include "maths/core/sum.h"
#include "maths/version.h"

#include "maths/containers/mlQuickSortDynArrInt.h"
#include "maths/containers/mlTinyVectorcoDynArr.h"
#include "maths/containers/mlTinyVectorcoPageArr.h"
#include "maths/containers/mlVectorcoDynArr.h"

#include "maths/functions/mlCachedFunctionN.h"
#include "maths/functions/mlFunction.h"
#include "maths/functions/mlFunction2.h"
#include "maths/functions/mlFunction2ApproxUDeriv.h"
#include "maths/functions/mlFunction2ApproxVDeriv.h"
#include "maths/functions/mlFunctionApproxDeriv.h"
#include "maths/functions/mlFunctionN.h"
#include "maths/functions/mlFunctionN1.h"

#include "maths/polynomials/mlPolynomial.h"
#include "maths/polynomials/mlPolynomialOf.h"
#include "maths/polynomials/mlRootSolve.h"
#include "maths/polynomials/mlTinyVectorPolynomial.h"

#include "maths/decompositions/mlCholeskyDecomposition.h"
#include "maths/decompositions/mlLUDecomposition.h"
#include "maths/decompositions/mlSingularValueDecomposition.h"
#include "maths/decompositions/ml_svd.h"

#include "maths/optimisation/mlDistanceLeastSquares.h"
#include "maths/optimisation/mlDownHillSimplex.h"
#include "maths/optimisation/mlLevenbergMarquardt.h"
#include "maths/optimisation/mlNewtonRaphson.h"
