#include "shared/platform/text_codec.h"

#include <algorithm>

namespace ox::platform
{

int widenSystemText(std::string_view text, unsigned short * units, int room)
{
    auto const widened = text.substr(0, static_cast<std::size_t>(std::max(room, 0)));
    std::transform(widened.begin(), widened.end(), units,
                   [](char c) { return static_cast<unsigned char>(c); });
    return static_cast<int>(widened.size());
}

} // namespace ox::platform
