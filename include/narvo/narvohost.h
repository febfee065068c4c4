// SPDX-License-Identifier: MIT
// The host library: recipes, inspectors and their reports, golden images, learning, everything checked.
// docs/cpp-host.md is its guide.
#pragma once

#include "narvo/host_capability.h"
#include "narvo/host_cell.h"
#include "narvo/host_check.h"
#include "narvo/host_error.h"
#include "narvo/host_evaluate.h"
#include "narvo/host_exchange.h"
#include "narvo/host_explain.h"
#include "narvo/host_golden.h"
#include "narvo/host_images.h"
#include "narvo/host_inspector.h"
#include "narvo/host_learn.h"
#include "narvo/host_lot.h"
#include "narvo/host_pitch.h"
#include "narvo/host_progress.h"
#include "narvo/host_recipe.h"
#include "narvo/host_recipe_fields.h"
#include "narvo/host_recipe_images.h"
#include "narvo/host_result.h"
#include "narvo/host_setting.h"
#include "narvo/host_shapes.h"
#include "narvo/host_store.h"
#include "narvo/host_stream.h"
#include "narvo/image_pixels.h"
