// SPDX-License-Identifier: MIT
// The C interface: problems of each thread, handles, checks of arguments.
#include "host/library/c_call.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <exception>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "host/library/c_records.h"

namespace narvo::library
{

namespace
{

using ProblemList = std::vector<v1::Problem>;

// Without destructors, so that functions work in destructors of static objects and of this thread.
thread_local ProblemList* threadProblems = nullptr;
thread_local bool threadLacksMemory = false;

/// Frees the problems at the end of the thread.
struct ProblemsOwner
{
    ~ProblemsOwner()
    {
        delete threadProblems;
        threadProblems = nullptr;
    }
};

ProblemList& OwnProblems()
{
    if (threadProblems == nullptr)
    {
        threadProblems = new ProblemList;
        static thread_local ProblemsOwner owner;
    }
    return *threadProblems;
}

/// The status of the exception that is being handled, whose problems are added to `problems`.
std::int32_t ReadException(ProblemList& problems)
{
    try
    {
        throw;
    }
    catch (const v1::Stopped& stopped)
    {
        problems = stopped.Problems();
        return NARVO_STOPPED;
    }
    catch (const v1::Error& error)
    {
        problems = error.Problems();
        return NARVO_REFUSED;
    }
    catch (const std::bad_alloc&)
    {
        throw;
    }
    catch (const std::exception& error)
    {
        problems.push_back({"call", error.what(), "a call that succeeds"});
    }
    catch (...)
    {
        problems.push_back({"call", "a failure without a description", "a call that succeeds"});
    }
    return NARVO_FAILED;
}

template <typename Table>
Table& LastingTable(const char* kind)
{
    static Table& table = *new Table(kind);
    return table;
}

} // namespace

std::uintptr_t NextHandle()
{
    static std::atomic<std::uintptr_t> next = 1;
    return next++;
}

HandleTable<narvo_recipe, v1::Recipe>& RecipeHandles()
{
    return LastingTable<HandleTable<narvo_recipe, v1::Recipe>>("a recipe");
}

HandleTable<narvo_draft, DraftObject>& DraftHandles()
{
    return LastingTable<HandleTable<narvo_draft, DraftObject>>("a draft");
}

HandleTable<narvo_inspector, v1::Inspector>& InspectorHandles()
{
    return LastingTable<HandleTable<narvo_inspector, v1::Inspector>>("an inspector");
}

HandleTable<narvo_reports, ReportsObject>& ReportsHandles()
{
    return LastingTable<HandleTable<narvo_reports, ReportsObject>>("reports");
}

HandleTable<narvo_proposal, v1::PitchProposal>& ProposalHandles()
{
    return LastingTable<HandleTable<narvo_proposal, v1::PitchProposal>>("a proposal");
}

HandleTable<narvo_golden, GoldenObject>& GoldenHandles()
{
    return LastingTable<HandleTable<narvo_golden, GoldenObject>>("a golden model");
}

HandleTable<narvo_learning, v1::LearnReport>& LearningHandles()
{
    return LastingTable<HandleTable<narvo_learning, v1::LearnReport>>("a learning");
}

HandleTable<narvo_explainer, ExplainerObject>& ExplainerHandles()
{
    return LastingTable<HandleTable<narvo_explainer, ExplainerObject>>("an explainer");
}

HandleTable<narvo_explanation, ExplanationObject>& ExplanationHandles()
{
    return LastingTable<HandleTable<narvo_explanation, ExplanationObject>>("an explanation");
}

HandleTable<narvo_stream, StreamObject>& StreamHandles()
{
    return LastingTable<HandleTable<narvo_stream, StreamObject>>("a stream");
}

HandleTable<narvo_store, StoreObject>& StoreHandles()
{
    return LastingTable<HandleTable<narvo_store, StoreObject>>("a store");
}

HandleTable<narvo_rules, v1::ImageRules>& RulesHandles()
{
    return LastingTable<HandleTable<narvo_rules, v1::ImageRules>>("rules");
}

HandleTable<narvo_picture, PictureObject>& PictureHandles()
{
    return LastingTable<HandleTable<narvo_picture, PictureObject>>("a picture");
}

HandleTable<narvo_capability, v1::CapabilityReport>& CapabilityHandles()
{
    return LastingTable<HandleTable<narvo_capability, v1::CapabilityReport>>("a capability");
}

HandleTable<narvo_findings, FindingsObject>& FindingsHandles()
{
    return LastingTable<HandleTable<narvo_findings, FindingsObject>>("findings");
}

HandleTable<narvo_lot, LotObject>& LotHandles()
{
    return LastingTable<HandleTable<narvo_lot, LotObject>>("a lot");
}

HandleTable<narvo_cell, v1::GoldenCell>& CellHandles()
{
    return LastingTable<HandleTable<narvo_cell, v1::GoldenCell>>("a golden cell");
}

HandleTable<narvo_exchange, ExchangeObject>& ExchangeHandles()
{
    return LastingTable<HandleTable<narvo_exchange, ExchangeObject>>("an exchange");
}

HandleTable<narvo_image_set, SetObject>& SetHandles()
{
    return LastingTable<HandleTable<narvo_image_set, SetObject>>("a set of images");
}

HandleTable<narvo_truth, TruthObject>& TruthHandles()
{
    return LastingTable<HandleTable<narvo_truth, TruthObject>>("a truth");
}

HandleTable<narvo_evaluation, v1::Evaluation>& EvaluationHandles()
{
    return LastingTable<HandleTable<narvo_evaluation, v1::Evaluation>>("an evaluation");
}

std::int32_t KeepProblems() noexcept
{
    ForgetProblems();
    try
    {
        return ReadException(OwnProblems());
    }
    catch (...)
    {
        ForgetProblems();
        threadLacksMemory = true;
        return NARVO_NO_MEMORY;
    }
}

void ForgetProblems() noexcept
{
    threadLacksMemory = false;
    if (threadProblems != nullptr)
        threadProblems->clear();
}

void CheckSwitch(std::int32_t value, const char* name)
{
    if (value != 0 && value != 1)
        throw v1::Error({{name, std::to_string(value), "0 or 1"}});
}

void CheckRoom(const void* place, const char* name, std::int64_t capacity)
{
    if (capacity < 0)
        throw v1::Error({{"capacity", std::to_string(capacity),
                          "0 to " + std::to_string(std::numeric_limits<std::int64_t>::max())}});
    if (capacity > 0)
        Given(place, name);
}

void FillText(const std::string& whole, char* text, std::int64_t capacity, std::int64_t* length)
{
    Given(length, "length");
    CheckRoom(text, "text", capacity);
    *length = static_cast<std::int64_t>(whole.size());
    if (capacity == 0)
        return;
    const auto bytes = static_cast<std::size_t>(std::min(capacity - 1, *length));
    std::memcpy(text, whole.data(), bytes);
    text[bytes] = '\0';
}

std::size_t RegionNumber(std::int64_t region)
{
    return region < 0 ? std::numeric_limits<std::size_t>::max() : static_cast<std::size_t>(region);
}

std::ptrdiff_t PointerDistance(std::int64_t distance)
{
    return static_cast<std::ptrdiff_t>(std::clamp<std::int64_t>(distance, std::numeric_limits<std::ptrdiff_t>::min(),
                                                                std::numeric_limits<std::ptrdiff_t>::max()));
}

std::string NameAt(const char* const* names, std::size_t i, const std::string& kind)
{
    if (names == nullptr)
        return kind + ' ' + std::to_string(i + 1);
    return Given(names[i], (kind + "_names[" + std::to_string(i) + ']').c_str());
}

v1::ImagePixels PixelsOf(const narvo_image* image, const char* name)
{
    const narvo_image record = ReadRecord(image, name);
    v1::ImagePixels pixels;
    pixels.pixels = record.pixels;
    pixels.width = record.width;
    pixels.height = record.height;
    pixels.bits = record.bits;
    pixels.stride = PointerDistance(record.stride);
    return pixels;
}

} // namespace narvo::library

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C

std::int32_t narvo_c_version(void)
{
    return NARVO_C_VERSION;
}

std::int64_t narvo_problem_count(void)
{
    if (threadLacksMemory)
        return 1;
    return threadProblems == nullptr ? 0 : static_cast<std::int64_t>(threadProblems->size());
}

std::int32_t narvo_problem_get(std::int64_t index, narvo_problem* problem)
{
    constexpr auto& sizes = RecordSizes<narvo_problem>::sizes;
    if (problem == nullptr || std::find(std::begin(sizes), std::end(sizes), problem->size) == std::end(sizes) ||
        index < 0 || index >= narvo_problem_count())
        return NARVO_REFUSED;
    narvo_problem record = {0, 0, "memory", "not enough", "what the call needs"};
    if (!threadLacksMemory)
    {
        const narvo::v1::Problem& kept = (*threadProblems)[static_cast<std::size_t>(index)];
        record.field = kept.field.c_str();
        record.value = kept.value.c_str();
        record.allowed = kept.allowed.c_str();
    }
    WriteRecord(problem, problem->size, record);
    return NARVO_OK;
}
