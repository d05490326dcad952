#pragma once

#include "maths/maths_api.h"

// The tags that vectors and matrices share.

/// Selects zeros.
enum mlVectorZero { mlVectorZero };

/// Selects the product of a matrix and a vector, a slice or a matrix.
enum mlMatrixProduct { mlMatrixProduct };
