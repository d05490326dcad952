#pragma once

#include "maths/maths_api.h"

/// Selects a construction or `become` that copies another object of the same kind.
enum utCopy { utCopy };

/// Selects a construction or `become` that takes its values from a raw array.
enum utConvert { utConvert };
