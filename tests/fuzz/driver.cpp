// Runs what a fuzzer runs on inputs that are the same each time: as many as the tests have time for. The fuzzers
// themselves look further.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// @param argv  how many inputs, and with which number to begin
int main(int argc, char** argv) {
    const unsigned long inputs = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1;
    const unsigned long first = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 0;
    constexpr unsigned longest_input = 400;
    for (unsigned long number = first; number < first + inputs; ++number) {
        std::mt19937 random(static_cast<std::uint32_t>(number));
        std::vector<std::uint8_t> input(random() % longest_input);
        for (auto& byte : input) byte = static_cast<std::uint8_t>(random());
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
    std::printf("%lu inputs from %lu on\n", inputs, first);
}
