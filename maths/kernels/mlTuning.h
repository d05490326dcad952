#pragma once

// The constants that decide how an operation is done, never what it returns: with any sizes above 0 that pass the
// static asserts where they are used, every element keeps its order of operations. Those of the kernels, of the
// decompositions that use them and of sparse row sums stand here, each with where it is used and what is known of it,
// so that a test can take sizes on both sides of every one. For use inside the library.
//
// A comment says by "<= this" or "< this" up to where the first of two methods goes. Sizes count doubles, rows or
// columns. Where it says that something is faster, that was measured, and where it gives no figure, none was kept.
// Figures are times of the second method as multiples of the first one's, medians of 41 or 81 rounds in which they took
// turns, on a busy AMD EPYC (32 KiB of first-level and 1 MiB of second-level cache), by its AVX-512 kernels unless
// another set is named.

/// What the kernels of an instruction set keep in registers.
struct mlKernelShape {
    int lanes;       ///< doubles in a register
    int tile_rows;   ///< rows of c in a tile of gemm, and rows that a rank-one update treats together
    int tile_vecs;   ///< registers across a tile of gemm
    int solve_vecs;  ///< registers across a strip of `solve_latest_first`
    int gemv_groups; ///< groups of `lanes` rows that the matrix-vector kernels have in flight
};

namespace ml_tuning {

// ---- maths/kernels/, by instruction set ----

/// What every machine of the kind has. mlKernelsBaseline.cpp.
#if defined(__aarch64__)
/// 32 registers. With tiles of 4 in place of 2 registers across, gemm took 0.84 to 0.88 of the instructions at orders
/// 40 to 130 by GCC and Clang, counted under emulation; with 8 or 6 rows it took more than with 4. Not timed.
constexpr mlKernelShape baseline{.lanes = 2, .tile_rows = 4, .tile_vecs = 4, .solve_vecs = 8, .gemv_groups = 4};
#else
/// SSE2 on x86-64, 16 registers.
constexpr mlKernelShape baseline{.lanes = 2, .tile_rows = 4, .tile_vecs = 2, .solve_vecs = 8, .gemv_groups = 4};
#endif

/// 16 registers. mlKernelsAvx2.cpp.
constexpr mlKernelShape avx2{.lanes = 4, .tile_rows = 4, .tile_vecs = 2, .solve_vecs = 8, .gemv_groups = 2};

/// 32 registers. mlKernelsAvx512.cpp. A tile has not more rows and fewer registers across, because each row costs a
/// broadcast, which takes longer on processors that fill such a register by halves. No gemv_groups: the AVX2 kernels do
/// that work.
constexpr mlKernelShape avx512{.lanes = 8, .tile_rows = 4, .tile_vecs = 6, .solve_vecs = 8, .gemv_groups = 0};

// ---- gemm and gemm_subtract: mlProductKernel.inl ----

/// Rows and columns of c <= this, both: gemm by the baseline's registers, which so small matrices fill best.
constexpr int gemm_baseline_max = 4;

/// Elements of b <= this (64 KiB), or rows of c <= a tile's: b is read in place. More: it is copied, 1.06 at orders 96
/// to 200, but 0.93 for a b of 64 x 512 and 0.89 for one of 32 x 1000; by AVX2 0.96 at order 96, 0.92 at 128, 0.77 at
/// 192 and 0.54 for 64 x 512. So it suits AVX2 and wide matrices; square ones by AVX-512 would bear four times as much.
constexpr int gemm_unpacked_max_elements = 8192;

/// Inner dimension of a block of the copying method; c is kept in memory between one and the next. 256 in place of 128
/// took 0.98 to 1.05 of the time at orders up to 256 and 0.94 to 0.97 above, but needs twice the stack for b.
constexpr int gemm_kc = 128;

/// Rows of a block of a: mc x kc doubles are 256 KiB, which stay in the second-level cache while all of b passes.
constexpr int gemm_mc = 256;

/// Columns of b that are copied together: kc x nc doubles are 48 KiB. A multiple of every set's tile.
constexpr int gemm_nc = 48;

// ---- solve_latest_first: mlTriangularKernel.inl ----

/// Rows t > this prefetch the next row of the triangle, since triangles of more rows don't stay in the near caches.
constexpr int solve_prefetch_after_row = 256;

// ---- factor_panel: mlPanelKernel.inl ----

/// Eliminated columns whose updates the columns after them receive together, in one pass.
constexpr int panel_group_cols = 4;

// ---- products with a vector: maths/core/mlMatrixProducts.cpp ----

/// Rows and columns <= this, both: plain loops. Otherwise the kernels, 1.40 at order 5, 1.23 at 6, 1.02 at 7, 0.84 at
/// 8, 1.11 at 9, 1.02 at 10. Found by these figures: that it is ml_max_lanes - 1 is chance.
constexpr int gemv_plain_max = 7;

/// Rows and columns of the blocks of A that are copied, transposed, for A^T B. maths/core/multiply_transposed.cpp.
constexpr int transposed_product_block = 64;

// ---- strips of columns: mlColumnStrips.h, for the Cholesky factor and for `solve` and `inverse` with many columns
// (mlCholeskyDecomposition.cpp, mlLUDecomposition.cpp; the elimination of mlLUElimination.cpp has none) ----

/// Rows <= this: strips of `strip_wide_cols`; more rows: of `strip_narrow_cols`. Narrower strips lose time to the
/// latency of the subtractions, wider ones to that of the second-level cache. The Cholesky factor by strips of 16,
/// beside strips of 32: 1.12 at order 100, 1.16 at 200, 1.09 at 232, 1.03 at 256, 0.83 at 272, 0.75 at 400; by
/// AVX2 1.08 at 232, 1.00 at 256, 0.87 at 272; by SSE2 0.94, 0.95 and 0.85 there. Both widths are multiples of
/// ml_max_lanes.
constexpr int strip_wide_max_rows = 256;
constexpr int strip_wide_cols = 32;
constexpr int strip_narrow_cols = 16;

// ---- LU: mlLUElimination.cpp, mlTriangularSolve.cpp ----

/// Rows <= this: eliminated row by row in place; more: in panels, 1.57 at order 8, 1.10 at 16, 0.97 at 20, 0.71 at 24,
/// 0.45 at 32.
constexpr int lu_unblocked_max_rows = 20;

/// Rows <= this: the whole matrix is one panel.
constexpr int lu_one_panel_max_rows = 32;

/// Columns <= this are factored as one panel; more are halved, at a multiple of it. Panels of 32 took 0.99 to 1.04 of
/// the time of those of 16 at orders from 40 to 500.
constexpr int lu_panel_cols = 16;

/// Rows and right-hand sides <= this, both, for many right-hand sides of LU and Cholesky: plain loops; more of either:
/// the kernels.
constexpr int triangle_plain_max = 8;

/// Rows of L <= this are solved one after the other, for many right-hand sides; more are halved.
constexpr int unit_lower_leaf_rows = 16;

/// Rows of L < this are solved plainly for one right-hand side; from here on in blocks of `unit_lower_block_rows`,
/// each of which takes what is above it by gemv_subtract: 1.09 at order 24, 0.98 at 28, 0.90 at 32, 0.81 at 40, 0.48 at
/// 100; by AVX2 0.98 at 28, 0.93 at 32; by SSE2 1.05 at 28, 0.97 at 32.
constexpr int unit_lower_blocked_min_rows = 32;
constexpr int unit_lower_block_rows = 16;

// ---- Cholesky: mlCholeskyDecomposition.cpp ----

/// Rows < this: factored element by element; from here on in blocks of a strip's width: 1.01 at order 24, 0.99 at 26,
/// 0.88 at 28, 0.70 at 32; by AVX2 1.02, 0.95, 0.97 and 0.78; by SSE2 1.23, 1.34, 1.06 and 0.83.
constexpr int cholesky_blocked_min_rows = 26;

// ---- rotations of one-sided and two-sided Jacobi methods: mlJacobiRotations.cpp, ml_svd.cpp ----

/// Columns <= this: rows of a symmetric matrix are rotated by a plain loop; more: by the kernel. Measured.
constexpr int jacobi_plain_max_cols = 12;

// ---- singular values: maths/decompositions/svd/mlRotatedBasis.cpp ----

/// Rows <= this: rotations are applied immediately, while the processor waits for the square roots and divisions of
/// the next one. More rows: they are queued and applied strip by strip.
constexpr int rotations_immediate_max_rows = 200;

/// Rotations that are queued at most: enough that fetching a strip takes little time beside rotating it, while they (16
/// bytes each) stay in the second-level cache together with it.
constexpr int rotations_queue_length = 2000;

// ---- symmetric eigenvalues: mlTridiagonalReduction.cpp ----

/// Rows of the upper triangle that take the changes of a panel together, and are then copied below the diagonal. The
/// reduction by 64 in place of 32 took 1.04 of the time at orders 200 and 400, by 128 1.1, by 256 1.2.
constexpr int reduction_update_rows = 32;

// ---- sums of sparse rows: maths/sparse/mlSparseRowSum.cpp ----

/// Terms <= this are kept without being added up. More are added up before others come, so that they stay in the
/// second-level cache (a term takes 24 bytes while they are merged) and memory is bounded.
constexpr int sparse_pending_max_terms = 16384;

// ---- sparse Cholesky: maths/sparse/mlSymbolicCholesky.cpp, mlSparseCholesky.cpp ----

/// Columns of a panel at most.
constexpr int sparse_panel_max_cols = 48;

/// Columns <= this, of the panel that an update comes from or of those that it changes: plain loops in place; more of
/// both: the kernel, on a copy.
constexpr int sparse_update_plain_max_cols = 3;

/// Columns of a panel that are divided together.
constexpr int sparse_panel_block_cols = 8;

// ---- scratch: counts of doubles <= these lie on the stack, more come from the library's storage ----

constexpr int strip_scratch = 8192;      ///< mlColumnStrips.h, mlCholeskyDecomposition.cpp
constexpr int lu_panel_scratch = 4096;   ///< mlLUElimination.cpp
constexpr int reflection_scratch = 1024; ///< maths/decompositions/svd/mlBidiagonalisation.cpp
constexpr int jacobi_scratch = 1024;     ///< maths/decompositions/mlJacobiRotations.h, ml_svd.cpp
constexpr int eigen_scratch = 128;       ///< maths/decompositions/mlSymEigenVecs.cpp
constexpr int tridiagonal_scratch = 256; ///< maths/decompositions/mlTridiagonal.cpp: two vectors of the order
constexpr int gemv_scratch = 1024;       ///< maths/core/mlMatrixProducts.cpp: a slice's elements, gathered
constexpr int romberg_scratch = 32;      ///< maths/functions/mlIntegrateRomberg.cpp: one an extrapolation level, and 1

} // namespace ml_tuning
