// SPDX-License-Identifier: MIT
// Settings by name, and the inspections with each value.
#include "tools/tune/golden_sweep.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <mutex>
#include <optional>
#include <type_traits>
#include <variant>

#include "host/inspect/for_each.h"

namespace narvo::tools
{

namespace
{

struct GoldenEntry
{
    const char* name;
    const char* unit;
    std::variant<int GoldenSettings::*, double GoldenSettings::*, int RegistrationSettings::*,
                 double RegistrationSettings::*>
        member;
};

const std::array<GoldenEntry, 8> goldenEntries = {{
    {"threshold", "grey levels", &GoldenSettings::threshold},
    {"edge_tolerance", "pixels", &GoldenSettings::edgeTolerance},
    {"min_pixels", "pixels", &GoldenSettings::minPixels},
    {"max_shift", "pixels", &RegistrationSettings::maxShift},
    {"max_rotation", "degrees", &RegistrationSettings::maxRotation},
    {"max_scale", "percent", &RegistrationSettings::maxScale},
    {"mesh", "pixels", &RegistrationSettings::meshSpacing},
    {"min_correlation", "", &RegistrationSettings::minCorrelation},
}};

const GoldenEntry& EntryOf(const std::string& name)
{
    std::string names;
    for (const GoldenEntry& entry : goldenEntries)
    {
        if (name == entry.name)
            return entry;
        names += (names.empty() ? "" : ", ") + std::string(entry.name);
    }
    throw HostError({{"field", name, "with references one of " + names}});
}

/// Calls use with the entry's member.
template <typename Use>
void Visit(const GoldenEntry& entry, GoldenSettings& settings, const Use& use)
{
    std::visit(
        [&](auto member)
        {
            if constexpr (std::is_invocable_v<decltype(member), GoldenSettings&>)
                use(settings.*member);
            else
                use(settings.registration.*member);
        },
        entry.member);
}

} // namespace

GoldenField::GoldenField(const std::string& name) : m_name(EntryOf(name).name)
{
}

std::string GoldenField::Unit() const
{
    return EntryOf(m_name).unit;
}

bool GoldenField::IsWhole() const
{
    return EntryOf(m_name).member.index() % 2 == 0;
}

double GoldenField::Own() const
{
    GoldenSettings settings;
    double own = 0.0;
    Visit(EntryOf(m_name), settings, [&](const auto& member) { own = static_cast<double>(member); });
    return own;
}

GoldenSettings GoldenField::With(double value, bool shift) const
{
    GoldenSettings settings;
    Visit(EntryOf(m_name), settings,
          [&](auto& member)
          {
              const double wanted = value + (shift ? static_cast<double>(member) : 0.0);
              if constexpr (std::is_same_v<decltype(member), int&>)
                  member = static_cast<int>(std::lround(std::clamp(wanted, -2e9, 2e9)));
              else
                  member = wanted;
          });
    ThrowIfAny(CheckGoldenSettings(settings));
    return settings;
}

void RunGoldenSweep(
    const std::vector<GreyImage>& references, const std::vector<GoldenSettings>& settings,
    const std::vector<BatchImage>& images, int lanes,
    const std::function<void(std::size_t, std::size_t, const InspectionResult*, const std::vector<Problem>&)>& count,
    const std::stop_token& stop)
{
    Inspector inspector(lanes, GoldenSettings().maxBlobs);
    std::vector<std::optional<Registration>> registrations(images.size());
    std::mutex counting;
    for (std::size_t i = 0; i < settings.size(); ++i)
    {
        if (i > 0 && settings[i].registration != settings[i - 1].registration)
            registrations.assign(images.size(), std::nullopt);
        const GoldenModel model(references, settings[i]);
        ForEachNumber(images.size(), lanes,
                      [&](std::size_t number, int lane)
                      {
                          if (stop.stop_requested())
                              return;
                          std::optional<GoldenResult> result;
                          std::vector<Problem> problems;
                          try
                          {
                              const auto image = images[number].load();
                              std::optional<Registration>& registration = registrations[number];
                              if (!registration)
                                  registration = RegisterImage(model.Mean(), *image, settings[i].registration);
                              result = InspectRegistered(inspector, lane, model, *image, *registration);
                          }
                          catch (const HostError& error)
                          {
                              problems = NameImage(images[number].name, error.Problems());
                          }
                          const std::lock_guard lock(counting);
                          count(i, number, result ? &result->inspection : nullptr, problems);
                      });
    }
}

} // namespace narvo::tools
