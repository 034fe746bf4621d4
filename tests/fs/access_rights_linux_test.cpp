#include "shared/fs/access_rights.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <QDir>
#include <QFile>

#include <string>

using namespace ox::tests;

using AccessRightsOnLinux = FolderTest;

TEST_F(AccessRightsOnLinux, AreAddedForOwnerGroupAndOthers)
{
    QFile::Permissions const all(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                 QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup |
                                 QFile::ReadOther | QFile::WriteOther | QFile::ExeOther);
    QFile::Permissions const user(QFile::ReadUser | QFile::WriteUser | QFile::ExeUser);
    QString const file = writeFile(path("\xd0\xb6"));
    ASSERT_TRUE(QFile::setPermissions(file, QFile::ReadOwner));
    EXPECT_TRUE(oxSetFileRights_ReadWriteExecuteAll(file.toUtf8().constData()));
    EXPECT_EQ(QFile::permissions(file), all | user);

    ASSERT_TRUE(QDir(folder.path()).mkdir(text("sub")));
    QString const inside = writeFile(path("sub/kept"));
    ASSERT_TRUE(QFile::setPermissions(inside, QFile::ReadOwner | QFile::WriteOwner));
    EXPECT_TRUE(oxSetFolderRights_ReadWriteAll(path("sub").toUtf8().constData(), true));
    EXPECT_EQ(QFile::permissions(path("sub")), all | user);
    EXPECT_EQ(QFile::permissions(inside) & all, QFile::ReadOwner | QFile::WriteOwner);

    EXPECT_FALSE(oxSetFileRights_ReadWriteExecuteAll(path("none").toUtf8().constData()));
    EXPECT_FALSE(oxSetFolderRights_ReadWriteAll(nullptr, false));
    EXPECT_FALSE(oxSetFileRights_ReadWriteExecuteAll(std::string(501, '/').c_str()));
}
