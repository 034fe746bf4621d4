#include "oxtool/support/output_file.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "shared/fs/native_path.h"
#include "shared/platform/files.h"

#include <QDir>
#include <QFileInfo>

namespace ox::tool
{

using platform::NewFile;

OutputFile::OutputFile(QString const & path) : path_(QDir::toNativeSeparators(path))
{
    switch (file_.open(nativeName(path_), NewFile::Links::Followed)) {
    case NewFile::Opening::Done:
        return;
    case NewFile::Opening::NotAFile:
        throw Failure(QStringLiteral("%1 is there already and is no file.").arg(path));
    case NewFile::Opening::Failed:
        failToWrite();
    }
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
    bool const created =
        holding_.take([&] { return file_.create(access); }, [this] { file_.remove(); },
                      [this] { return QStringLiteral("stopped. ") + whatIsLeft(); });
    if (!created)
        failToWrite();
    return file_;
}

void OutputFile::write(unsigned char const * bytes, qint64 size)
{
    auto const length = static_cast<std::size_t>(size);
    if (create().file().write(reinterpret_cast<char const *>(bytes), length) != length)
        failToWrite();
}

void OutputFile::commit()
{
    // Flushed without the stop requests' mutex, which a slow share would hold for long.
    if (!file_.file().flush() || !holding_.finish([this] { return file_.putInPlace(); }))
        failToWrite();
}

QString OutputFile::whatIsLeft() const
{
    bool const exists = platform::fileStatus(nativeName(path_)).has_value();
    return (exists ? QStringLiteral("%1 is as it was.") : QStringLiteral("There is no %1."))
        .arg(path_);
}

QString OutputFile::pathText(platform::NativeName const & name)
{
    return detail::toQString(platform::nameText(name));
}

/// To be called right after the call that failed.
void OutputFile::failToWrite() const
{
    throw Failure(QStringLiteral("%1 cannot be written. %2").arg(path_, lastSystemMessage()));
}

} // namespace ox::tool
