#include "shared/data/checksum.h"
#include "shared/data/crc.h"
#include "shared/data/crc_kernels.h"

#include <benchmark/benchmark.h>
#include <isa-l/crc.h>
#include <isa-l/crc64.h>
#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

using ox::data::Crc32;

namespace
{

using Checksum = std::uint64_t (*)(unsigned char const * data, std::size_t size);

struct Candidate {
    char const * subject;
    char const * who;
    Checksum checksum;
};

/// Computes a CRC with one table, one byte at a time.
template <class Crc>
std::uint64_t byPlainTable(unsigned char const * data, std::size_t size)
{
    constexpr auto & table = ox::data::crcTables<Crc>[0];
    constexpr int topByte = 8 * (sizeof(typename Crc::Word) - 1);
    typename Crc::Word crc = 0;
    for (std::size_t i = 0; i < size; ++i)
        crc = static_cast<typename Crc::Word>(crc << 8 ^ table[(crc >> topByte) ^ data[i]]);
    return crc;
}

std::uint64_t xorOfBytes(unsigned char const * data, std::size_t size)
{
    return std::accumulate(data, data + size, 0u, std::bit_xor{});
}

constexpr Candidate candidates[] = {
    {"crc32", "oxShared",
     [](auto data, auto size) -> std::uint64_t {
         return oxCRCCalc(data, static_cast<unsigned int>(size));
     }},
    {"crc32", "zlib", [](auto data, auto size) -> std::uint64_t { return crc32_z(0, data, size); }},
    {"crc32", "libdeflate",
     [](auto data, auto size) -> std::uint64_t { return libdeflate_crc32(0, data, size); }},
    {"crc32", "ISA-L",
     [](auto data, auto size) -> std::uint64_t { return crc32_gzip_refl(0, data, size); }},
    {"crc64", "oxShared",
     [](auto data, auto size) -> std::uint64_t { return oxCRCCalc64(data, size); }},
    // crc64_jones_refl() of ISA-L inverts the register before the first byte and after the last
    // byte. The two operators ~ undo this.
    {"crc64", "ISA-L",
     [](auto data, auto size) -> std::uint64_t {
         return ~crc64_jones_refl(~std::uint64_t{0}, data, size);
     }},
    {"crc16", "oxShared",
     [](auto data, auto size) -> std::uint64_t { return oxCRCCalc16(data, size); }},
    {"crc16", "plain table", byPlainTable<ox::data::Crc16>},
    {"xor8", "oxShared",
     [](auto data, auto size) -> std::uint64_t { return oxCRCCalc8(data, size, false); }},
    {"xor8", "byte loop", xorOfBytes},
};

void run(benchmark::State & state, Checksum checksum, Checksum ours, std::size_t size)
{
    std::vector<unsigned char> data(size);
    std::iota(data.begin(), data.end(), static_cast<unsigned char>(0));
    if (checksum(data.data(), size) != ours(data.data(), size)) {
        state.SkipWithError("result differs from that of oxShared");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(checksum(data.data(), size));
    state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
}

/// Runs one kernel of CRC-32, which may be slower than the one that the library selects.
void runKernel(benchmark::State & state, decltype(ox::data::CrcKernel<Crc32>::advance) advance,
               std::size_t size)
{
    std::vector<unsigned char> const data(size, 'x');
    for (auto _ : state)
        benchmark::DoNotOptimize(~advance(~std::uint32_t{0}, data.data(), size));
}

struct Size {
    char const * name;
    std::size_t bytes;
};

/// Adds a line to the report: the name of the kernel that the library selects.
void reportKernel()
{
    auto const kernels = ox::data::crcKernels<Crc32>();
    auto const isSupported = [](auto const & kernel) { return kernel.isSupported(); };
    benchmark::AddCustomContext("CRC kernel", std::ranges::find_if(kernels, isSupported)->name);
}

/// Registers a benchmark for each supported kernel except the first one. The first one is the
/// fastest, and the other benchmarks measure it. On a processor that does not support it, the
/// library selects one of the registered kernels.
void addKernels(Size size)
{
    bool isFastest = true;
    for (auto const & kernel : ox::data::crcKernels<Crc32>()) {
        if (!kernel.isSupported())
            continue;
        if (std::exchange(isFastest, false))
            continue;
        std::string const subject = std::string("crc32 ") + kernel.name + '/' + size.name + '/';
        benchmark::RegisterBenchmark((subject + "oxShared").c_str(), runKernel, kernel.advance,
                                     size.bytes);
        for (Candidate const & peer : candidates) {
            std::string const who = peer.who;
            if (who == "zlib" || who == "libdeflate")
                benchmark::RegisterBenchmark((subject + who).c_str(), run, peer.checksum,
                                             peer.checksum, size.bytes);
        }
    }
}

bool const areRegistered = [] {
    constexpr Size sizes[] = {{"8", 8},
                              {"16", 16},
                              {"32", 32},
                              {"64", 64},
                              {"128", 128},
                              {"256", 256},
                              {"512", 512},
                              {"1024", 1024},
                              {"4KiB", std::size_t{4} << 10},
                              {"64KiB", std::size_t{64} << 10},
                              {"1MiB", std::size_t{1} << 20},
                              {"16MiB", std::size_t{16} << 20},
                              {"64MiB", std::size_t{64} << 20}};
    reportKernel();
    Candidate const * ours = nullptr;
    for (Size const size : sizes) {
        for (Candidate const & candidate : candidates) {
            // The first candidate of each subject is the function of oxShared.
            if (std::string(candidate.who) == "oxShared")
                ours = &candidate;
            std::string const name =
                std::string(candidate.subject) + '/' + size.name + '/' + candidate.who;
            benchmark::RegisterBenchmark(name.c_str(), run, candidate.checksum, ours->checksum,
                                         size.bytes);
        }
        if (size.bytes <= 4096)
            addKernels(size);
    }
    return true;
}();

} // namespace
