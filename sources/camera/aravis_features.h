// SPDX-License-Identifier: MIT
// Features of a camera by their GenICam names.
#pragma once

#include <string>
#include <vector>

#include <arv.h>

#include "host/problem.h"
#include "host/recipe/camera_settings.h"

namespace narvo::sources
{

/// Sets a feature, after its type, its access and its range or entries have been asked of the camera, and reads back
/// what can be compared. `field` stands in front of its name in problems. @return what the camera refuses
std::vector<Problem> SetFeature(ArvDevice* device, const CameraFeature& feature, const std::string& field);

/// The text of an error that is freed with that.
std::string TakeErrorText(GError*& error);

} // namespace narvo::sources
