#include "bits/digest.h"

namespace {

void fill(mlSparseMatrix & m, int rows, int cols, Operands & operands) {
    m.become(mlMatrixZero, rows, cols);
    for (int i = 0; i < rows; ++i) {
        for (int j = operands.below(4); j < cols; j += 1 + operands.below(6))
            m.set(i, j, operands.number());
    }
}

void digest_rows(ExactDigest & digest, mlSparseMatrix const & m) {
    for (int i = 0; i < m.rows(); ++i) {
        mlSparseRowIT row = m.row_iterator(i);
        for (mlSparseElement const * e = row.first(); e != nullptr; e = row.next()) {
            digest(e->index);
            digest(e->value);
        }
    }
}

} // namespace

void digest_sparse() {
    ExactDigest digest("sparse matrices");
    Operands operands(51);
    for (int n = 1; n < 40; ++n) {
        mlSparseMatrix a, b, c;
        fill(a, n, n + 2, operands);
        fill(b, n + 2, n, operands);
        c.become(mlMatrixProduct, a, b);
        digest_rows(digest, c);
        c.become(mlMatrixTranspose, b);
        c -= a;
        c *= 1.3;
        c /= 0.7;
        digest_rows(digest, c);
        mlVector x, y(mlVectorZero, n + 2);
        operands.become(x, n + 2);
        c.multiply_vector(x, y);
        digest(y);

        mlSparseSymMatrix const s(mlMatrixPremultiplyTranspose, a);
        mlMatrix dense, product;
        s.decompress(dense);
        digest(dense);
        s.multiply_matrix(dense, product);
        digest(product);
    }
}
