#include "shared/platform/native_name.h"

#include "shared/platform/utf8.h"

#include <algorithm>

namespace ox::platform
{

NativeName nativeName(std::string_view name)
{
    return nativeName(recordText(name));
}

std::optional<std::string> recordName(std::u16string_view name)
{
    NativeName const native = nativeName(name);
    if (native.empty())
        return std::nullopt;
    auto const isLatin1 = [](char16_t c) { return c <= 0xFF; };
    if (std::all_of(name.begin(), name.end(), isLatin1)) {
        std::string latin1(name.size(), '\0');
        std::transform(name.begin(), name.end(), latin1.begin(),
                       [](char16_t c) { return static_cast<char>(c); });
        if (nativeName(latin1) == native)
            return latin1;
    }
    std::string utf8 = toUtf8(name);
    if (nativeName(utf8) == native)
        return utf8;
    return std::nullopt;
}

} // namespace ox::platform
