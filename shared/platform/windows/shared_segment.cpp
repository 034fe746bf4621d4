#include "shared/platform/shared_segment.h"

#include <utility>

#include <windows.h>

namespace ox::platform
{
namespace
{

/// Full access for interactive users, the system and the services.
class GlobalAccess
{
  public:
    GlobalAccess() = default;
    ~GlobalAccess() { clear(); }
    GlobalAccess(GlobalAccess const &) = delete;
    GlobalAccess & operator=(GlobalAccess const &) = delete;

    SECURITY_ATTRIBUTES * attributes() { return &attributes_; }

    /// Null, or the step that failed; then the next call begins anew.
    char const * build()
    {
        if (attributes_.lpSecurityDescriptor)
            return nullptr;
        char const * const failed = tryBuild();
        if (failed) {
            DWORD const error = ::GetLastError();
            clear();
            ::SetLastError(error);
        }
        return failed;
    }

  private:
    struct Member {
        DWORD id;
        char const * makeId;
        char const * grant;
        PSID sid = nullptr;
    };

    char const * tryBuild()
    {
        SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
        DWORD aclSize = sizeof(ACL);
        for (Member & member : members_) {
            if (!::AllocateAndInitializeSid(&authority, 1, member.id, 0, 0, 0, 0, 0, 0, 0,
                                            &member.sid))
                return member.makeId;
            aclSize += static_cast<DWORD>(sizeof(ACCESS_ALLOWED_ACE)) + ::GetLengthSid(member.sid);
        }
        block_ = ::HeapAlloc(::GetProcessHeap(), 0, sizeof(SECURITY_DESCRIPTOR) + aclSize);
        if (!block_) {
            ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return "HeapAlloc";
        }
        auto * const descriptor = static_cast<SECURITY_DESCRIPTOR *>(block_);
        auto * const acl = reinterpret_cast<ACL *>(descriptor + 1);
        if (!::InitializeAcl(acl, aclSize, ACL_REVISION))
            return "InitializeAcl";
        for (Member const & member : members_) {
            constexpr DWORD fullAccess = STANDARD_RIGHTS_ALL | SPECIFIC_RIGHTS_ALL;
            if (!::AddAccessAllowedAce(acl, ACL_REVISION, fullAccess, member.sid))
                return member.grant;
        }
        if (!::InitializeSecurityDescriptor(descriptor, SECURITY_DESCRIPTOR_REVISION))
            return "InitializeSecurityDescriptor";
        if (!::SetSecurityDescriptorDacl(descriptor, TRUE, acl, FALSE))
            return "SetSecurityDescriptorDacl";
        attributes_.lpSecurityDescriptor = descriptor;
        return nullptr;
    }

    void clear()
    {
        if (block_)
            ::HeapFree(::GetProcessHeap(), 0, std::exchange(block_, nullptr));
        for (Member & member : members_) {
            if (member.sid)
                ::FreeSid(std::exchange(member.sid, nullptr));
        }
    }

    Member members_[3] = {
        {SECURITY_INTERACTIVE_RID, "AllocateAndInitializeSid 1", "AddAccessAllowedAce 1"},
        {SECURITY_LOCAL_SYSTEM_RID, "AllocateAndInitializeSid 2", "AddAccessAllowedAce 2"},
        {SECURITY_SERVICE_RID, "AllocateAndInitializeSid 3", "AddAccessAllowedAce 3"},
    };
    void * block_ = nullptr; // the descriptor, and the access-control list behind it
    SECURITY_ATTRIBUTES attributes_{sizeof attributes_, nullptr, FALSE};
};

SharedSegment::Attempt attemptOf(DWORD error)
{
    switch (error) {
    case ERROR_ALREADY_EXISTS:
        return SharedSegment::Attempt::Exists;
    case ERROR_FILE_NOT_FOUND:
        return SharedSegment::Attempt::NotFound;
    case ERROR_ACCESS_DENIED:
        return SharedSegment::Attempt::AccessDenied;
    default:
        return SharedSegment::Attempt::Failed;
    }
}

/// The system would end a name at its first 0, and so take it for another's.
bool isName(std::string const & name)
{
    bool const isWhole = name.find('\0') == name.npos;
    if (!isWhole)
        ::SetLastError(ERROR_INVALID_NAME);
    return isWhole;
}

} // namespace

struct SharedSegment::System {
    GlobalAccess access;
    HANDLE mapping = nullptr;
};

SharedSegment::SharedSegment() : system_(std::make_unique<System>()) {}

SharedSegment::~SharedSegment()
{
    close();
}

char const * SharedSegment::prepareGlobalAccess()
{
    return system_->access.build();
}

SharedSegment::Attempt SharedSegment::create(std::string const & name, Reach reach,
                                             std::size_t size)
{
    if (!isName(name))
        return Attempt::Failed;
    auto * const access = reach == Reach::Global ? system_->access.attributes() : nullptr;
    ::SetLastError(ERROR_SUCCESS);
    HANDLE const mapping = ::CreateFileMappingA(INVALID_HANDLE_VALUE, access, PAGE_READWRITE, 0,
                                                static_cast<DWORD>(size), name.c_str());
    DWORD const error = ::GetLastError();
    if (mapping && error != ERROR_ALREADY_EXISTS) {
        system_->mapping = mapping;
        return Attempt::Done;
    }
    if (mapping)
        ::CloseHandle(mapping);
    ::SetLastError(error);
    return attemptOf(error);
}

SharedSegment::Attempt SharedSegment::open(std::string const & name, Reach)
{
    if (!isName(name))
        return Attempt::Failed;
    system_->mapping = ::OpenFileMappingA(FILE_MAP_WRITE, FALSE, name.c_str());
    return isOpen() ? Attempt::Done : attemptOf(::GetLastError());
}

bool SharedSegment::isOpen() const
{
    return system_->mapping != nullptr;
}

bool SharedSegment::map()
{
    view_ = ::MapViewOfFile(system_->mapping, FILE_MAP_WRITE, 0, 0, 0);
    return view_ != nullptr;
}

std::size_t SharedSegment::viewSize() const
{
    MEMORY_BASIC_INFORMATION region{};
    return ::VirtualQuery(view_, &region, sizeof region) != 0 ? region.RegionSize : 0;
}

bool SharedSegment::close()
{
    if (view_)
        ::UnmapViewOfFile(std::exchange(view_, nullptr));
    if (isOpen() && !::CloseHandle(system_->mapping))
        return false;
    system_->mapping = nullptr;
    return true;
}

} // namespace ox::platform
