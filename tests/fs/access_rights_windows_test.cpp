#include "shared/fs/access_rights.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <QDir>

#include <windows.h>

#include <aclapi.h>

using namespace ox::tests;

namespace
{

using AccessRightsOnWindows = FolderTest;

/// Returns the rights that the access list of a file or folder grants to everybody.
DWORD allowedToEverybody(QString const & name)
{
    DWORD rights = 0;
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    EXPECT_EQ(::GetNamedSecurityInfoW(name.toStdWString().data(), SE_FILE_OBJECT,
                                      DACL_SECURITY_INFORMATION, nullptr, nullptr, &list, nullptr,
                                      &descriptor),
              ERROR_SUCCESS);
    for (DWORD i = 0; list && i < list->AceCount; ++i) {
        void * ace;
        if (!::GetAce(list, i, &ace))
            continue;
        auto const * const entry = static_cast<ACCESS_ALLOWED_ACE const *>(ace);
        if (entry->Header.AceType == ACCESS_ALLOWED_ACE_TYPE &&
            ::IsWellKnownSid(const_cast<DWORD *>(&entry->SidStart), WinWorldSid))
            rights |= entry->Mask;
    }
    ::LocalFree(descriptor);
    return rights;
}

} // namespace

TEST_F(AccessRightsOnWindows, AreAnEntryForEverybody)
{
    constexpr DWORD readWriteExecute =
        FILE_GENERIC_READ | FILE_GENERIC_WRITE | FILE_GENERIC_EXECUTE;
    QString const file = writeFile(path("tool.exe"));
    EXPECT_TRUE(oxSetFileRights_ReadWriteExecuteAll(file.toLatin1().constData()));
    EXPECT_EQ(allowedToEverybody(file) & readWriteExecute, readWriteExecute);
    ASSERT_TRUE(QDir(folder.path()).mkdir(text("sub")));
    EXPECT_TRUE(oxSetFolderRights_ReadWriteAll(path("sub").toLatin1().constData(), true));
    EXPECT_EQ(allowedToEverybody(path("sub")) & readWriteExecute, readWriteExecute);
    EXPECT_FALSE(oxSetFileRights_ReadWriteExecuteAll(path("none").toLatin1().constData()));
}
