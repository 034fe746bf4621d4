#include "shared/text/file_name.h"

#include "shared/platform/file_names.h"
#include "shared/text/utf16_view.h"

namespace ox::text
{

QString fileNameText(std::string_view bytes)
{
    return toQString(platform::recordText(bytes));
}

} // namespace ox::text
