// Prints a digest of thousands of results of every subsystem, a line each. What stands on the lines that begin with
// "exact" is the same for every compiler, optimisation level, instruction set and system: `script/bits` compares.

#include "bits/digest.h"

int main() {
    digest_core();
    digest_decompositions();
    digest_functions();
    digest_optimisation();
    digest_polynomials();
    digest_sparse();
}
