// SPDX-License-Identifier: MIT
// What a result store of the host library holds, and images on their way into the layer.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/file/output_file.h"
#include "host/library/translate.h"
#include "host/store/result_store.h"
#include "narvo/host_store.h"

namespace narvo::v1
{

struct ResultStore::Content
{
    Content(const std::string& place, StoreAccess access);

    /// @throws HostError unless the store has the run
    void RequireRun(std::int64_t run);

    std::unique_ptr<narvo::ResultStore> store;
    std::set<std::int64_t> runs; ///< that were begun or seen in it
};

} // namespace narvo::v1

namespace narvo::library
{

/// @throws HostError naming the image `name` where it cannot be kept
narvo::StoredImage LayerImage(const v1::StoredImage& image, const std::string& name);

/// As Translated; what the program calls by its options is called as in the public headers.
template <typename Call>
auto InStore(Call call)
{
    return Translated(
        [&]
        {
            try
            {
                return call();
            }
            catch (const HostError& error)
            {
                std::vector<Problem> found = error.Problems();
                for (Problem& problem : found)
                    for (const auto& [option, name] : {std::pair<std::string_view, const char*>("--store", "place"),
                                                       std::pair<std::string_view, const char*>("--run", "runs")})
                        if (problem.field.compare(0, option.size(), option) == 0)
                            problem.field.replace(0, option.size(), name);
                if (dynamic_cast<const WriteError*>(&error) != nullptr)
                    throw WriteError(std::move(found));
                throw HostError(std::move(found));
            }
        });
}

} // namespace narvo::library
