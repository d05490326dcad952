// Where no fuzzer drives a fuzzing program: gives it the inputs of a folder, then random ones, the same each time.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size);

int const random_inputs = 2000;

int main(int, char ** arguments) {
    std::set<std::filesystem::path> kept;
    for (auto const & entry : std::filesystem::directory_iterator(arguments[1]))
        kept.insert(entry.path());
    for (auto const & path : kept) {
        std::ifstream file(path, std::ios::binary);
        std::vector<char> const bytes{std::istreambuf_iterator<char>(file), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const *>(bytes.data()), bytes.size());
    }
    std::minstd_rand random; // whose numbers are the standard's
    std::vector<std::uint8_t> bytes;
    for (int k = 0; k < random_inputs; ++k) {
        bytes.resize(random() % 300);
        for (std::uint8_t & byte : bytes)
            byte = random() >> 8 & 255;
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::printf("%zu kept inputs and %d random ones\n", kept.size(), random_inputs);
    return kept.empty();
}
