// SPDX-License-Identifier: MIT
/// @file
/// Marks what the shared library exports. Everything else stays hidden.
#pragma once

/// @def NARVO_API
/// Marks exported declarations: nothing in a static build, the visibility attribute or the import and export
/// declarations of the platform otherwise.
#if defined(NARVOASSEM_STATIC)
#define NARVO_API
#elif defined(_WIN32)
#if defined(NARVOASSEM_BUILDING)
#define NARVO_API __declspec(dllexport)
#else
#define NARVO_API __declspec(dllimport)
#endif
#else
#define NARVO_API __attribute__((visibility("default")))
#endif
