#include "maths/sparse/mlLeftLookingLU.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace {

double const least_pivot = 0x1p-50; // of the largest element of its column, rows weighted

bool is_finite(double x) { return std::fabs(x) <= std::numeric_limits<double>::max(); }

/// 2^-e for 2^e <= x < 2^(e + 1), -1022 <= e <= 1022; the ends for numbers beyond.
double power_of_two_below_reciprocal(double x) {
    auto const exponent = std::bit_cast<std::uint64_t>(x) >> 52;
    return std::bit_cast<double>((2046 - std::clamp<std::uint64_t>(exponent, 1, 2045)) << 52);
}

} // namespace

mlSparseLUFactors::mlSparseLUFactors(mlSymbolicLU const & symbolic)
    : l(symbolic.size()), u(symbolic.size()), pivots(mlVectorZero, symbolic.size()),
      f_rows(symbolic.outside().rows.size()), f_values(symbolic.outside().rows.size()) {
    row_order.expand(symbolic.size());
}

mlLeftLookingLU::mlLeftLookingLU(mlSymbolicLU const & symbolic, mlSparseMatrix const & a, double diagonal_preference,
                                 mlSparseLUFactors & factors)
    : symbolic_(symbolic), factors_(factors), diagonal_preference_(diagonal_preference),
      elements_(symbolic.num_elements()), inside_(elements_.data() + symbolic.outside().rows.size()),
      weights_(symbolic.size()), x_(symbolic.size(), 0.0), place_(symbolic.size()), row_(symbolic.size()),
      seen_(symbolic.size(), -1), above_(symbolic.size()), below_(symbolic.size()), search_ends_(symbolic.size()),
      to_search_(symbolic.size()) {
    std::ptrdiff_t const * slot = symbolic.slots();
    ml_for_each_element(a, [&](int, mlSparseElement const & e) {
        elements_[*slot++] = e.value;
        if (!is_finite(e.value) && non_finite_ < 0) non_finite_ = e.index;
    });
    for (int k = 0; k < symbolic.size(); ++k)
        place_[k] = row_[k] = k;
}

mlSparseLUStatus mlLeftLookingLU::factor(int & failed) {
    auto const end_with = [&](mlSparseLUStatus status, int columns, int column) {
        failed = column;
        finish(columns);
        return status;
    };
    if (symbolic_.unmatched_column() >= 0)
        return end_with(mlSparseLUStructurallySingular, 0, symbolic_.unmatched_column());
    if (non_finite_ >= 0) return end_with(mlSparseLUNotFinite, 0, non_finite_);
    set_row_weights();
    for (int b = 0; b < symbolic_.blocks(); ++b) {
        for (int j = symbolic_.first(b); j < symbolic_.first(b + 1); ++j) {
            mlSparseLUStatus const status = factor_column(j, symbolic_.first(b));
            if (status != mlSparseLUFactored) return end_with(status, j, symbolic_.columns()[j]);
        }
    }
    return end_with(mlSparseLUFactored, symbolic_.size(), -1);
}

void mlLeftLookingLU::set_row_weights() {
    auto const & rows = symbolic_.inside().rows;
    std::fill(weights_.begin(), weights_.end(), 0.0);
    for (std::ptrdiff_t p = 0; p < rows.size(); ++p)
        weights_[rows[p]] = std::max(weights_[rows[p]], std::fabs(inside_[p]));
    for (double & weight : weights_)
        weight = power_of_two_below_reciprocal(weight);
}

mlSparseLUStatus mlLeftLookingLU::factor_column(int j, int first) {
    find_elements(j, first);
    auto const & inside = symbolic_.inside();
    double largest = 0.0;
    for (std::ptrdiff_t p = inside.starts[j]; p < inside.starts[j + 1]; ++p) {
        int const row = inside.rows[p];
        x_[row] = inside_[p];
        largest = std::max(largest, std::fabs(inside_[p]) * weights_[row]);
    }
    if (!subtract_columns(j)) return mlSparseLUNotFinite;
    int const pivot = find_pivot(j, least_pivot * largest);
    if (pivot < 0) return mlSparseLUSingular;
    exchange_rows(j, pivot);
    store_column_of_l(j);
    prune(j);
    return mlSparseLUFactored;
}

void mlLeftLookingLU::find_elements(int j, int first) {
    auto const & inside = symbolic_.inside();
    auto const & l = factors_.l;
    num_above_ = num_below_ = 0;
    auto const reach = [&](int row) {
        if (seen_[row] == j) return;
        seen_[row] = j;
        if (place_[row] < j)
            to_search_.insert(place_[row] - first);
        else
            below_[num_below_++] = row;
    };
    for (std::ptrdiff_t p = inside.starts[j]; p < inside.starts[j + 1]; ++p)
        reach(inside.rows[p]);
    for (int k = to_search_.take_least(); k >= 0; k = to_search_.take_least()) {
        above_[num_above_++] = first + k;
        std::ptrdiff_t const end = search_ends_[first + k];
        for (std::ptrdiff_t p = l.starts[first + k]; p < end; ++p)
            reach(l.rows[p]);
    }
}

/// Returns whether all elements of the column are finite.
bool mlLeftLookingLU::subtract_columns(int j) {
    auto & [starts, rows, values] = factors_.u;
    factors_.u.reserve(starts[j] + num_above_);
    for (int i = 0; i < num_above_; ++i) {
        int const k = above_[i];
        double const u = std::exchange(x_[row_[k]], 0.0);
        rows[starts[j] + i] = k;
        values[starts[j] + i] = u;
        factors_.l.subtract(k, u, x_.data());
    }
    starts[j + 1] = starts[j] + num_above_;
    bool finite = true; // each column of L before a block's last has elements: what is not finite above comes down
    for (int i = 0; i < num_below_; ++i)
        finite = finite && is_finite(x_[below_[i]]);
    return finite;
}

/// The row, or -1 when no element is large enough.
int mlLeftLookingLU::find_pivot(int j, double threshold) const {
    double largest = threshold;
    int pivot = -1;
    for (int i = 0; i < num_below_; ++i) {
        int const row = below_[i];
        double const size = std::fabs(x_[row]) * weights_[row];
        if (size > largest || (size == largest && pivot >= 0 && place_[row] < place_[pivot])) {
            largest = size;
            pivot = row;
        }
    }
    int const diagonal = row_[j];
    if (pivot < 0 || seen_[diagonal] != j) return pivot;
    double const size = std::fabs(x_[diagonal]) * weights_[diagonal];
    return size > threshold && size >= diagonal_preference_ * largest ? diagonal : pivot;
}

void mlLeftLookingLU::exchange_rows(int j, int row) {
    int const other = row_[j];
    if (other == row) return;
    std::swap(row_[j], row_[place_[row]]);
    std::swap(place_[row], place_[other]);
    ++factors_.exchanges;
}

void mlLeftLookingLU::store_column_of_l(int j) {
    auto & [starts, rows, values] = factors_.l;
    factors_.l.reserve(starts[j] + num_below_);
    int const pivot_row = row_[j];
    double const pivot = std::exchange(x_[pivot_row], 0.0);
    factors_.pivots.data()[j] = pivot;
    std::ptrdiff_t to = starts[j];
    for (int i = 0; i < num_below_; ++i) {
        int const row = below_[i];
        if (row == pivot_row) continue;
        rows[to] = row;
        values[to++] = std::exchange(x_[row], 0.0) / pivot;
    }
    search_ends_[j] = starts[j + 1] = to;
}

void mlLeftLookingLU::prune(int j) {
    auto & [starts, rows, values] = factors_.l;
    int const * const rows_of_l = rows.data();
    for (int i = 0; i < num_above_; ++i) {
        int const k = above_[i];
        if (search_ends_[k] < starts[k + 1]) continue; // pruned already
        int const *const begin = rows_of_l + starts[k], *const end = rows_of_l + starts[k + 1];
        if (std::find(begin, end, row_[j]) == end) continue;
        std::ptrdiff_t kept = starts[k];
        for (std::ptrdiff_t p = starts[k]; p < starts[k + 1]; ++p) {
            if (place_[rows[p]] > j) continue;
            std::swap(rows[kept], rows[p]);
            std::swap(values[kept++], values[p]);
        }
        search_ends_[k] = kept;
    }
}

/// Names rows by their places from here on; columns from `columns` on have no elements.
void mlLeftLookingLU::finish(int columns) {
    int const n = symbolic_.size();
    for (mlSparseTriangle * const factor : {&factors_.l, &factors_.u}) {
        std::fill(factor->starts.begin() + columns + 1, factor->starts.end(), factor->starts[columns]);
        factor->shrink();
    }
    for (int & row : factors_.l.rows)
        row = place_[row];
    for (int k = 0; k < n; ++k)
        factors_.row_order.data()[k] = symbolic_.rows()[row_[k]];
    for (std::ptrdiff_t p = 0; p < factors_.f_rows.size(); ++p)
        factors_.f_rows[p] = place_[symbolic_.outside().rows[p]];
    std::copy_n(elements_.data(), factors_.f_values.size(), factors_.f_values.data());
}
