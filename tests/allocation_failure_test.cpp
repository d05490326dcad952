#include <cstdlib>
#include <functional>
#include <new>
#include <sstream>

#include <gtest/gtest.h>

#include "maths/maths.h"

// Every story of operations below is told again and again while its first, second, third ... request for memory fails,
// and all that follow. Arrays fail through the library's hook; `operator new` asks the hook too, so that one count
// covers both.

namespace {

long live_blocks = 0;
bool counts_requests = false;

void * allocate(std::size_t bytes) {
    if (counts_requests) coReleaseStorage(coResizeStorage(nullptr, 1)); // throws when it is this request's turn
    void * const block = std::malloc(bytes);
    if (block == nullptr) throw std::bad_alloc();
    ++live_blocks;
    return block;
}

void deallocate(void * block) {
    if (block == nullptr) return;
    --live_blocks;
    std::free(block);
}

} // namespace

void * operator new(std::size_t bytes) { return allocate(bytes); }
void * operator new(std::size_t bytes, std::align_val_t alignment) {
    if (static_cast<std::size_t>(alignment) > __STDCPP_DEFAULT_NEW_ALIGNMENT__) std::abort();
    return allocate(bytes);
}
void operator delete(void * block) noexcept { deallocate(block); }
void operator delete(void * block, std::size_t) noexcept { deallocate(block); }
void operator delete(void * block, std::align_val_t) noexcept { deallocate(block); }
void operator delete(void * block, std::size_t, std::align_val_t) noexcept { deallocate(block); }

// Blocks of arrays are counted where the C library lets a program step in between. The address sanitizer, which is in
// that place itself, looks for leaks on its own.
#if defined(__has_feature)
#define HAS_FEATURE(feature) __has_feature(feature)
#else
#define HAS_FEATURE(feature) 0
#endif
#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !HAS_FEATURE(address_sanitizer)
extern "C" {
void * __libc_malloc(std::size_t);
void * __libc_realloc(void *, std::size_t);
void __libc_free(void *);

void * malloc(std::size_t bytes) noexcept {
    ++live_blocks;
    return __libc_malloc(bytes);
}
void * realloc(void * block, std::size_t bytes) noexcept {
    if (block == nullptr) ++live_blocks;
    return __libc_realloc(block, bytes);
}
void free(void * block) noexcept {
    if (block != nullptr) --live_blocks;
    __libc_free(block);
}
}
#endif

namespace {

/// Lets `successes` requests through, and none after them.
void fail_after(long successes) {
    coFailStorageAfter(successes);
    counts_requests = successes >= 0;
}

/// Runs an operation that promises to change nothing when it fails.
template <class Operation, class Intact> void all_or_nothing(Operation operation, Intact intact) {
    try {
        operation();
    } catch (std::bad_alloc const &) {
        fail_after(-1);
        EXPECT_TRUE(intact());
        fail_after(0);
        throw;
    }
}

void arrays() {
    doublecoDynArr a(3, 2);
    a[0] = 1.0;
    all_or_nothing([&] { a[40] = 2.0; }, [&] { return a.size() == 1 && a.capacity() == 3 && a[0] == 1.0; });
    all_or_nothing([&] { a.shrink(5, 1); }, [&] { return a.size() == 41 && a.capacity() == 41 && a[40] == 2.0; });
    doublecoDynArr b{1.0, 2.0}, c(utCopy, a);
    all_or_nothing([&] { b.become(utCopy, a); }, [&] { return b.size() == 2 && b[1] == 2.0; });
    c.clear(1);

    mlVectorcoDynArr vectors(1, 3); // of elements that are constructed
    vectors.expand(2);
    vectors[1].expand(7);
    mlVector const * const second = &vectors[1];
    all_or_nothing([&] { vectors.reserve(9); }, [&] { return &vectors[1] == second && second->size() == 7; });
    vectors[0].become(mlVectorZero, 4);
    mlVectorcoDynArr const copied(utCopy, vectors);

    doublecoDynArr2D table(2, 2, 1, 3);
    table(1, 1) = 5.0;
    all_or_nothing([&] { table(9, 0) = 1.0; }, [&] { return table.rows() == 2 && table(1, 1) == 5.0; });
    all_or_nothing([&] { table.expand(3, 30); }, [&] { return table.rows() == 10 && table.cols() == 2; });
}

void paged_arrays() {
    doublecoPageArr a(2, 1, 1);
    a[0] = 1.0;
    all_or_nothing([&] { a[30] = 2.0; }, [&] { return a.size() == 1 && a[0] == 1.0; });
    doublecoPageArr b(utCopy, a), c{3.0, 4.0};
    b.copy(a, 9, 60, 0);
    double const more[] = {1.0, 2.0, 3.0};
    all_or_nothing([&] { b.copyin(more, 3, 120, 0); }, [&] { return b.size() == 69; });
    c.become(utCopy, b);
    c.shrink(3, 1);
    doublecoPageArr d(6, 5, 5);
    d[2] = 7.0;
    all_or_nothing([&] { d.repaginate(); }, [&] { return d.size() == 3 && d.page_shift() == 6 && d[2] == 7.0; });

    intcoPageArr index{2, 0, 1};
    doublecoQuickSortIndex(c, index).sort(&index, 3);
    intcoDynArr numbers{3, 1, 2};
    mlQuickSortDynArrInt().sort(&numbers, 3);
    mlTinyVector3coPageArr points;
    points[300][0] = 1.0;
}

void vectors_and_matrices() {
    double const values[] = {4.0, 1.0, 2.0, 1.0, 5.0, 3.0, 2.0, 3.0, 9.0};
    mlVector v(mlVectorZero, 3), w;
    w.become(utConvert, values, 3);
    all_or_nothing([&] { v[20] = 1.0; }, [&] { return v.size() == 3 && v.sum() == 0.0; });
    mlMatrix a(utConvert, values, 3, 3), b(mlMatrixTranspose, a), c(mlMatrixProduct, a, b);
    v.become(mlMatrixProduct, a, w);
    multiply(a, b.row(1), v);
    multiply(c, a, c);
    b.become(utCopy, a).become(mlMatrixHilbert, 4).become(mlMatrixIdentity, 5).become(mlMatrixZero, 6, 6);
    b.become(mlMatrixTranspose, a).become(mlMatrixProduct, b, a).become(utConvert, values, 2, 4);
    a.append_row(w);
    w.become(mlVectorZero, 4);
    a.append_col(w);
    a.swap_rows(0, 1);
    a.swap_cols(0, 1);
    a.expand(7, 3, 1.0);
    a.delete_row(0);
    a.delete_col(0);
    std::ostringstream stream;
    mlTinyVector2coDynArr pairs;
    pairs.expand(2);
    pairs[0].fill(1.0);
    pairs[1].fill(2.0);
    stream << a << v << pairs;
}

/// Objects that live on after the failure, and then do all again.
struct Survivors {
    void run() {
        v.become(mlVectorZero, 3)[5] = 1.0;
        vectors[3].become(mlVectorZero, 4);
        vectors.shrink(2, 1);
        m.become(mlMatrixHilbert, 3).append_col(mlVector(mlVectorZero, 3));
        m.append_row(mlVector(mlVectorZero, 4));
        multiply(m, m, m);
        n.become(utCopy, m).expand(5, 6, 1.0);
        v.become(mlMatrixProduct, n, vectors[4].become(mlVectorZero, 6));
        for (int i = 0; i < 40; ++i)
            pages[i] = i;
        other.become(utCopy, pages);
        pages.shrink(20, 1);
        other.shrink(3, 1);
        other.repaginate();
    }

    void expect_sound() const {
        EXPECT_LE(m.rows() * m.cols(), m.size());
        EXPECT_LE(n.rows() * n.cols(), n.size());
        for (intcoPageArr const * array : {&pages, &other}) {
            EXPECT_LE(array->size(), array->blocks() * array->page_size());
            for (int i = 0; i < array->size(); ++i)
                EXPECT_EQ((*array)[i], i);
        }
    }

    mlVector v;
    mlMatrix m, n;
    mlVectorcoDynArr vectors;
    intcoPageArr pages = intcoPageArr(2, 1, 1), other;
};

void survivors() {
    Survivors objects;
    try {
        objects.run();
    } catch (std::bad_alloc const &) {
        fail_after(-1);
        objects.expect_sound();
        objects.run();
        objects.expect_sound();
        throw;
    }
}

/// (x + y, x y), with derivatives.
struct SumAndProduct : mlFunctionN {
    SumAndProduct() { input_dimension = output_dimension = 2; }
    void function(mlSlice const & x, mlVector & y) const override {
        y[0] = x[0] + x[1];
        y[1] = x[0] * x[1];
    }
    void function_gradient(mlSlice const & x, mlMatrix & j) const override {
        j(0, 0) = j(0, 1) = 1.0;
        j(1, 0) = x[1];
        j(1, 1) = x[0];
    }
};

/// A bowl with its lowest point at (1, 1, ...).
struct Bowl : mlFunctionN1 {
    explicit Bowl(int n) { dimension = n; }
    double function(mlSlice const & x) const override {
        double sum = 0.0;
        for (int i = 0; i < dimension; ++i)
            sum += (i + 1) * (x[i] - 1.0) * (x[i] - 1.0);
        return sum;
    }
};

void functions() {
    SumAndProduct const f;
    mlCachedFunctionN const cached(&f);
    mlVector x(mlVectorZero, 2), y(mlVectorZero, 2);
    mlMatrix jacobian(mlMatrixZero, 2, 2);
    cached.function(x.slice(), y);
    cached.function_gradient(x.slice(), jacobian);
    Bowl bowl(3);
    mlVector const point(mlVectorZero, 3);
    mlVector gradient;
    mlMatrix hessian;
    bowl.gradient(point.slice(), gradient);
    bowl.hessian(point.slice(), hessian);
    mlLineOnFunctionN1 const line(point, gradient, &bowl);
    mlSquaredLengthFunc2 const squared_length(&f);
    mlLineOnFunction2 const line2(1.0, 2.0, 0.0, 0.0, &squared_length);
    mlIntegrateRomberg(1e-9, 6).integrate(line, line2.function(0.0), 1.0);
}

void polynomials() {
    double const x[] = {0.0, 1.0, 3.0}, y[] = {2.0, 1.0, 5.0};
    double c[4], d[12] = {1.0, 2.0};
    mlPolynomial polynomial;
    polynomial.fit(x, y, 2, c);
    polynomial.fit(0.0, 1.0, y, 2, c);
    int degree = 1;
    polynomial.multiply(2, c, degree, d);
    mlTinyVector2 points[3], curve[3];
    for (int i = 0; i < 3; ++i)
        points[i].fill(y[i]);
    mlTinyVector2Polynomial().fit(0.0, 1.0, points, 2, curve);
}

void decompositions() {
    mlMatrix const a(mlMatrixHilbert, 3);
    mlVector b(mlVectorZero, 3), x;
    b.fill(1.0);
    mlMatrix out;
    mlLUDecomposition const lu(a);
    lu.solve(b, x);
    lu.solve(a, out);
    lu.inverse(out);
    lu.lower_matrix(out);
    lu.upper_matrix(out);
    lu.permutation_matrix(out);
    mlSingularValueDecomposition const svd(a);
    svd.solve(b, x);
    svd.solve(a, out);
    mlSymEigenVecs symmetric(a);
    symmetric.calculate();
    mlATAEigenVecs normal(a);
    normal.calculate();
    mlAsymEigenVecs3 general(a);
    general.calculate();
    general.eigen_values(x);
    mlMatrix const small(mlMatrixHilbert, 2);
    mlAsymEigenVecs2 general2(small);
    general2.calculate();
    doublecoDynArr2D points(4, 2, 1, 1);
    for (int i = 0; i < 8; ++i)
        points(i / 2, i % 2) = i * i % 5;
    mlPCA const pca(points);
    mlVector axis;
    pca.axis(0, axis);
    pca.eigenvalues(x);

    mlMatrix definite(mlMatrixIdentity, 3);
    definite(0, 2) = 0.5;
    mlCholeskyDecomposition const cholesky(definite);
    cholesky.solve(b, x);
    cholesky.solve(a, out);
    cholesky.inverse(out);
    cholesky.matrix_l(out);
    cholesky.matrix_l_inverted(out);
    cholesky.matrix_original(out);
    mlMatrix q, r;
    mlQRDecomposition qr(&q, &r);
    qr.set_Q_orthonormal();
    for (int i = 0; i < 3; ++i) {
        x = definite.row(i);
        qr.add(&x);
    }
    qr.get_orthonormal_Q(out);
    mlMatrix basis(mlMatrixIdentity, 2);
    basis(1, 0) = 3.0;
    mlGramSchmidt rows(&basis);
    rows.add(&axis, 1);
    mlSlice solution = x.slice();
    mlTridiagonal(3, b.slice(), b.slice(), b.slice()).solve_periodic(b.slice(), solution);
}

/// Distances of points from a line through (0, p0) of slope p1.
struct Line : mlDistanceLeastSquares {
    Line() : mlDistanceLeastSquares(2, 4) {}
    void normalise_parameters(mlVector &) override {}
    void distance(double & d, int i) override { d = parameters[0] + parameters[1] * i - i * i; }
    void distance_and_gradient(double & d, mlVector & gradient, int i) override {
        distance(d, i);
        gradient[0] = 1.0;
        gradient[1] = i;
    }
};

void optimisation() {
    Bowl bowl(2);
    mlVector x(mlVectorZero, 2);
    mlMatrix directions(mlMatrixIdentity, 2);
    int flag = 0;
    ml_powell_minimum_search(x, directions, 1e-6, flag, bowl);
    mlNewtonRaphson(mlNRDim, 2).solve(SumAndProduct(), x, 1e-6, flag);
    Line line;
    mlVector fitted;
    mlLevenbergMarquardt(line).fit(x, fitted);
    line.point_distribution_quality(fitted);
    mlDownHillSimplex simplex(2);
    simplex.solve(bowl, x, mlDownHillSimplexCoarse);
    mlVector lowest;
    simplex.result(lowest);
}

void sparse_matrices() {
    int const n = 90; // a row of a product that long needs memory while it is summed
    mlSparseMatrix a(mlMatrixZero, 3, n);
    for (int i = 0; i < 3; ++i) {
        for (int j = i; j < n; j += 1 + 30 * i)
            a.set(i, j, 1.0 + j);
    }
    mlSparseMatrix product(mlMatrixProduct, mlSparseMatrix(mlMatrixIdentity, 3), a), copied(utCopy, product), block;
    copied += product;
    mlSparseMatrix const & itself = copied;
    copied -= itself;
    product.become(mlMatrixTranspose, product).become(mlMatrixProduct, a, product).become(mlMatrixTranspose, product);
    a.extract_sub_matrix(0, 1, 3, 30, block);
    block.extract_sub_matrix(0, 0, 2, 2, block);
    block.concatenate_below(block);
    block.concatenate_right(block);
    block.concatenate_diagonal(a);
    block.set_invalid();
    block.become(mlMatrixIdentity, 9);
    mlVector x(mlVectorZero, 9);
    block.multiply_vector(x, x);
    mlMatrix dense(mlMatrixIdentity, 9);
    block.multiply_matrix(dense, dense);
    block.decompress(dense);

    mlSparseSymMatrix s(mlMatrixPremultiplyTranspose, a);
    s += mlSparseSymMatrix(utCopy, s);
    mlSparseMatrix const full(utCopy, s);
    s.multiply_vector(mlVector(mlVectorZero, n), x);
    s.concatenate(full);
    s.concatenate_diagonal(mlSparseSymMatrix(mlMatrixIdentity, 3));
    s.decompress(dense);
    s.multiply_matrix(dense, dense);

    mlSparseRow row;
    row.append_element(0, 1.0);
    all_or_nothing([&] { row.reserve(99); }, [&] { return row.size() == 1 && row.element(0) == 1.0; });
}

TEST(FailedAllocation, ComesOutAsBadAllocAndLeaksNothing) {
    struct {
        char const * title;
        std::function<void()> tell;
    } const stories[] = {{"arrays", arrays},
                         {"paged arrays", paged_arrays},
                         {"vectors and matrices", vectors_and_matrices},
                         {"survivors", survivors},
                         {"functions", functions},
                         {"polynomials", polynomials},
                         {"decompositions", decompositions},
                         {"optimisation", optimisation},
                         {"sparse matrices", sparse_matrices}};
    for (auto const & story : stories) {
        story.tell(); // what the run-time library allocates once and keeps
        long failures = 0;
        bool finished = false, other_exception = false, kept = false;
        for (long k = 0; !finished && !other_exception && !kept; ++k) {
            long const before = live_blocks;
            fail_after(k);
            try {
                story.tell();
                coReleaseStorage(coResizeStorage(nullptr, 1)); // streams swallow exceptions: was there one?
                finished = true;
            } catch (std::bad_alloc const &) {
                ++failures;
            } catch (...) {
                other_exception = true;
            }
            fail_after(-1);
            kept = live_blocks != before;
            EXPECT_FALSE(other_exception) << story.title << ": request " << k;
            EXPECT_FALSE(kept) << story.title << ": request " << k << " left " << live_blocks - before << " blocks";
        }
        EXPECT_GT(failures, 0) << story.title;
        RecordProperty(story.title, static_cast<int>(failures));
    }
}

} // namespace
