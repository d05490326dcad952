#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

#include "maths/maths.h"

/// Prints or compares a digest of `count` results, as the program was called.
void report_digest(char const * list, char const * name, int count, unsigned long long digest);

/// In a checked build, which stops at misuse, removes a digest of results of misuse from the list and returns true;
/// else returns false.
bool stops_at_misuse(char const * name);

/// Condenses results to 64 bits, every bit of theirs included but the sign and payload of a NaN, which are the
/// compiler's. Reports when it goes.
///
/// Source: Fowler, Noll & Vo's hash, FNV-1a.
class Digest {
public:
    Digest(char const * list, char const * name) : list_(list), name_(name) {}
    Digest(Digest const &) = delete;
    Digest & operator=(Digest const &) = delete;
    ~Digest() { report_digest(list_, name_, count_, state_); }

    void operator()(double x) { mix(x != x ? 0x7ff8000000000000u : std::bit_cast<std::uint64_t>(x)); }
    void operator()(int n) { mix(static_cast<std::uint64_t>(n)); }
    void operator()(doublecoDynArr const & values) {
        for (double const x : values)
            (*this)(x);
    }
    void operator()(mlSlice const & values) {
        for (int i = 0; i < values.length(); ++i)
            (*this)(values[i]);
    }

private:
    void mix(std::uint64_t bits) {
        for (int byte = 0; byte < 8; ++byte) {
            state_ ^= (bits >> (8 * byte)) & 0xff;
            state_ *= 0x100000001b3u;
        }
        ++count_;
    }

    char const * list_;
    char const * name_;
    int count_ = 0;
    unsigned long long state_ = 0xcbf29ce484222325u;
};

/// Results that use only + - * / and the square root: their bits are promised.
class ExactDigest : public Digest {
public:
    explicit ExactDigest(char const * name) : Digest("exact", name) {}
};

/// Results that pass through other functions of the C runtime.
class RuntimeDigest : public Digest {
public:
    explicit RuntimeDigest(char const * name) : Digest("runtime", name) {}
};

/// Random operands; every call goes on with one sequence of exact uniform numbers.
class Operands {
public:
    explicit Operands(long seed) : random_(seed) {}

    double number() { return random_.uniform(-1.0, 1.0); }

    int below(int n) { return static_cast<int>(random_.uniform() * n); }

    /// Magnitudes from 2^-range to 2^range.
    double graded(int range) {
        double const x = number(); // first: the order of arguments is the compiler's choice
        return std::ldexp(x, below(2 * range + 1) - range);
    }

    void fill(doublecoDynArr & values) {
        for (double & x : values)
            x = number();
    }
    void become(mlVector & v, int n) {
        v.clear(0);
        v.expand(n);
        fill(v);
    }
    void become(mlMatrix & m, int rows, int cols) {
        m.become(rows, cols);
        fill(m);
    }

private:
    mlRandom random_;
};

void digest_core();
void digest_decompositions();
void digest_functions();
void digest_optimisation();
void digest_polynomials();
void digest_sparse();
