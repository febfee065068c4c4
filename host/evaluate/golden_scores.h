// SPDX-License-Identifier: MIT
// Scores of golden inspection: how far each pixel's difference to the reference goes towards its threshold.
#pragma once

#include "host/evaluate/threshold_sweep.h"
#include "host/golden/golden_model.h"
#include "host/inspect/inspector.h"

namespace narvo
{

/// Inspects an image against a model. At the model's own thresholds the blobs are those of the inspection; at
/// their multiples they are what is connected in the scores. @throws HostError as InspectGolden
ImageScores ScoreGolden(Inspector& inspector, int lane, const GoldenModel& model, const GreyImage& image);

} // namespace narvo
