#pragma once

#include "maths/maths_api.h"

/// The instruction sets for which the library carries its inner loops. For use inside the library and its tests.
enum mlInstructionSet : int {
    mlInstructionSetBaseline = 0, ///< what every machine of the kind has: two doubles at a time
    mlInstructionSetAvx2 = 1,     ///< four
    mlInstructionSetAvx512 = 2    ///< eight
};

/// The set in use: the widest that the machine has, chosen once.
MATHS_API enum mlInstructionSet ml_instruction_set();

/// For tests: puts a set in use, for all threads, and returns 1; returns 0 and changes nothing when the machine lacks
/// it. Results never depend on the set.
MATHS_API int ml_use_instruction_set(enum mlInstructionSet set);
