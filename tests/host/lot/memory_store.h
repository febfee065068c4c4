// SPDX-License-Identifier: MIT
// A store that is only read, from records in memory.
#pragma once

#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "host/problem.h"
#include "host/store/result_store.h"

namespace narvo::test
{

class MemoryStore : public ResultStore
{
public:
    struct Run
    {
        std::string key;
        StoredRecipe recipe;
        std::vector<StoredImage> images;
    };
    std::vector<Run> runs;
    /// Added to the counts of each run, as where a store holds more than it says afterwards.
    std::size_t moreImages = 0;
    std::size_t moreBlobs = 0;

    void CheckRun(const RunDescription& /*run*/, RunStart /*start*/) override {}
    std::int64_t BeginRun(const RunDescription& /*run*/, RunStart /*start*/) override { return 0; }
    void Add(std::int64_t /*run*/, std::span<const StoredImage> /*images*/) override {}
    void AddVerdicts(std::int64_t /*run*/, const std::string& /*key*/, std::span<const Verdict> /*verdicts*/) override
    {
    }
    std::vector<StoredRun> Runs() override
    {
        std::vector<StoredRun> all;
        for (std::size_t i = 0; i < runs.size(); ++i)
        {
            StoredRun& run = all.emplace_back();
            run.number = static_cast<std::int64_t>(i);
            run.description = {runs[i].key, runs[i].recipe, "test", static_cast<std::int64_t>(i)};
            run.images = runs[i].images.size() + moreImages;
            run.blobs = moreBlobs;
            for (const StoredImage& image : runs[i].images)
                run.blobs += image.result.BlobCount();
        }
        return all;
    }
    void Images(std::int64_t run, const std::function<void(StoredImage)>& visit) override
    {
        for (const StoredImage& image : runs.at(static_cast<std::size_t>(run)).images)
            visit(image);
    }
    std::map<std::string, std::string> Keys(std::int64_t /*run*/) override { return {}; }
    StoredRecipe RecipeOf(const std::string& digest) override
    {
        for (const Run& run : runs)
            if (run.recipe.digest == digest)
                return run.recipe;
        throw HostError({{"recipe", digest, "one of the store"}});
    }
    std::string Place() const override { return "memory"; }
};

} // namespace narvo::test
