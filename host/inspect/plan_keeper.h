// SPDX-License-Identifier: MIT
// The plan of the last image, for the next one of the same size.
#pragma once

#include <memory>
#include <mutex>

#include "host/recipe/checked_recipe.h"

namespace narvo
{

class InspectionPlan;

/// Keeps the last plan that was asked for. Any number of threads may call.
class PlanKeeper
{
public:
    /// The plan that is kept, where it is that recipe's for that size; otherwise a new one, which replaces it.
    /// @throws HostError unless the recipe can inspect an image of that size
    std::shared_ptr<const InspectionPlan> PlanFor(const CheckedRecipe& recipe, int width, int height);

private:
    std::mutex m_mutex;
    std::shared_ptr<const InspectionPlan> m_last;
};

} // namespace narvo
