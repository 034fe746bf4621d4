#include "shared/platform/native_name.h"

#include "shared/platform/utf8.h"

namespace ox::platform
{

NativeName nativeName(std::u16string_view name)
{
    return name.find(u'\0') == name.npos ? toFileName(name) : NativeName();
}

std::u16string recordText(std::string_view name)
{
    // Bytes that are no UTF-8 were written by a system whose file names are Latin-1.
    return systemText(name);
}

std::u16string nameText(std::basic_string_view<NativeName::value_type> name)
{
    return fromFileName(name);
}

} // namespace ox::platform
