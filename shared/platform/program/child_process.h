#pragma once

#include "shared/platform/result.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ox::platform
{

/// A started program. It inherits the standard streams of this process and no other open file.
class ChildProcess
{
  public:
    /// Starts a program. `command[0]` is the name of the program, which is searched for in PATH;
    /// the other elements are its arguments. All are UTF-8.
    static Result<std::unique_ptr<ChildProcess>> start(std::vector<std::string> const & command);

    ChildProcess(ChildProcess const &) = delete;
    ChildProcess & operator=(ChildProcess const &) = delete;

    /// Releases the process id. While this object exists, no other process gets the id.
    ~ChildProcess();

    /// Waits for the end of the process. Returns its exit status, or 128 + signal if a signal ended
    /// it.
    int wait() const;

    /// Sends the signal of a stop request to the process. On Windows, ends the process instead. No
    /// effect if the process has already ended.
    void send(int signal) const;

  private:
    explicit ChildProcess(std::intptr_t number) : number_(number) {}

    std::intptr_t number_;
};

} // namespace ox::platform
