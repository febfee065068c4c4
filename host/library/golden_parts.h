// SPDX-License-Identifier: MIT
// What a golden model of the host library holds.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "host/golden/golden_model.h"
#include "host/image/grey_image.h"
#include "host/library/lane_set.h"
#include "narvo/host_golden.h"

namespace narvo::v1
{

struct GoldenModel::Content
{
    /// @throws HostError as the layer's model
    Content(std::vector<GreyImage> references, const GoldenSettings& settings, int laneCount,
            const OnProgress& progress);
    /// Shares model and mask.
    Content(const Content& other, int laneCount);

    std::shared_ptr<const GreyImage> Mask() const;
    /// @throws HostError
    GoldenFindings Inspect(const GreyImage& image) const;

    mutable library::LaneSet lanes;
    std::shared_ptr<const narvo::GoldenModel> model;
    mutable std::mutex maskMutex;
    std::shared_ptr<const GreyImage> mask; ///< null: none
};

} // namespace narvo::v1
