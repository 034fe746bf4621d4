#include "oxtool/support/output_file.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
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
        throw Failure(QStringLiteral("%1 is there already and is no file.").arg(path));
    requireWritten(opened);
}

void OutputFile::refuseWriteProtected() const
{
    if (!QFileInfo(path_).isWritable())
        throw Failure(QStringLiteral("%1 is write-protected.").arg(path_));
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
        [this] { return QStringLiteral("stopped. ") + whatIsLeft(); });
    requireWritten(created);
    return file_;
}

void OutputFile::write(unsigned char const * bytes, qint64 size)
{
    requireWritten(create().file().write(reinterpret_cast<char const *>(bytes),
                                         static_cast<std::size_t>(size)));
}

void OutputFile::commit()
{
    // Flushed without the stop requests' mutex, which a slow share would hold for long.
    requireWritten(file_.file().flush());
    platform::Result<> placed;
    guard_.complete([&] {
        placed = file_.putInPlace();
        return static_cast<bool>(placed);
    });
    requireWritten(placed);
}

QString OutputFile::whatIsLeft() const
{
    bool const exists = platform::kindOf(nativeName(path_)) != platform::NameKind::None;
    return (exists ? QStringLiteral("%1 is as it was.") : QStringLiteral("There is no %1."))
        .arg(path_);
}

QString OutputFile::pathText(platform::NativeName const & name)
{
    return text::toQString(platform::nameText(name));
}

void OutputFile::requireWritten(platform::Result<> const & result) const
{
    if (!result)
        throw Failure(
            QStringLiteral("%1 cannot be written. %2").arg(path_, systemMessage(result.error())));
}

} // namespace ox::tool
