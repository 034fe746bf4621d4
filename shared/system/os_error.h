#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string.h"
#include "shared/text/fixed_string8.h"

/// The text of an error of the operating system, which ends the farm's failure messages:
/// "Error 2: No such file or directory." -1 stands for the calling thread's last error, so call
/// this before anything else can fail. 0 is "No Error."; a code that the system has no message for
/// is taken as the code of an exception.
OX_EXPORT _oxString8_evenSize<250> oxLastOSError8(int code = -1);
OX_EXPORT _oxString<500> oxLastOSError(int code = -1);

/// The sentence for the code of an exception, such as 0xC0000005. A code unknown here and to the
/// system gives "EXCEPTION code 1234567.No system message found", the code as a signed number.
/// Allocates nothing for the known codes, so a crash can be reported with it.
OX_EXPORT _oxString<500> exceptionCodeText(unsigned int code);
