#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string.h"
#include "shared/text/fixed_string8.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <string_view>
#include <type_traits>

/// Converts file names of any text type to the QString that names the same file. A function that
/// takes a file name as a fixed string has overloads for all these types: an implicit conversion to
/// the fixed string could cut the name or convert the name to Latin-1.
namespace ox::text
{

/// Converts `bytes`, a file name from an 8-bit record. On Linux a name that is valid UTF-8 is
/// decoded from UTF-8, any other name from Latin-1. On Windows every name is decoded from Latin-1.
OX_EXPORT QString fileNameText(std::string_view bytes);

/// Converts `bytes` (zero-terminated), a name from an 8-bit record. Null gives the empty name.
inline QString fileNameText(char const * bytes)
{
    return bytes ? fileNameText(std::string_view(bytes)) : QString();
}

/// Converts the QByteArray `bytes`, a name from an 8-bit record.
inline QString fileNameText(QByteArray const & bytes)
{
    return fileNameText(
        std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
}

/// Converts `name`, an 8-bit string of even capacity.
template <int N>
QString fileNameText(_oxString8_evenSize<N> const & name)
{
    return fileNameText(name.view());
}

/// Converts `name`, an 8-bit string of uneven capacity.
template <int N>
QString fileNameText(_oxString8_UnevenSize<N> const & name)
{
    return fileNameText(name.view());
}

/// Converts `name`, a wide string.
template <int N>
QString fileNameText(_oxString<N> const & name)
{
    return name;
}

/// Converts `units` (zero-terminated UTF-16), a file name. Null gives the empty name.
inline QString fileNameText(unsigned short const * units)
{
    return QString(reinterpret_cast<QChar const *>(units));
}

/// Returns the QString `name` unchanged.
inline QString fileNameText(QString const & name)
{
    return name;
}

/// A type that fileNameText converts.
template <typename T>
concept FileName = requires(T const & name)
{
    fileNameText(name);
};

/// A class type that fileNameText converts. Excludes pointers.
template <typename T>
concept FileNameObject = FileName<T> && std::is_class_v<T>;

} // namespace ox::text
