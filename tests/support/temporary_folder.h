#pragma once

#include <gtest/gtest.h>

#include <QString>
#include <QTemporaryDir>

namespace ox::tests
{

/// A folder that is removed at the end of the scope. Its names have the system's own separators.
class TemporaryFolder
{
  public:
    QString path() const;
    QString filePath(QString const & name) const;

  private:
    QTemporaryDir folder_;
};

/// A test with a folder of its own.
class FolderTest : public testing::Test
{
  protected:
    /// The path of a name, in UTF-8, in the folder.
    QString path(char const * name) const;

    TemporaryFolder folder;
};

} // namespace ox::tests
