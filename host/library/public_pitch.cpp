// SPDX-License-Identifier: MIT
// The search for a pitch and the recipe that follows, in the public form.
#include "narvo/host_pitch.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/lattice/lattice_search.h"
#include "host/library/recipe_parts.h"
#include "host/library/translate.h"
#include "host/pitch/lattice_recipe.h"
#include "host/pitch/pitch_notes.h"
#include "host/pitch/pitch_recipe.h"
#include "host/pitch/pitch_search.h"

namespace narvo::v1
{

namespace
{

PitchAxis PublicAxis(const AxisPitch& axis)
{
    PitchAxis made;
    if (!axis.found)
        return made;
    made.found = true;
    made.pitch = axis.sixteenths / 16.0;
    made.measured = axis.pitch;
    made.periods = axis.periods;
    made.confidence = axis.confidence;
    if (axis.runnerUp.strength > 0.0)
    {
        made.otherPitch = axis.runnerUp.pitch;
        made.otherStrength = axis.runnerUp.strength;
    }
    return made;
}

PitchProposal Propose(const GreyView& image, const CRect& region)
{
    PitchProposal proposal;
    const PitchResult pitch = SearchPitch(image, region);
    proposal.x = PublicAxis(pitch.x);
    proposal.y = PublicAxis(pitch.y);
    proposal.notes = NotesOnPitch(image, region, pitch);
    std::optional<CheckedRecipe> recipe;
    if (pitch.x.found || pitch.y.found)
    {
        recipe = MakePitchRecipe(image, region, pitch);
        for (std::string& note : NotesOnRecipe(image, *recipe))
            proposal.notes.push_back(std::move(note));
    }
    else
    {
        const GreyImage part(image.Row(region.top) + region.left, region.Width(), region.Height(), image.Stride());
        if (const LatticeSearch found = SearchLattice(part); !found.lattice.vectors.empty())
            recipe = MakeLatticeRecipe(image, region, found);
    }
    if (recipe)
        proposal.recipe = library::MakeRecipe({*recipe});
    return proposal;
}

} // namespace

PitchProposal ProposeRecipe(const ImagePixels& image)
{
    return ProposeRecipe(image, {0, 0, image.width, image.height});
}

PitchProposal ProposeRecipe(const ImagePixels& image, const Box& region)
{
    return library::Translated(
        [&]
        {
            GreyImage copy;
            const GreyView view = library::ReadableView(image, {}, copy);
            return Propose(view, CRect(region.left, region.top, region.right, region.bottom));
        });
}

} // namespace narvo::v1
