#pragma once

#include <QString>

#include <cstddef>
#include <string_view>

namespace ox::text
{

/// Returns a view of the QString `text`, valid until `text` changes.
inline std::u16string_view viewOf(QString const & text)
{
    return {reinterpret_cast<char16_t const *>(text.utf16()),
            static_cast<std::size_t>(text.size())};
}

/// Returns the UTF-16 view `text` as a QString. A byte order mark is kept.
inline QString toQString(std::u16string_view text)
{
    return QString(reinterpret_cast<QChar const *>(text.data()), static_cast<int>(text.size()));
}

} // namespace ox::text
