#pragma once

#include <QDir>

namespace ox::tests
{

/// True on Windows.
inline bool const isWindows = QDir::separator() == u'\\';

/// True if the tests are built with the address sanitizer. The sanitizer handles the signals of
/// crashes and needs much memory.
#ifdef __SANITIZE_ADDRESS__
inline constexpr bool hasAddressSanitizer = true;
#else
inline constexpr bool hasAddressSanitizer = false;
#endif

} // namespace ox::tests
