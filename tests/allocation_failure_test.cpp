#include <cstdlib>
#include <fstream>

#include "tests/support/test.h"

#ifdef __linux__
#include <sys/resource.h>
#endif

// Every sequence of operations below is run again and again; each time its first, second, third ... request for memory
// fails, and all requests after that. Arrays fail through the library's hook; `operator new` calls the hook too, so
// that one count covers both; no caller needs more than malloc's alignment. The address sanitizer reports what a
// failure leaks.

namespace {

bool counts_requests = false;

} // namespace

// Not inlined: where GCC inlines one of new and delete, it warns that they do not match.
[[gnu::noinline]] void * operator new(std::size_t bytes) {
    if (counts_requests) coReleaseStorage(coResizeStorage(nullptr, 1)); // throws when this request has to fail
    if (void * const block = std::malloc(bytes)) return block;
    throw std::bad_alloc();
}
[[gnu::noinline]] void * operator new(std::size_t bytes, std::align_val_t) { return operator new(bytes); }
[[gnu::noinline]] void operator delete(void * block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void * block, std::size_t) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void * block, std::align_val_t) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void * block, std::size_t, std::align_val_t) noexcept { std::free(block); }

namespace {

/// Lets `successes` requests through, and none after them.
void fail_after(long successes) {
    coFailStorageAfter(successes);
    counts_requests = successes >= 0;
}

/// Runs an operation that promises to change nothing when it fails.
void all_or_nothing(auto operation, auto intact) {
    try {
        operation();
    } catch (std::bad_alloc const &) {
        fail_after(-1);
        EXPECT_TRUE(intact());
        fail_after(0);
        throw;
    }
}

/// The objects that outlive a failure: they are still valid, and the same operations can run on them again.
struct Objects {
    bool sound() const {
        bool sound = m.rows() * m.cols() <= m.size() && n.rows() * n.cols() <= n.size();
        for (intcoPageArr const * array : {&pages, &other})
            for (int i = 0; i < array->size(); ++i)
                sound &= i < array->blocks() * array->page_size() && (*array)[i] == i;
        for (int i = 0; i < sparse.rows(); ++i)
            sound &= sparse.last_in_row(i) < sparse.cols();
        return sound;
    }

    mlVector v;
    mlVectorcoDynArr vectors;
    mlMatrix m, n;
    intcoPageArr pages = intcoPageArr(2, 1, 1), other;
    mlSparseMatrix sparse;
};

void arrays(Objects & o) {
    doublecoDynArr a(3, 2), b{1.0, 2.0};
    a[0] = 1.0;
    all_or_nothing([&] { a[40] = 2.0; }, [&] { return a.size() == 1 && a.capacity() == 3 && a[0] == 1.0; });
    all_or_nothing([&] { a.shrink(5, 1); }, [&] { return a.size() == 41 && a.capacity() == 41 && a[40] == 2.0; });
    all_or_nothing([&] { b.become(utCopy, a); }, [&] { return b.size() == 2 && b[1] == 2.0; });
    o.vectors[3].become(mlVectorZero, 4); // elements that are constructed
    mlVector const * const last = &o.vectors[3];
    all_or_nothing([&] { o.vectors.reserve(20); }, [&] { return &o.vectors[3] == last && last->size() == 4; });
    o.vectors.shrink(2, 1);
    doublecoDynArr2D table(2, 2, 1, 3);
    table(1, 1) = 5.0;
    all_or_nothing([&] { table.expand(9, 30); }, [&] { return table.rows() == 2 && table(1, 1) == 5.0; });
}

void paged_arrays(Objects & o) {
    doublecoPageArr a(2, 1, 1), b{3.0, 4.0};
    a[0] = 1.0;
    all_or_nothing([&] { a[30] = 2.0; }, [&] { return a.size() == 1 && a[0] == 1.0; });
    all_or_nothing([&] { a.copy(b, 2, 120, 0); }, [&] { return a.size() == 31; });
    for (int i = 0; i < 40; ++i)
        o.pages[i] = i;
    o.other.become(utCopy, o.pages);
    o.pages.shrink(20, 1);
    o.other.shrink(3, 1);
    int const shift = o.other.page_shift();
    all_or_nothing([&] { o.other.repaginate(); },
                   [&] { return o.other.size() == 3 && o.other.page_shift() == shift && o.other[2] == 2; });
    doublecoQuickSortIndex(b, o.other).sort(&o.other, 2);
}

void vectors_and_matrices(Objects & o) {
    mlVector v(mlVectorZero, 3);
    all_or_nothing([&] { v[20] = 1.0; }, [&] { return v.size() == 3 && v.sum() == 0.0; });
    o.m.become(mlMatrixHilbert, 3).append_col(Vector{1.0, 2.0, 3.0});
    o.m.append_row(o.v.become(mlVectorZero, 4));
    multiply(o.m, o.m, o.m);
    o.n.become(utCopy, o.m).expand(5, 6, 1.0);
    o.n.delete_row(0);
    o.n.become(mlMatrixProduct, o.m, o.n).become(mlMatrixTranspose, o.m).become(utConvert, o.m.data(), 2, 8);
    std::ostringstream() << o.n << v;
}

double bowl(mlSlice const & x) { return (x[0] - 1.0) * (x[0] - 1.0) + (x[1] - 3.0) * (x[1] - 3.0); }

void functions_and_searches(Objects & o) {
    mlFunctionNOf const pair(2, 2, [](mlSlice const & x, mlVector & y) { y = Vector{x[0] + x[1], x[0] * x[1]}; });
    mlCachedFunctionN(&pair).function_gradient(mlVector(mlVectorZero, 2).slice(), o.m.become(mlMatrixZero, 2, 2));
    mlIntegrateRomberg(1.0, 40).integrate(mlFunctionOf([](double t) { return t; }), 0.0, 1.0);
    mlFunctionN1Of f(2, bowl);
    mlVector x(mlVectorZero, 2);
    int flag = 0;
    mlNewtonRaphson(mlNRDim, 2).solve(pair, x, 1e-6, flag);
    Vector p{0.0, 0.0}, t{0.0, 1.0, 2.0};
    mlCurveModel model(t.slice(), t.slice(), p, [](double s, mlVector const & q) { return q[0] + q[1] * s; });
    mlBoundedFit(model, x, x).fit(x, o.v);
    mlDownHillSimplex(2).solve(f, x, mlDownHillSimplexCoarse);
    mlQuasiNewton(2, 3).minimise(f, x);
    mlConstrainedQuadraticMinimiser minimiser(mlMatrix(mlMatrixZero, 2, 2), x);
    for (int i = 0; i < 2; ++i) {
        minimiser.add_lower_bound(i, -1.0);
        minimiser.add_upper_bound(i, 1.0);
        all_or_nothing([&] { minimiser.add_inequality(x.slice(), -9.0); },
                       [&] {
                           minimiser.add_lower_bound(0, 0.5);
                           return minimiser.minimise(o.v) == mlConstrainedQuadraticUnbounded && o.v[0] >= 0.5;
                       });
        minimiser.minimise(o.v);
    }
}

/// At sizes whose scratch comes from the heap, and where rotations are queued.
void decompositions(Objects & o) {
    mlGramSchmidt basis(&o.n.become(mlMatrixIdentity, 3));
    mlVector v{1.0, 2.0, 3.0};
    all_or_nothing([&] { basis.add(&v, 1); }, [&] { return o.n.rows() == 3 && v[0] == 1.0; });
    for (bool const orthonormal : {false, true}) {
        mlMatrix q, r;
        mlQRDecomposition qr(&q, &r);
        if (orthonormal) qr.set_Q_orthonormal();
        mlVector const second{3.0, 1.0, 2.0};
        qr.add(&v);
        all_or_nothing([&] { qr.add(&second); }, [&] { return q.rows() == 1 && r.rows() == 1; });
    }

    mlMatrix const tall(mlMatrixZero, 520, 4), wide(mlMatrixZero, 2, 1030);
    mlMatrix const a(mlMatrixIdentity, 520), small(mlMatrixIdentity, 70);
    mlVector x(mlVectorZero, 520);
    mlLUDecomposition(a).solve(tall, o.m);
    mlCholeskyDecomposition(a).solve(tall, o.n);
    mlSingularValueDecomposition(wide, mlSingularValueDecomposition::mlALL_U, mlSingularValueDecomposition::mlTHIN_V);
    mlSingularValueDecomposition(tall, mlSingularValueDecomposition::mlNO_U, mlSingularValueDecomposition::mlALL_V);
    mlSymEigenVecs(small).calculate();
    mlSymmetricEigen const eigen(small);
    ml_svd(mlMatrix(mlMatrixZero, 80, 40).data(), x.data(), 40, 40);
    doublecoDynArr2D points(300, 3, 1, 1);
    points(299, 2) = 1.0;
    mlPCA(points).eigenvalues(o.v);
    mlSlice solution = x.slice();
    mlTridiagonal(520, a.row(0), a.diagonal(), a.row(1)).solve_periodic(tall.col(0), solution);
    multiply(a, tall.col(1), o.v);
}

void sparse_matrices(Objects & o) {
    int const n = 90; // a row of a product that long needs memory while it is summed
    mlSparseMatrix a(mlMatrixZero, 3, n), block;
    for (int i = 0; i < 3; ++i)
        for (int j = i; j < n; j += 1 + 30 * i)
            a.set(i, j, 1.0 + j);
    o.sparse.become(mlMatrixProduct, mlSparseMatrix(mlMatrixIdentity, 3), a) += a;
    o.sparse.become(mlMatrixTranspose, o.sparse).become(mlMatrixProduct, a, o.sparse);
    a.extract_sub_matrix(0, 1, 3, 30, block);
    block.concatenate_below(block);
    o.sparse.become(utCopy, a).concatenate_right(block);
    block.concatenate_diagonal(a);
    block.become(mlMatrixIdentity, 9).multiply_matrix(mlMatrix(mlMatrixIdentity, 9), o.m);
    mlSparseSymMatrix s(mlMatrixPremultiplyTranspose, a);
    s -= mlSparseSymMatrix(utCopy, s);
    s.concatenate(mlSparseMatrix(utCopy, s));
    s.concatenate_diagonal(mlSparseSymMatrix(mlMatrixIdentity, 3));
}

/// 2 on the diagonal and -1 beside it.
mlSparseSymMatrix chain(int n) {
    mlSparseSymMatrix m(mlMatrixZero, n);
    for (int i = 0; i < n; ++i)
        for (int j = i; j < std::min(i + 2, n); ++j)
            m.set(i, j, i == j ? 2.0 : -1.0);
    return m;
}

/// Factors of chain(3), which outlive a failure of their successors.
template <class Factors, class Matrix> void factors_that_last(Objects & o) {
    Matrix const a(utCopy, chain(3)), unit(mlMatrixIdentity, 5);
    Factors factors;
    auto const solves = [&] {
        factors.solve(mlVector{1.0, 0.0, 1.0}, o.v); // the sums of the rows
        return factors.status() == 1 && std::fabs(o.v[1] - 1.0) < 1e-15;
    };
    all_or_nothing([&] { factors.analyse(a); }, [&] { return factors.dimension() == 0; });
    all_or_nothing([&] { factors.factor(a); }, [&] { return factors.status() == 0; });
    all_or_nothing([&] { factors.factor(a); }, solves);
    all_or_nothing([&] { factors.analyse(unit); }, solves);
    factors.factor(unit);
    factors.solve(o.m.become(mlMatrixIdentity, 5), o.n);
}

void sparse_solvers(Objects & o) {
    factors_that_last<mlSparseCholesky, mlSparseSymMatrix>(o);
    factors_that_last<mlSparseLU, mlSparseMatrix>(o);
    mlSparseSymMatrix const symmetric = chain(90);
    mlSparseMatrix const general(utCopy, symmetric);
    mlIncompleteFactors const symmetric_factors(symmetric), general_factors(general);
    mlVector x{7.0};
    mlVector const b(mlMatrix(mlMatrixIdentity, 90).row(0));
    all_or_nothing([&] { mlConjugateGradients().solve(symmetric, b, x); },
                   [&] { return x.size() == 1 && x[0] == 7.0; });
    mlBiConjugateGradients bi_conjugate;
    bi_conjugate.set_preconditioner(&general_factors);
    bi_conjugate.solve(general, b, o.v);
}

TEST(FailedAllocation, ComesOutAsBadAllocAndLeavesObjectsThatServeOn) {
    int story = 0;
    for (auto const tell : {arrays, paged_arrays, vectors_and_matrices, functions_and_searches, decompositions,
                            sparse_matrices, sparse_solvers}) {
        ++story;
        bool finished = false;
        for (long k = 0; !finished && !HasFailure(); ++k) {
            SCOPED_TRACE(testing::Message() << "story " << story << ", request " << k);
            Objects objects;
            try {
                fail_after(k);
                tell(objects);
                coReleaseStorage(coResizeStorage(nullptr, 1)); // streams swallow exceptions: was there one?
                finished = true;
            } catch (std::bad_alloc const &) {
                fail_after(-1);
                EXPECT_TRUE(objects.sound());
                tell(objects);
                EXPECT_TRUE(objects.sound());
            }
            fail_after(-1);
            EXPECT_FALSE(finished && k == 0) << "no memory was requested";
        }
    }
}

#ifdef __linux__
extern "C" [[gnu::weak]] void __asan_init(); // there is one with the sanitizer, which needs far more than the limit

// A block that grows asks for room in reserve, and without it where there is too little memory for that.
TEST(FailedAllocation, OfRoomInReserveFallsBackToWhatIsNeeded) {
    if (__asan_init != nullptr) GTEST_SKIP() << "with the address sanitizer";
    int const before = 4 << 20, after = before + 1000; // with 16 MiB in reserve, of which a limit leaves half
    doublecoDynArr array(before, 1);
    array[before - 1] = 2.0;
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    rlimit old_limit;
    ASSERT_EQ(getrlimit(RLIMIT_AS, &old_limit), 0);
    rlimit const limit{pages * 4096 + (8 << 20), old_limit.rlim_max};
    if (setrlimit(RLIMIT_AS, &limit) != 0) GTEST_SKIP() << "as under an emulator";
    EXPECT_NO_THROW(array.reserve(after));
    setrlimit(RLIMIT_AS, &old_limit);
    EXPECT_EQ(std::pair(array.capacity(), array[before - 1]), std::pair(after, 2.0));
}
#endif

} // namespace
