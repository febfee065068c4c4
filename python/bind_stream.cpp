// SPDX-License-Identifier: MIT
// Images without end: rows go in, and the blobs that have become final come out with the call that made them so.
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <narvo/host_stream.h>

#include "python/bind.h"
#include "python/image_array.h"
#include "python/narvo_errors.h"
#include "python/per_process.h"
#include "python/result_arrays.h"
#include "python/sealed_class.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

/// A stream, and the blobs that no call has handed over yet. It belongs to the process that made it: a child has no
/// engine to go on with.
class RowFeed
{
public:
    RowFeed(const v1::Recipe& recipe, int width, const v1::Settings& settings)
        : m_forkCount(ForkCount()), m_state(std::make_unique<State>(recipe, width, settings))
    {
    }
    ~RowFeed()
    {
        if (ForkCount() != m_forkCount)
            static_cast<void>(m_state.release());
    }
    RowFeed(const RowFeed&) = delete;
    RowFeed& operator=(const RowFeed&) = delete;

    /// What `call` answers of the stream. @throws v1::Error in a process forked off the stream's own
    template <typename Call>
    auto Ask(Call call) const
    {
        const v1::StripStream& stream = StateOfThisProcess().stream;
        return Unlocked([&] { return call(stream); });
    }

    /// Calls `call` with the stream, and returns first rows and blobs of what it has made final.
    template <typename Call>
    py::tuple Collect(Call call)
    {
        State& state = StateOfThisProcess();
        const std::vector<v1::StreamDefect> found = Unlocked(
            [&]
            {
                // Blobs go to the caller whose rows have made them final.
                const std::lock_guard lock(state.mutex);
                call(state.stream);
                return std::exchange(state.found, {});
            });
        v1::FullReport report;
        py::array_t<std::int64_t> rows(static_cast<py::ssize_t>(found.size()));
        std::int64_t* row = rows.mutable_data();
        for (const v1::StreamDefect& one : found)
        {
            *row++ = one.row;
            report.report.defects.push_back(one.defect);
        }
        return py::make_tuple(rows, Result(std::move(report)).blobs);
    }

private:
    struct State
    {
        State(const v1::Recipe& recipe, int width, const v1::Settings& settings)
            : stream(
                  recipe, width, [this](const v1::StreamDefect& defect) { found.push_back(defect); }, settings)
        {
        }

        std::mutex mutex;
        std::vector<v1::StreamDefect> found; ///< filled by the stream, under the mutex
        v1::StripStream stream;
    };

    State& StateOfThisProcess() const
    {
        if (ForkCount() != m_forkCount)
            throw v1::Error({{"stream", "made before this process was forked", "one that this process has made"}});
        return *m_state;
    }

    int m_forkCount;
    std::unique_ptr<State> m_state;
};

std::unique_ptr<RowFeed> MakeFeed(const py::handle& recipe, const py::handle& width, const py::dict& settings)
{
    const int columns = ToNearestInt(width);
    v1::Settings given;
    for (const auto& [name, value] : settings)
        given.push_back({name.cast<std::string>(), ToWholeSetting(value)});
    return Translated(Fault::Recipe,
                      [&]
                      {
                          const v1::Recipe made = ToRecipe(recipe);
                          return Showing("width", Shown(width),
                                         [&] { return std::make_unique<RowFeed>(made, columns, given); });
                      });
}

py::tuple PushRows(RowFeed& feed, const py::handle& rows)
{
    const ImageArgument pixels = Translated(Fault::Image, [&] { return ImageArgument(rows, "rows"); });
    return Translated(Fault::Image,
                      [&] { return feed.Collect([&](v1::StripStream& stream) { stream.Push(pixels.Pixels()); }); });
}

/// The same for what cannot be wrong but for the process.
template <typename Call>
auto Ask(const RowFeed& feed, Call call)
{
    return Translated(Fault::Argument, [&] { return feed.Ask(call); });
}

py::tuple CountsOf(const RowFeed& feed)
{
    const v1::StreamCounts counts = Ask(feed, [](const v1::StripStream& stream) { return stream.Counts(); });
    return py::make_tuple(counts.rows, counts.finalRows, counts.defects, counts.cutDefects, counts.crowded,
                          counts.overflows, counts.openChains, counts.memoryShort, counts.exact);
}

py::list WarningsOf(const RowFeed& feed)
{
    py::list warnings;
    for (const std::string& warning : Ask(feed, [](const v1::StripStream& stream) { return stream.Warnings(); }))
        warnings.append(ToText(warning));
    return warnings;
}

} // namespace

void BindStream(py::module_& module)
{
    py::class_<RowFeed>(module, "RowFeed", py::is_final(), "Rows without end; StripStream is the class to use.")
        .def(py::init(&MakeFeed), py::arg("recipe"), py::arg("width"), py::arg("settings"))
        .def("push", &PushRows, py::arg("rows"), "Takes rows; returns first rows and blobs that are final by them.")
        .def(
            "finish",
            [](RowFeed& feed) {
                return Translated(Fault::Argument,
                                  [&] { return feed.Collect([](v1::StripStream& stream) { stream.Finish(); }); });
            },
            "The last row has come; returns as push() what is left.")
        .def("counts", &CountsOf, "What it has done so far, in the order of StreamCounts.")
        .def("warnings", &WarningsOf, "What speaks against exactness, in words.")
        .def_property_readonly(
            "width",
            [](const RowFeed& feed) { return Ask(feed, [](const v1::StripStream& stream) { return stream.Width(); }); },
            "Pixels of a row.")
        .def_property_readonly(
            "delay_rows",
            [](const RowFeed& feed)
            { return Ask(feed, [](const v1::StripStream& stream) { return stream.DelayRows(); }); },
            "Rows between a row's arrival and the report of a blob that begins there, at most.");
    SealConstructed(module.attr("RowFeed"));
}

} // namespace narvo::python
