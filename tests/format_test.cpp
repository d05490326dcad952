// std::format, where the standard library has it: the preset libcxx does.

#include <gtest/gtest.h>

#include "maths/maths.h"

#if defined(__cpp_lib_format)

#include <stdexcept>

namespace {

TEST(Format, PutsTheMarksOfStreamsAroundElementsInTheFormatAsked) {
    mlTinyVector2 t;
    t[0] = 1.0;
    t[1] = 0.5;
    mlMatrix const m{{1.0, -2.5}, {1e-5, 0.125}};
    EXPECT_EQ(std::format("{:.3f}", mlVector{1, 2}), "< 1.000 2.000 >");
    EXPECT_EQ(std::format("{}|{}", mlVector(), mlVector{0.1, 1e300}), "< >|< 0.1 1e+300 >");
    EXPECT_EQ(std::format("{:.1e} {}", m.col(1), t), "<-2.5e+00,1.2e-01> <1,0.5>");
    EXPECT_EQ(std::format("{:6.2f}", m), "|   1.00  -2.50 |\n|   0.00   0.12 |");
    EXPECT_EQ(std::format("{0:{1}.{2}f}", mlVector{1}, 5, 1), "<   1.0 >") << "width and precision as arguments";
    mlVector const v{1};
    EXPECT_THROW((void)std::vformat("{:s}", std::make_format_args(v)), std::format_error);
}

} // namespace

#endif
