#include "benchmarks/reference.h"

#include <algorithm>
#include <ctime>
#include <vector>

namespace {

double seconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// The shortest of some runs, which nothing disturbed.
template <class Operation> double shortest(Operation operation) {
    double best = 1e9;
    for (int run = 0; run < 7; ++run) {
        double const start = seconds();
        operation();
        best = std::min(best, seconds() - start);
    }
    return best;
}

long const steps = 2000000;

/// So many steps of x <- x c + d in independent chains, which fill the registers; inlined into a function for each set.
/// The compiler does not know where a chain starts, or it would see that all are one.
template <int lanes, int chains> [[gnu::always_inline]] inline void multiply_and_add() {
    typedef double Lanes __attribute__((vector_size(8 * lanes)));
    Lanes const c = Lanes{} + 0.999, d = Lanes{} + 0.001;
    Lanes x[chains] = {};
#pragma GCC unroll 32
    for (int k = 0; k < chains; ++k)
        asm volatile("" : "+m"(x[k]));
    for (long i = 0; i < steps; ++i) {
#pragma GCC unroll 32
        for (int k = 0; k < chains; ++k)
            x[k] = x[k] * c + d;
    }
#pragma GCC unroll 32
    for (int k = 0; k < chains; ++k)
        asm volatile("" : : "m"(x[k]));
}

constexpr int few_chains = 12, many_chains = 24; // of 16 and of 32 registers

void run_baseline() { multiply_and_add<2, few_chains>(); }
#if defined(__x86_64__)
[[gnu::target("avx2")]] void run_avx2() { multiply_and_add<4, few_chains>(); }
[[gnu::target("avx512f")]] void run_avx512() { multiply_and_add<8, many_chains>(); }

double measure_peak(enum mlInstructionSet set) {
    __builtin_cpu_init();
    switch (set) {
    case mlInstructionSetAvx512:
        return __builtin_cpu_supports("avx512f") ? 2.0 * 8 * many_chains * steps / shortest(run_avx512) : 0.0;
    case mlInstructionSetAvx2:
        return __builtin_cpu_supports("avx2") ? 2.0 * 4 * few_chains * steps / shortest(run_avx2) : 0.0;
    default: return 2.0 * 2 * few_chains * steps / shortest(run_baseline);
    }
}
#else
double measure_peak(enum mlInstructionSet set) {
    return set == mlInstructionSetBaseline ? 2.0 * 2 * few_chains * steps / shortest(run_baseline) : 0.0;
}
#endif

} // namespace

double unfused_peak(enum mlInstructionSet set) {
    static double const peaks[] = {measure_peak(mlInstructionSetBaseline), measure_peak(mlInstructionSetAvx2),
                                   measure_peak(mlInstructionSetAvx512)};
    return peaks[set];
}

double stream_bandwidth() {
    static double const bandwidth = [] {
        std::size_t const n = 8 << 20; // 64 MiB an array
        std::vector<double> a(n), b(n, 1.0), c(n, 2.0);
        double const time = shortest([&] {
            for (std::size_t i = 0; i < n; ++i)
                a[i] = b[i] + 3.0 * c[i];
            asm volatile("" : : "r"(a.data()) : "memory");
        });
        return 24.0 * static_cast<double>(n) / time;
    }();
    return bandwidth;
}

std::string instruction_sets() {
#if defined(__x86_64__)
    __builtin_cpu_init();
    std::string sets = "sse2";
    if (__builtin_cpu_supports("avx2")) sets += " avx2";
    if (__builtin_cpu_supports("fma")) sets += " fma";
    if (__builtin_cpu_supports("avx512f")) sets += " avx512f";
    return sets;
#else
    return "baseline";
#endif
}
