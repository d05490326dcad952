#include "platform/utOstream.h"

#include <sstream>

#include <gtest/gtest.h>

namespace {

TEST(Ostream, IndentsEachLineJustBeforeItsFirstText) {
    std::ostringstream text;
    utOstream outer(text, 1, 2), inner(utOstreamTab, outer, 2, 1), innermost(utOstreamTab, inner, 0, 1);
    outer << "a" << 1 << ' ' << 0.5 << std::endl << std::endl << "b\n\nc" << '\n' << "d ";
    inner << "goes ";
    innermost << "on";
    inner << std::endl << "e\n";
    innermost << -3 << "\n";
    inner << "f";
    outer << " goes on\n"
          << "g";
    EXPECT_EQ(text.str(), "  a1 0.5\n\n  b\n\n  c\n  d goes on\n       e\n        -3\n       f goes on\n  g");
}

TEST(Ostream, ManipulatorsActOnTheStandardStream) {
    std::ostringstream text;
    utOstream stream(text, 1, 2);
    stream << std::setw(4) << std::setfill('.') << 7 << std::setprecision(2) << std::fixed << " " << 0.125 << std::endl;
    EXPECT_EQ(text.str(), "  ...7 0.12\n"); // the width is the number's, not the indentation's
}

} // namespace
