#include "maths/kernels/mlKernels.h"

#include <atomic>
#include <initializer_list>

#include "maths/kernels/mlInstructionSet.h"

namespace ml_baseline {
extern mlKernels const kernels;
}
#if defined(__x86_64__)
namespace ml_avx2 {
extern mlKernels const kernels;
}
namespace ml_avx512 {
extern mlKernels const kernels;
}
#endif

namespace {

mlKernels const * kernels_of(enum mlInstructionSet set) {
#if defined(__x86_64__)
    __builtin_cpu_init();
    if (set == mlInstructionSetAvx512 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq"))
        return &ml_avx512::kernels;
    if (set == mlInstructionSetAvx2 && __builtin_cpu_supports("avx2")) return &ml_avx2::kernels;
#endif
    return set == mlInstructionSetBaseline ? &ml_baseline::kernels : nullptr;
}

std::atomic<mlKernels const *> kernels_in_use{nullptr};

mlKernels const * choose_kernels() {
    for (auto const set : {mlInstructionSetAvx512, mlInstructionSetAvx2}) {
        if (mlKernels const * const kernels = kernels_of(set)) return kernels;
    }
    return &ml_baseline::kernels; // GCOV_EXCL_LINE: machines without AVX2 only
}

} // namespace

mlKernels const & ml_kernels() {
    mlKernels const * kernels = kernels_in_use.load(std::memory_order_relaxed);
    if (kernels == nullptr) { // threads that come here together choose the same
        kernels = choose_kernels();
        kernels_in_use.store(kernels, std::memory_order_relaxed);
    }
    return *kernels;
}

enum mlInstructionSet ml_instruction_set() {
    mlKernels const * const kernels = &ml_kernels();
    for (auto const set : {mlInstructionSetAvx512, mlInstructionSetAvx2}) {
        if (kernels == kernels_of(set)) return set;
    }
    return mlInstructionSetBaseline;
}

int ml_use_instruction_set(enum mlInstructionSet set) {
    mlKernels const * const kernels = kernels_of(set);
    if (kernels == nullptr) return 0;
    kernels_in_use.store(kernels, std::memory_order_relaxed);
    return 1;
}
