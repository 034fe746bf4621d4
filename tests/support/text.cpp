#include "tests/support/text.h"

#include <ostream>

void PrintTo(QString const & text, std::ostream * out)
{
    *out << text.toStdString();
}

namespace ox::tests
{

QString text(char const * latin1)
{
    return QString::fromLatin1(latin1);
}

QString operator""_q(char16_t const * text, std::size_t length)
{
    return QString(reinterpret_cast<QChar const *>(text), static_cast<int>(length));
}

} // namespace ox::tests
