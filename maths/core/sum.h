#pragma once

#include "maths/maths_api.h"

/// Sum of n integers, added from the last to the first, wrapping on overflow; 0 for n < 1.
[[nodiscard]] MATHS_API int sum(int * values, int n);
