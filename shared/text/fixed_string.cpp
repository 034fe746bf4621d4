#include "shared/text/fixed_string.h"

#include "shared/text/encoding.h"

#include <QByteArray>

#include <ostream>

namespace ox::detail
{

QString toQString(unsigned short const * units, int length)
{
    // Not QString::fromUtf16, which would swallow a byte order mark at the start.
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

#define OX_EVEN_STRING8(N)                                                                         \
    template class FixedText<_oxString8_evenSize<N>, EvenRecord8<N>>;                              \
    template class String8<_oxString8_evenSize<N>, EvenRecord8<N>>;
#define OX_UNEVEN_STRING8(N)                                                                       \
    template class FixedText<_oxString8_UnevenSize<N>, UnevenRecord8<N>>;                          \
    template class String8<_oxString8_UnevenSize<N>, UnevenRecord8<N>>;
#define OX_WIDE_STRING(N) template class FixedText<_oxString<N>, WideRecord<N>>;

OX_STRING8_CAPACITIES(OX_EVEN_STRING8, OX_UNEVEN_STRING8)
OX_WIDE_STRING_CAPACITIES(OX_WIDE_STRING)

} // namespace ox::detail

#define OX_WIDE_STRING_CLASS(N) template class _oxString<N>;
OX_WIDE_STRING_CAPACITIES(OX_WIDE_STRING_CLASS)
