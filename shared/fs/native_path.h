#pragma once

#include "shared/platform/native_name.h"

#include <QString>

#include <cstddef>
#include <string_view>

namespace ox::detail
{

inline constexpr QChar ownSeparator = QChar(char16_t{platform::ownSeparator});

inline std::u16string_view viewOf(QString const & text)
{
    return {reinterpret_cast<char16_t const *>(text.utf16()),
            static_cast<std::size_t>(text.size())};
}

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

} // namespace ox::detail
