#include "tests/fuzz/fuzz_input.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

// Runs a fuzz target with the files in the given folders, and with modified copies of the files.
// The modifications are the same in every run. So every build tests the targets, without libFuzzer.

namespace
{

namespace fs = std::filesystem;

constexpr int copies = 100;

void feed(std::string const & bytes)
{
    LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const *>(bytes.data()), bytes.size());
}

/// Changes, removes or copies some random bytes.
void change(std::string & bytes, std::minstd_rand & random)
{
    std::size_t const at = random() % (bytes.size() + 1);
    std::size_t const count = random() % 9;
    if (random() % 2 == 0 && at < bytes.size())
        bytes[at] = static_cast<char>(random() % 2 == 0 ? random() : bytes[at] ^ 1);
    else if (random() % 2 == 0)
        bytes.erase(at, count);
    else
        bytes.insert(random() % (bytes.size() + 1), bytes.substr(at, count));
}

void replay(fs::path const & file)
{
    std::printf("%s\n", file.string().c_str());
    std::fflush(stdout);
    std::ifstream in(file, std::ios::binary);
    OX_HOLDS(in.is_open());
    std::string const bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    feed(bytes);
    std::minstd_rand random(1);
    for (int i = 0; i < copies; ++i) {
        std::string copy = bytes;
        for (unsigned changes = 1 + random() % 4; changes > 0; --changes)
            change(copy, random);
        feed(copy);
    }
}

} // namespace

int main(int argc, char ** argv)
{
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        for (fs::directory_entry const & file : fs::directory_iterator(argv[i])) {
            replay(file);
            ++count;
        }
    }
    std::printf("%d files\n", count);
    return count > 0 ? 0 : 1;
}
