// SPDX-License-Identifier: MIT
// A host on the host library: two threads on two lanes, painted zones, 100 images of 30 defects each.
#include <cstdio>
#include <future>

#include <narvo/narvohost.h>

int main()
{
    const int width = 8192, height = 4096, pitchX = 32, pitchY = 24;
    std::vector<std::uint8_t> cell(pitchX * 4, 2), pixels; // four rows of a cell are zone 2, inspected loosely
    cell.resize(pitchX * pitchY, 1);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            pixels.push_back(x % pitchX < 12 && y % pitchY < 16 ? 150 : 60);
    for (int i = 0; i < 30 * 25; ++i) // 30 defects of 5 by 5 pixels
        pixels[(i / 25 * 120 + 10 + i % 25 / 5) * width + i / 25 * 240 + i % 5] = 255;
    try
    {
        narvo::RecipeDraft draft;
        draft.Set("pitch.x", pitchX).Set("pitch.y", pitchY).SetZoneImage({cell.data(), pitchX, pitchY});
        draft.SetJson("zones.list", R"([{"index": 1, "offset": 25}, {"index": 2, "offset": 120}])");
        const narvo::Recipe recipe = draft.Check();
        narvo::Inspector inspector(2);
        const auto work = [&]
        {
            for (int i = 0; i < 50; ++i) // half of the images
                for (const narvo::Defect& d : inspector.Inspect({pixels.data(), width, height}, recipe)[0].defects)
                    std::printf("%d pixels around %d, %d in zone %d\n", d.area, d.centerX, d.centerY, d.zone);
        };
        std::future<void> second = std::async(std::launch::async, work);
        work();
        second.get();
    }
    catch (const narvo::Error& error)
    {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
