#pragma once

#include "tests/support/shell.h"

namespace ox::tests
{

/// Whether fiu-run can make the calls of a shell's program fail. The arguments are those of a run
/// of the program that succeeds.
bool canInjectFaults(Shell const & shell, QByteArray const & arguments);

/// Why a test is skipped where that is not so.
inline constexpr char noFaultInjection[] =
    "fiu-run is needed, which makes calls of 64-bit programs fail (package fiu-utils); it does not "
    "go together with sanitizers";

} // namespace ox::tests
