// SPDX-License-Identifier: MIT
// Bytes make a recipe as text and an image: three bytes for the image's size and kind, the text, and after a zero byte
// the pixels, repeated over the image. Every text is either refused with messages that name field, value and range, or
// it runs: its written form reads back the same, and the blobs lie inside the region.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "fuzz/require.h"
#include "host/image/grey_image.h"
#include "host/inspect/inspector.h"
#include "host/problem.h"
#include "host/recipe/recipe_check.h"
#include "host/recipe/recipe_file.h"
#include "host/result/result_file.h"

namespace
{

using namespace narvo;
using narvo::test::Require;

constexpr int nLanes = 1;
constexpr int nMostBlobs = 300;

/// Calls; a refusal must say what is wrong. @return false when refused
template <typename Call>
bool RunOrRefuse(Call call)
{
    try
    {
        call();
        return true;
    }
    catch (const HostError& error)
    {
        Require(!error.Problems().empty(), "a refusal names problems");
        for (const Problem& problem : error.Problems())
        {
            Require(!problem.field.empty() && !problem.allowed.empty(),
                    "a problem names field and range: " + problem.Text());
            Require(std::string_view(error.what()).find(problem.Text()) != std::string_view::npos,
                    "the text of the refusal holds each problem");
        }
        return false;
    }
}

/// A pattern with a few spots, or the bytes given.
GreyImage MakeImage(int nWidth, int nHeight, int nKind, std::string_view strPixels)
{
    GreyImage image(nWidth, nHeight, 100);
    for (int y = 0; y < nHeight; ++y)
    {
        for (int x = 0; x < image.Stride(); ++x)
        {
            const auto nAt = static_cast<std::size_t>(y) * static_cast<std::size_t>(nWidth) +
                             static_cast<std::size_t>(std::min(x, nWidth - 1));
            int nValue = 80 + x % 20 * 3 + y % 30 * 2;
            if (!strPixels.empty())
                nValue = static_cast<unsigned char>(strPixels[nAt % strPixels.size()]);
            else if (nKind % 4 != 0 && (x * 37 + y * 61) % (37 + nKind) == 0)
                nValue = nKind % 2 == 0 ? 5 : 250;
            image.Row(y)[x] = static_cast<std::uint8_t>(nValue);
        }
    }
    return image;
}

void RequireSoundResult(const InspectionResult& result, const GreyImage& image)
{
    Require(result.code == 1 || result.code == 16, "code " + std::to_string(result.code) + " is 1 or 16");
    Require(result.region.left >= 0 && result.region.right <= image.Width() && result.region.top >= 0 &&
                result.region.bottom <= image.Height(),
            "the region lies in the image");
    int nNumber = 0;
    for (const Blob& blob : result.blobs)
    {
        Require(blob.number == ++nNumber, "blobs are numbered");
        Require(blob.area >= 1 && !blob.box.IsRectEmpty(), "a blob has an area");
        Require(blob.box.left >= 0 && blob.box.top >= 0 && blob.box.right <= image.Stride() &&
                    blob.box.bottom <= image.Height(),
                "a blob lies in the image");
    }
    const nlohmann::ordered_json document = ResultToJson(result);
    Require(document.contains("blobs"), "a result lists its blobs");
    Require(!document.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).empty(),
            "a result can be written");
    Require(!ResultToCsv(result).empty(), "a result has its header line");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes)
{
    if (nBytes < 3)
        return -1;
    const int nWidth = 1 + pBytes[0];
    const int nHeight = 1 + pBytes[1];
    const int nKind = pBytes[2];
    const std::string_view strAll(reinterpret_cast<const char*>(pBytes) + 3, nBytes - 3);
    const std::string_view strText = strAll.substr(0, strAll.find('\0'));
    const std::string_view strPixels = strText.size() < strAll.size() ? strAll.substr(strText.size() + 1) : "";

    const nlohmann::json document = nlohmann::json::parse(strText, nullptr, false);
    if (document.is_discarded())
        return -1; // the reader of files has refused it
    // Images that a recipe names are looked for where there are none.
    static const std::filesystem::path folder = std::filesystem::temp_directory_path() / "narvo-no-such-folder";
    std::vector<CheckedRecipe> aRecipes;
    if (!RunOrRefuse([&] { aRecipes = ParseRecipes(document, folder); }))
        return 0;
    Require(!aRecipes.empty(), "an accepted recipe has a region");

    const nlohmann::ordered_json written = RecipesToJson(aRecipes);
    const std::vector<CheckedRecipe> aAgain = ParseRecipes(nlohmann::json::parse(written.dump()), folder);
    Require(RecipesToJson(aAgain) == written, "the written form of a recipe reads back alike");

    const GreyImage image = MakeImage(nWidth, nHeight, nKind, strPixels);
    static Inspector inspector(nLanes, nMostBlobs);
    for (const CheckedRecipe& recipe : aRecipes)
    {
        const bool bAccepted = CheckRecipeForImage(recipe, image.Width(), image.Height()).empty();
        InspectionResult result;
        const bool bRun = RunOrRefuse([&] { result = inspector.Inspect(0, image, recipe); });
        Require(bRun == bAccepted, "what the checks accept runs, and nothing else");
        if (bRun)
            RequireSoundResult(result, image);
    }
    return 0;
}
