#include "shared/system/shared_memory.h"

#include "shared/platform/result.h"
#include "shared/platform/shared_segment.h"
#include "shared/system/environment.h"
#include "shared/system/os_error.h"

#include <algorithm>
#include <atomic>
#include <limits>

using ox::platform::ErrorKind;
using ox::platform::Result;
using ox::platform::SharedSegment;
using Reach = SharedSegment::Reach;

namespace
{

constexpr int lockPollMs = 100;
constexpr int lockPolls = 20;

Reach reachOf(bool global)
{
    return global ? Reach::Global : Reach::Local;
}

/// Returns the first byte of the segment, which is the lock.
/// Compatibility: as in the farm's other processes, the lock is taken by a load and a store, not by
/// an atomic exchange.
std::atomic_ref<unsigned char> lockByte(SharedSegment const & segment)
{
    return std::atomic_ref(*static_cast<unsigned char *>(segment.view()));
}

} // namespace

oxSharedMemory::oxSharedMemory(_oxString8_evenSize<250> const & key)
    : segment_(std::make_unique<SharedSegment>())
{
    localName_.add("OX_").add(key).add("_1234567");
    globalName_.add("Global\\").add(localName_);
}

oxSharedMemory::~oxSharedMemory()
{
    static_cast<void>(release()); // detach() builds an error text, which needs memory
}

bool oxSharedMemory::create(int size, bool global, bool fallBackToLocal)
{
    clearError();
    if (size < 1 || size > std::numeric_limits<int>::max() - headerSize)
        return fail("Create: size out of range");
    if (isAttached())
        return fail("We are already attached to memory.");
    // The segment is still open if an earlier detach failed to close it.
    if (segment_->isOpen())
        return fail("We have already created memory.");
    if (global) {
        if (auto const prepared = segment_->prepareGlobalAccess(); !prepared)
            return failInSystem(prepared.error().step, prepared.error());
    }

    mappedSize_ = size + headerSize;
    auto const attempt = [this](bool globally) {
        return segment_->create(choose(globally), reachOf(globally),
                                static_cast<std::size_t>(mappedSize_));
    };
    Result<> created = attempt(global);
    auto const isDenied = [&created] {
        return !created && created.error().kind() == ErrorKind::AccessDenied;
    };
    if (global && isDenied() && fallBackToLocal)
        created = attempt(false);
    // From now on attach() tries only the kind of name that this call used, even if this call
    // fails. A caller that gets AlreadyExists thus attaches to the existing segment.
    nameKindKnown_ = true;

    if (!created) {
        failInSystem("Create", created.error());
        if (created.error().kind() == ErrorKind::AlreadyExists) {
            errorText_ = "CreateFileMapping: already exists";
            errorCode_ = AlreadyExists;
        } else if (isDenied()) {
            errorText_ = "Unable to create Watch connection. This user does not have the "
                         "SeCreateGlobalPrivilege privilege. (Probably this app was not started "
                         "with admin rights.)";
        }
        return false;
    }
    // The lock byte of a new segment is 0. Setting it here could release the lock of a process that
    // has attached in the meantime.
    return map();
}

bool oxSharedMemory::attach()
{
    if (!detach())
        return false;
    auto const attempt = [this](bool globally) {
        return segment_->open(choose(globally), reachOf(globally));
    };
    Result<> opened = attempt(useGlobalName_ || !nameKindKnown_);
    if (!opened && !nameKindKnown_)
        opened = attempt(false);
    if (!opened) {
        failInSystem("OpenFileMappingA", opened.error());
        if (SharedSegment::isMissing(opened.error()))
            errorCode_ = DoesNotExist;
        return false;
    }
    nameKindKnown_ = true;
    if (!map())
        return false;

    auto const viewSize = segment_->viewSize();
    if (!viewSize) {
        static_cast<void>(release());
        ox::platform::setLastError(viewSize.error());
        return fail("VirtualQuery: size query failed");
    }
    constexpr std::size_t largest = std::numeric_limits<int>::max();
    mappedSize_ = static_cast<int>(std::min(*viewSize, largest));
    return true;
}

bool oxSharedMemory::detach()
{
    clearError();
    auto const released = release();
    return released || failInSystem("CloseHandle", released.error());
}

bool oxSharedMemory::isAttached() const
{
    return segment_->view() != nullptr;
}

void const * oxSharedMemory::data()
{
    if (!isAttached()) {
        fail("Not attached.");
        return nullptr;
    }
    return bytes().data();
}

std::span<std::byte> oxSharedMemory::bytes()
{
    if (!isAttached())
        return {};
    return {static_cast<std::byte *>(segment_->view()) + headerSize,
            static_cast<std::size_t>(size())};
}

bool oxSharedMemory::lock()
{
    clearError();
    if (!isAttached())
        return fail("lock: not attached");
    if (lockedByUs_)
        return fail("lock: already locked by us");
    for (int polled = 0; isLocked(); ++polled) {
        if (polled == lockPolls)
            return fail("lock: unable to get lock");
        oxSleep(lockPollMs);
    }
    lockByte(*segment_).store(1, std::memory_order_release);
    lockedByUs_ = true;
    return true;
}

bool oxSharedMemory::unlock()
{
    clearError();
    if (!isAttached())
        return fail("unlock: not attached");
    if (!lockedByUs_)
        return fail("unlock: not locked by us");
    lockByte(*segment_).store(0, std::memory_order_release);
    lockedByUs_ = false;
    return true;
}

bool oxSharedMemory::isLocked() const
{
    return isAttached() && lockByte(*segment_).load(std::memory_order_acquire) != 0;
}

void oxSharedMemory::clearError()
{
    errorText_.clear();
    errorCode_ = NoError;
}

bool oxSharedMemory::fail(char const * text)
{
    errorText_ = text;
    errorCode_ = OwnError;
    return false;
}

bool oxSharedMemory::failInSystem(char const * step, ox::platform::Error const & error)
{
    fail(step);
    errorText_.add(": ").add(oxLastOSError8(error.code));
    errorCode_ = error.code;
    ox::platform::setLastError(error);
    return false;
}

std::string oxSharedMemory::choose(bool global)
{
    useGlobalName_ = global;
    return std::string((global ? globalName_ : localName_).view());
}

bool oxSharedMemory::map()
{
    auto const mapped = segment_->map();
    if (mapped)
        return true;
    static_cast<void>(release());
    return failInSystem("MapViewOfFile", mapped.error());
}

ox::platform::Result<> oxSharedMemory::release()
{
    if (isAttached() && lockedByUs_)
        lockByte(*segment_).store(0, std::memory_order_release);
    lockedByUs_ = false;
    return segment_->close();
}
