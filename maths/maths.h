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

#include "maths/decompositions/mlLUDecomposition.h"

#include "maths/optimisation/mlDownHillSimplex.h"

#include "maths/sparse/mlSparseElement.h"
#include "maths/sparse/mlSparseElementcoDynArr.h"
#include "maths/sparse/mlSparseMatrix.h"
#include "maths/sparse/mlSparseMatrixBase.h"
#include "maths/sparse/mlSparseRow.h"
#include "maths/sparse/mlSparseRowIT.h"
#include "maths/sparse/mlSparseRowcoDynArrPrgcoPrg.h"
#include "maths/sparse/mlSparseRowcoDynArrPrgcoPrgcoDynArr.h"
#include "maths/sparse/mlSparseSymMatrix.h"
