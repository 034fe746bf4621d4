#include "shared/platform/shared_segment.h"

#include "shared/platform/windows/process_handle.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include <winternl.h>

// Functions of ntdll that the system's headers do not declare.
extern "C" {
NTSTATUS NTAPI NtOpenDirectoryObject(PHANDLE, ACCESS_MASK, POBJECT_ATTRIBUTES);
NTSTATUS NTAPI NtQueryDirectoryObject(HANDLE, PVOID, ULONG, BOOLEAN, BOOLEAN, PULONG, PULONG);
}

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

    /// Builds the attributes, unless they exist. A failed call releases all its memory, so that the
    /// next call starts from the beginning.
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

/// Entry of a directory of the object manager.
struct DirectoryEntry {
    UNICODE_STRING name;
    UNICODE_STRING type;
};

std::wstring_view viewOf(UNICODE_STRING const & text)
{
    return {text.Buffer, text.Length / sizeof(wchar_t)};
}

/// Opens a directory of the object manager. Returns INVALID_HANDLE_VALUE on failure.
HANDLE openDirectory(std::wstring path)
{
    auto const bytes = static_cast<USHORT>(path.size() * sizeof(wchar_t));
    UNICODE_STRING name{bytes, bytes, path.data()};
    OBJECT_ATTRIBUTES attributes{};
    attributes.Length = sizeof attributes;
    attributes.ObjectName = &name;
    constexpr ACCESS_MASK query = 1; // DIRECTORY_QUERY
    HANDLE directory = nullptr;
    return ::NtOpenDirectoryObject(&directory, query, &attributes) < 0 ? INVALID_HANDLE_VALUE
                                                                       : directory;
}

/// Appends to `all` the sections (file mappings) whose names begin with `prefix`. Searches the
/// directory `path` of the object manager.
Result<> addSections(std::wstring const & path, std::string const & prefix,
                     SharedSegment::Reach reach, std::vector<SharedSegment::Listed> & all)
{
    Handle const directory(openDirectory(path));
    if (!directory.isOpen())
        return Error{ERROR_ACCESS_DENIED, "NtOpenDirectoryObject"};
    std::vector<std::uint64_t> buffer(1024);
    ULONG next = 0;
    for (BOOLEAN restart = TRUE;; restart = FALSE) {
        if (::NtQueryDirectoryObject(directory.get(), buffer.data(),
                                     static_cast<ULONG>(buffer.size() * sizeof buffer[0]), TRUE,
                                     restart, &next, nullptr) < 0)
            return {}; // the end of the directory
        auto const & entry = *reinterpret_cast<DirectoryEntry const *>(buffer.data());
        if (viewOf(entry.type) != L"Section")
            continue;
        std::array<char, 300> narrow;
        std::string const name(narrowed(std::wstring(viewOf(entry.name)).c_str(), narrow));
        bool const isGlobal = reach == SharedSegment::Reach::Global;
        if (name.starts_with(prefix))
            all.push_back({isGlobal ? "Global\\" + name : name, reach});
    }
}

/// Returns whether a name contains no 0. The system would truncate the name at the 0 and open
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

Result<std::vector<SharedSegment::Listed>> SharedSegment::list(std::string const & prefix)
{
    std::vector<Listed> all;
    if (auto const added = addSections(L"\\BaseNamedObjects", prefix, Reach::Global, all); !added)
        return added.error();
    DWORD session = 0;
    // In session 0 the local names are in \BaseNamedObjects, so `all` already contains them.
    if (::ProcessIdToSessionId(::GetCurrentProcessId(), &session) && session != 0)
        static_cast<void>(
            addSections(L"\\Sessions\\" + std::to_wstring(session) + L"\\BaseNamedObjects", prefix,
                        Reach::Local, all));
    return all;
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
