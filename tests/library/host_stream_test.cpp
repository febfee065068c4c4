// SPDX-License-Identifier: MIT
// Rows without end through the public headers: the defects of the whole image, whatever the pieces, and every misuse
// refused.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/host_pictures.h"
#include "support/random.h"
#include "support/seeds.h"
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

using testing::IsEmpty;

/// All of a defect but its number, on an axis where its box begins at `row`.
std::string LineOf(const Defect& defect, std::int64_t row)
{
    std::ostringstream line;
    line << row << ' ' << defect.bright << defect.band << defect.single << ' ' << defect.area << ' ' << defect.box.left
         << ' ' << defect.box.right << ' ' << defect.box.bottom - defect.box.top << ' ' << defect.centerX << ' '
         << defect.centerY - defect.box.top << ' ' << defect.peakX << ' ' << defect.peakY - defect.box.top << ' '
         << defect.peak << ' ' << defect.maxDifference << ' ' << defect.meanDifference << ' ' << defect.meanGrey << ' '
         << defect.meanReference << ' ' << defect.zone << ' ' << defect.majorAxis << ' ' << defect.elongation;
    return line.str();
}

std::vector<std::string> LinesOf(const Report& report)
{
    std::vector<std::string> lines;
    for (const Defect& defect : report.defects)
        lines.push_back(LineOf(defect, defect.box.top));
    std::sort(lines.begin(), lines.end());
    return lines;
}

Recipe StreamRecipe(const char* mode, double pitchY, const char* direction)
{
    RecipeDraft draft;
    draft.Set("name", "rows").Set("mode", mode).Set("direction", direction);
    draft.Set("pitch.x", 16).Set("pitch.y", pitchY);
    if (std::string(mode) == "zone")
        draft.SetJson("zones.list", R"([{"index": 1, "offset": 30}])");
    else
        draft.Set("threshold.base", 30);
    return draft.Check();
}

/// Keeps lines of what a stream reports.
struct Collected
{
    std::vector<std::string> lines;
    OnStreamDefect Function()
    {
        return [this](const StreamDefect& defect) { lines.push_back(LineOf(defect.defect, defect.row)); };
    }
};

Picture8 Defective(int height, unsigned seed)
{
    Picture8 picture = PeriodicPicture(160, height, 16, 12, seed);
    std::mt19937 random(seed);
    for (int i = 0; i < height / 20; ++i)
    {
        const int x = static_cast<int>(random() % 150U);
        const int y = static_cast<int>(random() % static_cast<unsigned>(height - 4));
        picture.Fill({x, y, x + 3, y + 3}, i % 2 == 0 ? 250 : 5);
    }
    return picture;
}

std::vector<Problem> StreamProblems(const Recipe& recipe, int width, const Settings& settings = {})
{
    return Attempt(
        [&]
        {
            StripStream(
                recipe, width, [](const StreamDefect&) {}, settings);
        });
}

} // namespace

TEST(HostStream, ReportsTheDefectsOfTheWholeImageWhateverThePieces)
{
    Inspector inspector;
    int exact = 0;
    std::size_t defects = 0;
    const std::vector<std::uint64_t> seeds = CaseSeeds("HostStream", 60);
    for (const std::uint64_t seed : seeds)
    {
        SCOPED_TRACE(ReplayHint(seed));
        CRandom random(seed);
        const Recipe recipe =
            StreamRecipe(random.Pick({"zone", "pixel", "float"}), 12.0, random.Pick({"vertical", "horizontal"}));
        Picture8 picture = Defective(random.Int(400, 1500), static_cast<unsigned>(seed));
        const std::vector<Report> whole = inspector.Inspect(picture.Pixels(), recipe);
        Collected found;
        StripStream stream(recipe, picture.width, found.Function());
        for (int row = 0; row < picture.height;)
        {
            const int rows = std::min(random.Int(1, random.Int(0, 3) == 0 ? 900 : 60), picture.height - row);
            stream.Push({&picture.At(0, row), picture.width, rows});
            row += rows;
        }
        stream.Finish();
        const StreamCounts counts = stream.Counts();
        EXPECT_EQ(counts.rows, picture.height);
        EXPECT_EQ(counts.finalRows, picture.height);
        EXPECT_EQ(counts.defects, static_cast<std::int64_t>(found.lines.size()));
        std::sort(found.lines.begin(), found.lines.end());
        if (!counts.exact)
        {
            EXPECT_FALSE(stream.Warnings().empty());
            continue;
        }
        ++exact;
        defects += found.lines.size();
        EXPECT_EQ(found.lines, LinesOf(whole.front()));
    }
    if (seeds.size() >= 10)
    {
        EXPECT_GT(exact, 0.8 * static_cast<double>(seeds.size()));
        EXPECT_GT(defects, 10 * seeds.size());
    }
}

TEST(HostStream, TakesDeepRowsAndRowsWithGaps)
{
    const Recipe recipe = StreamRecipe("pixel", 12.0, "vertical");
    Picture8 picture = Defective(600, 3);
    Collected plain;
    StripStream first(recipe, picture.width, plain.Function());
    first.Push(picture.Pixels());
    first.Finish();
    ASSERT_FALSE(plain.lines.empty());

    std::vector<std::uint8_t> padded(static_cast<std::size_t>(170) * 600, 77);
    std::vector<std::uint16_t> deep;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
        {
            padded[static_cast<std::size_t>(y) * 170 + static_cast<std::size_t>(x)] = picture.At(x, y);
            deep.push_back(static_cast<std::uint16_t>(picture.At(x, y) * 4095 / 255));
        }
    Collected gaps;
    StripStream second(recipe, picture.width, gaps.Function());
    for (int row = 0; row < 600; row += 50)
        second.Push({&padded[static_cast<std::size_t>(row) * 170], picture.width, 50, 170});
    second.Finish();
    EXPECT_EQ(gaps.lines, plain.lines);

    Inspector inspector;
    const ImagePixels all(deep.data(), picture.width, picture.height, 0, 12);
    Collected twelve;
    StripStream third(recipe, picture.width, twelve.Function());
    for (int row = 0; row < 600; row += 100)
        third.Push({&deep[static_cast<std::size_t>(row) * 160], picture.width, 100, 0, 12});
    third.Finish();
    std::sort(twelve.lines.begin(), twelve.lines.end());
    EXPECT_EQ(twelve.lines, LinesOf(inspector.Inspect(all, recipe).front()));
}

TEST(HostStream, NumbersThatAreNotWholeAreRefusedWithTheRange)
{
    const Recipe recipe = StreamRecipe("pixel", 12.0, "vertical");
    const std::vector<Problem> outside = StreamProblems(recipe, 160, {{"window_rows", -1}});
    ASSERT_EQ(outside.size(), 1U);
    EXPECT_NE(outside[0].allowed.find("to 10000 rows, or 0"), std::string::npos) << outside[0].allowed;
    const std::vector<Problem> refused = StreamProblems(
        recipe, 0, {{"window_rows", 2.5}, {"largest_blob", 1e300}, {"max_open_pairs", -0.5}, {"rows", 1}});
    ASSERT_EQ(refused.size(), 4U);
    const std::vector<std::string> allowed = {"a whole number, " + outside[0].allowed, "1 to 1000000 rows",
                                              "a whole number, 1 to 10000000 pairs"};
    EXPECT_EQ(refused[0].field, "rows");
    for (std::size_t i = 0; i < allowed.size(); ++i)
        EXPECT_EQ(refused[i + 1].allowed, allowed[i]);
    EXPECT_EQ(refused[1].field, "window_rows");
    EXPECT_EQ(refused[1].value, "2.5");
}

namespace
{

/// Camera values of one case, the recipe that reads them, and the values of its fields.
struct LightCase
{
    int bits = 8;
    std::vector<std::uint8_t> bytes; ///< where bits are 8
    std::vector<std::uint16_t> words;
    std::vector<std::uint16_t> flat;
    std::vector<std::uint16_t> dark;
    std::optional<Recipe> recipe;
};

/// The picture under a light that falls off to the sides, with columns that differ and a dead one.
LightCase RandomLight(CRandom& random, Picture8& picture)
{
    LightCase one;
    one.bits = random.Pick({8, 10, 12, 16});
    const int full = (1 << one.bits) - 1;
    const int steps = one.bits == 8 ? 256 : 1; // a field of 16 bits holds parts of an 8-bit value
    RecipeDraft draft = RecipeDraft::Of(
        StreamRecipe(random.Pick({"zone", "pixel", "float"}), 12.0, random.Pick({"vertical", "horizontal"})));
    const int dead = random.Int(0, 3) == 0 ? random.Int(1, picture.width - 2) : -1;
    std::vector<double> gains;
    for (int x = 0; x < picture.width; ++x)
    {
        const double side = 2.0 * x / picture.width - 1.0;
        gains.push_back(x == dead ? 0.01 : 1.0 - 0.4 * side * side - 0.01 * random.Int(0, 10));
        one.dark.push_back(static_cast<std::uint16_t>(random.Int(0, full / 40) * steps));
        one.flat.push_back(static_cast<std::uint16_t>(one.dark.back() + 0.9 * full * gains.back() * steps));
    }
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
        {
            const auto column = static_cast<std::size_t>(x);
            const double light = 0.9 * picture.At(x, y) / 255.0 * full * gains[column];
            const int value = std::min(full, static_cast<int>(light) + one.dark[column] / steps);
            one.bytes.push_back(static_cast<std::uint8_t>(value));
            one.words.push_back(static_cast<std::uint16_t>(value));
        }
    const int fields = random.Int(0, 4);
    if (fields > 0)
        draft.SetFlatField({one.flat.data(), picture.width, 1, 1, 16});
    if (fields > 1)
        draft.SetDarkField({one.dark.data(), picture.width, 1, 1, 16});
    if (random.Int(0, 2) == 0)
        draft.Set("image.levels.low", random.Int(1, full / 10)).Set("image.levels.high", random.Int(full / 2, full));
    if (random.Int(0, 4) == 0)
        draft.Set("image.channel", "mixture").Set("image.weights.green", 0.5).Set("image.weights.red", 0.4);
    one.recipe = draft.Check();
    return one;
}

} // namespace

TEST(HostStream, TakesTheLightOutRowByRowAsOneCallOutOfTheWholeImage)
{
    Inspector inspector;
    std::size_t defects = 0;
    int exact = 0;
    const std::vector<std::uint64_t> seeds = CaseSeeds("HostStreamLight", 60);
    for (const std::uint64_t seed : seeds)
    {
        SCOPED_TRACE(ReplayHint(seed));
        CRandom random(seed);
        Picture8 picture = Defective(random.Int(400, 1500), static_cast<unsigned>(seed));
        const LightCase one = RandomLight(random, picture);
        const ImagePixels deep(one.words.data(), picture.width, picture.height, 0, one.bits);
        const PixelArray bytes{one.bytes.data(), picture.width, picture.height, 1, 8};
        const std::vector<Report> whole =
            one.bits > 8 ? inspector.Inspect(deep, *one.recipe)
                         : inspector.Inspect(Image::FromPixels(bytes, ImageRules::Of(*one.recipe)), *one.recipe);
        Collected found;
        StripStream stream(*one.recipe, picture.width, found.Function(), {{"camera_rows", 1}});
        for (int row = 0; row < picture.height;)
        {
            const int rows = std::min(random.Int(1, random.Int(0, 3) == 0 ? 900 : 60), picture.height - row);
            const std::size_t first = static_cast<std::size_t>(row) * static_cast<std::size_t>(picture.width);
            if (one.bits > 8)
                stream.Push({&one.words[first], picture.width, rows, 0, one.bits});
            else
                stream.Push({&one.bytes[first], picture.width, rows});
            row += rows;
        }
        stream.Finish();
        if (!stream.Counts().exact)
            continue;
        ++exact;
        EXPECT_THAT(stream.Warnings(), IsEmpty());
        std::sort(found.lines.begin(), found.lines.end());
        EXPECT_EQ(found.lines, LinesOf(whole.front()));
        defects += found.lines.size();
    }
    if (seeds.size() >= 10)
    {
        EXPECT_GT(exact, 0.8 * static_cast<double>(seeds.size()));
        EXPECT_GT(defects, 5 * seeds.size());
    }
}

TEST(HostStream, SaysWhatOfTheCamerasLightWasNotApplied)
{
    const Recipe plain = StreamRecipe("pixel", 12.0, "vertical");
    const std::vector<std::uint8_t> row(160, 200);
    const std::vector<std::uint8_t> twoRows(320, 200);
    const Recipe lit = RecipeDraft::Of(plain).SetFlatField({row.data(), 160, 1, 1, 8}).Check();
    Picture8 picture = Defective(300, 5);
    StripStream grey(lit, picture.width, [](const StreamDefect&) {});
    EXPECT_THAT(grey.Warnings(), IsEmpty());
    grey.Push(picture.Pixels());
    EXPECT_THAT(grey.Warnings(), testing::ElementsAre(testing::HasSubstr("camera_rows")));

    const auto refused = [](const std::vector<Problem>& problems)
    { return problems.empty() ? std::string("no problem") : problems.front().field; };
    const auto flat = [&](int width, int height, int channels)
    {
        const std::vector<std::uint8_t> white(static_cast<std::size_t>(width * height * channels), 200);
        return RecipeDraft::Of(plain).SetFlatField({white.data(), width, height, channels, 8}).Check();
    };
    EXPECT_EQ(refused(StreamProblems(flat(160, 2, 1), 160)), "image.flat_field");
    EXPECT_EQ(refused(StreamProblems(flat(80, 1, 1), 160)), "image.flat_field");
    EXPECT_EQ(refused(StreamProblems(flat(160, 1, 3), 160)), "image.flat_field");
    const Recipe dark = RecipeDraft::Of(plain).SetDarkField({twoRows.data(), 160, 2, 1, 8}).Check();
    EXPECT_EQ(refused(StreamProblems(dark, 160)), "image.dark_field");
    const Recipe mosaic = RecipeDraft::Of(plain).Set("image.bayer", "rggb").Check();
    EXPECT_EQ(refused(StreamProblems(mosaic, 160)), "image.bayer");
    EXPECT_EQ(refused(StreamProblems(plain, 160, {{"camera_rows", 2}})), "camera_rows");
    // Fields of 8 bits say nothing of deeper rows, and none of these is taken.
    const std::vector<std::uint16_t> words(160 * 10, 900);
    EXPECT_EQ(refused(Attempt(
                  [&] {
                      grey.Push({words.data(), 160, 10, 0, 10});
                  })),
              "image.flat_field, image.dark_field");
    EXPECT_EQ(grey.Counts().rows, 300);
}

TEST(HostStream, RefusesWhatItCannotDoByField)
{
    const Recipe recipe = StreamRecipe("pixel", 12.0, "vertical");
    const auto field = [](const std::vector<Problem>& problems)
    { return problems.empty() ? std::string("no problem") : problems.front().field; };
    EXPECT_EQ(field(StreamProblems(recipe, 0)), "width");
    EXPECT_EQ(field(StreamProblems(recipe, 32001)), "width");
    EXPECT_EQ(field(StreamProblems(recipe, 160, {{"window_rows", 20000}})), "window_rows");
    EXPECT_EQ(field(StreamProblems(recipe, 160, {{"window_rows", 0.5}})), "window_rows");
    EXPECT_EQ(field(StreamProblems(recipe, 160, {{"largest_blob", 0}})), "largest_blob");
    EXPECT_EQ(field(StreamProblems(recipe, 160, {{"max_open_pairs", -1}})), "max_open_pairs");
    EXPECT_EQ(field(StreamProblems(recipe, 160, {{"rows", 1}})), "rows");
    EXPECT_EQ(field(Attempt([&] { StripStream(recipe, 160, {}); })), "onDefect");
    const std::string two =
        R"({"version": 1, "regions": [)" +
        std::string(R"({"name": "a", "region": {"left": 0, "top": 0, "right": 80, "bottom": 90}},)") +
        R"({"name": "b", "region": {"left": 80, "top": 0, "right": 160, "bottom": 90}}], "mode": "pixel", "pitch": {"x": 16, "y": 12},
                               "threshold": {"base": 30}})";
    const std::optional<Recipe> regions = Recipe::FromText(two);
    EXPECT_EQ(field(StreamProblems(*regions, 160)), "regions");
    const Recipe region = Recipe::FromText(R"({"version": 1, "mode": "pixel", "pitch": {"x": 16, "y": 12},
                                               "region": {"left": 0, "top": 0, "right": 80, "bottom": 90}, "threshold": {"base": 30}})");
    EXPECT_EQ(field(StreamProblems(region, 160)), "region");
}

TEST(HostStream, RefusedRowsAreNotTaken)
{
    const Recipe recipe = StreamRecipe("pixel", 12.0, "vertical");
    Picture8 picture = Defective(300, 5);
    Collected found;
    StripStream stream(recipe, picture.width, found.Function());
    EXPECT_THROW(stream.Finish(), Error) << "no rows yet";
    stream.Push(picture.Pixels());
    EXPECT_THROW(stream.Push({picture.pixels.data(), 100, 10}), Error);
    EXPECT_THROW(stream.Push({static_cast<const std::uint8_t*>(nullptr), picture.width, 10}), Error);
    EXPECT_THROW(stream.Push({picture.pixels.data(), picture.width, 0}), Error);
    EXPECT_EQ(stream.Counts().rows, 300);
    stream.Finish();
    stream.Finish();
    EXPECT_THROW(stream.Push(picture.Pixels()), Error);
    Inspector inspector;
    std::sort(found.lines.begin(), found.lines.end());
    EXPECT_EQ(found.lines, LinesOf(inspector.Inspect(picture.Pixels(), recipe).front()));
}

TEST(HostStream, IsOverWhenItsFunctionThrows)
{
    const Recipe recipe = StreamRecipe("pixel", 12.0, "vertical");
    Picture8 picture = Defective(3000, 6);
    StripStream stream(recipe, picture.width, [](const StreamDefect&) { throw std::runtime_error("full"); });
    EXPECT_THROW(
        {
            stream.Push(picture.Pixels());
            stream.Finish();
        },
        std::runtime_error);
    EXPECT_THROW(stream.Push(picture.Pixels()), Error);
    EXPECT_THROW(stream.Finish(), Error);
}

TEST(HostStream, CountsMayBeAskedForWithinAReportAndRowsMayNotBePushed)
{
    const Recipe recipe = StreamRecipe("pixel", 12.0, "vertical");
    Picture8 picture = Defective(3000, 7);
    StripStream* self = nullptr;
    int refused = 0;
    std::int64_t last = 0;
    StripStream stream(recipe, picture.width,
                       [&](const StreamDefect&)
                       {
                           refused += Attempt([&] { self->Push(picture.Pixels()); }).empty() ? 0 : 1;
                           refused += Attempt([&] { self->Finish(); }).empty() ? 0 : 1;
                           EXPECT_GT(self->Counts().defects, last);
                           last = self->Counts().defects;
                           EXPECT_THAT(self->Warnings(), IsEmpty());
                       });
    self = &stream;
    stream.Push(picture.Pixels());
    stream.Finish();
    EXPECT_GT(last, 100);
    EXPECT_EQ(refused, 2 * last);
    EXPECT_EQ(stream.Counts().rows, 3000);
    EXPECT_GT(stream.DelayRows(), 0);
}

TEST(HostStream, CallsFromSeveralThreadsWaitForEachOther)
{
    const Recipe recipe = StreamRecipe("pixel", 12.0, "vertical");
    Picture8 picture = PeriodicPicture(160, 120, 16, 12);
    Collected found;
    StripStream stream(recipe, picture.width, found.Function());
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(
            [&]
            {
                for (int k = 0; k < 10; ++k)
                    stream.Push(picture.Pixels());
                stream.Warnings();
            });
    for (std::thread& thread : threads)
        thread.join();
    stream.Finish();
    EXPECT_EQ(stream.Counts().rows, 4800);
}

} // namespace narvo::test
