#include "oxtool/names.h"

#include "oxtool/failure.h"
#include "shared/fs/native_path.h"
#include "shared/platform/files.h"
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

InputStream openInput(QString const & path)
{
    return InputStream(platform::openStream(nativeName(path), platform::StreamMode::Read));
}

bool isNotFound(int systemError)
{
    // The one number that the systems have in common.
    return systemError == static_cast<int>(std::errc::no_such_file_or_directory);
}

QString lastSystemMessage()
{
    return QString(oxLastOSError(-1));
}

} // namespace ox::tool
