#include "shared/text/fixed_string.h"

#include "shared/text/encoding.h"

#include <QByteArray>

#include <ostream>

namespace ox::text
{

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
