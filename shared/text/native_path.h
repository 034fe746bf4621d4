#pragma once

#include "shared/platform/file_names.h"
#include "shared/text/utf16_view.h"

#include <QString>

namespace ox::text
{

/// The separator between the parts of a path on this system: "/" on Linux, "\" on Windows.
inline constexpr QChar ownSeparator = QChar(char16_t{platform::ownSeparator});

/// Converts the file name `name` to the form that system calls take.
inline platform::NativeName nativePath(QString const & name)
{
    return platform::nativeName(viewOf(name));
}

/// Converts `name`, a file name in a fixed string, to the form that system calls take.
template <typename S>
platform::NativeName nativePath(S const & name)
{
    return platform::nativeName(name.view());
}

} // namespace ox::text
