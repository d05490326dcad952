#pragma once

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <numeric>
#include <vector>

#include "maths/core/mlMatrix.h"
#include "tests/support/values.h"

/// The symmetric eigenvalues and vectors that the library promises the bits of, step after step: no rotation is queued,
/// and no product taken in blocks. Neither scaled, nor sorted, nor with the signs of the result. Rows count from 0.
struct PlainSymmetric {
    explicit PlainSymmetric(mlMatrix const & matrix) : n(matrix.rows()), d(n), e(n), tau(n), q(mlMatrixIdentity, n) {
        a.become(utCopy, matrix);
        for (int first = 0; first < n; first += panel)
            reduce(first, std::min(n, first + panel));
        for (int first = (n - 3) / panel * panel; n > 2 && first >= 0; first -= panel)
            generate(first, std::min(panel, n - 2 - first));
        for (int first = 0, last; first < n; first = last + 1) {
            for (last = first; last < n - 1 && !negligible(last); ++last) {
            }
            solve(first, last);
        }
    }

    static constexpr int panel = 16;
    int n;
    Values d, e, tau;
    mlMatrix q, a;

private:
    static double length(double x, double y) { return std::sqrt(x * x + y * y); } // of numbers near 1

    void reduce(int first, int end) {
        std::vector<Values> v, w;
        auto const update = [&](int i, int j) {
            for (std::size_t s = 0; s < v.size(); ++s) {
                a(i, j) -= w[s][i] * v[s][j];
                a(i, j) -= v[s][i] * w[s][j];
            }
        };
        for (int k = first; k < end; ++k) {
            int const done = k - first;
            for (int j = k; j < n; ++j)
                update(k, j);
            d[k] = a(k, k);
            if (k == n - 1) return;
            Values const row = contents(a.row(k));
            double const x = row[k + 1], beta = -std::copysign(length(x, std::sqrt(eight_sums(row, row, k + 2))), x);
            v.emplace_back(n), w.emplace_back(n);
            v[done][k + 1] = 1.0;
            tau[k] = k < n - 2 ? (beta - x) / beta : 0.0;
            e[k] = k < n - 2 ? beta : x;
            for (int j = k + 2; j < n; ++j)
                a(k, j) = v[done][j] = a(k, j) / (x - beta);
            a(k, k + 1) = 1.0;
            if (k == n - 2) continue;
            for (int i = k + 1; i < n; ++i)
                for (int j = k + 1; j < n; ++j)
                    w[done][j] += v[done][i] * a(std::min(i, j), std::max(i, j));
            for (int s = 0; s < done; ++s) {
                double const of_v = dot(v[s], v[done]), of_w = dot(w[s], v[done]);
                for (int j = k + 1; j < n; ++j) {
                    w[done][j] -= of_w * v[s][j];
                    w[done][j] -= of_v * w[s][j];
                }
            }
            for (int j = k + 1; j < n; ++j)
                w[done][j] *= tau[k];
            double const part = -0.5 * tau[k] * eight_sums(w[done], v[done], k + 1);
            for (int j = k + 1; j < n; ++j)
                w[done][j] += part * v[done][j];
        }
        for (int i = end; i < n; ++i)
            for (int j = i; j < n; ++j)
                update(i, j);
    }

    static double dot(Values const & x, Values const & y) {
        return std::inner_product(x.begin(), x.end(), y.begin(), 0.0);
    }

    void generate(int first, int count) {
        mlMatrix v(mlMatrixZero, n, count), t(mlMatrixZero, count, count), product, t_product, change;
        for (int p = 0; p < count; ++p)
            for (int i = first + p + 1; i < n; ++i)
                v(i, p) = a(first + p, i);
        mlMatrix const rows(mlMatrixTranspose, v);
        for (int p = 0; p < count; ++p) {
            for (int k = 0; k < p; ++k) {
                for (int s = k; s < p; ++s)
                    t(k, p) += t(k, s) * eight_sums(contents(rows.row(s)), contents(rows.row(p)), first + p + 1);
                t(k, p) *= -tau[first + p];
            }
            t(p, p) = tau[first + p];
        }
        product.become(mlMatrixProduct, rows, q);
        t_product.become(mlMatrixProduct, t, product);
        for (int i = first + 1; i < n; ++i)
            for (int j = first + 1; j < n; ++j)
                for (int p = 0; p < count; ++p)
                    q(i, j) -= v(i, p) * t_product(p, j);
    }

    bool negligible(int i) const {
        double const eps = DBL_EPSILON / 2.0;
        return e[i] * e[i] <= (eps * std::fabs(d[i])) * (eps * std::fabs(d[i + 1])) + DBL_MIN;
    }

    void solve(int first, int last) {
        bool const down = std::fabs(d[last]) < std::fabs(d[first]);
        int const step = down ? 1 : -1;
        auto const beside = [&](int i, int to) -> double & { return e[std::min(i, i + to)]; };
        for (int near = down ? last : first, end = down ? first : last; near != end;) {
            int far = near;
            while (far != end && !negligible(std::min(far, far - step)))
                far -= step;
            if (far == near) {
                near -= step;
                continue;
            }
            double const last_e = beside(near, -step), half = (d[near - step] - d[near]) / (2.0 * last_e);
            double g = d[far] - (d[near] - last_e / (half + std::copysign(length(half, 1.0), half)));
            double c = 1.0, s = 1.0, p = 0.0;
            for (int i = far; i != near; i += step) {
                double const f = s * beside(i, step), b = c * beside(i, step), r = length(g, f);
                c = f == 0.0 ? 1.0 : g / r;
                s = f == 0.0 ? 0.0 : f / r;
                if (i != far) beside(i, -step) = f == 0.0 ? g : r;
                g = d[i] - p;
                double const t = (d[i + step] - g) * s + 2.0 * c * b;
                p = s * t;
                d[i] = g + p;
                g = c * t - b;
                for (int k = 0; k < n; ++k) {
                    double const x = q(k, i), y = q(k, i + step);
                    q(k, i) = c * x + s * y;
                    q(k, i + step) = c * y - s * x;
                }
            }
            d[near] -= p;
            beside(near, -step) = g;
        }
    }
};
