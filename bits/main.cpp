// maths_bits          prints a digest of thousands of results of every subsystem, a line each, once for every
//                     instruction set that the machine has: "<list> <instruction set> <name> <count> <digest>"
// maths_bits FILE     compares those of the list "exact" with the lines "<name> <count> <digest>" of FILE; shows those
//                     that differ and exits with status 1
//
// The digests of the list "exact" are the same for every compiler, optimisation level, instruction set and system, and
// from one version to the next: `script/bits` and a test compare.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "bits/digest.h"
#include "maths/kernels/mlInstructionSet.h"

namespace {

bool comparing;
std::vector<std::string> expected, found; // found with the instruction set in use
std::vector<std::string> skipped;         // names

void digest_everything() {
    digest_core();
    digest_decompositions();
    digest_functions();
    digest_optimisation();
    digest_polynomials();
    digest_sparse();
}

/// Shows the lines of `these` that `those` lacks; true when there is none.
bool all_among(std::vector<std::string> const & these, std::vector<std::string> const & those, char const * lacking) {
    bool all = true;
    for (std::string const & line : these) {
        if (std::find(those.begin(), those.end(), line) != those.end()) continue;
        if (std::any_of(skipped.begin(), skipped.end(),
                        [&](auto const & name) { return line.starts_with(name + " "); }))
            continue;
        std::fprintf(stderr, "%s with instruction set %d: %s\n", lacking, ml_instruction_set(), line.c_str());
        all = false;
    }
    return all;
}

} // namespace

void report_digest(char const * list, char const * name, int count, unsigned long long digest) {
    char line[128];
    std::snprintf(line, sizeof line, "%s %d %016llx", name, count, digest);
    if (!comparing)
        std::printf("%s %d %s\n", list, ml_instruction_set(), line);
    else if (std::strcmp(list, "exact") == 0)
        found.push_back(line);
}

bool stops_at_misuse([[maybe_unused]] char const * name) {
#if defined(MATHS_CHECKED)
    skipped.push_back(name);
    return true;
#else
    return false;
#endif
}

int main(int argc, char ** argv) {
    comparing = argc > 1;
    if (comparing) {
        std::ifstream file(argv[1]);
        for (std::string line; std::getline(file, line);)
            expected.push_back(line);
        if (expected.empty()) {
            std::fprintf(stderr, "%s: no digests\n", argv[1]);
            return 2;
        }
    }
    bool same = true;
    for (auto const set : {mlInstructionSetBaseline, mlInstructionSetAvx2, mlInstructionSetAvx512}) {
        if (!ml_use_instruction_set(set)) continue;
        found.clear();
        digest_everything();
        if (!comparing) continue;
        bool const all_found = all_among(expected, found, "gone"), all_expected = all_among(found, expected, "new");
        same = same && all_found && all_expected;
    }
    return same ? 0 : 1;
}
