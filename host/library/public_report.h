// SPDX-License-Identifier: MIT
// Results of the host layer in the public form.
#pragma once

#include "host/inspect/inspector.h"
#include "narvo/host_inspector.h"
#include "narvo/host_result.h"

namespace narvo::library
{

v1::Defect PublicDefect(const Blob& blob);
v1::Box PublicBox(const CRect& rect);
CRect LayerRect(const v1::Box& box);
v1::Report PublicReport(InspectionResult result);
/// All of a result; `width` and `height` are the image's.
v1::FullReport PublicFullReport(InspectionResult result, int width, int height);
/// The way back. @throws HostError for a colour that is none
InspectionResult LayerResult(const v1::FullReport& report);

} // namespace narvo::library
