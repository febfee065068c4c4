// SPDX-License-Identifier: MIT
// The module that talks to cameras: loaded when it is asked for.
#pragma once

#include <filesystem>

#include "sources/camera/camera_link.h"

namespace narvo::sources
{

/// Where the module lies for the running program: in the folder of private libraries beside the program's own.
std::filesystem::path CameraModuleFile();

/// Loads the module, which stays for the rest of the process.
/// @throws HostError where it is not installed, cannot be loaded or belongs to another version; `source` is named
CameraOpener LoadCameraModule(const std::filesystem::path& file, const std::string& source);

} // namespace narvo::sources
