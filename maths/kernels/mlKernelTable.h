// The table of an instruction set's loops, in the order of mlKernels. Included after all of them.

extern mlKernels const kernels;
mlKernels const kernels = {multiply,           subtract_product, multiply_vector, subtract_product_vector,
                           solve_latest_first, factor_panel,     divide,          copy_transposed,
                           sum_columns,        sum_rows,         add_rank_one,    rotate,
                           rotate_strips};
