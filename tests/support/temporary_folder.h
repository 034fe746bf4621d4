#pragma once

#include <gtest/gtest.h>

#include <QString>
#include <QTemporaryDir>

namespace ox::tests
{

/// A temporary folder that the destructor removes. Its paths have the separators of the system.
class TemporaryFolder
{
  public:
    QString path() const;
    QString filePath(QString const & name) const;

  private:
    QTemporaryDir folder_;
};

/// A test with a temporary folder.
class FolderTest : public testing::Test
{
  protected:
    /// Returns the path of a file in the folder. The name is in UTF-8.
    QString path(char const * name) const;

    TemporaryFolder folder;
};

} // namespace ox::tests
