// SPDX-License-Identifier: MIT
// Rounds of planting until there are enough of each kind, and the count of what is found.
#include "host/capability/capability.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <set>

#include "host/counted.h"
#include "host/inspect/for_each.h"
#include "host/statistics/count_bounds.h"

namespace narvo
{

namespace
{

constexpr int nRoundsHigh = 200;
constexpr double dEndedShare = 0.05; // of the defects, from which grey values that came to an end are worth a warning

/// A defect that is wanted: which kind, and what its place is drawn from.
struct Wanted
{
    std::size_t kind;
    std::uint64_t seed;
};

/// One inspection of an image with defects in some of its cells.
struct Pass
{
    std::size_t image;
    std::vector<std::pair<PlantingCell, Wanted>> wanted;
};

/// What became of a defect that was wanted.
struct Trial
{
    std::size_t kind;
    bool found;
    bool ended; ///< grey values came to an end at 0 or 255
};

/// A size of a curve.
struct Kind
{
    std::size_t curve;
    std::size_t size;
};

class Trials
{
public:
    Trials(const std::vector<CheckedRecipe>& recipes, const std::vector<BatchImage>& good,
           const CapabilitySettings& settings, int threads)
        : m_recipes(recipes), m_good(good), m_threads(threads), m_inspector(threads, RoomOf(recipes)),
          m_clean(good.size()), m_cells(good.size())
    {
        m_result.settings = settings;
        for (std::vector<int>* list : {&m_result.settings.sizes, &m_result.settings.contrasts,
                                       &m_result.settings.shapes, &m_result.settings.places})
            std::sort(list->begin(), list->end());
        const CapabilitySettings& sorted = m_result.settings;
        for (const int shape : sorted.shapes)
            for (const int place : sorted.places)
                for (const int contrast : sorted.contrasts)
                {
                    CapabilityCurve& curve = m_result.curves.emplace_back();
                    curve.shape = shape;
                    curve.place = place;
                    curve.contrast = contrast;
                    for (const int size : sorted.sizes)
                    {
                        curve.counts.push_back({size, 0, 0});
                        m_kinds.push_back({m_result.curves.size() - 1, curve.counts.size() - 1});
                    }
                }
    }

    CapabilityResult Run(const OnPlanted& progress)
    {
        InspectClean();
        const std::size_t wanted = m_kinds.size() * static_cast<std::size_t>(m_result.settings.count);
        for (int round = 0; round < nRoundsHigh && m_planted < wanted; ++round)
        {
            if (RunRound(round) == 0)
                break;
            if (progress)
                progress(m_planted, wanted);
        }
        for (CapabilityCurve& curve : m_result.curves)
            curve.fit = FitDetection(curve.counts);
        Warn(wanted);
        return std::move(m_result);
    }

private:
    static int RoomOf(const std::vector<CheckedRecipe>& recipes)
    {
        int room = 1;
        for (const CheckedRecipe& recipe : recipes)
            room = std::max(room, recipe->maxBlobs);
        return room;
    }

    void InspectClean()
    {
        m_result.images.resize(m_good.size());
        const int largest = m_result.settings.sizes.back();
        ForEachImage(m_good, m_threads,
                     [&](std::size_t i, const GreyImage& image, int lane)
                     {
                         m_inspector.Prepare(lane);
                         m_clean[i] = InspectBy(m_recipes, m_inspector, lane, image);
                         const PlantingArea area(image, m_recipes, m_clean[i]);
                         m_cells[i] = area.Cells(largest);
                         CapabilityImage& of = m_result.images[i];
                         of = {m_good[i].name, image.Width(), image.Height(), area.Megapixels(), 0};
                         for (const InspectionResult& result : m_clean[i])
                             of.falseBlobs += result.blobs.size();
                     });
        for (const CapabilityImage& image : m_result.images)
        {
            m_result.falseBlobs += image.falseBlobs;
            m_result.megapixels += image.megapixels;
        }
        if (m_result.megapixels > 0.0)
        {
            m_result.falseRate = static_cast<double>(m_result.falseBlobs) / m_result.megapixels;
            m_result.falseBound = PoissonBound(m_result.falseBlobs) / m_result.megapixels;
        }
    }

    const SizeCount& CountOf(std::size_t kind) const
    {
        return m_result.curves[m_kinds[kind].curve].counts[m_kinds[kind].size];
    }

    /// What is still wanted, in an order that is drawn anew in each round; for the border and for the inside.
    std::array<std::vector<Wanted>, nPlantedPlaces> Draw(int round) const
    {
        MixedNumbers numbers(m_result.settings.seed + static_cast<std::uint64_t>(round) * 0x100000001b3U);
        std::vector<Wanted> wanted;
        for (std::size_t kind = 0; kind < m_kinds.size(); ++kind)
            for (std::size_t i = CountOf(kind).planted; i < static_cast<std::size_t>(m_result.settings.count); ++i)
                wanted.push_back({kind, numbers.Next()});
        for (std::size_t i = wanted.size(); i > 1; --i)
            std::swap(wanted[i - 1], wanted[numbers.Below(i)]);
        std::array<std::vector<Wanted>, nPlantedPlaces> byPlace;
        for (const Wanted& each : wanted)
            byPlace[static_cast<std::size_t>(m_result.curves[m_kinds[each.kind].curve].place)].push_back(each);
        return byPlace;
    }

    /// Deals what is wanted to the cells of the images, which take turns; where the border runs through a cell, it is
    /// for the border first.
    std::vector<Pass> Deal(std::array<std::vector<Wanted>, nPlantedPlaces> wanted)
    {
        std::vector<Pass> passes;
        const auto take = [&](int place, const PlantingCell& cell, Pass& pass)
        {
            std::vector<Wanted>& from = wanted[static_cast<std::size_t>(place)];
            if (from.empty())
                return false;
            pass.wanted.emplace_back(cell, from.back());
            from.pop_back();
            return true;
        };
        for (std::size_t idle = 0; idle < m_good.size(); ++m_turn)
        {
            Pass pass{m_turn % m_good.size(), {}};
            for (const PlantingCell& cell : m_cells[pass.image])
                if (!cell.border || !take(Place_Border, cell, pass))
                    take(Place_Inside, cell, pass);
            idle = pass.wanted.empty() ? idle + 1 : 0;
            if (!pass.wanted.empty())
                passes.push_back(std::move(pass));
        }
        return passes;
    }

    /// @return how many defects were planted
    std::size_t RunRound(int round)
    {
        const std::vector<Pass> passes = Deal(Draw(round));
        std::vector<BatchImage> images;
        for (const Pass& pass : passes)
            images.push_back(m_good[pass.image]);
        std::vector<std::vector<Trial>> trials(passes.size());
        ForEachImage(images, m_threads,
                     [&](std::size_t i, const GreyImage& image, int lane)
                     {
                         m_inspector.Prepare(lane);
                         trials[i] = RunPass(passes[i], image, lane);
                     });
        std::size_t planted = 0;
        for (const std::vector<Trial>& pass : trials)
            for (const Trial& trial : pass)
            {
                const Kind& kind = m_kinds[trial.kind];
                SizeCount& count = m_result.curves[kind.curve].counts[kind.size];
                ++count.planted;
                count.found += trial.found ? 1 : 0;
                m_ended += trial.ended ? 1 : 0;
                ++planted;
            }
        m_planted += planted;
        return planted;
    }

    std::vector<Trial> RunPass(const Pass& pass, const GreyImage& good, int lane)
    {
        const PlantingArea area(good, m_recipes, m_clean[pass.image]);
        GreyImage image = good;
        std::vector<Trial> trials;
        std::vector<PlantedDefect> defects;
        for (const auto& [cell, wanted] : pass.wanted)
        {
            const CapabilityCurve& curve = m_result.curves[m_kinds[wanted.kind].curve];
            const int size = curve.counts[m_kinds[wanted.kind].size].size;
            MixedNumbers numbers(wanted.seed);
            const std::optional<CRect> box = area.FindPlace(cell, curve.shape, size, curve.place, numbers);
            if (!box)
                continue;
            defects.push_back({curve.shape, size, curve.contrast, *box});
            trials.push_back({wanted.kind, false, PlantDefect(defects.back(), image)});
        }
        image.FillUpRows();
        PlantInChannels(defects, image);
        if (trials.empty())
            return trials;
        for (const InspectionResult& result : InspectBy(m_recipes, m_inspector, lane, image))
            for (std::size_t i = 0; i < trials.size(); ++i)
                trials[i].found = trials[i].found || IsFound(defects[i], result.blobs);
        return trials;
    }

    void Warn(std::size_t wanted)
    {
        if (m_planted < wanted)
            m_result.warnings.push_back("Of " + std::to_string(wanted) + " defects that were wanted, " +
                                        std::to_string(m_planted) +
                                        " could be planted: the images have no room for the others.");
        if (static_cast<double>(m_ended) > dEndedShare * static_cast<double>(m_planted))
            m_result.warnings.push_back(Counted(m_ended, "defect") + " of " + std::to_string(m_planted) +
                                        " are weaker than their contrast says, since grey values end at 0 and 255.");
        if (m_result.falseBlobs > 0)
            m_result.warnings.push_back("The good images have " + Counted(m_result.falseBlobs, "blob") +
                                        " as they are; nothing was planted there.");
    }

    const std::vector<CheckedRecipe>& m_recipes;
    const std::vector<BatchImage>& m_good;
    int m_threads;
    Inspector m_inspector;
    std::vector<std::vector<InspectionResult>> m_clean; ///< by image, as it is
    std::vector<std::vector<PlantingCell>> m_cells;     ///< by image
    std::vector<Kind> m_kinds;
    CapabilityResult m_result;
    std::size_t m_turn = 0; ///< of the images
    std::size_t m_planted = 0;
    std::size_t m_ended = 0;
};

} // namespace

const std::string& PlantedPlaceName(int place)
{
    static const std::array<std::string, nPlantedPlaces> names = {"inside", "border"};
    return names[static_cast<std::size_t>(place)];
}

std::vector<Problem> CheckCapability(const CapabilitySettings& settings)
{
    std::vector<Problem> found;
    const auto check = [&](const char* field, const std::vector<int>& values, std::size_t most, const auto& isValid,
                           const std::string& allowed)
    {
        if (values.empty() || values.size() > most)
            found.push_back({field, Counted(values.size(), "value"), "1 to " + std::to_string(most) + " values"});
        std::set<int> seen;
        for (const int value : values)
            if (!isValid(value))
                found.push_back({field, std::to_string(value), allowed});
            else if (!seen.insert(value).second)
                found.push_back({field, std::to_string(value) + " twice", "each value once"});
    };
    check(
        "sizes", settings.sizes, nPlantedListHigh, [](int size) { return size >= 1 && size <= nPlantedSizeHigh; },
        "1 to " + std::to_string(nPlantedSizeHigh) + " pixels");
    check(
        "contrasts", settings.contrasts, nPlantedListHigh,
        [](int contrast) { return contrast != 0 && std::abs(contrast) <= nPlantedContrastHigh; },
        "-" + std::to_string(nPlantedContrastHigh) + " to " + std::to_string(nPlantedContrastHigh) +
            " grey levels, not 0");
    check(
        "shapes", settings.shapes, nPlantedShapes, [](int shape) { return shape >= 0 && shape < nPlantedShapes; },
        "spot, line-x, line-y or stain");
    check(
        "places", settings.places, nPlantedPlaces, [](int place) { return place >= 0 && place < nPlantedPlaces; },
        "inside or border");
    if (settings.count < 1 || settings.count > nPlantedCountHigh)
        found.push_back({"count", std::to_string(settings.count), "1 to " + std::to_string(nPlantedCountHigh)});
    if (!found.empty())
        return found;
    const std::size_t all = settings.sizes.size() * settings.contrasts.size() * settings.shapes.size() *
                            settings.places.size() * static_cast<std::size_t>(settings.count);
    if (all > nPlantedHigh)
        found.push_back({"count", std::to_string(all) + " defects in all",
                         "at most " + std::to_string(nPlantedHigh) + " over all sizes, contrasts, shapes and places"});
    return found;
}

CapabilityResult MeasureCapability(const std::vector<CheckedRecipe>& recipes, const std::vector<BatchImage>& good,
                                   const CapabilitySettings& settings, int threads, const OnPlanted& progress)
{
    std::vector<Problem> found = CheckCapability(settings);
    if (good.empty() || good.size() > nCapabilityImageLimit)
        found.push_back({"images", std::to_string(good.size()), "1 to " + std::to_string(nCapabilityImageLimit)});
    ThrowIfAny(std::move(found));
    return Trials(recipes, good, settings, threads).Run(progress);
}

} // namespace narvo
