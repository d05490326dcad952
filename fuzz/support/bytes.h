#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

/// The fuzzer's input, read as a script: every read takes what is needed from the front, and zeros from an empty one.
class Bytes {
public:
    Bytes(std::uint8_t const * data, std::size_t size) : data_(data), left_(size) {}

    bool empty() const { return left_ == 0; }

    int byte() {
        if (left_ == 0) return 0;
        --left_;
        return *data_++;
    }

    /// 0 .. n - 1, for an n up to 256; 0 for n < 1.
    int below(int n) {
        int const b = byte();
        return n < 1 ? 0 : b % n;
    }

    /// Any double, NaN among them.
    double any_double() {
        std::uint64_t bits = 0;
        for (int i = 0; i < 8; ++i)
            bits = bits << 8 | static_cast<std::uint64_t>(byte());
        double x;
        std::memcpy(&x, &bits, sizeof(x));
        return x;
    }

    /// A number of one of three kinds: a small whole one, mostly, a strange one or any double.
    double number() {
        static double const strange[] = {0.0,          -0.0,     5e-324,    -5e-324, 2.2250738585072014e-308,
                                         1e-300,       1e300,    -1e308,    1e308,   1e-8,
                                         1.0 / 0x1p52, INFINITY, -INFINITY, NAN};
        int const kind = below(16);
        return kind < 13 ? below(9) - 4.0 : kind < 15 ? strange[below(14)] : any_double();
    }

    template <class Numbers> void fill(Numbers & numbers) {
        for (double & x : numbers)
            x = number();
    }

private:
    std::uint8_t const * data_;
    std::size_t left_;
};

/// Stops the program, which the fuzzer reports together with the input, unless `holds`.
inline void require(bool holds, char const * what) {
    if (holds) return;
    std::fprintf(stderr, "fuzz: not so: %s\n", what);
    std::abort();
}
