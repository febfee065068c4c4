// SPDX-License-Identifier: MIT
// A host on the host library: two threads on two lanes, painted zones, 100 images or as many as the argument says.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include <narvo/narvohost.h>

int main(int argc, char** argv)
{
    const int images = argc > 1 ? std::atoi(argv[1]) : 100, width = 8192, height = 4096, pitchX = 32, pitchY = 24;
    std::vector<std::uint8_t> cell(pitchX * pitchY, 1), pixels(static_cast<std::size_t>(width) * height);
    std::fill_n(cell.begin(), pitchX * 4, std::uint8_t{2}); // four rows of a cell are inspected loosely
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            pixels[static_cast<std::size_t>(y) * width + x] = x % pitchX < 12 && y % pitchY < 16 ? 150 : 60;
    for (int i = 0; i < 30 * 25; ++i) // 30 defects of 5 by 5 pixels
        pixels[(height / 32 * (i / 25 + 1) / pitchY * pitchY + 8 + i / 5 % 5) * static_cast<std::size_t>(width) +
               width / 32 * (i / 25 + 1) + i % 5] = 255;

    narvo::Inspector inspector(2);
    const auto problems = narvo::Attempt(
        [&]
        {
            narvo::RecipeDraft draft;
            draft.Set("pitch.x", pitchX).Set("pitch.y", pitchY).SetZoneImage({cell.data(), pitchX, pitchY});
            draft.SetJson("zones.list", R"([{"index": 1, "offset": 25}, {"index": 2, "offset": 120}])");
            const narvo::Recipe recipe = draft.Check();
            std::atomic<int> next = 0;
            const auto work = [&]
            {
                while (next++ < images)
                    for (const narvo::Defect& d : inspector.Inspect({pixels.data(), width, height}, recipe)[0].defects)
                        std::printf("%d pixels around %d, %d in zone %d\n", d.area, d.centerX, d.centerY, d.zone);
            };
            std::thread second(work);
            work();
            second.join();
        });
    for (const narvo::Problem& p : problems)
        std::printf("%s: %s; allowed: %s\n", p.field.c_str(), p.value.c_str(), p.allowed.c_str());
    return problems.empty() ? 0 : 1;
}
