#pragma once

// What nearly every test needs.

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "maths/maths.h"
#include "tests/support/values.h"
