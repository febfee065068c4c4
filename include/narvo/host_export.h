// SPDX-License-Identifier: MIT
// What the headers of the host library share: exported names, and the version of their namespace.
#pragma once

#if defined(_WIN32)
#define NARVOHOST_API
#else
#define NARVOHOST_API __attribute__((visibility("default")))
#endif

// Everything is in narvo::v1, which programs write as narvo. Inside the library it is not, because the host layer that
// it is built from uses some of the same names in narvo; nor in the program narvo, as long as that includes both. An
// inline namespace would say the same, but clang wants the word inline in every header then.
namespace narvo
{
namespace v1
{
}
#ifndef NARVOHOST_BUILDING
using namespace v1;
#endif
} // namespace narvo
