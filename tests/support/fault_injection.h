#pragma once

#include "tests/support/shell.h"

namespace ox::tests
{

/// Returns whether fiu-run can make system calls of the shell's program fail. `arguments` are those
/// of a run of the program that succeeds.
bool canInjectFaults(Shell const & shell, QByteArray const & arguments);

/// Reason to skip a test without fault injection.
inline constexpr char noFaultInjection[] =
    "fiu-run is needed, which makes calls of 64-bit programs fail (package fiu-utils); it does not "
    "work with sanitizers";

} // namespace ox::tests
