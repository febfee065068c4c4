// SPDX-License-Identifier: MIT
// What the headers of the host library share: exported names, and the version of their namespace.
#pragma once

#if defined(_WIN32)
#define NARVOHOST_API
#else
#define NARVOHOST_API __attribute__((visibility("default")))
#endif

// Everything is in narvo::v1, which programs write as narvo. Inside the library the namespace is not inline, because
// the host layer that it is built from uses some of the same names in narvo.
#if defined(__clang__)
// The word inline stands here alone, so that each header can open the namespace for both.
#pragma clang diagnostic ignored "-Winline-namespace-reopened-noninline"
#endif
namespace narvo
{
#ifndef NARVOHOST_BUILDING
inline
#endif
    namespace v1
{
}
} // namespace narvo
