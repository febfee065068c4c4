// SPDX-License-Identifier: MIT
// Images with defects that repeat, touch window borders and lie a pitch apart; recipes of all settings that a stream
// takes.
#include "stream/stream_help.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "host/recipe/recipe_check.h"

namespace narvo::test
{

namespace
{

std::string LineOf(std::int64_t row, const Blob& blob)
{
    std::ostringstream line;
    line << "rows " << row + blob.box.top << ".." << row + blob.box.bottom << " columns " << blob.box.left << ".."
         << blob.box.right << " bright " << blob.bright << " band " << blob.band << " single " << blob.single
         << " area " << blob.area << " center " << blob.center.x << "," << row + blob.center.y << " peak " << blob.peak
         << " at " << blob.peakPlace.x << "," << row + blob.peakPlace.y << " difference " << blob.maxDifference << "/"
         << blob.meanDifference << " grey " << blob.meanGrey << "/" << blob.meanReference << " zone " << blob.zone
         << " label " << blob.label << " diameter " << blob.diameter << " shape " << blob.angle << " " << blob.majorAxis
         << " " << blob.minorAxis << " " << blob.circularity << " " << blob.elongation;
    return line.str();
}

std::string LineOf(std::int64_t row, const Pair& pair)
{
    std::ostringstream line;
    line << "place " << pair.place.x << "," << row + pair.place.y << " bright " << pair.bright << " removed "
         << pair.removed << " band " << pair.band << " origin " << pair.origin << " peak " << pair.peak << " grey "
         << pair.grey << "/" << pair.reference << " threshold " << pair.threshold << " zone " << pair.zone;
    return line.str();
}

/// A cell of random zones with thresholds and limits of their own.
void AddZones(CRandom& random, Recipe& recipe)
{
    recipe.thresholdBase = recipe.thresholdGain = 0;
    recipe.zoneMultipleX = random.Int(1, 6);
    recipe.zoneMultipleY = random.Int(1, 3);
    recipe.zoneOriginX = random.Int(-100, 400) / 8.0;
    recipe.zoneOriginY = random.Int(-100, 400) / 8.0;
    recipe.windowHeight = random.OneIn(6) ? random.Int(1, 80) : 2;
    recipe.filterSample = random.OneIn(3) ? FilterSample_Block : FilterSample_Pixel;
    const int zones = random.Int(1, 4);
    recipe.zones.clear();
    for (int i = 0; i < zones; ++i)
    {
        ZoneSettings zone;
        zone.index = i;
        zone.offset = random.Int(5, 50);
        zone.gain = random.OneIn(3) ? random.Int(0, 30) : 0;
        zone.darkGreyLimit = i > 0 && random.OneIn(3) ? random.Int(60, 120) : 0;
        zone.brightMinDifference = i > 0 && random.OneIn(3) ? random.Int(10, 60) : 0;
        zone.dead = random.OneIn(10);
        recipe.zones.push_back(zone);
    }
    if (zones == 1)
        return;
    recipe.zoneImage =
        GreyImage(static_cast<int>(std::ceil(recipe.CellWidth())), static_cast<int>(std::ceil(recipe.CellHeight())));
    for (int y = 0; y < recipe.zoneImage.Height(); ++y)
        for (int x = 0; x < recipe.zoneImage.Width(); ++x)
            recipe.zoneImage.Row(y)[x] = static_cast<std::uint8_t>(random.Int(0, zones - 1));
}

/// Pitches that drift or jump from entry to entry, around the recipe's own or far from it.
std::vector<double> RandomTable(CRandom& random, double pitch, int entries)
{
    std::vector<double> table;
    const double most = random.Pick({0.1, 1.0, pitch / 2.0, 2.0 * pitch});
    double value = pitch;
    for (int i = 0; i < entries; ++i)
    {
        if (!random.OneIn(3))
            value = std::clamp(pitch + most * random.Int(-100, 100) / 100.0, 1.0, 60.0);
        table.push_back(value);
    }
    return table;
}

/// Recipes take the one that their direction reads.
void AddTables(CRandom& random, Recipe& recipe)
{
    constexpr int nColumnEntries = 16; // of the widest image
    if (!random.OneIn(3))
        return;
    if (recipe.direction == Direction_Vertical)
        recipe.scanPitches = RandomTable(random, recipe.RealPitchY(), random.Int(1, random.OneIn(3) ? 8 : 120));
    else
        recipe.convPitches = RandomTable(random, recipe.RealPitchX(), nColumnEntries);
}

Recipe RandomRecipe(CRandom& random, int mode)
{
    Recipe recipe;
    recipe.mode = mode;
    recipe.direction = random.OneIn(3) ? Direction_Horizontal : Direction_Vertical;
    recipe.pitchX = random.Int(3 * 16, 14 * 16) / 16.0;
    recipe.pitchY = random.Int(3 * 16, 14 * 16) / 16.0;
    if (random.OneIn(4))
        recipe.pitchY += 3.0 / 128.0;
    recipe.multipleX = random.OneIn(4) ? 2 : 1;
    recipe.multipleY = random.OneIn(4) ? 2 : 1;
    recipe.thresholdBase = random.Int(5, 40);
    recipe.thresholdGain = random.OneIn(3) ? random.Int(1, 60) : 0;
    recipe.greyLimit = random.OneIn(4) ? random.Int(60, 255) : 255;
    recipe.keepSingles = !random.OneIn(4);
    recipe.mergeDistance = random.Pick({0, 1, 2, 3, 4, 7, 12});
    recipe.filters = !random.OneIn(3);
    recipe.marginFilter = !random.OneIn(3);
    recipe.filterTest = random.OneIn(2) ? FilterTest_Cross : FilterTest_Jump;
    recipe.filterPairs = random.OneIn(3);
    recipe.thresholdExtra = random.OneIn(4) ? random.Int(0, 20) : 0;
    recipe.minArea = random.OneIn(4) ? random.Int(2, 4) : 1;
    recipe.pixelSizeX = random.OneIn(3) ? 3.5 : 1.0;
    recipe.label = random.Int(-1, 3);
    recipe.extendedKernel = random.OneIn(3);
    recipe.lineBuffer = !random.OneIn(5);
    recipe.average2by2 = mode == Mode_Zone && random.OneIn(4);
    if (mode == Mode_Float)
    {
        recipe.windowWidth = random.Int(2, 3);
        recipe.windowHeight = random.Int(2, 3);
        recipe.thresholdBase *= recipe.windowWidth * recipe.windowHeight;
    }
    if (mode != Mode_Pixel && random.OneIn(4))
        recipe.crossShift = random.Int(-16, 16) / 16.0;
    if (mode == Mode_Zone)
        AddZones(random, recipe);
    if (random.OneIn(3))
    {
        recipe.darkFilterBase = random.Int(1, 40);
        recipe.darkFilterGain = random.Int(0, 30);
    }
    AddTables(random, recipe);
    return recipe;
}

/// A pattern of the recipe's pitch with noise, defects, and defects again at whole pitches from them.
GreyImage RandomImage(CRandom& random, const Recipe& recipe, int width, int height)
{
    GreyImage image(width, height);
    const int noise = random.Pick({0, 1, 3, 6, 12, 30});
    const double pitchX = recipe.RealPitchX();
    const double pitchY = recipe.RealPitchY();
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
        {
            const int cellX = static_cast<int>(x - pitchX * static_cast<int>(x / pitchX));
            const int cellY = static_cast<int>(y - pitchY * static_cast<int>(y / pitchY));
            const int value = 120 + (cellX * 7 + cellY * 5) % 11 + (noise > 0 ? random.Int(-noise, noise) : 0);
            image.Row(y)[x] = static_cast<std::uint8_t>(std::clamp(value, 0, 255));
        }
    const int defects = random.Pick({0, 5, 30, 100}) * width / 100 * height / 1000 + random.Int(0, 6);
    for (int i = 0; i < defects; ++i)
    {
        const int left = random.Int(0, width - 1);
        const int top = random.Int(0, height - 1);
        const int wide = random.OneIn(6) ? random.Int(1, 20) : random.Int(1, 4);
        const int high = random.OneIn(6) ? random.Int(1, 60) : random.Int(1, 4);
        const int change = random.Int(20, 100) * (random.OneIn(2) ? 1 : -1);
        const int repeats = random.OneIn(3) ? random.Int(1, 9) : 1;
        for (int r = 0; r < repeats; ++r)
        {
            // Every second one the other way makes long chains.
            const int first = top + static_cast<int>(r * pitchY + 0.5);
            const int step = r % 2 == 0 || random.OneIn(2) ? change : -change;
            for (int y = first; y < std::min(first + high, height); ++y)
                for (int x = left; x < std::min(left + wide, width); ++x)
                    image.Row(y)[x] = static_cast<std::uint8_t>(std::clamp(image.Row(y)[x] + step, 0, 255));
        }
    }
    image.FillUpRows();
    return image;
}

} // namespace

void StreamLines::Sort()
{
    std::sort(blobs.begin(), blobs.end());
    std::sort(pairs.begin(), pairs.end());
}

void LineSink::OnBlob(const StreamBlob& blob)
{
    lines.blobs.push_back(LineOf(blob.row, blob.blob));
}

void LineSink::OnPair(const StreamPair& pair)
{
    lines.pairs.push_back(LineOf(pair.row, pair.pair));
}

StreamCase RandomStreamCase(CRandom& random)
{
    const int mode = random.Pick({Mode_Pixel, Mode_Float, Mode_Zone});
    for (;;)
    {
        StreamCase one;
        one.recipe = RandomRecipe(random, mode);
        one.settings.withPairs = true;
        one.settings.windowRows = 1;
        int width = random.OneIn(8) ? random.Int(220, 900) : random.Int(60, 220); // wide: repairs of some columns
        width = random.OneIn(2) ? RowLengthOf(width) : width;
        const std::vector<Problem> tooSmall = CheckStream(one.recipe, width, one.settings);
        if (!CheckRecipe(one.recipe).empty() || tooSmall.size() != 1 || tooSmall.front().field != "window_rows")
            continue;
        // The problem says how few rows a window may have.
        const int least = std::stoi(tooSmall.front().allowed);
        one.settings.windowRows = least + random.Int(0, random.OneIn(2) ? 20 : 300);
        const int height = random.OneIn(8) ? random.Int(1, least) : random.Int(least, 4 * one.settings.windowRows);
        const CheckedRecipe windows(WindowRecipe(one.recipe, one.settings.windowRows));
        if (!CheckRecipeForImage(windows, width, one.settings.windowRows).empty() ||
            !CheckRecipeForImage(CheckedRecipe(WindowRecipe(one.recipe, height)), width, height).empty())
            continue;
        one.settings.largestBlob = random.OneIn(3) ? random.Int(20, 400) : 100000;
        one.image = RandomImage(random, one.recipe, width, height);
        for (int left = height; left > 0; left -= one.pieces.back())
            one.pieces.push_back(std::min(left, random.OneIn(2) ? random.Int(1, 9) : random.Int(1, 400)));
        return one;
    }
}

StreamLines InspectWhole(const StreamCase& one, bool& complete)
{
    static Inspector inspector(1, 1000000);
    Recipe recipe = one.recipe;
    recipe.maxBlobs = 1000000;
    recipe = WindowRecipe(recipe, one.image.Height()); // behind its last entry the row table holds that
    const InspectionResult result = inspector.Inspect(0, one.image, CheckedRecipe(recipe), true);
    complete = result.warnings.empty();
    StreamLines lines;
    for (const Blob& blob : result.blobs)
        lines.blobs.push_back(LineOf(0, blob));
    for (const Pair& pair : result.pairRecords)
        lines.pairs.push_back(LineOf(0, pair));
    lines.Sort();
    return lines;
}

StreamLines InspectStream(const StreamCase& one, StreamCounts& counts)
{
    LineSink sink;
    StripStream stream(CheckedRecipe(one.recipe), one.image.Width(), one.settings, sink);
    int row = 0;
    for (const int piece : one.pieces)
    {
        stream.Push(one.image.Row(row), piece, one.image.Stride());
        row += piece;
    }
    stream.Finish();
    counts = stream.Counts();
    sink.lines.Sort();
    return sink.lines;
}

} // namespace narvo::test
