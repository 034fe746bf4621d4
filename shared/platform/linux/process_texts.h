#pragma once

#include "shared/platform/processes.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <string_view>

// Parsers for the files of a process in /proc.

namespace ox::platform
{

/// Parses the line in the file "stat" of a process: "ID (COMMAND) STATE PARENT …". Refers to the
/// bytes of the line and does not copy them.
class StatLine
{
  public:
    explicit StatLine(std::string_view line)
    {
        std::size_t const open = line.find('(');
        std::size_t const close = line.rfind(')');
        if (close == std::string_view::npos || open > close || close + 2 > line.size())
            return;
        command_ = line.substr(open + 1, close - open - 1);
        std::string_view rest = line.substr(close + 2);
        for (std::string_view & field : fields_) {
            field = rest.substr(0, rest.find(' '));
            rest.remove_prefix(std::min(field.size() + 1, rest.size()));
        }
    }

    /// Returns whether the process is a user process with a living thread.
    bool isRunning() const
    {
        return !fields_[State].empty() && !isKernelThread() &&
               (isThreadAlive() || number(Threads) > 1);
    }
    bool isThreadAlive() const { return fields_[State] != "Z" && fields_[State] != "X"; }

    /// Returns the command name: at most 15 bytes, which may be any characters.
    std::string_view command() const { return command_; }
    std::uint32_t parentId() const { return static_cast<std::uint32_t>(number(Parent)); }

    /// Returns the start time in clock ticks since the machine started.
    std::uint64_t startTicks() const { return number(Start); }

    /// Returns the counters. `tickIn100ns` is the length of a clock tick in 100 ns, and `pageSize`
    /// is in bytes. The processor time is that of the whole process. The memory is 0 in the line of
    /// a thread that has ended.
    ProcessCounters counters(std::int64_t tickIn100ns, std::int64_t pageSize) const
    {
        std::uint64_t ticks = 0;
        if (__builtin_add_overflow(number(UserTicks), number(SystemTicks), &ticks))
            ticks = std::numeric_limits<std::uint64_t>::max();
        return {limitedProduct(ticks, tickIn100ns),
                static_cast<std::uint64_t>(limitedProduct(number(ResidentPages), pageSize))};
    }

  private:
    /// Positions of the fields that follow the command name, counted from 0.
    enum Field {
        State = 0,
        Parent = 1,
        Flags = 6,
        UserTicks = 11,
        SystemTicks = 12,
        Threads = 17,
        Start = 19,
        ResidentPages = 21,
        FieldCount
    };

    bool isKernelThread() const { return (number(Flags) & 0x00200000) != 0; }
    std::uint64_t number(Field field) const
    {
        std::string_view const text = fields_[field];
        std::uint64_t value = 0;
        std::from_chars(text.data(), text.data() + text.size(), value);
        return value;
    }

    /// Returns the product, or the largest number after an overflow.
    static std::int64_t limitedProduct(std::uint64_t count, std::int64_t unit)
    {
        std::int64_t product = 0;
        return __builtin_mul_overflow(count, unit, &product)
                   ? std::numeric_limits<std::int64_t>::max()
                   : product;
    }

    std::string_view command_;
    std::string_view fields_[FieldCount];
};

inline std::string_view lastComponent(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

/// Returns the file name of an executable. `linkTarget` is the target of the link "exe" of its
/// process.
inline std::string_view executableName(std::string_view linkTarget)
{
    constexpr std::string_view deleted = " (deleted)";
    if (linkTarget.ends_with(deleted))
        linkTarget.remove_suffix(deleted.size());
    return lastComponent(linkTarget);
}

/// Length in bytes at which the kernel truncates a command name.
inline constexpr std::size_t truncatedCommand = 15;

/// Returns the complete form of a command name that the kernel may have truncated. `arguments` is
/// the content of the file "cmdline" of its process.
inline std::string_view completedCommand(std::string_view command, std::string_view arguments)
{
    std::string_view const first = lastComponent(arguments.substr(0, arguments.find('\0')));
    return first.starts_with(command) ? first : command;
}

} // namespace ox::platform
