// SPDX-License-Identifier: MIT
// Random drafts: each mode with what it must have, and a few fields, maps, tables and cells of any kind.
#include "library/random_draft.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace narvo::test
{

namespace
{

void SetRandomField(RandomInput& input, RecipeDraft& draft)
{
    static const char* const numbers[] = {"threshold.base",
                                          "threshold.gain",
                                          "threshold_extra",
                                          "multiple.x",
                                          "multiple.y",
                                          "window.width",
                                          "window.height",
                                          "grey_limit",
                                          "merge_distance",
                                          "max_blobs",
                                          "min_area",
                                          "max_reruns",
                                          "label",
                                          "kernel.dark_base",
                                          "kernel.dark_gain",
                                          "kernel.class_pitch",
                                          "twice.pitch",
                                          "twice.base",
                                          "binarise.limit",
                                          "average.window",
                                          "average.background",
                                          "texture.window",
                                          "texture.edge_zone",
                                          "lattice.neighbours",
                                          "lattice.strip",
                                          "lattice.slack",
                                          "lattice.threshold",
                                          "lattice.flatten",
                                          "zones.multiple.x",
                                          "zones.multiple.y",
                                          "zones.origin.x",
                                          "zones.origin.y",
                                          "image.levels.low",
                                          "image.levels.high",
                                          "kernel.cross_shift",
                                          "pixel_size.x",
                                          "lattice.a.x",
                                          "lattice.b.y",
                                          "no.such.field"};
    static const char* const switches[] = {"auto_direction",     "keep_singles",        "band_split",
                                           "filters.enabled",    "filters.margin",      "filters.all_pairs",
                                           "kernel.extended",    "kernel.average_2by2", "kernel.two_segment",
                                           "kernel.zone_tables", "kernel.line_buffer",  "filters.zone_thresholds",
                                           "lattice.margins",    "texture.margins"};
    static const char* const words[] = {"direction",   "filters.test", "filters.sample", "image.channel",
                                        "image.bayer", "lattice.join", "name",           "image.raw.format"};
    switch (input.random.Int(0, 4))
    {
    case 0:
        draft.Set(switches[input.random.Below(std::size(switches))], input.random.OneIn(2));
        break;
    case 1:
        draft.Set(words[input.random.Below(std::size(words))],
                  input.random.Pick({"horizontal", "vertical", "jump", "block", "luma", "each", "rggb", "median", ""}));
        break;
    default:
        if (input.random.OneIn(6))
            draft.Set(numbers[input.random.Below(std::size(numbers))], input.WildNumber());
        else
            draft.Set(numbers[input.random.Below(std::size(numbers))], input.random.Int(0, 40));
    }
}

void SetLists(RandomInput& input, RecipeDraft& draft)
{
    const std::size_t count = static_cast<std::size_t>(input.random.Int(0, 30));
    std::vector<double> list(count);
    for (double& one : list)
        one = input.random.OneIn(60) ? input.WildNumber() : input.random.Int(160, 480) / 16.0;
    const char* field = input.random.Pick({"tables.scan_pitch", "tables.conv_pitch", "tables.scan_tilt", "nothing"});
    Ask([&] { draft.SetList(field, input.random.OneIn(20) ? nullptr : list.data(), count); });
}

void SetMaps(RandomInput& input, RecipeDraft& draft)
{
    const int width = input.Side(200);
    const int height = input.Side(200);
    for (int maps = input.random.Int(1, 4); maps > 0; --maps)
    {
        const int gap = input.random.Int(0, 9);
        std::vector<std::int16_t> values(static_cast<std::size_t>(width + gap) * static_cast<std::size_t>(height - 1) +
                                         static_cast<std::size_t>(width));
        const int most = input.random.OneIn(20) ? 32767 : 15;
        CRandom noise = input.Noise();
        for (std::int16_t& value : values)
            value = static_cast<std::int16_t>(noise.OneIn(500) ? noise.Int(-1, most) : 12);
        MapValues given{values.data(), width, height, gap == 0 ? 0 : width + gap};
        if (input.random.OneIn(15))
            given.values = nullptr;
        if (input.random.OneIn(15))
            given.stride = input.random.Pick<std::ptrdiff_t>({-1, -width, std::numeric_limits<std::ptrdiff_t>::max()});
        const int map = input.random.OneIn(20) ? input.Wild() : input.random.Int(0, 6);
        Ask([&] { draft.SetRegionMap(static_cast<RegionMap>(map), given); });
        if (input.random.OneIn(2))
            draft.SetJson("region", "{\"left\": 3, \"top\": 2, \"right\": " + std::to_string(3 + width) +
                                        ", \"bottom\": " + std::to_string(2 + height) + "}");
    }
}

void SetPaintedCell(RandomInput& input, RecipeDraft& draft, int pitchX, int pitchY)
{
    const bool fits = !input.random.OneIn(5);
    const int width = fits ? pitchX : input.Side(60);
    const int height = fits ? pitchY : input.Side(60);
    std::vector<std::uint8_t> cell(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 1);
    CRandom noise = input.Noise();
    for (std::uint8_t& zone : cell)
        if (noise.OneIn(9))
            zone = static_cast<std::uint8_t>(noise.OneIn(400) ? 200 : noise.Int(1, 3));
    ImagePixels pixels(cell.data(), width, height);
    if (input.random.OneIn(20))
        input.Spoil(pixels);
    Ask([&] { input.random.OneIn(8) ? draft.SetClassImage(pixels) : draft.SetZoneImage(pixels); });
    draft.SetJson("zones.list",
                  R"([{"index": 1, "offset": 25}, {"index": 2, "offset": 60, "gain": 9}, {"index": 3, "dead": true}])");
}

} // namespace

RecipeDraft RandomDraft(RandomInput& input)
{
    RecipeDraft draft;
    const char* mode = input.random.Pick(
        {"zone", "pixel", "float", "binarise", "average", "asg", "texture", "lattice", "zone", "pixel"});
    const std::string word = mode;
    const int pitchX = input.random.Int(16, 40);
    const int pitchY = input.random.Int(3, 40);
    draft.Set("mode", mode);
    if (word != "binarise" && word != "average" && word != "texture" && word != "lattice")
    {
        draft.Set("pitch.x", input.random.OneIn(4) ? pitchX + 0.4375 : pitchX);
        draft.Set("pitch.y", input.random.OneIn(4) ? pitchY + 0.3125 : pitchY);
    }
    if (word == "pixel" || word == "float")
        draft.Set("threshold.base", input.random.Int(5, 120));
    if (word == "binarise")
        draft.Set("binarise.limit", input.random.Int(2, 255));
    if (word == "average")
        draft.Set("average.bright", input.random.Int(1, 60)).Set("average.dark", input.random.Int(1, 60));
    if (word == "texture")
        draft.SetJson("texture.features", R"([{"source": "brightness", "shape": "square", "size": 8,
            "bright": {"limit": 8}, "dark": {"limit": 8}}])");
    if ((word == "zone" || word == "asg") && input.random.OneIn(2))
        SetPaintedCell(input, draft, pitchX, pitchY);
    if (word == "zone" && input.random.OneIn(3))
        SetMaps(input, draft);
    if (input.random.OneIn(2))
        Ask([&] { draft.SetJson("region", input.Region()); });
    if (input.random.OneIn(8))
        SetLists(input, draft);
    if (input.random.OneIn(10))
    {
        const RandomImage dead = input.Image(300);
        Ask([&] { draft.SetDeadImage(dead.pixels); });
    }
    for (int more = input.random.OneIn(2) ? 0 : input.random.Int(1, 3); more > 0; --more)
        SetRandomField(input, draft);
    return draft;
}

} // namespace narvo::test
