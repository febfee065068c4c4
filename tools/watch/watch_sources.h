// SPDX-License-Identifier: MIT
// The sources of live images by their names on the command line.
#pragma once

#include <memory>

#include "host/recipe/camera_settings.h"
#include "sources/frame_source.h"
#include "tools/watch/watch_log.h"
#include "tools/watch/watch_options.h"

namespace narvo::tools
{

/// Before anything is opened. @throws HostError for a source that there is not, for options that it does not take, and
/// for raw frames without a shape
void CheckSource(const WatchOptions& options, const sources::FrameReading& reading);

/// `log` tells which images are done, `camera` how one is set. Prints what it leaves alone. @throws HostError
std::unique_ptr<sources::FrameSource> OpenSource(const WatchOptions& options, const WatchLog& log,
                                                 const sources::FrameReading& reading, const CameraSettings& camera);

} // namespace narvo::tools
