#pragma once

#include "shared/export.h"
#include "shared/text/printing.h"

#include <QString>

#include <compare>
#include <type_traits>

/// CPU loads in the farm's records and messages.
///
///     _oxCPUValue load(0.25f, 8); // a quarter of a machine with 8 cores
///     load.strSystemPerc();       // 25%: 100% means that all cores are busy
///     load.strCorePerc();         // 200%: 100% means that one core is busy

/// A fraction from 0 to 1 in one byte: value 0 is 0.0, value 255 is 1.0.
struct OX_EXPORT _oxBytePerc {
    /// The fraction times 255.
    unsigned char value = 0;

    /// The fraction, 0.0 to 1.0.
    float toF() const { return static_cast<float>(value / 255.0); }
    /// The percentage, 0.0 to 100.0.
    float toFperc() const { return static_cast<float>(value / 2.55); }
    /// The percentage as an integer, 1 to 101.
    /// Compatibility: 1.275 is added before truncation, as in the applications that compare these
    /// numbers.
    unsigned char toIperc() const { return static_cast<unsigned char>(value / 2.55 + 1.275); }

    /// Sets a fraction, rounded to 1/255. A fraction above 0 gives at least 1, so that a small load
    /// does not look idle. Infinity gives 255, minus infinity and NaN give 0.
    /// Compatibility: a fraction outside 0 to 1 wraps around modulo 256, as in the farm's records
    /// (1.5 gives 127). Call _oxCPUValue::clamp first.
    void fromF(float const & f);
    /// Sets a percentage by the rules of fromF.
    void fromFPerc(float p) { fromF(static_cast<float>(p / 100.0)); }

    /// Whether the value is above 0 and below 254.
    bool noMaxima() const { return value > 0 && value < 254; }

    /// Compares the values.
    auto operator<=>(_oxBytePerc const &) const = default;

    /// Adds a fraction; a sum above 255 becomes 255.
    void operator+=(_oxBytePerc const & other);
    /// Subtracts a fraction; a negative difference becomes 0.
    void operator-=(_oxBytePerc const & other);

    /// The percentage as text, rounded: "50%".
    QString str() const;
};

/// CPU load as a fraction of the whole machine, with the machine's number of cores for conversions.
/// A negative load means "not measured". Only clamp() limits the load to the range 0 to 1.
///
/// Functions with "System" in the name count the whole machine as 1 (100 %). Functions with "Core"
/// count one core as 1 (100 %). Functions with "Perc" or "Proc" use percent, the others use
/// fractions.
class OX_EXPORT _oxCPUValue
{
  public:
    /// Load as a fraction of the machine: 1 if all cores are busy; negative if not measured.
    float value;
    /// Number of cores of the machine.
    float coreCount;

    /// Creates a load from a fraction of the machine and its number of cores.
    _oxCPUValue(float const & v, int const & cores) : value(v), coreCount(static_cast<float>(cores))
    {
    }

    /// Sets the load to 0 and keeps the number of cores.
    void clear() { value = 0; }
    /// Does the same as clear().
    void clearValue() { clear(); }

    /// Sets the load to a fraction of the machine.
    void setbySystem(float const & f) { value = f; }
    /// Sets the load to a percentage of the machine.
    void setbySystemPerc(int const & p) { value = static_cast<float>(p / 100.0); }
    /// Sets the load to a number of busy cores.
    void setbyCore(float const & f) { value = f / coreCount; }

    /// Adds a fraction of the machine.
    void addbySystem(float const & f) { value += f; }
    /// Adds a number of busy cores.
    void addbyCore(float const & f) { value += f / coreCount; }
    /// Adds a percentage of the machine.
    void addbySystemProc(float const & p) { value = static_cast<float>(value + p / 100.0); }
    /// Adds a percentage of one core.
    void addbyCoreProc(float const & p)
    {
        value = static_cast<float>(value + p / 100.0 / coreCount);
    }

    /// Adds the fraction of `o`; the number of cores of `o` has no effect.
    _oxCPUValue & operator+=(_oxCPUValue const & o) { return value += o.value, *this; }
    /// Subtracts the fraction of `o`; the number of cores of `o` has no effect.
    _oxCPUValue & operator-=(_oxCPUValue const & o) { return value -= o.value, *this; }
    /// Multiplies the load.
    _oxCPUValue & operator*=(float const & f) { return value *= f, *this; }
    /// Divides the load.
    _oxCPUValue & operator/=(float const & f) { return value /= f, *this; }
    /// Returns the sum. Its number of cores is that of the left operand.
    _oxCPUValue operator+(_oxCPUValue const & o) const { return _oxCPUValue(*this) += o; }
    /// Returns the difference. Its number of cores is that of the left operand.
    _oxCPUValue operator-(_oxCPUValue const & o) const { return _oxCPUValue(*this) -= o; }

    /// Compares the fractions; the numbers of cores have no effect.
    std::partial_ordering operator<=>(_oxCPUValue const & o) const { return value <=> o.value; }

    /// The load as a fraction of the machine.
    float asSystemFloat() const { return value; }
    /// The load in percent of the machine.
    float asSystemPerc() const { return value * 100; }
    /// The number of busy cores.
    float asCoreFloat() const { return value * coreCount; }
    /// The load in percent of one core.
    float asCorePerc() const { return value * coreCount * 100; }

    /// Limits the load to the range 0 to 1.
    void clamp();
    /// Returns whether the load was measured, which means that it is not negative.
    bool isValid() const { return value >= 0; }

    QString strSystemPerc() const; ///< percent of the machine, rounded: "25%"
    QString strCorePerc() const;   ///< percent of one core, rounded: "200%"
    QString strCoreF() const;      ///< busy cores with one decimal: "2.0"

    /// Converts the load to one byte by _oxBytePerc::fromF.
    operator _oxBytePerc() const;

    /// Returns "25% of 8 cores", for logs and messages.
    friend OX_EXPORT QString oxPrintedText(_oxCPUValue const & load);
};

static_assert(sizeof(_oxBytePerc) == 1 && std::is_standard_layout_v<_oxBytePerc> &&
              std::is_trivially_copyable_v<_oxBytePerc>);
static_assert(sizeof(_oxCPUValue) == 8 && std::is_standard_layout_v<_oxCPUValue> &&
              std::is_trivially_copyable_v<_oxCPUValue>);
