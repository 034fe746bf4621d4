#include "shared/text/format.h"

#include <benchmark/benchmark.h>

#include <QString>

#include <string>

namespace
{

/// Hides a value from the optimiser.
template <typename T>
T & opaque(T & value)
{
    benchmark::DoNotOptimize(&value);
    benchmark::ClobberMemory();
    return value;
}

/// Registers the benchmarks of a function of the library and of a call of QString::asprintf that
/// returns the same text.
template <typename Value, typename Ours, typename Peer>
void add(char const * subject, Value value, Ours ours, Peer peer)
{
    auto const registerOne = [&](char const * who, auto function) {
        benchmark::RegisterBenchmark((std::string(subject) + "/1/" + who).c_str(),
                                     [value, function](benchmark::State & state) mutable {
                                         for ([[maybe_unused]] auto _ : state)
                                             benchmark::DoNotOptimize(function(opaque(value)));
                                     });
    };
    registerOne("oxShared", ours);
    registerOne("asprintf", peer);
}

bool const registered = [] {
    add(
        "bool2str", true, [](bool b) { return bool2str(b, true); },
        [](bool b) { return QString::asprintf("%s", b ? "true" : "false"); });
    add("int2Str", -1234567, int2Str, [](int n) { return QString::asprintf("%d", n); });
    add(
        "float2Str", 12.75f, [](float f) { return float2Str(f, 2, '.'); },
        [](float f) { return QString::asprintf("%.2f", static_cast<double>(f)); });
    add(
        "numberToStr", 0x123456789ULL, [](unsigned long long n) { return numberToStr(n, 13); },
        [](unsigned long long n) { return QString::asprintf("%llX", n); });
    add(
        "byte2Hex", 0x12345678U,
        [](unsigned const & n) {
            return byte2Hex(reinterpret_cast<unsigned char const *>(&n), sizeof n);
        },
        [](unsigned n) {
            return QString::asprintf("%02x%02x%02x%02x", n & 255, n >> 8 & 255, n >> 16 & 255,
                                     n >> 24);
        });
    add(
        "oxPointTsd", 1234567890LL, [](long long n) { return oxPointTsd(n, false); },
        [](long long n) {
            return QString::asprintf("%lld.%03lld.%03lld.%03lld", n / 1000000000,
                                     n / 1000000 % 1000, n / 1000 % 1000, n % 1000);
        });
    add("oxSec2ms", 3725LL, oxSec2ms,
        [](long long s) { return QString::asprintf("%02lld.%02lld", s / 60, s % 60); });
    add("oxSec2hm", 3725, oxSec2hm,
        [](int s) { return QString::asprintf("%02d:%02d", s / 3600, s / 60 % 60); });
    add(
        "oxSec2hms", 3725, [](int s) { return oxSec2hms(s, false); },
        [](int s) { return QString::asprintf("%02d:%02d.%02d", s / 3600, s / 60 % 60, s % 60); });
    add("oxSec2dhm", 90000LL, oxSec2dhm, [](long long s) {
        return QString::asprintf("%lldd %02lld:%02lld", s / 86400, s / 3600, s / 60 % 60);
    });
    add("oxSec2dhms", 90000LL, oxSec2dhms, [](long long s) {
        return QString::asprintf("%02lld:%02lld.%02lld", s / 3600, s / 60 % 60, s % 60);
    });
    add(
        "oxMill2s", 1500, [](int ms) { return oxMill2s(ms, false); },
        [](int ms) { return QString::asprintf("%d.%03d", ms / 1000, ms % 1000); });
    return true;
}();

} // namespace
