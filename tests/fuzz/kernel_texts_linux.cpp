#include "shared/fs/file_locker.h"
#include "shared/platform/linux/process_texts.h"
#include "shared/platform/linux/system_texts.h"
#include "shared/system/shared_memory.h"
#include "shared/system/sys_info_rules.h"
#include "tests/fuzz/fuzz_input.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

// Fuzzes the parsers of kernel files, such as /proc/PID/stat, and of configuration files. Fuzzes
// also the functions that read lock files and shared segments of other processes.

namespace
{

using namespace ox::fuzz;
using namespace ox::platform;

void readStat(std::string_view text)
{
    StatLine const line(text);
    OX_HOLDS(line.command().size() < text.size() || line.command().empty());
    if (text.find('(') < text.rfind(')') && text.rfind(')') != text.npos && line.isRunning())
        OX_HOLDS(text.find('(' + std::string(line.command()) + ')') != text.npos);
    ProcessCounters const counters = line.counters(100'000, 4096);
    OX_HOLDS(counters.cpuTime >= 0 && counters.workingSet <= INT64_MAX);
    line.parentId();
}

void readNames(std::string_view text)
{
    std::string_view const command = text.substr(0, text.find('\n'));
    std::string_view const name = executableName(text);
    OX_HOLDS(name.find('/') == name.npos && name.size() <= text.size());
    OX_HOLDS(completedCommand(command, text).starts_with(command));
}

void readMemory(std::string_view text)
{
    auto const field = memoryField(text, "Cached");
    OX_HOLDS(!field || (*field % 1024 == 0 && text.find("Cached:") != text.npos));
    bool const isPlain = text.find_first_not_of("0123456789 ", 7) == text.npos;
    if (text.starts_with("Cached:") && isPlain && text.size() < 20)
        OX_HOLDS(field.value_or(0) ==
                 std::strtoull(std::string(text.substr(7)).c_str(), nullptr, 10) * 1024);
}

void readProcessors(std::string_view text)
{
    Processors const found = processorsOf(text);
    OX_HOLDS(std::ranges::all_of(found.coreThreads, [](int count) { return count > 0; }));
    OX_HOLDS(found.coreThreads.size() <= text.size() / 7);
    ox::system::cpuDescriptionOf(found, 8);
    if (auto const sample = idleSampleOf(text, 100))
        OX_HOLDS(text.starts_with("cpu") && text.find("\ncpu") != text.npos);
}

void readConfiguration(std::string_view text)
{
    OX_HOLDS(systemNameOf(text).size() <= text.size());
    OX_HOLDS(systemNameOf(text).empty() || text.find("NAME") != text.npos);
    OX_HOLDS(firstUserId(text) == 1000 || text.find("UID_MIN") != text.npos);
}

void readLockFile(std::string_view text)
{
    QString const file = writeFile("a_lock.txt", text);
    _oxFileLockStatus const status = _oxFileLocker(filePath("a")).status();
    OX_HOLDS(status.exists && status.systemError == 0 && !status.isStale);
    OX_HOLDS(status.holder == _oxFileLockStatus::Nobody && status.who.size() <= 4096);
}

/// Attaches to a segment of any size and content. The descriptor `other` holds a shared flock on
/// the segment, like another process that is attached.
void readSegment(std::string_view text)
{
    std::string const key = "fuzz" + std::to_string(::getpid());
    std::string const path = "/dev/shm/GlobalOX_" + key + "_1234567";
    int const other = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    bool const isMade =
        other >= 0 && ::flock(other, LOCK_SH) == 0 &&
        ::write(other, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    oxSharedMemory memory{_oxString8_evenSize<250>(key.c_str())};
    bool const isAttached = isMade && !text.empty() && memory.attach();
    ::unlink(path.c_str());
    ::close(other);
    OX_HOLDS(isMade && isAttached == !text.empty());
    if (!isAttached)
        return;
    auto const data = memory.bytes();
    OX_HOLDS(data.size() + 8 >= text.size() && (data.size() + 8) % 4096 == 0);
    OX_HOLDS(memory.isLocked() == (text[0] != 0));
    OX_HOLDS(text.size() <= 8 || std::memcmp(data.data(), &text[8], text.size() - 8) == 0);
    data.back() = std::byte{1};
    OX_HOLDS(memory.isLocked() || (memory.lock() && memory.unlock()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size)
{
    Input in(data, size);
    constexpr void (*readers[])(std::string_view) = {readStat,         readNames,    readMemory,
                                                     readProcessors,   readLockFile, readSegment,
                                                     readConfiguration};
    int const which = in.below(7);
    readers[which](in.rest());
    return 0;
}
