// SPDX-License-Identifier: MIT
// The C interface: settings, named pictures.
#include "host/library/c_arrays.h"

#include "host/library/c_call.h"

namespace narvo::library
{

std::vector<v1::NamedPicture> NamedPictures(const narvo_picture* const* good, const char* const* names,
                                            std::int64_t count, const std::string& countName)
{
    CheckCount(count, 1, nGoodLimit, countName);
    Given(good, "good");
    std::vector<v1::NamedPicture> pictures;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
        pictures.push_back({NameAt(names, i, "good"),
                            PictureHandles().Find(good[i], ("good[" + std::to_string(i) + ']').c_str())->image});
    return pictures;
}

v1::Settings SettingsOf(const narvo_setting* settings, std::int64_t count)
{
    CheckCount(count, 0, nArrayLimit, "setting_count");
    v1::Settings named;
    ReadArray(settings, count, "settings",
              [&](const narvo_setting* place, const std::string& name)
              {
                  const narvo_setting setting = ReadRecord(place, name);
                  named.push_back({Given(setting.name, (name + ".name").c_str()), setting.value});
              });
    return named;
}

v1::OnProgress ProgressOf(narvo_on_progress progress, void* context)
{
    if (progress == nullptr)
        return {};
    return [progress, context](const v1::Progress& told)
    {
        return progress(context, told.step.c_str(), static_cast<std::int64_t>(told.done),
                        static_cast<std::int64_t>(told.total)) != 0;
    };
}

} // namespace narvo::library
