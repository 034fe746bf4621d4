#pragma once

#include <QDir>

namespace ox::tests
{

/// Whether the tests run on Windows.
inline bool const isWindows = QDir::separator() == u'\\';

/// Whether the tests are built with the address sanitizer, which takes the signals of crashes and
/// needs much memory.
#ifdef __SANITIZE_ADDRESS__
inline constexpr bool hasAddressSanitizer = true;
#else
inline constexpr bool hasAddressSanitizer = false;
#endif

} // namespace ox::tests
