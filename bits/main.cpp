// Prints a digest of thousands of results of every subsystem, a line each, once for every instruction set that the
// machine has. What stands on the lines that begin with "exact" is the same for every compiler, optimisation level,
// instruction set and system: `script/bits` compares.

#include "bits/digest.h"

int main() {
    for (auto const set : {mlInstructionSetBaseline, mlInstructionSetAvx2, mlInstructionSetAvx512}) {
        if (!ml_use_instruction_set(set)) continue;
        digest_core();
        digest_decompositions();
        digest_functions();
        digest_optimisation();
        digest_polynomials();
        digest_sparse();
    }
}
