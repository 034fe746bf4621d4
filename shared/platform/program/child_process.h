#pragma once

#include "shared/platform/result.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ox::platform
{

/// A program started by this process, with this process's standard streams and nothing else open.
class ChildProcess
{
  public:
    /// Starts `command[0]`, looked for as the shell does, with the rest as its arguments, all in
    /// UTF-8.
    static Result<std::unique_ptr<ChildProcess>> start(std::vector<std::string> const & command);

    ChildProcess(ChildProcess const &) = delete;
    ChildProcess & operator=(ChildProcess const &) = delete;

    /// Forgets the process; until then its number belongs to no other.
    ~ChildProcess();

    /// Waits for the end. Returns the exit status, 128 + signal when a signal ended it.
    int wait() const;

    /// Passes a stop request's signal on. Does nothing when the process has ended already.
    void send(int signal) const;

  private:
    explicit ChildProcess(std::intptr_t number) : number_(number) {}

    std::intptr_t number_;
};

} // namespace ox::platform
