#pragma once

#include <string>

#include "maths/kernels/mlInstructionSet.h"

// What the machine can do, measured in the same run as the races: a time means more beside its limit.

/// Multiplications and additions a second, unfused and from registers, in the widest vectors of the set; 0 when the
/// machine lacks it. Measured once.
double unfused_peak(enum mlInstructionSet set);

/// Bytes a second that a = b + s c reads and writes, far beyond the caches. Measured once.
double stream_bandwidth();

/// The sets that the processor has, of those that matter here: "sse2 avx2 fma avx512f".
std::string instruction_sets();
