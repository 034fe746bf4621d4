#include "oxtool/output_file.h"

#include "oxtool/failure.h"
#include "oxtool/names.h"
#include "shared/fs/file.h"
#include "shared/platform/files.h"
#include "shared/platform/replace_file.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>

namespace ox::tool
{
namespace
{

QString temporaryNameBeside(QString const & path)
{
    auto const nameStart = path.lastIndexOf(QLatin1Char(platform::ownSeparator)) + 1;
    quint64 const number = QRandomGenerator::system()->generate64();
    return path.left(nameStart) +
           QStringLiteral(".oxtool-%1.tmp").arg(number, 16, 16, QLatin1Char('0'));
}

/// To be made right after the call that failed.
Failure notWritten(QString const & path)
{
    return Failure(QStringLiteral("%1 cannot be written. %2").arg(path, lastSystemMessage()));
}

} // namespace

OutputFile::OutputFile(QString const & path) : path_(QDir::toNativeSeparators(path))
{
    QFileInfo const present(path);
    if (present.exists() && !present.isFile())
        throw Failure(QStringLiteral("%1 is there already and is no file.").arg(path));
    if (present.isSymLink())
        path_ = QDir::toNativeSeparators(present.exists() ? present.canonicalFilePath()
                                                          : present.symLinkTarget());
    temporaryName_ = temporaryNameBeside(path_);
    holding_.take([] { return true; }, [this] { platform::deleteFile(nativeName(temporaryName_)); },
                  [this] { return QStringLiteral("stopped. ") + whatIsLeft(); });
}

void OutputFile::keepPermissions() const
{
    if (!QFileInfo(path_).isWritable())
        throw Failure(QStringLiteral("%1 is write-protected.").arg(path_));
    platform::NativeName const temporary = nativeName(temporaryName_);
    detail::Stream const made(platform::openStream(temporary, platform::StreamMode::Write));
    if (!made || !platform::copyPermissions(nativeName(path_), temporary))
        throw notWritten(path_);
}

void OutputFile::write(unsigned char * bytes, qint64 size) const
{
    QString const failure = oxWriteBufferToFile(temporaryName_, bytes, size);
    if (!failure.isEmpty())
        throw Failure(QStringLiteral("%1: %2").arg(path_, failure));
}

void OutputFile::commit()
{
    bool const replaced = holding_.finish(
        [this] { return platform::replaceFile(nativeName(temporaryName_), nativeName(path_)); });
    if (!replaced)
        throw notWritten(path_);
}

QString OutputFile::whatIsLeft() const
{
    bool const exists = platform::fileStatus(nativeName(path_)).has_value();
    return (exists ? QStringLiteral("%1 is as it was.") : QStringLiteral("There is no %1."))
        .arg(path_);
}

} // namespace ox::tool
