#include "shared/platform/file_names.h"

#include <algorithm>

namespace ox::platform
{

NativeName nativeName(std::u16string_view name)
{
    return name.find(u'\0') == name.npos ? toFileName(name) : NativeName();
}

std::u16string recordText(std::string_view name)
{
    // A name that is not UTF-8 was written by a system with Latin-1 file names.
    return systemText(name);
}

std::u16string nameText(std::basic_string_view<NativeName::value_type> name)
{
    return fromFileName(name);
}

int widenSystemText(std::string_view text, unsigned short * units, int capacity)
{
    auto const widened = text.substr(0, static_cast<std::size_t>(std::max(capacity, 0)));
    std::transform(widened.begin(), widened.end(), units,
                   [](char c) { return static_cast<unsigned char>(c); });
    return static_cast<int>(widened.size());
}

} // namespace ox::platform
