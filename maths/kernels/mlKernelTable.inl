// The table of an instruction set's kernels, in the order of mlKernels. Included after all of them.

extern mlKernels const kernels;
mlKernels const kernels = {gemm,
                           gemm_subtract,
                           gemv,
                           gemv_subtract,
                           solve_latest_first,
                           factor_panel,
                           divide,
                           copy_transposed,
                           rank_one_update,
                           update_gemv_transposed,
                           update_gemv,
                           rotate,
                           sum_four_pairs,
                           rotate_strips};
