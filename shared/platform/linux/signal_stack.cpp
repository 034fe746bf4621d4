#include "shared/platform/minidump_writer.h"

#include <csignal>
#include <cstddef>

#include <sys/mman.h>

namespace ox::platform
{
namespace
{

/// Alternate signal stack of a thread, with guard pages below. A signal handler needs it after a
/// stack overflow.
class SignalStack
{
  public:
    SignalStack()
    {
        stack_t present{};
        ::sigaltstack(nullptr, &present);
        if (!(present.ss_flags & SS_DISABLE) && present.ss_size >= size)
            return;
        memory_ = ::mmap(nullptr, guard + size, PROT_READ | PROT_WRITE,
                         MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
        if (memory_ == MAP_FAILED)
            return;
        ::mprotect(memory_, guard, PROT_NONE);
        stack_t own{};
        own.ss_sp = static_cast<char *>(memory_) + guard;
        own.ss_size = size;
        ::sigaltstack(&own, &previous_);
    }
    ~SignalStack()
    {
        // sigaltstack() fails while a signal handler uses the stack; the memory then stays mapped.
        if (memory_ != MAP_FAILED && ::sigaltstack(&previous_, nullptr) == 0)
            ::munmap(memory_, guard + size);
    }
    SignalStack(SignalStack const &) = delete;
    SignalStack & operator=(SignalStack const &) = delete;

  private:
    static constexpr std::size_t size = 65536;
    static constexpr std::size_t guard = 65536;

    void * memory_ = MAP_FAILED;
    stack_t previous_{};
};

} // namespace

void prepareThreadForCrash()
{
    thread_local SignalStack const stack;
    static_cast<void>(stack);
}

} // namespace ox::platform
