#include "tests/support/temporary_folder.h"

#include <QDir>

namespace ox::tests
{

QString TemporaryFolder::path() const
{
    return QDir::toNativeSeparators(folder_.path());
}

QString TemporaryFolder::filePath(QString const & name) const
{
    return QDir::toNativeSeparators(folder_.filePath(name));
}

QString FolderTest::path(char const * name) const
{
    return folder.filePath(QString::fromUtf8(name));
}

} // namespace ox::tests
