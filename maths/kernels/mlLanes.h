#pragma once

// Lanes, padding and leading dimensions, of the kernels and of those who call them. For use inside the library.
//
// A lane is one double of a vector register. Kernels that work on whole registers ask for lengths that are a multiple
// of every instruction set's lanes, or read and write up to ml_max_lanes - 1 columns past a row's end; mlKernels.h says
// which ask for what, and checked builds hold their callers to it.

/// The lanes of the widest register of all instruction sets. As many doubles fill a cache line.
constexpr int ml_max_lanes = 8;
static_assert((ml_max_lanes & (ml_max_lanes - 1)) == 0); // ml_leading_dimension sets this bit

/// n rounded up, and down, to a multiple of ml_max_lanes. n >= 0, and where it is rounded up it is so small that the
/// result is an int.
constexpr int ml_padded(int n) { return (n + ml_max_lanes - 1) / ml_max_lanes * ml_max_lanes; }
constexpr int ml_padded_down(int n) { return n / ml_max_lanes * ml_max_lanes; }

/// The distance between rows of n elements (or columns, if those are contiguous) in a copy made for the kernels: n
/// padded to an odd number of cache lines. An even number of cache lines would put many rows into few sets of the
/// cache, a power of two all into one, where they push each other out.
constexpr int ml_leading_dimension(int n) { return ml_padded(n) | ml_max_lanes; }
