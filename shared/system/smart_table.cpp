#include "shared/system/smart_table.h"

#include <algorithm>
#include <numeric>

namespace ox::system
{
namespace
{

constexpr std::size_t tableSize = 512;
constexpr std::size_t firstAttribute = 2;
constexpr std::size_t attributeSize = 12;
constexpr std::size_t attributeCount = 30;

} // namespace

std::optional<std::vector<SmartAttribute>> parseSmartTable(std::span<unsigned char const> table)
{
    if (table.size() != tableSize || std::accumulate(table.begin(), table.end(), 0u) % 256 != 0)
        return std::nullopt;
    std::vector<SmartAttribute> attributes;
    for (std::size_t i = 0; i < attributeCount; ++i) {
        auto const bytes = table.subspan(firstAttribute + i * attributeSize, attributeSize);
        if (bytes[0] == 0)
            continue;
        SmartAttribute attribute{bytes[0], bytes[1] | bytes[2] << 8, bytes[3], bytes[4], {},
                                 bytes[11]};
        std::ranges::copy(bytes.subspan(5, attribute.raw.size()), attribute.raw.begin());
        attributes.push_back(attribute);
    }
    return attributes;
}

std::optional<int> temperatureOf(std::span<SmartAttribute const> attributes)
{
    for (int const id : {194, 190}) {
        auto const found = std::ranges::find(attributes, id, &SmartAttribute::id);
        if (found != attributes.end())
            return found->raw[0];
    }
    return std::nullopt;
}

QString lineOf(SmartAttribute const & attribute)
{
    QString line =
        QStringLiteral("%1: status: %2 value: %3  worst: %4  Raw:%5 %6 %7 %8 %9 %10   Res: %11")
            .arg(attribute.id)
            .arg(attribute.status)
            .arg(attribute.value)
            .arg(attribute.worst);
    for (unsigned char const byte : attribute.raw)
        line = line.arg(byte);
    return line.arg(attribute.reserved);
}

} // namespace ox::system
