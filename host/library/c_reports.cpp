// SPDX-License-Identifier: MIT
// The C interface: what reports hold, and their texts.
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/library/c_call.h"
#include "narvo/host_golden.h"
#include "narvo/host_result.h"

namespace narvo::library
{

ReportsObject::ReportsObject(std::vector<v1::FullReport> made, bool withAnswers)
    : m_reports(std::move(made)), m_withAnswers(withAnswers)
{
    for (v1::FullReport& each : m_reports)
        if (!each.unseen.empty())
            each.report.warnings.push_back(each.unseen);
}

ReportsObject::ReportsObject(const v1::GoldenFindings& findings, bool withPictures)
    : ReportsObject(std::vector{findings.Inspection()})
{
    m_golden = {findings.Summary(), findings.Registration(), {}, {}, findings.Text(), findings.Table()};
    m_golden->summary.report = {};
    if (!withPictures)
        return;
    m_golden->reference = findings.Reference();
    m_golden->threshold = findings.Threshold();
}

const v1::FullReport& ReportsObject::At(std::int64_t region) const
{
    return ElementAt(m_reports, region, "region");
}

const std::vector<v1::Answer>& ReportsObject::AnswersAt(std::int64_t region) const
{
    if (!m_withAnswers)
        throw v1::Error({{"reports", "without answers", "reports of narvo_inspect_fully or narvo_inspect_picture"}});
    return At(region).answers;
}

const GoldenPart& ReportsObject::Golden() const
{
    if (!m_golden)
        throw v1::Error({{"reports", "not of a golden inspection",
                          "reports of narvo_golden_inspect or narvo_golden_inspect_picture"}});
    return *m_golden;
}

const char* ReportsObject::Json(std::int64_t region)
{
    At(region);
    return m_golden ? m_golden->json.c_str() : Kept(m_json, region, v1::ReportText);
}

const char* ReportsObject::Csv(std::int64_t region)
{
    At(region);
    return m_golden ? m_golden->csv.c_str() : Kept(m_csv, region, v1::DefectTable);
}

const char* ReportsObject::Kept(Texts& texts, std::int64_t region, std::string (*make)(const v1::FullReport&))
{
    const std::lock_guard lock(m_mutex);
    auto place = texts.find(region);
    if (place == texts.end())
        place = texts.emplace(region, make(At(region))).first;
    return place->second.c_str();
}

} // namespace narvo::library
