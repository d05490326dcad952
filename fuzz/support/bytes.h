#pragma once

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
