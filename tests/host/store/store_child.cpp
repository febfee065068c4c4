// SPDX-License-Identifier: MIT
// A writer to be killed: adds the images of seeds FIRST .. FIRST + COUNT - 1 to a run and prints the number of each as
// soon as it is acknowledged.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include <unistd.h>

#include "host/store/random_image.h"
#include "host/store/store_writer.h"

int main(int argc, char** argv)
try
{
    if (argc != 5)
        return 2;
    auto store = narvo::OpenResultStore(argv[1], narvo::StoreAccess_Write);
    const std::int64_t run =
        store->BeginRun({argv[2], {"digest", "recipe.json", "{}"}, "store_child", 1}, narvo::RunStart_Continue);
    narvo::StoreWriterOptions options;
    options.acknowledge = [](const narvo::StoredImage& image)
    {
        const std::string line = std::to_string(image.sequence) + "\n";
        if (write(1, line.data(), line.size()) < 0)
            std::abort();
    };
    narvo::StoreWriter writer(std::move(store), run, options);
    const std::uint64_t first = std::strtoull(argv[3], nullptr, 10);
    const std::uint64_t count = std::strtoull(argv[4], nullptr, 10);
    for (std::uint64_t seed = first; seed < first + count; ++seed)
        writer.Add(narvo::test::RandomImage(seed));
    writer.Flush();
    return 0;
}
catch (const std::exception& error)
{
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
