#include "tests/system/shared_memory_fixture.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <vector>

#include <windows.h>

using namespace ox::tests;

namespace
{

using SharedMemoryOnWindows = SharedMemory;

TEST_F(SharedMemoryOnWindows, GrantsFullAccessToUsersSystemAndServices)
{
    ASSERT_TRUE(memory.create(100, true, false)) << failure(memory);
    HANDLE const mapping = ::OpenFileMappingA(READ_CONTROL, FALSE, memory.globalName().c_str());
    ASSERT_NE(mapping, nullptr);
    std::vector<char> descriptor(1000);
    DWORD size = 0;
    ASSERT_TRUE(::GetKernelObjectSecurity(mapping, DACL_SECURITY_INFORMATION, descriptor.data(),
                                          static_cast<DWORD>(descriptor.size()), &size));
    ::CloseHandle(mapping);
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL acl = nullptr;
    ASSERT_TRUE(::GetSecurityDescriptorDacl(descriptor.data(), &present, &acl, &defaulted));
    ASSERT_TRUE(present);
    std::map<DWORD, DWORD> accessOfId;
    for (DWORD i = 0; i < acl->AceCount; ++i) {
        void * entry = nullptr;
        ASSERT_TRUE(::GetAce(acl, i, &entry));
        auto * const allowed = static_cast<ACCESS_ALLOWED_ACE *>(entry);
        EXPECT_EQ(allowed->Header.AceType, ACCESS_ALLOWED_ACE_TYPE);
        accessOfId[*::GetSidSubAuthority(&allowed->SidStart, 0)] = allowed->Mask;
    }
    EXPECT_EQ(accessOfId, (std::map<DWORD, DWORD>{{4, 0x1FFFFF}, {6, 0x1FFFFF}, {18, 0x1FFFFF}}));
}

TEST_F(SharedMemoryOnWindows, RefusesInvalidNamesOfMappings)
{
    oxSharedMemory nested((key + "\\a").c_str());
    EXPECT_FALSE(nested.create(10, false, false));
    EXPECT_TRUE(nested.errorString().startsWith("Create: Error ")) << failure(nested);
    oxSharedMemory cut(_oxString8_evenSize<250>("a\0b", 3));
    EXPECT_FALSE(cut.create(10, false, false));
    EXPECT_EQ(cut.error(), ERROR_INVALID_NAME);
    EXPECT_FALSE(cut.attach());
    EXPECT_EQ(cut.error(), ERROR_INVALID_NAME);
}

/// Returns the open handles of this process.
std::vector<HANDLE> handles()
{
    std::vector<HANDLE> found;
    DWORD flags = 0;
    for (std::uintptr_t number = 4; number < 0x4000; number += 4) {
        auto const handle = reinterpret_cast<HANDLE>(number);
        if (::GetHandleInformation(handle, &flags))
            found.push_back(handle);
    }
    return found;
}

TEST_F(SharedMemoryOnWindows, KeepsAMappingThatTheSystemDoesNotClose)
{
    auto const before = handles();
    ASSERT_TRUE(memory.create(10, false, false));
    std::vector<HANDLE> added;
    std::ranges::set_difference(handles(), before, std::back_inserter(added));
    for (HANDLE const each : added)
        ::SetHandleInformation(each, HANDLE_FLAG_PROTECT_FROM_CLOSE,
                               HANDLE_FLAG_PROTECT_FROM_CLOSE);
    EXPECT_FALSE(memory.detach());
    EXPECT_TRUE(memory.errorString().startsWith("CloseHandle: Error ")) << failure(memory);
    EXPECT_FALSE(memory.isAttached());
    EXPECT_FALSE(memory.create(10, false, false));
    EXPECT_EQ(failure(memory), "-1 We have already created memory.");
    EXPECT_FALSE(memory.attach());
    for (HANDLE const each : added)
        ::SetHandleInformation(each, HANDLE_FLAG_PROTECT_FROM_CLOSE, 0);
    EXPECT_TRUE(memory.detach());
    EXPECT_TRUE(memory.create(10, false, false)) << failure(memory);
}

} // namespace
