#include "shared/platform/shared_segment.h"

#include <utility>

#include <windows.h>

namespace ox::platform
{
namespace
{

/// Security attributes that grant full access to interactive users, the system and services.
class GlobalAccess
{
  public:
    GlobalAccess() = default;
    ~GlobalAccess() { clear(); }
    GlobalAccess(GlobalAccess const &) = delete;
    GlobalAccess & operator=(GlobalAccess const &) = delete;

    SECURITY_ATTRIBUTES * attributes() { return &attributes_; }

    /// Builds the attributes once. A failed call releases all its memory, so the next call starts
    /// from the beginning.
    Result<> build()
    {
        if (attributes_.lpSecurityDescriptor)
            return {};
        Result<> const built = tryBuild();
        if (!built)
            clear();
        return built;
    }

  private:
    struct Member {
        DWORD id;
        char const * createStep;
        char const * grantStep;
        PSID sid = nullptr;
    };

    Result<> tryBuild()
    {
        SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
        DWORD aclSize = sizeof(ACL);
        for (Member & member : members_) {
            if (!::AllocateAndInitializeSid(&authority, 1, member.id, 0, 0, 0, 0, 0, 0, 0,
                                            &member.sid))
                return lastError(member.createStep);
            aclSize += static_cast<DWORD>(sizeof(ACCESS_ALLOWED_ACE)) + ::GetLengthSid(member.sid);
        }
        block_ = ::HeapAlloc(::GetProcessHeap(), 0, sizeof(SECURITY_DESCRIPTOR) + aclSize);
        if (!block_)
            return Error{ERROR_NOT_ENOUGH_MEMORY, "HeapAlloc"};
        auto * const descriptor = static_cast<SECURITY_DESCRIPTOR *>(block_);
        auto * const acl = reinterpret_cast<ACL *>(descriptor + 1);
        if (!::InitializeAcl(acl, aclSize, ACL_REVISION))
            return lastError("InitializeAcl");
        for (Member const & member : members_) {
            constexpr DWORD fullAccess = STANDARD_RIGHTS_ALL | SPECIFIC_RIGHTS_ALL;
            if (!::AddAccessAllowedAce(acl, ACL_REVISION, fullAccess, member.sid))
                return lastError(member.grantStep);
        }
        if (!::InitializeSecurityDescriptor(descriptor, SECURITY_DESCRIPTOR_REVISION))
            return lastError("InitializeSecurityDescriptor");
        if (!::SetSecurityDescriptorDacl(descriptor, TRUE, acl, FALSE))
            return lastError("SetSecurityDescriptorDacl");
        attributes_.lpSecurityDescriptor = descriptor;
        return {};
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
    void * block_ = nullptr; ///< the descriptor and its access-control list
    SECURITY_ATTRIBUTES attributes_{sizeof attributes_, nullptr, FALSE};
};

/// Returns whether a name is valid. The system truncates a name at its first 0, so it would open
/// another segment.
bool isValidName(std::string const & name)
{
    return name.find('\0') == name.npos;
}

} // namespace

struct SharedSegment::System {
    GlobalAccess access;
    HANDLE mapping = nullptr;
};

SharedSegment::SharedSegment() : system_(std::make_unique<System>()) {}

SharedSegment::~SharedSegment()
{
    static_cast<void>(close());
}

Result<> SharedSegment::prepareGlobalAccess()
{
    return system_->access.build();
}

Result<> SharedSegment::create(std::string const & name, Reach reach, std::size_t size)
{
    if (!isValidName(name))
        return Error{ERROR_INVALID_NAME, "CreateFileMappingA"};
    auto * const access = reach == Reach::Global ? system_->access.attributes() : nullptr;
    ::SetLastError(ERROR_SUCCESS);
    HANDLE const mapping = ::CreateFileMappingA(INVALID_HANDLE_VALUE, access, PAGE_READWRITE, 0,
                                                static_cast<DWORD>(size), name.c_str());
    Error const error = lastError("CreateFileMappingA");
    if (mapping && error.code != ERROR_ALREADY_EXISTS) {
        system_->mapping = mapping;
        return {};
    }
    if (mapping)
        ::CloseHandle(mapping);
    return error;
}

Result<> SharedSegment::open(std::string const & name, Reach)
{
    if (!isValidName(name))
        return Error{ERROR_INVALID_NAME, "OpenFileMappingA"};
    system_->mapping = ::OpenFileMappingA(FILE_MAP_WRITE, FALSE, name.c_str());
    return resultOf(isOpen(), "OpenFileMappingA");
}

bool SharedSegment::isMissing(Error const & error)
{
    return error.code == ERROR_FILE_NOT_FOUND;
}

bool SharedSegment::isOpen() const
{
    return system_->mapping != nullptr;
}

Result<> SharedSegment::map()
{
    view_ = ::MapViewOfFile(system_->mapping, FILE_MAP_WRITE, 0, 0, 0);
    return resultOf(view_ != nullptr, "MapViewOfFile");
}

Result<std::size_t> SharedSegment::viewSize() const
{
    MEMORY_BASIC_INFORMATION region{};
    if (::VirtualQuery(view_, &region, sizeof region) == 0)
        return lastError("VirtualQuery");
    return std::size_t{region.RegionSize};
}

Result<> SharedSegment::close()
{
    if (view_)
        ::UnmapViewOfFile(std::exchange(view_, nullptr));
    if (isOpen() && !::CloseHandle(system_->mapping))
        return lastError("CloseHandle");
    system_->mapping = nullptr;
    return {};
}

} // namespace ox::platform
