// SPDX-License-Identifier: MIT
// What random calls of the C interface are made with: images, handles and arrays, right and wrong ones, and the checks
// of what a call answers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

#include "fuzz/require.h"
#include "soak/case_source.h"
#include <narvo/narvo_c.h>

namespace narvo::test
{

constexpr std::int64_t nHugeCount = std::numeric_limits<std::int64_t>::max();

/// Pixels in a block of exactly the size that the record declares, so that a checker sees reads beyond it.
struct DrawnImage
{
    narvo_image record = {};
    std::vector<std::uint8_t> bytes;
    bool broken = false; ///< no call takes it
};

/// Memory that a call may write to in part: what follows must stay.
template <typename Value>
class GuardedArray
{
public:
    explicit GuardedArray(std::size_t count) : m_bytes(count * sizeof(Value) + nGuard, nMark) {}

    Value* Data() { return reinterpret_cast<Value*>(m_bytes.data()); }
    /// Nothing behind the first `used` values was written to.
    void RequireUntouched(std::size_t used) const
    {
        Require(std::all_of(m_bytes.begin() + static_cast<std::ptrdiff_t>(used * sizeof(Value)), m_bytes.end(),
                            [](std::uint8_t byte) { return byte == nMark; }),
                "nothing is written behind an array");
    }

private:
    static constexpr std::size_t nGuard = 32;
    static constexpr std::uint8_t nMark = 0xa5;
    std::vector<std::uint8_t> m_bytes;
};

/// Handles of one kind: those in use, and those that were freed.
template <typename Handle>
struct Handles
{
    std::vector<Handle*> live;
    std::vector<Handle*> freed;

    void Add(Handle* handle)
    {
        Require(handle != nullptr && std::find(freed.begin(), freed.end(), handle) == freed.end() &&
                    std::find(live.begin(), live.end(), handle) == live.end(),
                "a new handle was never given out");
        live.push_back(handle);
    }
};

/// What the caller of all shares with parts of it: handles that calls of either make and use.
struct SharedHandles
{
    Handles<narvo_recipe> recipes;
    Handles<narvo_inspector> inspectors;
    Handles<narvo_reports> reports;
    Handles<narvo_golden> goldens;
};

/// Draws arguments and checks answers.
class CCallKit
{
public:
    explicit CCallKit(CCaseSource& source) : m_source(source) {}

protected:
    bool Rarely() { return m_source.OneIn(24); }

    /// A handle and whether it is in use; otherwise null, freed, of another kind, or anything.
    template <typename Handle>
    std::pair<Handle*, bool> Draw(const Handles<Handle>& handles)
    {
        if (!handles.live.empty() && !Rarely())
            return {handles.live[m_source.Below(handles.live.size())], true};
        switch (m_source.Int(0, 3))
        {
        case 0:
            return {nullptr, false};
        case 1:
            if (!handles.freed.empty())
                return {handles.freed[m_source.Below(handles.freed.size())], false};
            return {nullptr, false};
        case 2:
            return {reinterpret_cast<Handle*>(this), false};
        default:
            return {static_cast<Handle*>(m_foreign[std::is_same_v<Handle, narvo_recipe> ? 1 : 0]), false};
        }
    }

    /// Checks a status and the problems behind it. @return whether the call did what it says
    static bool Sound(std::int32_t status, bool mayRun = true);

    template <typename Handle>
    void Keep(Handles<Handle>& handles, Handle* made, std::int32_t status, bool mayRun)
    {
        if (Sound(status, mayRun))
            handles.Add(made);
        else
            Require(made == nullptr, "no handle without success");
    }

    template <typename Handle, typename Call>
    void Create(Handles<Handle>& handles, const Call& call)
    {
        if (Rarely())
            return void(Sound(call(nullptr), false));
        auto* made = reinterpret_cast<Handle*>(this);
        const std::int32_t status = call(&made);
        Keep(handles, made, status, true);
    }

    DrawnImage DrawImage(int leastSide);
    double DrawNumber();
    int DrawInteger();

    template <typename Handle, typename Free>
    void FreeDrawn(Handles<Handle>& handles, const Free& free)
    {
        const auto [handle, live] = Draw(handles);
        const std::int32_t status = free(handle);
        Require(status == (live || handle == nullptr ? NARVO_OK : NARVO_REFUSED), "what is in use can be freed");
        if (!live)
            return;
        handles.live.erase(std::find(handles.live.begin(), handles.live.end(), handle));
        handles.freed.push_back(handle);
    }

    template <typename Handle, typename Free>
    static void FreeAll(const Handles<Handle>& handles, const Free& free)
    {
        for (Handle* handle : handles.live)
            Require(free(handle) == NARVO_OK, "every handle in use can be freed");
        for (Handle* handle : handles.freed)
            Require(free(handle) == NARVO_REFUSED, "no handle is freed twice");
    }

    CCaseSource& m_source;
    /// A recipe and a draft that are in use, or null: handles of another kind than most.
    void* m_foreign[2] = {nullptr, nullptr};

private:
    void Paint(DrawnImage& image, int stride);
    void Break(DrawnImage& image, std::int64_t row);
};

} // namespace narvo::test
