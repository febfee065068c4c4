// SPDX-License-Identifier: MIT
// The lines of each metric, with its help and type.
#include "tools/live/prometheus_text.h"

#include <sstream>

#include "host/problem.h"

namespace narvo::tools
{

namespace
{

/// The value of a label.
std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char letter : text)
        quoted += letter == '\n'                    ? "\\n"
                  : letter == '"' || letter == '\\' ? std::string("\\") + letter
                                                    : std::string(1, letter);
    return quoted + '"';
}

class Exposition
{
public:
    void Head(const char* name, const char* type, const char* help)
    {
        m_text << "# HELP " << name << ' ' << help << "\n# TYPE " << name << ' ' << type << '\n';
    }
    template <typename Value>
    void Line(const std::string& name, Value value)
    {
        m_text << name << ' ' << value << '\n';
    }
    template <typename Value>
    void One(const char* name, const char* type, const char* help, Value value)
    {
        Head(name, type, help);
        Line(name, value);
    }
    std::string Text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
};

} // namespace

std::string PrometheusText(const LiveSetup& setup, const LiveCounts& counts)
{
    Exposition out;
    out.Head("narvo_watch_info", "gauge", "The program and its source; always 1.");
    out.Line("narvo_watch_info{version=" + Quoted(setup.version) + ",source=" + Quoted(setup.source) +
                 ",recipe=" + Quoted(setup.recipe) + "}",
             1);
    out.One("narvo_frames_acquired_total", "counter", "Frames that the source has handed over.", counts.acquired);
    out.One("narvo_frames_inspected_total", "counter", "Frames with a verdict.", counts.inspected);
    out.One("narvo_frames_dropped_total", "counter", "Frames given up for lack of room in the queue.", counts.dropped);
    out.One("narvo_frames_unreadable_total", "counter", "Frames that could not be read or inspected.",
            counts.unreadable);
    out.One("narvo_frames_incomplete_total", "counter", "Frames whose last row never came.", counts.incomplete);
    out.One("narvo_frames_lost_total", "counter", "Frames missing in the source's sequence.", counts.lost);
    out.Head("narvo_verdicts_total", "counter", "Verdicts on inspected frames.");
    out.Line("narvo_verdicts_total{verdict=\"pass\"}", counts.passed);
    out.Line("narvo_verdicts_total{verdict=\"fail\"}", counts.failed);
    out.Line("narvo_verdicts_total{verdict=\"undecided\"}", counts.undecided);
    out.One("narvo_blobs_total", "counter", "Defects found.", counts.blobs);
    out.One("narvo_queue_frames", "gauge", "Frames that wait for a lane.", counts.waiting);
    out.One("narvo_queue_capacity_frames", "gauge", "Frames that may wait.", setup.queue);
    out.One("narvo_lanes", "gauge", "Inspections at once.", setup.lanes);
    out.One("narvo_start_time_seconds", "gauge", "When the run began, seconds since 1970.",
            FormatNumber(static_cast<double>(setup.started / 1000000) / 1e3));
    out.One("narvo_healthy", "gauge", "1 while the run is in order; 0 where the source broke or the queue overran.",
            counts.problems.empty() && !counts.overrun ? 1 : 0);
    out.Head("narvo_latency_seconds", "histogram", "Time from a frame's last row to its acknowledged verdict.");
    for (std::size_t i = 0; i < latencyLimits.size(); ++i)
        out.Line("narvo_latency_seconds_bucket{le=\"" + FormatNumber(latencyLimits[i]) + "\"}", counts.latencyBelow[i]);
    out.Line("narvo_latency_seconds_bucket{le=\"+Inf\"}", counts.latencyCount);
    out.Line("narvo_latency_seconds_sum", FormatNumber(counts.latencySum));
    out.Line("narvo_latency_seconds_count", counts.latencyCount);
    return out.Text();
}

} // namespace narvo::tools
