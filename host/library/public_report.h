// SPDX-License-Identifier: MIT
// Results of the host layer in the public form.
#pragma once

#include "host/inspect/inspector.h"
#include "narvo/host_inspector.h"

namespace narvo::library
{

v1::Defect PublicDefect(const Blob& blob);
v1::Box PublicBox(const CRect& rect);
v1::Report PublicReport(InspectionResult result);

} // namespace narvo::library
