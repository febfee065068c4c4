// SPDX-License-Identifier: MIT
// What all functions of the C interface share: exceptions become a status and the problems of the thread, and arguments
// are checked.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/library/c_handles.h"
#include "host/library/c_records.h"
#include "narvo/host_capability.h"
#include "narvo/host_cell.h"
#include "narvo/host_evaluate.h"
#include "narvo/host_explain.h"
#include "narvo/host_golden.h"
#include "narvo/host_images.h"
#include "narvo/host_inspector.h"
#include "narvo/host_learn.h"
#include "narvo/host_pitch.h"
#include "narvo/host_result.h"
#include "narvo/narvo_c.h"

namespace narvo::library
{

/// A draft, which one thread at a time may change.
struct DraftObject
{
    std::mutex mutex;
    v1::RecipeDraft draft;
};

/// What there is of a golden inspection beside its report.
struct GoldenPart
{
    v1::GoldenReport summary; ///< its report is that of the object
    v1::RegistrationMap map;
    std::optional<v1::Image> reference; ///< and thresholds, where they are kept
    std::optional<v1::Image> threshold;
    std::string json;
    std::string csv;
};

/// A golden model, and how its first reference lies on the others.
struct GoldenObject
{
    explicit GoldenObject(v1::GoldenModel made);

    v1::GoldenModel model;
    std::vector<v1::RegistrationMap> maps;
    std::vector<v1::Registered> numbers; ///< of the maps, whose texts the caller reads
};

/// Reports of one image, and of golden inspections what there is beside them.
class ReportsObject
{
public:
    /// What a report does not see becomes the last of its warnings.
    explicit ReportsObject(std::vector<v1::FullReport> made, bool withAnswers = false);
    explicit ReportsObject(const v1::GoldenFindings& findings, bool withPictures = false);

    const std::vector<v1::FullReport>& Reports() const { return m_reports; }
    const v1::FullReport& At(std::int64_t region) const;
    /// @throws v1::Error for reports that were made without them
    const std::vector<v1::Answer>& AnswersAt(std::int64_t region) const;
    /// @throws v1::Error for reports of other inspections
    const GoldenPart& Golden() const;
    /// Texts of a region, made when they are asked for first, and kept.
    const char* Json(std::int64_t region);
    const char* Csv(std::int64_t region);

private:
    using Texts = std::map<std::int64_t, std::string>;
    const char* Kept(Texts& texts, std::int64_t region, std::string (*make)(const v1::FullReport&));

    std::vector<v1::FullReport> m_reports;
    bool m_withAnswers;
    std::optional<GoldenPart> m_golden;
    std::mutex m_mutex; ///< of the texts
    Texts m_json;
    Texts m_csv;
};

/// An explainer, which one thread at a time may ask.
struct ExplainerObject
{
    explicit ExplainerObject(v1::Explainer made) : explainer(std::move(made)) {}

    std::mutex mutex;
    v1::Explainer explainer;
};

/// The way of a pixel, and its sentences in one text.
struct ExplanationObject
{
    v1::Explanation way;
    std::string why;
    std::string json;
};

/// An image, and what was lost on its way to grey.
struct PictureObject
{
    v1::Image image;
    std::vector<std::string> notes;
};

/// What a call found out.
struct FindingsObject
{
    std::string json;
    std::string text;
};

/// A lot, which one thread at a time may use.
struct LotObject;

/// Defects for other programs, which one thread at a time may use.
struct ExchangeObject;

/// What is true of an image, and its defects, whose kinds the caller reads.
struct TruthObject
{
    explicit TruthObject(v1::ImageTruth made) : truth(std::move(made)), boxes(truth.Defects()) {}

    v1::ImageTruth truth;
    std::vector<v1::TrueBox> boxes;
};

/// A folder of images with known defects.
struct SetObject;

/// A stream and what it has reported.
struct StreamObject;

/// A store, which one thread at a time may call.
struct StoreObject;

// The tables live as long as the process, since programs may free handles at its very end.
HandleTable<narvo_recipe, v1::Recipe>& RecipeHandles();
HandleTable<narvo_draft, DraftObject>& DraftHandles();
HandleTable<narvo_inspector, v1::Inspector>& InspectorHandles();
HandleTable<narvo_reports, ReportsObject>& ReportsHandles();
HandleTable<narvo_proposal, v1::PitchProposal>& ProposalHandles();
HandleTable<narvo_golden, GoldenObject>& GoldenHandles();
HandleTable<narvo_learning, v1::LearnReport>& LearningHandles();
HandleTable<narvo_explainer, ExplainerObject>& ExplainerHandles();
HandleTable<narvo_explanation, ExplanationObject>& ExplanationHandles();
HandleTable<narvo_stream, StreamObject>& StreamHandles();
HandleTable<narvo_store, StoreObject>& StoreHandles();
HandleTable<narvo_rules, v1::ImageRules>& RulesHandles();
HandleTable<narvo_picture, PictureObject>& PictureHandles();
HandleTable<narvo_capability, v1::CapabilityReport>& CapabilityHandles();
HandleTable<narvo_findings, FindingsObject>& FindingsHandles();
HandleTable<narvo_lot, LotObject>& LotHandles();
HandleTable<narvo_cell, v1::GoldenCell>& CellHandles();
HandleTable<narvo_exchange, ExchangeObject>& ExchangeHandles();
HandleTable<narvo_image_set, SetObject>& SetHandles();
HandleTable<narvo_truth, TruthObject>& TruthHandles();
HandleTable<narvo_evaluation, v1::Evaluation>& EvaluationHandles();

/// The status of the exception that is being handled, whose problems become those of this thread.
std::int32_t KeepProblems() noexcept;
/// Ends with no problems in this thread.
void ForgetProblems() noexcept;

/// Runs `call` and returns its status. Problems of calls before stay when it succeeds.
template <typename Call>
std::int32_t GuardedQuietly(Call&& call) noexcept
{
    try
    {
        std::forward<Call>(call)();
        return NARVO_OK;
    }
    catch (...)
    {
        return KeepProblems();
    }
}

/// Runs `call` and returns its status.
template <typename Call>
std::int32_t Guarded(Call&& call) noexcept
{
    const std::int32_t status = GuardedQuietly(std::forward<Call>(call));
    if (status == NARVO_OK)
        ForgetProblems();
    return status;
}

/// @throws v1::Error for null
template <typename Value>
Value* Given(Value* pointer, const char* name)
{
    if (pointer == nullptr)
        throw v1::Error({{name, "null", "an address"}});
    return pointer;
}

/// Makes an object and hands out its handle; the handle is null when that fails.
template <typename Handle, typename Object, typename Make>
std::int32_t HandOut(HandleTable<Handle, Object>& table, Handle** handle, const char* name, Make&& make) noexcept
{
    if (handle != nullptr)
        *handle = nullptr;
    return Guarded(
        [&]
        {
            Given(handle, name);
            *handle = table.Insert(std::forward<Make>(make)());
        });
}

/// Sets `*text` to what `find` returns, or to null when that fails.
template <typename Find>
std::int32_t HandOutText(const char** text, Find&& find) noexcept
{
    if (text != nullptr)
        *text = nullptr;
    return Guarded([&] { *Given(text, "text") = std::forward<Find>(find)(); });
}

/// Element `index`. @throws v1::Error outside of 0 .. size - 1
template <typename Values>
auto& ElementAt(Values& values, std::int64_t index, const char* name)
{
    if (index < 0 || static_cast<std::uint64_t>(index) >= values.size())
        throw v1::Error({{name, std::to_string(index),
                          values.empty() ? "none: there are none" : "0 to " + std::to_string(values.size() - 1)}});
    return values[static_cast<std::size_t>(index)];
}

/// @throws v1::Error, naming the argument, for values other than 0 and 1
void CheckSwitch(std::int32_t value, const char* name);

/// @throws v1::Error for a negative capacity, or room at null
void CheckRoom(const void* place, const char* name, std::int64_t capacity);

/// Fills an array of the caller's with the records of `values`, as many as it has room for, and sets `count`.
template <typename Record, typename Values, typename MakeRecord>
void FillArray(const Values& values, Record* places, std::uint32_t size, std::int64_t capacity, std::int64_t* count,
               const MakeRecord& makeRecord)
{
    *count = static_cast<std::int64_t>(values.size());
    auto* place = reinterpret_cast<std::byte*>(places);
    for (std::int64_t i = 0; i < std::min(capacity, *count); ++i, place += size)
        WriteRecord(place, size, Record(makeRecord(values[static_cast<std::size_t>(i)])));
}

narvo_defect DefectRecord(const v1::Defect& defect);

/// Puts as many bytes of `whole` as fit, and a zero byte behind them, into the `capacity` bytes at `text`, and sets
/// `length` to how many there are. @throws v1::Error for null, or a negative capacity
void FillText(const std::string& whole, char* text, std::int64_t capacity, std::int64_t* length);

/// A number of a region, for calls that refuse those that a recipe does not have.
std::size_t RegionNumber(std::int64_t region);

/// The distance as one between pointers. Where addresses are shorter, one that does not fit stays out of range.
std::ptrdiff_t PointerDistance(std::int64_t distance);

/// The name that the caller gives element `i` of the array `kind`, or `kind` and a number. @throws v1::Error for null
std::string NameAt(const char* const* names, std::size_t i, const std::string& kind);

/// What the record says, not yet checked. @throws v1::Error for null or a wrong size of the record
v1::ImagePixels PixelsOf(const narvo_image* image, const char* name);

} // namespace narvo::library
