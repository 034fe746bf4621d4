#include "shared/system/user_text.h"

#include "shared/system/os_error.h"
#include "shared/text/utf16_view.h"

namespace ox::system
{

QString userText(platform::Result<std::u16string> const & answer, platform::TokenSize const & token)
{
    if (answer)
        return text::toQString(*answer);
    platform::Error const error = answer.error();
    std::string_view const step = error.step;
    QString const stepName = QString::fromLatin1(error.step);
    if (step == platform::openUserList || step == platform::readUserList)
        return QStringLiteral("ERROR: Unable to %1;").arg(stepName);
    QString const text =
        QStringLiteral("Error %1: %2").arg(stepName, QString(oxLastOSError8(error.code)));
    return step == platform::readToken
               ? text + QStringLiteral(" %1 %2").arg(token.needed).arg(token.capacity)
               : text;
}

} // namespace ox::system
