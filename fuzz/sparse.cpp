#include <algorithm>
#include <cmath>
#include <vector>

#include "fuzz/support/bytes.h"
#include "maths/maths.h"

// Scripts of operations on sparse matrices and on a dense model, which must have equal results. All values are small
// integers, so that every result is exact.

namespace {

/// What a sparse matrix should hold: values, and which elements are stored.
struct Dense {
    Dense(int r, int c) : rows(r), cols(c), value(r * c, 0.0), stored(r * c, 0) {}

    double & at(int i, int j) { return value[i * cols + j]; }
    double at(int i, int j) const { return value[i * cols + j]; }
    bool has(int i, int j) const { return stored[i * cols + j] != 0; }
    void put(int i, int j, double v) {
        value[i * cols + j] = v;
        stored[i * cols + j] = 1;
    }

    /// Puts the elements of d at (row, col) and on.
    void put(int row, int col, Dense const & d) {
        for (int i = 0; i < d.rows; ++i) {
            for (int j = 0; j < d.cols && row + i < rows && col + j < cols; ++j) {
                if (row + i >= 0 && col + j >= 0 && d.has(i, j)) put(row + i, col + j, d.at(i, j));
            }
        }
    }

    Dense transposed() const {
        Dense t(cols, rows);
        for (int i = 0; i < rows; ++i) {
            for (int j = 0; j < cols; ++j) {
                if (has(i, j)) t.put(j, i, at(i, j));
            }
        }
        return t;
    }

    Dense operator*(Dense const & b) const {
        Dense product(rows, b.cols);
        for (int i = 0; i < rows; ++i) {
            for (int j = 0; j < b.cols; ++j) {
                for (int k = 0; k < cols; ++k) {
                    if (has(i, k) && b.has(k, j)) product.put(i, j, product.at(i, j) + at(i, k) * b.at(k, j));
                }
            }
        }
        return product;
    }

    void add(Dense const & b, double sign) {
        for (int i = 0; i < rows; ++i) {
            for (int j = 0; j < cols; ++j) {
                if (b.has(i, j)) put(i, j, at(i, j) + sign * b.at(i, j));
            }
        }
    }

    Dense with_diagonal_block(Dense const & b) const {
        Dense joined(rows + b.rows, cols + b.cols);
        joined.put(0, 0, *this);
        joined.put(rows, cols, b);
        return joined;
    }

    double largest() const {
        double m = 0.0;
        for (double const v : value)
            m = std::max(m, std::fabs(v));
        return m;
    }

    int rows, cols;
    std::vector<double> value;
    std::vector<char> stored;
};

mlSparseRowIT first_elements(mlSparseMatrix const & m, int i) { return m.row_iterator(i); }
mlSparseRowIT first_elements(mlSparseSymMatrix const & m, int i) { return m.upper_triangle_iterator(i); }

/// The matrix equals the model; a symmetric one stores the upper triangle only.
template <class Matrix> void require_equal(Matrix const & m, Dense const & d) {
    bool const symmetric = std::is_same_v<Matrix, mlSparseSymMatrix>;
    require(m.rows() == d.rows && m.cols() == d.cols, "shape");
    mlMatrix dense;
    m.decompress(dense);
    mlVector x(mlVectorZero, d.cols), y;
    for (int j = 0; j < d.cols; ++j)
        x[j] = j % 5 - 2;
    m.multiply_vector(x, y);
    int count = 0;
    for (int i = 0; i < d.rows; ++i) {
        mlSparseRowIT it = first_elements(m, i);
        mlSparseElement const * e = it.first();
        double sum = 0.0;
        for (int j = 0; j < d.cols; ++j) {
            require(m.element(i, j) == d.at(i, j) && dense(i, j) == d.at(i, j), "element");
            sum += d.at(i, j) * x[j];
            if (!d.has(i, j) || (symmetric && j < i)) continue;
            require(e != nullptr && e->index == j && e->value == d.at(i, j), "stored element");
            e = it.next();
            ++count;
        }
        require(e == nullptr, "end of the row");
        require(y[i] == sum, "product with a vector");
    }
    require(m.num_non_zero_elements() == count, "number of elements");
}

/// A matrix of the script's making.
void make(Bytes & script, int rows, int cols, mlSparseMatrix & m, Dense & d) {
    m.become(mlMatrixZero, rows, cols);
    d = Dense(rows, cols);
    for (int i = 0; i < rows; ++i) {
        for (int j = script.below(4); j < cols; j += 1 + script.below(4)) {
            double const v = script.below(7) - 3;
            m.set(i, j, v);
            d.put(i, j, v);
        }
    }
}

void edit_general(Bytes & script) {
    mlSparseMatrix m, other, out;
    Dense d(0, 0), other_d(0, 0);
    while (!script.empty()) {
        int const r = script.below(7), c = script.below(7);
        if (d.largest() > 1e6 || d.rows > 24 || d.cols > 24) make(script, r, c, m, d);
        switch (script.below(12)) {
        case 0: make(script, r, c, m, d); break;
        case 1:
            make(script, d.cols, c, other, other_d);
            m.become(mlMatrixProduct, m, other);
            d = d * other_d;
            break;
        case 2:
            m.become(mlMatrixTranspose, m);
            d = d.transposed();
            break;
        case 3:
        case 4: {
            make(script, d.rows, d.cols, other, other_d);
            mlSparseMatrix const & operand = c == 0 ? m : other;
            r % 2 == 0 ? m += operand : m -= operand;
            d.add(c == 0 ? Dense(d) : other_d, r % 2 == 0 ? 1.0 : -1.0);
            break;
        }
        case 5:
            m *= r - 3.0;
            for (double & v : d.value)
                v *= r - 3.0;
            break;
        case 6: {
            make(script, r, d.cols, other, other_d);
            m.concatenate_below(other);
            Dense joined(d.rows + r, d.cols);
            joined.put(0, 0, d);
            joined.put(d.rows, 0, other_d);
            d = joined;
            break;
        }
        case 7: {
            make(script, d.rows + r % 2, c, other, other_d);
            m.concatenate_right(other);
            Dense joined(d.rows, d.cols + c);
            joined.put(0, 0, d);
            joined.put(0, d.cols, other_d);
            d = joined;
            break;
        }
        case 8:
            make(script, r, c, other, other_d);
            m.concatenate_diagonal(other);
            d = d.with_diagonal_block(other_d);
            break;
        case 9: {
            int const first_row = r % (d.rows + 1), first_col = c % (d.cols + 1);
            int const rows = script.below(d.rows - first_row + 1), cols = script.below(d.cols - first_col + 1);
            m.extract_sub_matrix(first_row, first_col, rows, cols, c % 2 == 0 ? m : out);
            if (c % 2 != 0) m.become(utCopy, out);
            Dense block(rows, cols);
            block.put(-first_row, -first_col, d);
            d = block;
            break;
        }
        case 10:
            m.set_invalid();
            d = Dense(0, 0);
            break;
        case 11:
            m.clear(r % 2);
            d = Dense(d.rows, d.cols);
            break;
        }
        require_equal(m, d);
    }
}

void edit_symmetric(Bytes & script) {
    mlSparseSymMatrix s, other_s;
    mlSparseMatrix other, full;
    Dense d(0, 0), other_d(0, 0);
    while (!script.empty()) {
        int const r = script.below(7), c = script.below(7);
        switch (d.largest() > 1e6 || d.rows > 24 ? 0 : script.below(5)) {
        case 0:
            make(script, r, c, other, other_d);
            s.become(mlMatrixPremultiplyTranspose, other);
            d = other_d.transposed() * other_d;
            break;
        case 1: {
            make(script, d.rows, c, other, other_d);
            s.concatenate(other);
            Dense joined(d.rows + c, d.cols + c);
            joined.put(0, 0, d);
            joined.put(0, d.cols, other_d);
            joined.put(d.rows, 0, other_d.transposed());
            d = joined;
            break;
        }
        case 2:
            make(script, r, c, other, other_d);
            other_s.become(mlMatrixPremultiplyTranspose, other);
            s.concatenate_diagonal(other_s);
            d = d.with_diagonal_block(other_d.transposed() * other_d);
            break;
        case 3:
            make(script, r, d.cols, other, other_d);
            other_s.become(mlMatrixPremultiplyTranspose, other);
            c % 2 == 0 ? s += other_s : s -= other_s;
            d.add(other_d.transposed() * other_d, c % 2 == 0 ? 1.0 : -1.0);
            break;
        case 4:
            other_s.become(utCopy, s);
            s.become(utCopy, other_s);
            break;
        }
        require_equal(s, d);
        full.become(utCopy, s);
        require_equal(full, d);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    Bytes script(data, size);
    script.below(2) == 0 ? edit_general(script) : edit_symmetric(script);
    return 0;
}
