// SPDX-License-Identifier: MIT
// The search for a pitch and the recipe that follows, in the public form.
#include "narvo/host_pitch.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/lattice/lattice.h"
#include "host/lattice/lattice_search.h"
#include "host/lattice/lattice_settings.h"
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

struct FoundPitch::Content
{
    PitchResult found;
    AxisSearch x;
    AxisSearch y;
};

struct FoundLattice::Content
{
    LatticeSearch found;
    std::vector<LatticeOffset> vectors;
    std::string text;
};

namespace
{

AxisSearch PublicSearch(const AxisPitch& axis)
{
    return {axis.found,      axis.pitch,          axis.sixteenths,        axis.periods,
            axis.confidence, axis.runnerUp.pitch, axis.runnerUp.strength, axis.cost};
}

CRect LayerRegion(const Box& box)
{
    return {box.left, box.top, box.right, box.bottom};
}

/// @throws HostError for a region that is not inside the image, or has sides below `least`
void CheckRegion(const GreyView& image, const Box& box, int least)
{
    const CRect part = LayerRegion(box);
    if (part.left < 0 || part.top < 0 || part.right > image.Width() || part.bottom > image.Height() ||
        part.Width() < least || part.Height() < least)
        throw HostError({{"region",
                          std::to_string(part.left) + ", " + std::to_string(part.top) + ", " +
                              std::to_string(part.right) + ", " + std::to_string(part.bottom),
                          "a rectangle inside the image of " + std::to_string(image.Width()) + " by " +
                              std::to_string(image.Height()) + " pixels, sides at least " + std::to_string(least)}});
}

} // namespace

FoundPitch FoundPitch::Search(const ImagePixels& image, const Box& region)
{
    return library::Translated(
        [&]
        {
            GreyImage copy;
            PitchResult found = SearchPitch(library::ReadableView(image, {}, copy), LayerRegion(region));
            AxisSearch x = PublicSearch(found.x);
            AxisSearch y = PublicSearch(found.y);
            FoundPitch made;
            made.m_content = std::make_shared<const Content>(Content{std::move(found), std::move(x), std::move(y)});
            return made;
        });
}

const FoundPitch::Content& FoundPitch::Own() const
{
    if (m_content == nullptr)
        throw Error({{"pitch", "moved from", "the outcome of a search"}});
    return *m_content;
}

const AxisSearch& FoundPitch::X() const
{
    return Own().x;
}

const AxisSearch& FoundPitch::Y() const
{
    return Own().y;
}

Recipe FoundPitch::MakeRecipe(const ImagePixels& image, const Box& region) const
{
    return library::Translated(
        [&]
        {
            const PitchResult& found = Own().found;
            GreyImage copy;
            const GreyView view = library::ReadableView(image, {}, copy);
            if (!found.x.found && !found.y.found)
                throw HostError({{"pitch", "found along neither axis",
                                  "an image whose pattern has a period along one axis or both"}});
            CheckRegion(view, region, nPitchSearchSide);
            return library::MakeRecipe({MakePitchRecipe(view, LayerRegion(region), found)});
        });
}

FoundLattice FoundLattice::Search(const ImagePixels& image, const Box& region)
{
    return library::Translated(
        [&]
        {
            GreyImage copy;
            const GreyView view = library::ReadableView(image, {}, copy);
            CheckRegion(view, region, nLatticeSideLow);
            const CRect part = LayerRegion(region);
            LatticeSearch found =
                SearchLattice(GreyImage(view.Row(part.top) + part.left, part.Width(), part.Height(), view.Stride()));
            std::vector<LatticeOffset> vectors;
            for (const LatticeVector& vector : found.lattice.vectors)
                vectors.push_back({vector.x, vector.y});
            std::string text = vectors.empty() ? "none" : LatticeText(found.lattice);
            FoundLattice made;
            made.m_content =
                std::make_shared<const Content>(Content{std::move(found), std::move(vectors), std::move(text)});
            return made;
        });
}

const FoundLattice::Content& FoundLattice::Own() const
{
    if (m_content == nullptr)
        throw Error({{"lattice", "moved from", "the outcome of a search"}});
    return *m_content;
}

const std::vector<LatticeOffset>& FoundLattice::Vectors() const
{
    return Own().vectors;
}

double FoundLattice::Strength() const
{
    return Own().found.strength;
}

const std::string& FoundLattice::Text() const
{
    return Own().text;
}

Recipe FoundLattice::MakeRecipe(const ImagePixels& image, const Box& region) const
{
    return library::Translated(
        [&]
        {
            const LatticeSearch& found = Own().found;
            if (found.lattice.vectors.empty())
                throw HostError({{"lattice", "not found", "an image whose pattern repeats"}});
            GreyImage copy;
            const GreyView view = library::ReadableView(image, {}, copy);
            CheckRegion(view, region, nLatticeSideLow);
            return library::MakeRecipe({MakeLatticeRecipe(view, LayerRegion(region), found)});
        });
}

} // namespace narvo::v1
