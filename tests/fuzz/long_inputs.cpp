#include "tests/fuzz/fuzz_input.h"

#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

// Implements the option "--long-inputs SECONDS FOLDER…" of a fuzz target, which searches for inputs
// that take more than linear time. Repeats an input of the corpus, or a piece of an input, to build
// inputs of several lengths. Measures how the processor time of the target grows with the length.

namespace
{

constexpr std::size_t shortLength = 16 << 10;
constexpr std::size_t longLength = 8 * shortLength;
constexpr std::size_t longestLength = 8 * longLength;
constexpr double mostGrowth = 24; // maximum ratio of the times; linear growth is 8
constexpr double noise = 0.004;   // shorter times, in seconds, are not reliable
constexpr double tooLong = 2;     // seconds; no longer input is then tried

double now()
{
    return double(std::clock()) / CLOCKS_PER_SEC;
}

double secondsFor(std::string const & input)
{
    double const begin = now();
    LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const *>(input.data()), input.size());
    return now() - begin;
}

std::string stretched(std::string_view head, std::string_view piece, std::size_t length)
{
    std::string text(head);
    while (text.size() < length)
        text += piece;
    return text;
}

void measure(std::string_view head, std::string_view piece)
{
    auto const isLinear = [](double from, double to) {
        return to <= mostGrowth * std::max(from, noise);
    };
    double const begin = secondsFor(stretched(head, piece, shortLength));
    std::string const input = stretched(head, piece, longLength);
    double const end = secondsFor(input);
    if (isLinear(begin, end))
        return;
    // A longer input can also take more time since its values select more expensive operations.
    // Their cost has a limit. So the time must grow too fast a second time.
    if (end < tooLong && isLinear(end, secondsFor(stretched(head, piece, longestLength))))
        return;
    std::ofstream("slow-input", std::ios::binary) << input;
    std::fprintf(stderr, "%.4f s, and %.4f s for an input 8 times as long\n", begin, end);
    std::exit(1);
}

std::vector<std::string> inputsIn(char ** folder, char ** end)
{
    std::vector<std::string> inputs;
    for (; folder != end; ++folder) {
        for (auto const & entry : std::filesystem::directory_iterator(*folder)) {
            std::ifstream in(entry.path(), std::ios::binary);
            inputs.emplace_back(std::istreambuf_iterator<char>(in),
                                std::istreambuf_iterator<char>());
        }
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * argc, char *** argv)
{
    char ** const arguments = *argv;
    if (*argc < 4 || std::string_view(arguments[1]) != "--long-inputs")
        return 0;
    std::vector<std::string> inputs = inputsIn(arguments + 3, arguments + *argc);
    std::mt19937 random(1);
    std::shuffle(inputs.begin(), inputs.end(), random);
    int count = 0;
    for (std::string_view const input : inputs) {
        if (input.empty() || now() > std::atof(arguments[2]))
            continue;
        measure({}, input);
        std::size_t const from = random() % input.size();
        measure(input.substr(0, from), input.substr(from, 1 + random() % 16));
        count += 2;
    }
    std::fprintf(stderr, "%d long inputs\n", count);
    std::exit(0);
}
