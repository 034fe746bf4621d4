#include "oxtool/names.h"

#include "oxtool/failure.h"
#include "oxtool/report.h"
#include "shared/fs/native_path.h"
#include "shared/platform/console.h"
#include "shared/system/os_error.h"

#include <system_error>

namespace ox::tool
{

platform::NativeName nativeName(QString const & path)
{
    return detail::nativePath(path);
}

_oxString8_evenSize<500> recordName(QString const & path)
{
    auto const bytes = platform::recordName(detail::viewOf(path));
    if (!bytes || bytes->size() > 500)
        throw Failure(
            QStringLiteral("The path %1 cannot be had: a path has up to 500 bytes.").arg(path));
    return _oxString8_evenSize<500>(bytes->c_str());
}

QString fromRecord(_oxString8_evenSize<500> const & record)
{
    return detail::toQString(platform::recordText(record.view()));
}

detail::Stream openInput(QString const & path)
{
    return detail::Stream(platform::openStream(nativeName(path), platform::StreamMode::Read));
}

bool isNotFound(int systemError)
{
    // The one number that the systems have in common.
    return systemError == static_cast<int>(std::errc::no_such_file_or_directory);
}

QString fromArgument(std::string const & argument)
{
    return detail::toQString(platform::argumentText(argument));
}

QString shownName(QString const & name)
{
    QString shown;
    for (int i = 0; i < name.size(); ++i) {
        QChar const unit = name[i];
        bool const isPair =
            unit.isHighSurrogate() && i + 1 < name.size() && name[i + 1].isLowSurrogate();
        if (isPair)
            shown += name.mid(i++, 2);
        else if (unit.isPrint())
            shown += unit;
        else
            shown += QLatin1String("\\u") + hexText(unit.unicode(), 4);
    }
    return shown;
}

QString lastSystemMessage()
{
    return QString(oxLastOSError(-1));
}

} // namespace ox::tool
