#include "oxtool/support/names.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/reason.h"
#include "shared/platform/program/console.h"
#include "shared/platform/this_process.h"
#include "shared/text/native_path.h"

namespace ox::tool
{

platform::NativeName nativeName(QString const & path)
{
    return text::nativePath(path);
}

QString fullPath(QString const & path)
{
    auto const full = platform::absolutePath(text::viewOf(path));
    if (!full)
        throw Failure(
            QStringLiteral("cannot get the current folder: %1").arg(reasonOf(full.error())));
    return text::toQString(*full);
}

_oxString8_evenSize<500> recordName(QString const & path)
{
    auto const bytes = platform::recordName(text::viewOf(path));
    if (!bytes || bytes->size() > 500)
        throw Failure(QStringLiteral("path is longer than 500 bytes: %1").arg(path));
    return _oxString8_evenSize<500>(bytes->c_str());
}

QString fromRecord(_oxString8_evenSize<500> const & record)
{
    return text::toQString(platform::recordText(record.view()));
}

QString fromArgument(std::string const & argument)
{
    return text::toQString(platform::argumentText(argument));
}

} // namespace ox::tool
