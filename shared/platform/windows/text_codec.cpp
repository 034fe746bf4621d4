#include "shared/platform/text_codec.h"

#include <algorithm>
#include <string>

#include <windows.h>

namespace ox::platform
{

int widenSystemText(std::string_view text, unsigned short * units, int room)
{
    // Converted aside, since the system gives nothing at all for a text that does not fit.
    std::wstring wide(text.size(), L'\0');
    int const length = ::MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()),
                                             wide.data(), static_cast<int>(wide.size()));
    int const written = std::clamp(length, 0, std::max(room, 0));
    std::copy_n(wide.begin(), written, units);
    return written;
}

} // namespace ox::platform
