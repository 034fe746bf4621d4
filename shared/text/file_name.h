#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string.h"
#include "shared/text/fixed_string8.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <string_view>
#include <type_traits>

/// Names of files, in whatever type a caller has them, as the QString that names the same file.
/// Functions that take a name in a record have a form for each of these types, so that no name is
/// converted to Latin-1, or cut, on its way.
namespace ox::text
{

/// The name in an 8-bit record. On Linux its bytes are UTF-8 when they are valid as that and
/// Latin-1 otherwise; on Windows they are Latin-1.
OX_EXPORT QString fileNameText(std::string_view bytes);

/// A null pointer is the empty name.
inline QString fileNameText(char const * bytes)
{
    return bytes ? fileNameText(std::string_view(bytes)) : QString();
}

inline QString fileNameText(QByteArray const & bytes)
{
    return fileNameText(
        std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
}

template <int N>
QString fileNameText(_oxString8_evenSize<N> const & name)
{
    return fileNameText(name.view());
}

template <int N>
QString fileNameText(_oxString8_UnevenSize<N> const & name)
{
    return fileNameText(name.view());
}

template <int N>
QString fileNameText(_oxString<N> const & name)
{
    return name;
}

inline QString fileNameText(unsigned short const * units)
{
    return QString(reinterpret_cast<QChar const *>(units));
}

inline QString fileNameText(QString const & name)
{
    return name;
}

template <typename T>
concept FileName = requires(T const & name)
{
    fileNameText(name);
};

/// A name that is no bare `char const *`.
template <typename T>
concept FileNameObject = FileName<T> && std::is_class_v<T>;

} // namespace ox::text
