// SPDX-License-Identifier: MIT
// The C interface: the pitch of a pattern, and a first recipe.
#include <cstdint>
#include <memory>

#include "host/library/c_call.h"
#include "narvo/narvo_c.h"

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::v1::PitchAxis;
using narvo::v1::PitchProposal;
using narvo::v1::Recipe;

std::int32_t narvo_propose(const narvo_image* image, const narvo_box* region, narvo_proposal** proposal)
{
    return HandOut(
        ProposalHandles(), proposal, "proposal",
        [&]
        {
            const narvo::v1::ImagePixels pixels = PixelsOf(image, "image");
            if (region == nullptr)
                return std::make_shared<PitchProposal>(ProposeRecipe(pixels));
            const narvo_box box = ReadRecord(region, "region");
            return std::make_shared<PitchProposal>(ProposeRecipe(pixels, {box.left, box.top, box.right, box.bottom}));
        });
}

std::int32_t narvo_proposal_axis(const narvo_proposal* proposal, std::int32_t along, narvo_pitch_axis* axis)
{
    return Guarded(
        [&]
        {
            const std::uint32_t size = SizeOf(axis, "axis");
            const auto object = ProposalHandles().Find(proposal, "proposal");
            CheckSwitch(along, "along");
            const PitchAxis& found = along == 0 ? object->x : object->y;
            narvo_pitch_axis record = {};
            record.found = found.found ? 1 : 0;
            record.periods = found.periods;
            record.pitch = found.pitch;
            record.measured = found.measured;
            record.confidence = found.confidence;
            record.other_pitch = found.otherPitch;
            record.other_strength = found.otherStrength;
            WriteRecord(axis, size, record);
        });
}

std::int32_t narvo_proposal_recipe(const narvo_proposal* proposal, narvo_recipe** recipe)
{
    if (recipe != nullptr)
        *recipe = nullptr;
    return Guarded(
        [&]
        {
            Given(recipe, "recipe");
            const auto object = ProposalHandles().Find(proposal, "proposal");
            if (object->recipe)
                *recipe = RecipeHandles().Insert(std::make_shared<Recipe>(*object->recipe));
        });
}

std::int32_t narvo_proposal_notes(const narvo_proposal* proposal, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            *count = static_cast<std::int64_t>(ProposalHandles().Find(proposal, "proposal")->notes.size());
        });
}

std::int32_t narvo_proposal_note(const narvo_proposal* proposal, std::int64_t index, const char** text)
{
    return HandOutText(text,
                       [&]
                       {
                           const auto object = ProposalHandles().Find(proposal, "proposal");
                           return ElementAt(object->notes, index, "index").c_str();
                       });
}

std::int32_t narvo_proposal_free(narvo_proposal* proposal)
{
    return GuardedQuietly([&] { ProposalHandles().Remove(proposal, "proposal"); });
}
