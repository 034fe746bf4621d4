// Breakpad's minidump processor, changed so that a 32-bit program reads the dumps of 64-bit
// programs. It is compiled into minidump_stackwalk in place of minidump_processor.cc.
//
// Breakpad passes the address of a crash as size_t, which has only 32 bits in a 32-bit program. The
// upper half of the address is then lost.

// The headers are included before size_t is redefined.
#include "google_breakpad/processor/minidump_processor.h"

#include "common/scoped_ptr.h"
#include "common/stdio_wrapper.h"
#include "common/using_std_string.h"
#include "google_breakpad/processor/call_stack.h"
#include "google_breakpad/processor/exploitability.h"
#include "google_breakpad/processor/minidump.h"
#include "google_breakpad/processor/process_state.h"
#include "google_breakpad/processor/stack_frame_symbolizer.h"
#include "processor/disassembler_objdump.h"
#include "processor/logging.h"
#include "processor/stackwalker_x86.h"
#include "processor/symbolic_constants_win.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <utility>

#define size_t std::uint64_t
#include "processor/minidump_processor.cc" // NOLINT(bugprone-suspicious-include)
