#include "oxtool/support/reason.h"

#include "shared/system/os_error.h"

#include <QLatin1String>

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
    // QRegularExpression is not used: on Windows, its thread-local data in Qt can crash a thread
    // that ends.
    QLatin1String const lead("Error ");
    auto const end = libraryText.indexOf(QLatin1String(": "));
    bool isNumber = false;
    if (libraryText.startsWith(lead) && end > 0)
        libraryText.mid(lead.size(), end - lead.size()).toUInt(&isNumber);
    QString message = isNumber ? libraryText.mid(end + 2) : QString();
    while (message.endsWith(u'.'))
        message.chop(1);
    return message.isEmpty() ? libraryText : message;
}

} // namespace ox::tool
