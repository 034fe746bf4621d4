#pragma once

#include "shared/platform/file_names.h"
#include "shared/text/utf16_view.h"

#include <QString>

namespace ox::text
{

inline constexpr QChar ownSeparator = QChar(char16_t{platform::ownSeparator});

/// The name that a QString or a fixed string gives to the operating system.
inline platform::NativeName nativePath(QString const & name)
{
    return platform::nativeName(viewOf(name));
}

template <typename S>
platform::NativeName nativePath(S const & name)
{
    return platform::nativeName(name.view());
}

} // namespace ox::text
