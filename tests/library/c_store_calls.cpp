// SPDX-License-Identifier: MIT
#include "library/c_store_calls.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <system_error>
#include <vector>

#include <stdlib.h>

namespace narvo::test
{

namespace
{

/// What narvo_store_images handed over.
struct TakenImages
{
    std::vector<std::string> names;
    std::int64_t left = -1; ///< images until it asks to stop; below 0: never
    const narvo_reports* last = nullptr;

    static std::int32_t Take(void* context, const narvo_stored_image* image)
    {
        auto& self = *static_cast<TakenImages*>(context);
        Require(image->size == sizeof(*image) && image->reserved == 0 && std::strlen(image->name) > 0,
                "an image of a store has a name");
        Require((image->reports != nullptr) != (image->problem_count > 0), "it has reports, or problems");
        for (std::int64_t i = 0; i < image->problem_count; ++i)
            Require(image->problems[i].size == sizeof(narvo_problem) && image->problems[i].field != nullptr &&
                        image->problems[i].value != nullptr && image->problems[i].allowed != nullptr,
                    "a problem has its texts");
        if (image->reports != nullptr)
        {
            std::int64_t regions = 0;
            Require(narvo_reports_count(image->reports, &regions) == NARVO_OK && regions >= 1 && image->width > 0 &&
                        image->height > 0,
                    "reports of a store can be read");
            self.last = image->reports;
        }
        self.names.emplace_back(image->name);
        return self.left-- == 0 ? 0 : 1;
    }
};

} // namespace

CStoreCalls::~CStoreCalls()
{
    FreeAll(m_stores, narvo_store_free);
    std::error_code error;
    if (!m_folder.empty())
        std::filesystem::remove_all(m_folder, error);
}

void CStoreCalls::CallOnce()
{
    m_foreign[0] = m_shared.recipes.live.empty() ? nullptr : static_cast<void*>(m_shared.recipes.live.front());
    m_foreign[1] = m_stores.live.empty() ? nullptr : static_cast<void*>(m_stores.live.front());
    switch (m_source.Int(0, 9))
    {
    case 0:
        return Open();
    case 1:
    case 2:
        return Begin();
    case 3:
    case 4:
        return Add();
    case 5:
        return AskRuns();
    case 6:
        return ReadImages();
    case 7:
        return SaveOverlay();
    case 8:
        return SaveImage();
    default:
        return FreeDrawn(m_stores, narvo_store_free);
    }
}

std::string CStoreCalls::FileCalled(const char* name)
{
    if (m_folder.empty())
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "narvo_calls_XXXXXX").string();
        Require(mkdtemp(pattern.data()) != nullptr, "a folder for files can be made");
        m_folder = pattern;
    }
    return (m_folder / name).string();
}

std::int64_t CStoreCalls::DrawRun()
{
    return Rarely() ? m_source.Pick<std::int64_t>({0, -1, 1000, nHugeCount, -nHugeCount}) : m_lastRun;
}

void CStoreCalls::Open()
{
    if (m_stores.live.size() >= 2)
        return;
    const int kind = Rarely() ? m_source.Int(1, 3) : 0;
    const int writing = Rarely() ? m_source.Pick({2, -1}) : m_source.Pick({1, 1, 0});
    const std::string place =
        kind == 2 ? std::string("no_such_folder/a.sqlite") : FileCalled(kind == 3 ? "" : "a.sqlite");
    auto* made = reinterpret_cast<narvo_store*>(this);
    const std::int32_t status = narvo_store_open(kind == 1 ? nullptr : place.c_str(), writing, &made);
    Keep(m_stores, made, status, kind == 0 && (writing == 0 || writing == 1));
}

void CStoreCalls::Begin()
{
    const auto [store, hasStore] = Draw(m_stores);
    const auto [recipe, hasRecipe] = Draw(m_shared.recipes);
    const char* key = Rarely() ? m_source.Pick<const char*>({"", nullptr, "\xff"}) : m_source.Pick({"lot", "lot 2"});
    const char* name = Rarely() ? nullptr : "panel";
    const int start = Rarely() ? m_source.Pick({3, -1}) : m_source.Int(0, 2);
    std::int64_t run = -1;
    const bool began = Sound(narvo_store_begin(store, key, recipe, name, "calls", start, Rarely() ? nullptr : &run),
                             hasStore && hasRecipe && key != nullptr && std::strlen(key) > 0 && name != nullptr &&
                                 start >= 0 && start <= 2);
    Require(began == (run >= 1), "a run has a number");
    if (began)
        m_lastRun = run;
}

void CStoreCalls::Add()
{
    const auto [store, hasStore] = Draw(m_stores);
    const narvo_problem problem = {sizeof(problem), 0, "a field",
                                   m_source.Pick<const char*>({"\xff", "", "x", nullptr}), "something"};
    const char* const names[2] = {"first",
                                  m_source.Pick<const char*>({"second", "first", "third", "\xff", "", nullptr})};
    narvo_stored_image images[2] = {};
    bool right = hasStore && names[1] != nullptr && std::strlen(names[1]) > 0;
    for (int i = 0; i < 2; ++i)
    {
        narvo_stored_image& image = images[i];
        image.size = sizeof(image);
        image.name = names[i];
        image.width = Rarely() ? m_source.Pick({-1, std::numeric_limits<int>::max()}) : m_source.Pick({0, 96});
        image.height = image.width;
        image.sequence = m_source.Pick<std::int64_t>({0, 1, -5, nHugeCount});
        image.inspected = m_source.Pick<std::int64_t>({0, 1700000000000000000, -1});
        if (m_source.OneIn(2))
        {
            const auto [reports, hasReports] = Draw(m_shared.reports);
            image.reports = reports;
            right = right && hasReports;
        }
        else
        {
            image.problems = &problem;
            image.problem_count = 1;
            right = right && problem.value != nullptr;
        }
    }
    if (Rarely())
    {
        images[1].size = m_source.Pick({0U, 8U, 63U});
        right = false;
    }
    const std::int64_t count = Rarely() ? m_source.Pick<std::int64_t>({-1, nHugeCount, 65537}) : 2;
    const std::int64_t run = DrawRun();
    if (!Sound(narvo_store_add(store, run, images, count), right && count == 2))
        return;
    TakenImages taken;
    Require(narvo_store_images(store, run, TakenImages::Take, &taken) == NARVO_OK, "a run can be read");
    Require(std::count(taken.names.begin(), taken.names.end(), "first") == 1, "what was added is there, once");
}

void CStoreCalls::AskRuns()
{
    const auto [store, hasStore] = Draw(m_stores);
    const std::int64_t capacity = m_source.Pick<std::int64_t>({2, 0, -1, 1});
    GuardedArray<narvo_stored_run> runs(static_cast<std::size_t>(std::max<std::int64_t>(capacity, 0)));
    const auto size = static_cast<std::uint32_t>(Rarely() ? 8 : sizeof(narvo_stored_run));
    std::int64_t count = 0;
    const bool read = Sound(narvo_store_runs(store, size, runs.Data(), capacity, &count),
                            hasStore && capacity >= 0 && size == sizeof(narvo_stored_run));
    const std::int64_t used = read ? std::min(count, capacity) : 0;
    runs.RequireUntouched(static_cast<std::size_t>(used));
    for (std::int64_t i = 0; i < used; ++i)
    {
        const narvo_stored_run& run = runs.Data()[i];
        Require(run.size == sizeof(run) && run.number >= 1 && std::strlen(run.key) > 0 && run.images >= run.refused &&
                    run.refused >= 0 && run.defects >= 0 && std::strlen(run.recipe_digest) > 0,
                "a run has its numbers");
    }
}

void CStoreCalls::ReadImages()
{
    const auto [store, hasStore] = Draw(m_stores);
    TakenImages taken;
    taken.left = m_source.Pick<std::int64_t>({-1, 0, 1});
    const bool given = !Rarely();
    const std::int32_t status = narvo_store_images(store, DrawRun(), given ? TakenImages::Take : nullptr, &taken);
    if (status == NARVO_STOPPED)
        Require(given && !taken.names.empty() && narvo_problem_count() == 1, "what takes the images alone stops");
    else
        Sound(status, hasStore && given);
    const char* text = nullptr;
    if (taken.last != nullptr)
        Require(!Sound(narvo_reports_json(taken.last, 0, &text), false), "reports last for the call alone");
}

void CStoreCalls::SaveOverlay()
{
    const auto [reports, hasReports] = Draw(m_shared.reports);
    const DrawnImage image = DrawImage(33);
    const std::int64_t region = m_source.Pick<std::int64_t>({0, 1, -1, nHugeCount});
    const char* name = m_source.Pick({"a.png", "a.bmp", "a.no_format", ""});
    const bool given = !Rarely();
    const std::string file = FileCalled(name);
    Sound(narvo_reports_save_overlay(reports, region, &image.record, given ? file.c_str() : nullptr),
          hasReports && !image.broken && region >= 0 && given && std::strcmp(name, "a.no_format") != 0 &&
              name[0] != '\0');
}

void CStoreCalls::SaveImage()
{
    const std::vector<std::uint8_t> bytes(48 * 32 * 3, static_cast<std::uint8_t>(m_source.Int(0, 255)));
    narvo_pixel_array pixels = {sizeof(pixels), 48, 32, m_source.Pick({1, 3, 4, 2}), 8, 0, bytes.data()};
    const bool broken = Rarely();
    if (broken)
        pixels.width = m_source.Pick({0, -48, std::numeric_limits<int>::min()});
    const std::string file = FileCalled(m_source.Pick({"b.png", "b.tif", "b.bmp"}));
    const bool right = !broken && (pixels.channels == 1 || pixels.channels == 3);
    if (!Sound(narvo_save_image(file.c_str(), &pixels), right))
        return Require(!right, "an image can be written");
    narvo_picture* picture = nullptr;
    Require(Sound(narvo_picture_from_file(file.c_str(), nullptr, 48 * 32, &picture)), "what was written is read");
    narvo_image view = {};
    view.size = sizeof(view);
    Require(Sound(narvo_picture_image(picture, -1, &view)) && view.width == 48 && view.height == 32 &&
                static_cast<const std::uint8_t*>(view.pixels)[5] == bytes[0],
            "it is the same");
    Require(narvo_picture_free(picture) == NARVO_OK, "a picture can be freed");
    picture = reinterpret_cast<narvo_picture*>(this);
    Require(!Sound(narvo_picture_from_file(file.c_str(), nullptr, 48 * 32 - 1, &picture), false) && picture == nullptr,
            "an image that is too large is refused");
}

} // namespace narvo::test
