// maths_benchmarks [-o FILE] [OPERATION[/SIZE]]...: the library beside its peers, in one table.
// Runs all operations, or those whose names begin so; FILE gets the results with the machine's description.

#include <cstring>

#include "benchmarks/table.h"

int main(int argc, char ** argv) {
    char const * path = nullptr;
    std::vector<std::string> wanted;
    for (int i = 1; i < argc; ++i)
        if (std::strcmp(argv[i], "-o") == 0 && i + 1 < argc)
            path = argv[++i];
        else
            wanted.push_back(argv[i]);

    auto const is_wanted = [&](std::string const & operation, int size) {
        for (std::string const & name : wanted)
            if (operation.starts_with(name) || operation + '/' + std::to_string(size) == name) return true;
        return wanted.empty();
    };

    std::vector<Result> results;
    bool failed = false;
    print_heading();
    for (Event const & event : events())
        for (int const size : event.sizes) {
            if (!is_wanted(event.operation, size)) continue;
            Race race(event.operation, size);
            auto const found = event.function(race);
            failed = failed || !found;
            for (Result const & result : found.value_or(std::vector<Result>())) {
                print(result);
                results.push_back(result);
            }
        }
    print_summary(results);
    if (results.empty()) std::fprintf(stderr, "nothing was measured\n");

    if (path != nullptr) {
        std::FILE * const file = std::fopen(path, "w");
        if (file != nullptr) write(file, results);
        if (file == nullptr || std::fclose(file) != 0) {
            std::perror(path);
            return 1;
        }
    }
    return failed || results.empty() ? 1 : 0;
}
