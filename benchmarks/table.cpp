#include "benchmarks/table.h"

#include <ctime>
#include <fstream>
#include <string>
#include <thread>

#include <CGAL/version.h>
#include <Eigen/Core>
#include <boost/version.hpp>
#include <ceres/version.h>
#include <gsl/gsl_version.h>
#include <nlopt.h>
#include <suitesparse/SuiteSparse_config.h>

#include "benchmarks/goals.h"
#include "benchmarks/reference.h"
#include "maths/version.h"

extern "C" char * openblas_get_config();

namespace {

char const * name_of(mlInstructionSet set) {
    char const * const names[] = {"sse2", "avx2", "avx512"};
    return names[set];
}

/// 0 when there is none.
double goal_of(Result const & result) {
    for (Goal const & goal : goals) {
        if (result.operation != goal.operation || result.peer != goal.peer) continue;
        if (result.size < goal.least || result.size > goal.largest) continue;
        double const by_set[] = {goal.baseline, goal.avx2, goal.widest};
        return by_set[result.set] > 0.0 || result.set < ml_instruction_set() ? by_set[result.set] : goal.widest;
    }
    return 0.0;
}

/// Additions and multiplications, where their count is known; else 0.
double operations_of(Result const & result) {
    struct Count {
        char const * operation;
        double factor; // of n^3
    };
    for (Count const count : {Count{"product", 2.0}, Count{"lu_factor", 2.0 / 3.0}, Count{"cholesky_factor", 1.0 / 3.0},
                              Count{"lu_inverse", 2.0}, Count{"lu_solve_many", 2.0}})
        if (result.operation == count.operation) return count.factor * result.size * result.size * result.size;
    return 0.0;
}

/// The bytes that it can't do without, where these are its limit; else 0.
double bytes_of(Result const & result) {
    bool const beyond_caches = result.operation == "matrix_vector" && result.size >= 2000;
    return beyond_caches ? 8.0 * result.size * result.size : 0.0;
}

/// What the library reaches of the machine's limit: of the unfused peak, or of the memory's bandwidth; 0 when neither
/// tells.
double share_of(Result const & result) {
    double const seconds = 1e-9 * result.own_nanoseconds;
    if (bytes_of(result) > 0.0) return bytes_of(result) / seconds / stream_bandwidth();
    if (operations_of(result) > 0.0) return operations_of(result) / seconds / unfused_peak(result.set);
    return 0.0;
}

bool wanted(Result const & result) { return result.set == ml_instruction_set() || goal_of(result) > 0.0; }

/// A ratio counts to the two decimals that are printed.
bool met(Result const & result) { return result.ratio < goal_of(result) + 0.005; }

char const * verdict(Result const & result) { return goal_of(result) == 0.0 ? "" : met(result) ? "yes" : "NO"; }

std::string processor() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
        if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
    return "unknown";
}

std::string date() {
    std::time_t const now = std::time(nullptr);
    char text[16];
    std::strftime(text, sizeof text, "%Y-%m-%d", std::gmtime(&now));
    return text;
}

#ifdef __clang__
char const compiler[] = "Clang " __clang_version__;
#else
char const compiler[] = "GCC " __VERSION__;
#endif

void print(Result const & result) {
    if (!wanted(result)) return;
    double const goal = goal_of(result);
    char text[16] = "", share[16] = "";
    if (goal > 0.0) std::snprintf(text, sizeof text, "%.2f", goal);
    if (share_of(result) > 0.0) std::snprintf(share, sizeof share, "%.2f", share_of(result));
    std::printf("%-21s %7d  %-11s %-7s %12.1f %12.1f %7.2f %6s  %-3s  %s\n", result.operation.c_str(), result.size,
                result.peer.c_str(), name_of(result.set), result.own_nanoseconds, result.peer_nanoseconds, result.ratio,
                text, verdict(result), share);
    std::fflush(stdout);
}

} // namespace

bool TableReporter::ReportContext(Context const &) {
    std::printf("%-21s %7s  %-11s %-7s %12s %12s %7s %6s  %-3s  %s\n", "operation", "size", "peer", "set", "maths [ns]",
                "peer [ns]", "ratio", "goal", "met", "share");
    return true;
}

void TableReporter::ReportRuns(std::vector<Run> const & runs) {
    for (Run const & run : runs)
        failed_ = failed_ || run.error_occurred;
    for (; printed_ < all_results().size(); ++printed_)
        print(all_results()[printed_]);
}

void TableReporter::Finalize() {
    int with_goal = 0, good = 0;
    for (Result const & result : all_results()) {
        if (goal_of(result) == 0.0) continue;
        ++with_goal;
        good += met(result);
    }
    std::printf("%d of %d goals met\n", good, with_goal);
}

void write(std::FILE * file, std::vector<Result> const & results) {
    std::fprintf(file, "# %s, %s, %u cores, widest set %s\n", date().c_str(), processor().c_str(),
                 std::thread::hardware_concurrency(), name_of(ml_instruction_set()));
    std::fprintf(file, "# maths %d.%d.%d by %s\n", MATHS_VERSION_MAJOR, MATHS_VERSION_MINOR, MATHS_VERSION_PATCH,
                 compiler);
    std::fprintf(file, "# Eigen %d.%d.%d, GSL %s, %s, Boost %d.%d, Ceres %s\n", EIGEN_WORLD_VERSION,
                 EIGEN_MAJOR_VERSION, EIGEN_MINOR_VERSION, GSL_VERSION, openblas_get_config(), BOOST_VERSION / 100000,
                 BOOST_VERSION / 100 % 1000, CERES_VERSION_STRING);
    int nlopt[3];
    nlopt_version(&nlopt[0], &nlopt[1], &nlopt[2]);
    std::fprintf(file, "# NLopt %d.%d.%d, CGAL %s, SuiteSparse %d.%d.%d\n", nlopt[0], nlopt[1], nlopt[2],
                 CGAL_VERSION_STR, SUITESPARSE_MAIN_VERSION, SUITESPARSE_SUB_VERSION, SUITESPARSE_SUBSUB_VERSION);
    std::fprintf(file, "# instruction sets %s; unfused peak [GFlop/s]", instruction_sets().c_str());
    for (auto const set : {mlInstructionSetBaseline, mlInstructionSetAvx2, mlInstructionSetAvx512})
        if (unfused_peak(set) > 0.0) std::fprintf(file, " %s %.1f", name_of(set), 1e-9 * unfused_peak(set));
    std::fprintf(file, "; memory %.1f GB/s\n", 1e-9 * stream_bandwidth());
    std::fprintf(file, "operation,size,peer,set,maths_ns,peer_ns,ratio,goal,met,share\n");
    for (Result const & result : results) {
        if (!wanted(result)) continue;
        char text[16] = "";
        if (goal_of(result) > 0.0) std::snprintf(text, sizeof text, "%.2f", goal_of(result));
        std::fprintf(file, "%s,%d,%s,%s,%.4g,%.4g,%.3f,%s,%s,%.3f\n", result.operation.c_str(), result.size,
                     result.peer.c_str(), name_of(result.set), result.own_nanoseconds, result.peer_nanoseconds,
                     result.ratio, text, verdict(result), share_of(result));
    }
}
