#pragma once

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <utility>

#include <gtest/gtest.h>

#include "maths/decompositions/mlSingularValueDecomposition.h"
#include "maths/kernels/mlKernels.h"
#include "tests/support/bits.h"
#include "tests/support/values.h"

/// The singular value decomposition that the library promises the bits of, step after step: nothing is pending, queued
/// or done in blocks. Of the transpose x of the caller's matrix, so that u belongs to its columns, v to its rows.
/// Source: Dongarra, Bunch, Moler & Stewart, LINPACK Users' Guide (1979).
struct PlainSVD {
    explicit PlainSVD(mlMatrix const & a)
        : x(mlMatrixTranspose, a), n(x.rows()), p(x.cols()), s(std::min(n + 1, p)), e(p), u(mlMatrixIdentity, n),
          v(mlMatrixIdentity, p), columns(std::max(0, std::min(n - 1, p))), rows(std::max(0, std::min(p - 2, n))) {
        reduce();
        generate();
        while (m != 0 && steps < 100)
            iterate();
    }

    mlMatrix x;
    int n, p;
    Values s, e;
    mlMatrix u, v;
    int const columns, rows;    ///< reflections
    int m = std::min(p, n + 1); ///< values not found

private:
    static bool counts(double t) { return std::fabs(t) >= DBL_MIN; }

    static double norm(mlSlice const & t) {
        double sum = 0.0, largest = 0.0, scaled = 0.0;
        for (double const element : t)
            sum += element * element, largest = std::max(largest, std::fabs(element));
        if (sum >= 1e-280 && sum <= 1e300) return std::sqrt(sum);
        for (double const element : t)
            scaled += (element / largest) * (element / largest);
        return largest == 0.0 ? 0.0 : largest * std::sqrt(scaled);
    }
    static double make_reflector(mlSlice t) {
        double length = norm(t);
        if (counts(length)) {
            if (counts(t[0])) length = std::copysign(length, t[0]);
            for (double & element : t)
                element *= 1.0 / length;
            t[0] = 1.0 + t[0];
        }
        return -length;
    }
    /// Reflects columns after l of a by what its column l holds from row `first` on.
    static void reflect(mlMatrix & a, int l, int first) {
        for (int j = l + 1; j < a.cols(); ++j) {
            double t = 0.0;
            for (int i = first; i < a.rows(); ++i)
                t += a(i, l) * a(i, j);
            t /= -a(first, l);
            for (int i = first; i < a.rows() && counts(t); ++i)
                a(i, j) += a(i, l) * t;
        }
    }
    static void make_unit_column(mlMatrix & a, int j) { std::ranges::fill(a.col(j), 0.0), a(j, j) = 1.0; }

    void reduce() {
        for (int l = 0; l < std::max(columns, rows); ++l) {
            if (l < columns) {
                s[l] = make_reflector(x.col(l).slice(l, 1, n - l));
                if (counts(s[l])) reflect(x, l, l);
                for (int i = l; i < n; ++i)
                    u(i, l) = x(i, l);
            }
            if (l >= rows) continue;
            e[l] = make_reflector(x.row(l).slice(l + 1, 1, p - l - 1));
            for (int j = l + 1; j < p; ++j)
                v(j, l) = x(l, j);
            for (int i = l + 1; i < n && counts(e[l]); ++i) {
                double sum = 0.0;
                for (int j = l + 1; j < p; ++j)
                    if (counts(x(l, j))) sum += x(i, j) * x(l, j);
                for (int j = l + 1; j < p; ++j) {
                    double const t = x(l, j) / -x(l, l + 1);
                    if (counts(t)) x(i, j) += sum * t;
                }
            }
        }
        if (columns < p) s[columns] = x(columns, columns);
        if (rows + 1 < m) e[rows] = x(rows, m - 1);
    }
    void generate() {
        for (int l = columns - 1; l >= 0; --l) {
            if (!counts(s[l])) {
                make_unit_column(u, l);
                continue;
            }
            reflect(u, l, l);
            for (int i = l; i < n; ++i)
                u(i, l) *= -1.0;
            u(l, l) = 1.0 + u(l, l);
        }
        for (int l = rows - 1; l >= 0; --l) {
            if (counts(e[l])) reflect(v, l, l + 1);
            make_unit_column(v, l);
        }
    }

    static mlRotation rotation(double & a, double b) {
        double const scale = std::fabs(a) + std::fabs(b);
        if (!counts(scale)) return a = 0.0, mlRotation{1.0, 0.0};
        double const length = scale * std::sqrt((a / scale) * (a / scale) + (b / scale) * (b / scale));
        double const r = std::copysign(1.0, std::fabs(a) > std::fabs(b) ? a : b) * length;
        mlRotation const turn{a / r, b / r};
        a = r;
        return turn;
    }
    static void rotate(double & a, double & b, mlRotation turn) {
        double const before = a;
        a = turn.c * before + turn.s * b;
        b = turn.c * b - turn.s * before;
    }
    static void rotate(mlMatrix & basis, int j, int k, mlRotation turn) {
        for (int i = 0; i < basis.rows() && k < basis.cols() && j < basis.cols(); ++i)
            rotate(basis(i, j), basis(i, k), turn);
    }
    static bool negligible(double x, double around) { return around + std::fabs(x) == around; }
    void iterate() {
        int l = m - 1; // the block at work begins with row l, counted from 0
        while (l > 0 && !negligible(e[l - 1], std::fabs(s[l - 1]) + std::fabs(s[l])))
            --l;
        if (l > 0) e[l - 1] = 0.0;
        if (l == m - 1) return find(l);
        for (int k = m - 1; k >= l; --k) {
            double const around = (k < m - 1 ? std::fabs(e[k]) : 0.0) + (k > l ? std::fabs(e[k - 1]) : 0.0);
            if (!negligible(s[k], around)) continue;
            s[k] = 0.0;
            return k == m - 1 ? chase_last(l) : chase(k + 1);
        }
        ++steps;
        step(l);
    }
    void chase_last(int l) {
        double f = std::exchange(e[m - 2], 0.0);
        for (int k = m - 2; k >= l; --k) {
            mlRotation const turn = rotation(s[k], f);
            if (k != l) f = -turn.s * e[k - 1], e[k - 1] *= turn.c;
            rotate(v, k, m - 1, turn);
        }
    }
    void chase(int l) {
        double f = std::exchange(e[l - 1], 0.0);
        for (int k = l; k < m; ++k) {
            mlRotation const turn = rotation(s[k], f);
            f = -turn.s * e[k], e[k] *= turn.c;
            rotate(u, k, l - 1, turn);
        }
    }
    void step(int l) {
        double const scale =
            std::max({std::fabs(s[m - 1]), std::fabs(s[m - 2]), std::fabs(e[m - 2]), std::fabs(s[l]), std::fabs(e[l])});
        double const sm = s[m - 1] / scale, sm1 = s[m - 2] / scale, em1 = e[m - 2] / scale;
        double const sl = s[l] / scale, el = e[l] / scale;
        double const b = ((sm1 + sm) * (sm1 - sm) + em1 * em1) / 2.0, c = (sm * em1) * (sm * em1);
        double const root = std::sqrt(b * b + c);
        double const shift = counts(b) || counts(c) ? c / (b + (b < 0.0 ? -root : root)) : 0.0;
        double f = (sl + sm) * (sl - sm) + shift, g = sl * el;
        for (int k = l; k < m - 1; ++k) {
            mlRotation const right = rotation(f, g);
            if (k != l) e[k - 1] = f;
            f = s[k];
            rotate(f, e[k], right);
            g = right.s * s[k + 1], s[k + 1] *= right.c;
            rotate(v, k, k + 1, right);
            mlRotation const left = rotation(f, g);
            s[k] = f;
            f = e[k];
            rotate(f, s[k + 1], left);
            g = left.s * e[k + 1], e[k + 1] *= left.c;
            rotate(u, k, k + 1, left);
        }
        e[m - 2] = f;
    }
    void find(int l) {
        if (s[l] < 0.0) {
            s[l] = -s[l];
            for (double & element : v.col(l))
                element *= -1.0;
        }
        for (; l + 1 < std::min(n + 1, p) && !(s[l] >= s[l + 1]); ++l) {
            std::swap(s[l], s[l + 1]);
            v.swap_cols(l, l + 1);
            if (l + 1 < n) u.swap_cols(l, l + 1);
        }
        steps = 0;
        --m;
    }
    int steps = 0; // since the last value was found
};

inline void expect_plain_svd(mlMatrix const & a) {
    SCOPED_TRACE(testing::Message() << a.rows() << " x " << a.cols());
    PlainSVD const plain(a);
    in_each_instruction_set([&] {
        mlSingularValueDecomposition const svd(a);
        EXPECT_EQ(svd.invalid(), plain.m != 0);
        EXPECT_TRUE(equal_bits(plain.s, svd.diagonal(), svd.diagonal().size()));
        EXPECT_TRUE(equal_bits(plain.v, svd.U()));
        EXPECT_TRUE(equal_bits(plain.u, svd.V()));
    });
}
