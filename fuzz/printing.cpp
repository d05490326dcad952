#include <ostream>
#include <sstream>
#include <string>

#include "fuzz/support/bytes.h"
#include "maths/maths.h"

// Whatever an object holds and however the stream is set, an object prints as the stream prints its numbers one by one,
// lines are indented as a whole, and the stream's settings come back.

namespace {

void set_up(std::ios & stream, int choice) {
    static std::ios_base::fmtflags const forms[] = {std::ios_base::fmtflags{}, std::ios_base::fixed,
                                                    std::ios_base::scientific,
                                                    std::ios_base::fixed | std::ios_base::scientific};
    stream.setf(forms[choice % 4]);
    if (choice & 4) stream.setf(std::ios_base::showpos | std::ios_base::uppercase);
    if (choice & 8) stream.setf(std::ios_base::left | std::ios_base::showpoint);
    stream.precision(choice >> 4);
    stream.width(choice & 8);
    stream.fill(choice & 4 ? '*' : ' ');
}

std::string indented(std::string const & text, int blanks) {
    std::string out;
    bool at_start = true;
    for (char const c : text) {
        if (at_start && c != '\n') out.append(blanks, ' ');
        out += c;
        at_start = c == '\n';
    }
    return out;
}

/// `print` writes an object on any stream of ours, `expected` its text on a standard one.
template <class Print, class Expected> void check(int choice, int tabs, int blanks, Print print, Expected expected) {
    std::ostringstream plain, reference;
    set_up(plain, choice);
    set_up(reference, choice);
    std::ios_base::fmtflags const flags = plain.flags();
    print(plain);
    expected(reference);
    require(plain.str() == reference.str(), "printed text");
    require(plain.flags() == flags, "flags after printing");

    std::ostringstream indenting;
    set_up(indenting, choice);
    indenting.width(0); // which would otherwise apply to the first text, after the indentation
    reference.str("");
    set_up(reference, choice);
    reference.width(0);
    reference.flags(flags);
    expected(reference);
    utOstream outer(indenting, tabs, 2), inner(utOstreamTab, outer, 1, blanks);
    print(inner);
    require(indenting.str() == indented(reference.str(), 2 * (tabs + 1) + blanks), "indented text");
}

template <class Numbers> void compact(std::ostream & stream, Numbers const & x, int n) {
    stream << "<";
    for (int i = 0; i < n; ++i) {
        if (i > 0) stream << ",";
        stream << x[i];
    }
    stream << ">";
}

template <class Array> void check_array(Array & array, char const * name, int choice, int tabs, int blanks) {
    check(
        choice, tabs, blanks, [&](auto & stream) { stream << array; },
        [&](std::ostream & stream) {
            stream << name << " {" << std::endl << "  size " << array.size() << std::endl;
            for (int i = 0; i < array.size(); ++i) {
                stream << "  ";
                compact(stream, array[i], 3);
                stream << std::endl;
            }
            stream << "}" << std::endl;
        });
}

void check_numbers(mlVector const & v, int choice, int tabs, int blanks) {
    check(
        choice, tabs, blanks, [&](auto & stream) { stream << v; },
        [&](std::ostream & stream) {
            std::ios_base::fmtflags const flags = stream.flags();
            stream.setf(std::ios_base::fixed | std::ios_base::showpoint);
            stream << "< ";
            for (double const x : v)
                stream << x << " ";
            stream << "> " << std::endl;
            stream.flags(flags);
        });
    for (int const stride : {1, 2, -1}) {
        int const length = stride == 2 ? (v.size() + 1) / 2 : v.size();
        mlSlice const s = v.slice(stride > 0 ? 0 : v.size() - 1, stride, length);
        check(
            choice, tabs, blanks, [&](auto & stream) { stream << s; },
            [&](std::ostream & stream) { compact(stream, s, length); });
    }
    if (v.size() == 0) return;
    int const n = v.size() - 1;
    check(
        choice, tabs, blanks, [&](auto & stream) { mlPolynomial::print(stream, n, v.data()); },
        [&](std::ostream & stream) {
            for (int i = n; i >= 2; --i)
                stream << v[i] << "t^" << i << " + ";
            if (n >= 1) stream << v[1] << "t + ";
            stream << v[0] << std::endl;
        });
}

void check_matrix(mlMatrix const & m, int choice) {
    std::ostringstream plain, reference;
    set_up(plain, choice);
    set_up(reference, choice);
    std::ios_base::fmtflags const flags = plain.flags();
    plain << m;
    require(plain.flags() == flags && (plain.precision() == 6), "settings after a matrix");
    reference.setf(std::ios_base::fixed | std::ios_base::showpoint);
    reference.precision(6);
    for (int r = 0; r < m.rows(); ++r) {
        reference << "| ";
        for (int c = 0; c < m.cols(); ++c)
            reference << m(r, c) << " ";
        reference << "| " << std::endl;
    }
    require(plain.str() == reference.str(), "printed matrix");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    Bytes script(data, size);
    int const choice = script.byte(), tabs = script.below(4), blanks = script.below(4);
    int const rows = script.below(5), cols = script.below(5);
    mlVector v(mlVectorZero, rows * cols);
    for (double & x : v)
        x = script.any_double();
    check_numbers(v, choice, tabs, blanks);
    check_matrix(mlMatrix(utConvert, v.data(), rows, cols), choice);

    mlTinyVector3coDynArr points;
    mlTinyVector3coPageArr paged(1, 1, 1);
    for (int i = 0; i < rows; ++i) {
        for (int k = 0; k < 3; ++k)
            points[i][k] = script.any_double();
        paged[i] = points[i];
    }
    check_array(points, "coDynArr", choice, tabs, blanks);
    check_array(paged, "coPageArr", choice, tabs, blanks);
    return 0;
}
