#pragma once

#include <QString>

#include <cstddef>
#include <string_view>

namespace ox::text
{

inline std::u16string_view viewOf(QString const & text)
{
    return {reinterpret_cast<char16_t const *>(text.utf16()),
            static_cast<std::size_t>(text.size())};
}

inline QString toQString(std::u16string_view text)
{
    return QString(reinterpret_cast<QChar const *>(text.data()), static_cast<int>(text.size()));
}

} // namespace ox::text
