#include "shared/system/cpu_value.h"

#include <algorithm>
#include <cmath>

namespace
{

QString percentText(double percent)
{
    // std::round rounds half away from zero. Adding 0 turns -0 into 0.
    return QString::number(std::round(percent) + 0.0, 'f', 0) + QLatin1Char('%');
}

} // namespace

void _oxBytePerc::fromF(float const & f)
{
    if (std::isfinite(f)) {
        double const rounded = std::fmod(std::round(f * 255.0), 256.0);
        value = static_cast<unsigned char>(static_cast<int>(rounded));
    } else {
        value = f > 0 ? 255 : 0;
    }
    if (value == 0 && f > 0)
        value = 1;
}

void _oxBytePerc::operator+=(_oxBytePerc const & other)
{
    value = static_cast<unsigned char>(std::min(value + other.value, 255));
}

void _oxBytePerc::operator-=(_oxBytePerc const & other)
{
    value = static_cast<unsigned char>(std::max(value - other.value, 0));
}

QString _oxBytePerc::str() const
{
    return percentText(value * 100 / 255.0);
}

void _oxCPUValue::clamp()
{
    value = std::clamp(value, 0.0f, 1.0f);
}

QString _oxCPUValue::strSystemPerc() const
{
    return percentText(asSystemPerc());
}

QString _oxCPUValue::strCorePerc() const
{
    return percentText(asCorePerc());
}

QString _oxCPUValue::strCoreF() const
{
    return QString::number(asCoreFloat(), 'f', 1);
}

QString oxPrintedText(_oxCPUValue const & load)
{
    return QStringLiteral("%1 of %2 cores")
        .arg(load.strSystemPerc(), QString::number(load.coreCount));
}

_oxCPUValue::operator _oxBytePerc() const
{
    _oxBytePerc result;
    result.fromF(value);
    return result;
}
