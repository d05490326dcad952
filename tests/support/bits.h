#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "maths/kernels/mlInstructionSet.h"

// Results compared bit for bit, in every instruction set that the machine has.

/// Equal bits, or both NaN, whose sign and payload don't count.
inline bool same_bits(double x, double y) {
    return std::bit_cast<std::uint64_t>(x) == std::bit_cast<std::uint64_t>(y) || (std::isnan(x) && std::isnan(y));
}

/// A number as decimals and as bits, which differ where the decimals agree.
inline std::string with_bits(double x) {
    char text[64];
    std::snprintf(text, sizeof text, "%.17g (%016llx)", x, std::bit_cast<unsigned long long>(x));
    return text;
}

/// Whether the first n elements have the same bits; else says where the first difference is.
template <class Expected, class Found>
testing::AssertionResult equal_bits(Expected const & expected, Found const & found, int n) {
    for (int i = 0; i < n; ++i)
        if (!same_bits(expected[i], found[i]))
            return testing::AssertionFailure() << "element " << i << " of " << n << " is " << with_bits(found[i])
                                               << " in place of " << with_bits(expected[i]);
    return testing::AssertionSuccess();
}

/// The same for two matrices, which must have the same shape.
template <class Matrix> testing::AssertionResult equal_bits(Matrix const & expected, Matrix const & found) {
    if (expected.rows() != found.rows() || expected.cols() != found.cols())
        return testing::AssertionFailure() << "the shape is " << found.rows() << " x " << found.cols()
                                           << " in place of " << expected.rows() << " x " << expected.cols();
    return equal_bits(expected.data(), found.data(), expected.rows() * expected.cols());
}

/// Makes a check in each instruction set.
template <class Check> void in_each_instruction_set(Check check) {
    enum mlInstructionSet const at_start = ml_instruction_set();
    for (auto const set : {mlInstructionSetBaseline, mlInstructionSetAvx2, mlInstructionSetAvx512}) {
        if (!ml_use_instruction_set(set)) continue; // this machine lacks it
        SCOPED_TRACE(testing::Message() << "instruction set " << set);
        EXPECT_EQ(ml_instruction_set(), set);
        check();
    }
    ml_use_instruction_set(at_start);
}
