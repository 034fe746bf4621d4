#include "shared/text/fixed_string.h"

#include "shared/text/encoding.h"

#include <QByteArray>

#include <ostream>

namespace ox::text
{
namespace
{

// The layouts of all capacities that the farm's records use.

template <int... N>
constexpr bool areEvenRecords(std::integer_sequence<int, N...>)
{
    return (hasLayout<_oxString8_evenSize<N>>(N + 4, 0, N + 2) && ...);
}

template <int... N>
constexpr bool areUnevenRecords(std::integer_sequence<int, N...>)
{
    return (hasLayout<_oxString8_UnevenSize<N>>(N + 3, 0, N + 1) && ...);
}

template <int... N>
constexpr bool areWideRecords(std::integer_sequence<int, N...>)
{
    return ((hasLayout<_oxString<N>>(2 * N + 6, 0, 2 * N + 2) &&
             offsetof(_oxString<N>, reserved) == 2 * N + 4) &&
            ...);
}

static_assert(areEvenRecords(EvenCapacities8()));
static_assert(areUnevenRecords(UnevenCapacities8()));
static_assert(areWideRecords(WideCapacities()));

} // namespace

QString toQString(unsigned short const * units, int length)
{
    // QString::fromUtf16 would remove a byte order mark at the start.
    return QString(reinterpret_cast<QChar const *>(units), length);
}

QString toTransportForm(QString const & text)
{
    return oxToOXUTF8(text, false);
}

QString fromTransportForm(char const * text)
{
    return oxFromOXUTF8(QString::fromLatin1(text));
}

void printBytes(std::ostream & stream, std::string_view bytes)
{
    stream << bytes;
}

void printUtf8(std::ostream & stream, QString const & text)
{
    QByteArray const bytes = text.toUtf8();
    stream.write(bytes.constData(), bytes.size());
}

} // namespace ox::text
