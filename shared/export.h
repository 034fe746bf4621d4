#pragma once

/// Marks an exported symbol. Every other symbol of the shared library is hidden.
#if defined(OX_STATIC)
#define OX_EXPORT
#elif defined(_WIN32) && defined(OX_SHARED_BUILD)
#define OX_EXPORT __declspec(dllexport)
#elif defined(_WIN32)
#define OX_EXPORT __declspec(dllimport)
#else
#define OX_EXPORT __attribute__((visibility("default")))
#endif
