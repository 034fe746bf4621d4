#include "shared/platform/native_name.h"

#include "shared/platform/utf8.h"

namespace ox::platform
{

NativeName nativeName(std::u16string_view name)
{
    return name.find(u'\0') == name.npos ? toUtf8(name) : NativeName();
}

NativeName nativeName(std::string_view name)
{
    // Bytes that are no UTF-8 were written by a system whose file names are Latin-1.
    return nativeName(systemText(name));
}

} // namespace ox::platform
