#include "tests/faults/operation.h"

#include <fstream>
#include <iterator>
#include <ostream>
#include <random>

namespace ox::tests
{
namespace
{

namespace fs = std::filesystem;

std::string noise(unsigned seed, std::size_t size)
{
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char & byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

} // namespace

Files filesIn(fs::path const & folder)
{
    Files files;
    for (fs::directory_entry const & entry : fs::recursive_directory_iterator(folder)) {
        std::string & content = files[entry.path().string().substr(folder.string().size())];
        std::ifstream in(entry.path(), std::ios::binary);
        content =
            entry.is_directory() ? isFolder : std::string(std::istreambuf_iterator<char>(in), {});
    }
    return files;
}

void makeFiles(fs::path const & folder, Files const & files)
{
    for (fs::directory_entry const & entry : fs::directory_iterator(folder))
        fs::remove_all(entry.path());
    auto time = fs::file_time_type::clock::now() - std::chrono::hours(2);
    for (auto const & [path, content] : files) {
        std::string const name = folder.string() + path;
        if (content == isFolder) {
            fs::create_directory(name);
            continue;
        }
        std::ofstream(name, std::ios::binary) << content;
        fs::last_write_time(name, time += std::chrono::minutes(1));
    }
}

std::string const & previousContent()
{
    static std::string const content = noise(1, 30000);
    return content;
}

std::string const & newContent()
{
    static std::string const content = noise(2, 40000);
    return content;
}

void PrintTo(Operation const & operation, std::ostream * out)
{
    *out << operation.name;
}

} // namespace ox::tests
