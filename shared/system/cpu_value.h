#pragma once

#include "shared/export.h"
#include "shared/text/printing.h"

#include <QString>

#include <compare>
#include <type_traits>

/// CPU loads as the farm's records and messages carry them.
///
///     _oxCPUValue load(0.25f, 8); // a quarter of a machine with 8 cores
///     load.strSystemPerc();       // 25%, all cores busy being 100%
///     load.strCorePerc();         // 200%, one core busy being 100%

/// A fraction from 0 to 1 in one byte: 0 is 0.0, 255 is 1.0.
struct OX_EXPORT _oxBytePerc {
    unsigned char value = 0;

    /// 0.0 to 1.0.
    float toF() const { return static_cast<float>(value / 255.0); }
    /// 0.0 to 100.0.
    float toFperc() const { return static_cast<float>(value / 2.55); }
    /// The percentage with a bias, cut to an integer: 1 when empty, 101 when full. The bias is
    /// deliberate; the applications that compare these numbers have it.
    unsigned char toIperc() const { return static_cast<unsigned char>(value / 2.55 + 1.275); }

    /// Takes a fraction, rounded. One outside 0 to 1 wraps around modulo 256, deliberately, as the
    /// records have it (1.5 gives 127): clamp with _oxCPUValue first. Any fraction above 0 gives at
    /// least 1, so that a load never looks idle. Infinity gives 255, minus infinity and NaN 0.
    void fromF(float const & f);
    /// As fromF, from a percentage.
    void fromFPerc(float p) { fromF(static_cast<float>(p / 100.0)); }

    /// Neither empty nor full nor the next to full.
    bool noMaxima() const { return value > 0 && value < 254; }

    auto operator<=>(_oxBytePerc const &) const = default;

    /// Stops at 255.
    void operator+=(_oxBytePerc const & other);
    /// Stops at 0.
    void operator-=(_oxBytePerc const & other);

    /// "50%", rounded.
    QString str() const;
};

/// A load as a fraction of the whole machine, and the number of cores of that machine, so that it
/// can also be read in cores. A negative load is one that was not measured. Nothing but `clamp`
/// keeps it between 0 and 1.
///
/// Names with "System" count the whole machine as 1 (100 %), those with "Core" one core; names with
/// "Perc" or "Proc" take or give percent, the others fractions.
class OX_EXPORT _oxCPUValue
{
  public:
    float value;
    float coreCount;

    _oxCPUValue(float const & v, int const & cores) : value(v), coreCount(static_cast<float>(cores))
    {
    }

    /// A load of 0; the number of cores stays.
    void clear() { value = 0; }
    void clearValue() { clear(); }

    void setbySystem(float const & f) { value = f; }
    void setbySystemPerc(int const & p) { value = static_cast<float>(p / 100.0); }
    void setbyCore(float const & f) { value = f / coreCount; }

    void addbySystem(float const & f) { value += f; }
    void addbyCore(float const & f) { value += f / coreCount; }
    void addbySystemProc(float const & p) { value = static_cast<float>(value + p / 100.0); }
    void addbyCoreProc(float const & p)
    {
        value = static_cast<float>(value + p / 100.0 / coreCount);
    }

    // The other's load counts as a fraction of this machine, whatever its number of cores.
    _oxCPUValue & operator+=(_oxCPUValue const & o) { return value += o.value, *this; }
    _oxCPUValue & operator-=(_oxCPUValue const & o) { return value -= o.value, *this; }
    _oxCPUValue & operator*=(float const & f) { return value *= f, *this; }
    _oxCPUValue & operator/=(float const & f) { return value /= f, *this; }
    _oxCPUValue operator+(_oxCPUValue const & o) const { return _oxCPUValue(*this) += o; }
    _oxCPUValue operator-(_oxCPUValue const & o) const { return _oxCPUValue(*this) -= o; }

    /// Order of the fractions; the numbers of cores do not count.
    std::partial_ordering operator<=>(_oxCPUValue const & o) const { return value <=> o.value; }

    float asSystemFloat() const { return value; }
    float asSystemPerc() const { return value * 100; }
    float asCoreFloat() const { return value * coreCount; }
    float asCorePerc() const { return value * coreCount * 100; }

    /// Brings the load into 0 to 1.
    void clamp();
    /// Whether the load was measured.
    bool isValid() const { return value >= 0; }

    QString strSystemPerc() const; ///< "25%", rounded
    QString strCorePerc() const;   ///< "200%", rounded
    QString strCoreF() const;      ///< cores with one decimal: "2.0"

    /// By _oxBytePerc::fromF.
    operator _oxBytePerc() const;

    /// 25% of 8 cores
    friend OX_EXPORT QString oxPrintedText(_oxCPUValue const & load);
};

static_assert(sizeof(_oxBytePerc) == 1 && std::is_standard_layout_v<_oxBytePerc> &&
              std::is_trivially_copyable_v<_oxBytePerc>);
static_assert(sizeof(_oxCPUValue) == 8 && std::is_standard_layout_v<_oxCPUValue> &&
              std::is_trivially_copyable_v<_oxCPUValue>);
