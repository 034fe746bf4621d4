#pragma once

/// Marks what the library exports; every other symbol of the shared library is hidden.
#if defined(OX_STATIC)
#define OX_EXPORT
#elif defined(_WIN32) && defined(OX_SHARED_BUILD)
#define OX_EXPORT __declspec(dllexport)
#elif defined(_WIN32)
#define OX_EXPORT __declspec(dllimport)
#else
#define OX_EXPORT __attribute__((visibility("default")))
#endif

/// Declares an instantiation of a class template that the library holds. The users of a Windows DLL
/// make their own, since GCC exports no member of an instantiated template there.
#if defined(_WIN32) && !defined(OX_STATIC)
#define OX_EXTERN_TEMPLATE(...) static_assert(true)
#else
#define OX_EXTERN_TEMPLATE(...) extern template class OX_EXPORT __VA_ARGS__
#endif
