// Runs a fuzz target without libFuzzer: every file of the seed directory
// given on the command line, each seed truncated at every length, and a
// fixed number of pseudo-random inputs. Crashes and sanitizer reports fail
// the test.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char **argv) {
    size_t runs = 0;
    std::vector<std::vector<uint8_t>> seeds;
    if (argc > 1 && std::filesystem::is_directory(argv[1])) {
        for (const auto &entry : std::filesystem::directory_iterator(argv[1])) {
            std::ifstream in(entry.path(), std::ios::binary);
            seeds.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        }
    }
    for (const auto &seed : seeds) {
        for (size_t len = 0; len <= seed.size(); len += 1 + seed.size() / 256) {
            std::vector<uint8_t> copy(seed.begin(), seed.begin() + static_cast<std::ptrdiff_t>(len));
            LLVMFuzzerTestOneInput(copy.data(), copy.size());
            ++runs;
        }
    }
    std::mt19937 rng(20261122);
    for (int i = 0; i < 2000; ++i) {
        std::vector<uint8_t> input(rng() % 512);
        if (!seeds.empty() && (i & 1)) {
            input = seeds[rng() % seeds.size()];
            for (int flips = 0; flips < 4 && !input.empty(); ++flips)
                input[rng() % input.size()] = static_cast<uint8_t>(rng());
        } else {
            for (auto &b : input) b = static_cast<uint8_t>(rng());
        }
        LLVMFuzzerTestOneInput(input.data(), input.size());
        ++runs;
    }
    std::printf("%zu inputs ran\n", runs);
    return 0;
}
