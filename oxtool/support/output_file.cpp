#include "oxtool/support/output_file.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/reason.h"
#include "shared/platform/files.h"
#include "shared/text/native_path.h"

#include <QDir>
#include <QFileInfo>

namespace ox::tool
{

using platform::NewFile;

OutputFile::OutputFile(QString const & path) : path_(QDir::toNativeSeparators(path))
{
    auto const opened = file_.open(nativeName(path_), NewFile::Links::Followed);
    if (!opened && opened.error().kind() == platform::ErrorKind::NotAFile)
        throw Failure(QStringLiteral("cannot write '%1': not a regular file").arg(path));
    requireWritten(opened);
}

void OutputFile::requireWritable() const
{
    if (!QFileInfo(path_).isWritable())
        throw Failure(
            QStringLiteral("cannot replace '%1': the file is write-protected").arg(path_));
}

QString OutputFile::nameToRead() const
{
    platform::NativeName const name = file_.previousName();
    return name.empty() ? path_ : pathText(name);
}

NewFile & OutputFile::create(Access access)
{
    platform::Result<> created;
    auto const create = [&] {
        created = file_.create(access);
        return static_cast<bool>(created);
    };
    guard_.acquire(
        create, [this] { file_.remove(); },
        [this] {
            return (targetExists() ? QStringLiteral("stopped; the target is unchanged: '%1'")
                                   : QStringLiteral("stopped; the target was not created: '%1'"))
                .arg(path_);
        });
    requireWritten(created);
    return file_;
}

void OutputFile::write(unsigned char const * bytes, qint64 size)
{
    requireWritten(create().file().write(reinterpret_cast<char const *>(bytes),
                                         static_cast<std::size_t>(size)));
}

void OutputFile::commit(Previous previous)
{
    // The flush takes long on a slow share, so it runs before complete() defers stop requests.
    requireWritten(file_.file().flush());
    platform::Result<> placed;
    guard_.complete([&] {
        if (previous == Previous::Kept) {
            auto const kept = file_.keepPrevious("_old", -1, 0); // no file has the size -1
            if (!kept) {
                placed = kept.error();
                return false;
            }
        }
        placed = file_.putInPlace();
        return static_cast<bool>(placed);
    });
    requireWritten(placed);
}

QString OutputFile::targetState() const
{
    return targetExists() ? QStringLiteral("unchanged") : QStringLiteral("not created");
}

bool OutputFile::targetExists() const
{
    return platform::kindOf(nativeName(path_)) != platform::NameKind::None;
}

QString OutputFile::pathText(platform::NativeName const & name)
{
    return text::toQString(platform::nameText(name));
}

void OutputFile::requireWritten(platform::Result<> const & result) const
{
    if (!result)
        throw Failure(QStringLiteral("cannot write '%1': %2").arg(path_, reasonOf(result.error())));
}

} // namespace ox::tool
