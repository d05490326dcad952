// maths_benchmarks [--results=FILE] [flags of Google Benchmark]: the library beside its peers, in one table.
// FILE gets the table with the machine's description.

#include <cstring>

#include "benchmarks/table.h"

int main(int argc, char ** argv) {
    benchmark::Initialize(&argc, argv);
    char const flag[] = "--results=";
    char const * path = nullptr;
    if (argc > 1 && std::strncmp(argv[1], flag, sizeof flag - 1) == 0) {
        path = argv[1] + sizeof flag - 1;
        argv[1] = argv[0];
        ++argv;
        --argc;
    }
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;

    TableReporter table;
    if (benchmark::RunSpecifiedBenchmarks(&table) == 0) return 1;
    if (path != nullptr) {
        std::FILE * const file = std::fopen(path, "w");
        if (file != nullptr) write(file, all_results());
        if (file == nullptr || std::fclose(file) != 0) {
            std::perror(path);
            return 1;
        }
    }
    return table.failed() ? 1 : 0;
}
