#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string.h"
#include "shared/text/fixed_string8.h"

/// Returns the text of a system error code: "Error 2: No such file or directory." The farm's
/// failure messages end with this text. The code -1 is the calling thread's last error; call the
/// function before another call can change the last error. 0 gives "No Error."; 126 gives "A DLL
/// is missing.". A code without a system message is treated as an exception code (see
/// exceptionCodeText).
OX_EXPORT _oxString8_evenSize<250> oxLastOSError8(int code = -1);
/// Returns the text of a system error as a wide string, by the rules of oxLastOSError8.
OX_EXPORT _oxString<500> oxLastOSError(int code = -1);

/// Returns the text of an exception code, such as 0xC0000005. An unknown code gives "EXCEPTION code
/// 1234567.No system message found", with the code as a signed number. Known codes allocate no
/// memory, so the crash handler can use this function.
OX_EXPORT _oxString<500> exceptionCodeText(unsigned int code);
