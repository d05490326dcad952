#pragma once

#include <limits>

#include "maths/maths_api.h"

/// The ends of the whole real line, the largest finite double and its negative: an unbounded side of a domain.
/// The negative one also marks a cached value that is not known yet.
inline constexpr double mlUnboundedMax = std::numeric_limits<double>::max();
inline constexpr double mlUnboundedMin = -mlUnboundedMax;

/// What a scalar derivative operation returns when its class does not provide that derivative.
inline constexpr double mlNoDerivative = -666.0;
