#include "oxtool/support/reason.h"

#include "shared/system/os_error.h"

#include <QRegularExpression>

namespace ox::tool
{

QString reasonOf(platform::Error error)
{
    return reasonOf(error.code);
}

QString reasonOf(int code)
{
    return reasonIn(QString(oxLastOSError(code)));
}

QString lastReason()
{
    return reasonOf(platform::lastError());
}

QString reasonIn(QString const & libraryText)
{
    static QRegularExpression const systemForm(QStringLiteral("^Error \\d+: (.+?)\\.*$"));
    auto const match = systemForm.match(libraryText);
    return match.hasMatch() ? match.captured(1) : libraryText;
}

} // namespace ox::tool
