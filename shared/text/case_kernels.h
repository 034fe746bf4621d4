#pragma once

#include <span>

namespace ox::text
{

/// One implementation of compareIgnoringCase() and equalIgnoringCase(), which ignore the case of
/// ASCII letters. All implementations give the same results.
template <typename Unit>
struct CaseKernel {
    char const * name;     ///< for reports, such as a benchmark's
    bool (*isSupported)(); ///< whether processor and operating system support this kernel
    /// Returns the first position at which `a` and `b` differ, ignoring case, or `n` if the first
    /// `n` units are equal.
    int (*mismatch)(Unit const * a, Unit const * b, int n);
    /// Implements compareIgnoringCase().
    int (*compare)(Unit const * a, int lengthA, Unit const * b, int lengthB);
};

/// Returns all implementations of this build, the fastest first. Every machine supports the last
/// implementation.
template <typename Unit>
std::span<CaseKernel<Unit> const> caseKernels();

} // namespace ox::text
