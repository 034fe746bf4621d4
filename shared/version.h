#pragma once

#include "shared/export.h"

/// Version of the headers and of the library that the process has loaded. CMakeLists.txt and the
/// packages read the version from this header. CONTRIBUTING.md states what may change between two
/// versions.

#define OX_VERSION_MAJOR 7
#define OX_VERSION_MINOR 0
#define OX_VERSION_PATCH 26

/// Combines a version into one number, for comparisons with OX_VERSION. Each part is between
/// 0 and 255.
#define OX_VERSION_CHECK(major, minor, patch) ((major)*0x10000 + (minor)*0x100 + (patch))

/// Version of the headers as one number. The preprocessor can compare it:
///     #if OX_VERSION >= OX_VERSION_CHECK(7, 0, 26)
#define OX_VERSION OX_VERSION_CHECK(OX_VERSION_MAJOR, OX_VERSION_MINOR, OX_VERSION_PATCH)

#define OX_VERSION_JOIN_(major, minor, patch) #major "." #minor "." #patch
#define OX_VERSION_TEXT_(major, minor, patch) OX_VERSION_JOIN_(major, minor, patch)

/// Version of the headers as a text, such as "7.0.26".
#define OX_VERSION_STRING OX_VERSION_TEXT_(OX_VERSION_MAJOR, OX_VERSION_MINOR, OX_VERSION_PATCH)

/// Returns the version of the loaded library as one number, like OX_VERSION. It differs from
/// OX_VERSION if the application was compiled with the headers of another version.
/// Threads: any, at any time.
[[nodiscard]] OX_EXPORT int oxVersion();

/// Returns the version of the loaded library as a text, like OX_VERSION_STRING. The text is static.
/// Threads: any, at any time.
[[nodiscard]] OX_EXPORT char const * oxVersionString();
