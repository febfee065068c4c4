// SPDX-License-Identifier: MIT
// Long calls that tell how far they are and that can be stopped.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "narvo/host_error.h"

namespace narvo::v1
{

/// How far a call has come.
struct Progress
{
    std::string step; ///< what is being done: "learning texture limits"
    std::size_t done =
        0; ///< reads of images, each of which is read several times; references registered, defects planted
    std::size_t total = 0; ///< of so many; 0: not known
};

/// Called again and again during a long call, one at a time, on any of the call's threads. When it returns false, the
/// call throws Stopped as soon as what has begun is finished; what it throws itself comes out of the call. It must not
/// call the object that is at work.
using OnProgress = std::function<bool(const Progress& progress)>;

/// A call that was stopped by its OnProgress. Nothing was made or changed.
class NARVOHOST_API Stopped : public Error
{
public:
    /// One problem, of the field "call".
    Stopped();
    ~Stopped() override;
    /// As the copy of an Error.
    Stopped(const Stopped&) = default;
    /// The same.
    Stopped& operator=(const Stopped&) = default;
};

} // namespace narvo::v1
