// SPDX-License-Identifier: MIT
// A sweep of one setting of golden inspections.
#pragma once

#include <cstddef>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

#include "host/golden/golden.h"
#include "host/inspect/batch.h"
#include "host/problem.h"

namespace narvo::tools
{

/// A numeric setting, by the name of its option of `narvo golden` with underscores: edge_tolerance.
class GoldenField
{
public:
    /// @throws HostError for another name
    explicit GoldenField(const std::string& name);

    const std::string& Name() const { return m_name; }
    std::string Unit() const;
    bool IsWhole() const;
    /// The default.
    double Own() const;
    /// The defaults with that value, or, with `shift`, with that much added to the default.
    /// @throws HostError when the value leaves the setting's range
    GoldenSettings With(double value, bool shift) const;

private:
    std::string m_name;
};

/// Inspects every image with each of the settings on `lanes` threads. Images are registered once for all settings that
/// register alike. `count` is called once for each pair of them, one call at a time, with what came out or, where the
/// image was refused, the problems.
/// @throws HostError when references or settings are not valid
void RunGoldenSweep(const std::vector<GreyImage>& references, const std::vector<GoldenSettings>& settings,
                    const std::vector<BatchImage>& images, int lanes,
                    const std::function<void(std::size_t setting, std::size_t image, const InspectionResult* result,
                                             const std::vector<Problem>& problems)>& count,
                    const std::stop_token& stop);

} // namespace narvo::tools
