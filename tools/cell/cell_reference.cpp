// SPDX-License-Identifier: MIT
// On the headers of the host library; its errors become those of the program, which names them alike.
#include "tools/cell/cell_reference.h"

#include <utility>

#include "host/problem.h"
#include "narvo/host_error.h"
#include "narvo/host_images.h"
#include "narvo/host_recipe.h"

namespace narvo::tools
{

namespace
{

template <typename Call>
auto Told(const Call& call)
{
    try
    {
        return call();
    }
    catch (const v1::Error& error)
    {
        std::vector<Problem> problems;
        for (const v1::Problem& problem : error.Problems())
            problems.push_back({problem.field, problem.value, problem.allowed});
        throw HostError(std::move(problems));
    }
}

} // namespace

std::shared_ptr<const CellReference> OpenCellReference(const std::string& cellFile, const std::string& recipeFile)
{
    return Told(
        [&]
        {
            const v1::Recipe recipe = v1::Recipe::FromFile(recipeFile);
            const v1::GoldenCell golden = v1::GoldenCell::FromFile(cellFile);
            golden.Check(recipe);
            if (v1::ImageRules::Of(recipe).InspectsEachColour())
                throw HostError({{"image.channel", "each", "one channel where images are held against a golden cell"}});
            CellReference reference;
            for (std::size_t i = 0; i < golden.Regions(); ++i)
                reference.means.push_back(golden.Mean(i));
            reference.compare = [golden, recipe](const GreyImage& image)
            {
                return Told(
                    [&]
                    {
                        const v1::ImagePixels pixels(image.Row(0), image.Width(), image.Height(), image.Stride());
                        return golden.Compare(pixels, recipe);
                    });
            };
            return std::make_shared<const CellReference>(std::move(reference));
        });
}

} // namespace narvo::tools
