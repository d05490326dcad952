#include "tests/support/test.h"

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

TEST(Ostream, TakesVectorsMatricesArraysAndPolynomialsIntoItsIndentation) {
    std::ostringstream text;
    utOstream stream(text, 1, 2);
    mlTinyVector2 const zeros[] = {mlTinyVector2(mlVectorZero), mlTinyVector2(mlVectorZero)};
    text << std::showpos << std::setprecision(2);
    stream << mlVector{0.5, -2};
    text << mlVector() << 12.5 << std::noshowpos << std::setprecision(0) << mlVector{3}; // only the precision matters
    text << mlMatrix(mlMatrixIdentity, 2) << 0.1234567 << "\n";                          // leaves one of six
    EXPECT_EQ(&(stream << mlTinyVector2coPageArr{zeros[0]} << mlVectorcoDynArr()), &stream);
    text << mlTinyVector2coDynArr{zeros[0], zeros[1]};
    mlTinyVector2Polynomial::print(stream, 1, zeros);
    for (int const n : {0, 1, 3})
        mlPolynomial::print(text, n, std::array{1.0, 2.0, -3.5, 4.0}.data());
    stream << std::setw(4) << std::setfill('.') << 7; // the width is the number's, not the indentation's
    EXPECT_EQ(text.str(),
              "  < +0.50 -2.00 > \n< > \n+12< 3. > \n| 1.000000 0.000000 | \n| 0.000000 1.000000 | \n0.123457\n"
              "  coPageArr {\n    size 1\n    <0,0>\n  }\n  coDynArr {\n    size 0\n  }\n"
              "coDynArr {\n  size 2\n  <0,0>\n  <0,0>\n}\n"
              "  <0,0>t + <0,0>\n1\n2t + 1\n4t^3 + -3.5t^2 + 2t + 1\n  ...7");
}

} // namespace
