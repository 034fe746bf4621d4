#include "oxtool/output_file.h"

#include "oxtool/failure.h"
#include "oxtool/names.h"
#include "shared/fs/file.h"
#include "shared/platform/files.h"
#include "shared/platform/replace_file.h"

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

} // namespace

OutputFile::OutputFile(QString const & path) : path_(path)
{
    QFileInfo const present(path);
    if (present.exists() && !present.isFile())
        throw Failure(QStringLiteral("%1 is there already and is no file.").arg(path));
    if (present.isSymLink())
        path_ = present.symLinkTarget();
    temporaryName_ = temporaryNameBeside(path_);
    holding_.take([] { return true; },
                  [this] { platform::deleteFile(nativeName(temporaryName_)); });
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
        throw Failure(QStringLiteral("%1 cannot be written. %2").arg(path_, lastSystemMessage()));
}

} // namespace ox::tool
