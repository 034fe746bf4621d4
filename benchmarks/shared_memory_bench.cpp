#include "shared/system/shared_memory.h"

#include <benchmark/benchmark.h>
#include <boost/interprocess/mapped_region.hpp>
#include <boost/interprocess/shared_memory_object.hpp>

#include <cstddef>
#include <stdexcept>
#include <string>

namespace
{

namespace interprocess = boost::interprocess;

constexpr char key[] = "OxBenchmark";

/// Changes a byte in each page, so that the kernel allocates every page.
void fill(void * memory, std::size_t size)
{
    for (std::size_t i = 0; i < size; i += 4096)
        static_cast<char *>(memory)[i] = 'x';
    benchmark::ClobberMemory();
}

void require(bool isDone)
{
    if (!isDone)
        throw std::runtime_error("the segment is not available; another run may be using it");
}

/// Creates and fills a segment, attaches a second time, and detaches both.
void ours(std::size_t size)
{
    oxSharedMemory creator(key);
    oxSharedMemory user(key);
    require(creator.create(static_cast<int>(size), true, false));
    fill(creator.bytes().data(), size);
    require(user.attach());
    benchmark::DoNotOptimize(user.data());
    user.detach();
    creator.detach();
}

void theirs(std::size_t size)
{
    using interprocess::read_write;
    {
        interprocess::shared_memory_object created(interprocess::create_only, key, read_write,
                                                   0666);
        created.truncate(static_cast<interprocess::offset_t>(size));
        interprocess::mapped_region const creator(created, read_write);
        fill(creator.get_address(), size);
        interprocess::shared_memory_object const opened(interprocess::open_only, key, read_write);
        interprocess::mapped_region const user(opened, read_write);
        benchmark::DoNotOptimize(user.get_address());
    }
    interprocess::shared_memory_object::remove(key);
}

void add(char const * size, std::size_t bytes, char const * who, void (*work)(std::size_t))
{
    auto const name = std::string("createAttachDetach/") + size + '/' + who;
    benchmark::RegisterBenchmark(name.c_str(), [bytes, work](benchmark::State & state) {
        for ([[maybe_unused]] auto _ : state)
            work(bytes);
    });
}

[[maybe_unused]] bool const registered = [] {
    struct {
        char const * name;
        std::size_t bytes;
    } const sizes[] = {{"4KiB", 4088}, {"64KiB", 65528}, {"1MiB", 1048568}};
    for (auto const & [name, bytes] : sizes) {
        add(name, bytes, "oxShared", ours);
        add(name, bytes, "Boost.Interprocess", theirs);
    }
    return true;
}();

} // namespace
