// SPDX-License-Identifier: MIT
// A plan is made outside the lock, so that threads with images of different sizes do not wait for each other.
#include "host/inspect/plan_keeper.h"

#include "host/inspect/inspection_plan.h"

namespace narvo
{

std::shared_ptr<const InspectionPlan> PlanKeeper::PlanFor(const CheckedRecipe& recipe, int width, int height)
{
    {
        const std::scoped_lock lock(m_mutex);
        if (m_last != nullptr && m_last->GetRecipe().IsSameObject(recipe) && m_last->Fits(width, height))
            return m_last;
    }
    auto made = std::make_shared<const InspectionPlan>(recipe, width, height);
    const std::scoped_lock lock(m_mutex);
    m_last = made;
    return made;
}

} // namespace narvo
