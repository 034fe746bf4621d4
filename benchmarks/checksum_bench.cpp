#include "shared/data/checksum.h"
#include "shared/data/crc.h"

#include <benchmark/benchmark.h>
#include <isa-l/crc.h>
#include <isa-l/crc64.h>
#include <libdeflate.h>
#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

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
    // byte.
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

bool const areRegistered = [] {
    struct Size {
        char const * name;
        std::size_t bytes;
    };
    constexpr Size sizes[] = {{"4KiB", std::size_t{4} << 10},
                              {"64KiB", std::size_t{64} << 10},
                              {"1MiB", std::size_t{1} << 20},
                              {"16MiB", std::size_t{16} << 20},
                              {"64MiB", std::size_t{64} << 20}};
    Candidate const * ours = nullptr;
    for (Size const size : sizes) {
        for (Candidate const & candidate : candidates) {
            // For each subject, the function of oxShared is the first candidate.
            if (std::string(candidate.who) == "oxShared")
                ours = &candidate;
            std::string const name =
                std::string(candidate.subject) + '/' + size.name + '/' + candidate.who;
            benchmark::RegisterBenchmark(name.c_str(), run, candidate.checksum, ours->checksum,
                                         size.bytes);
        }
    }
    return true;
}();

} // namespace
