// SPDX-License-Identifier: MIT
// Live images by the policy that drops, and the file's lines by the one that waits.
#include "tools/watch/store_sink.h"

#include <utility>

#include "host/counted.h"
#include "host/foreign_text.h"
#include "host/problem.h"

namespace narvo::tools
{

namespace
{

/// The image of a line, 1 for the first.
StoredImage StoredLine(const WatchedImage& image, std::size_t line)
{
    StoredImage stored;
    stored.key = std::to_string(line) + " " + image.result.name;
    stored.sequence = static_cast<std::int64_t>(line);
    stored.inspected = image.acquired;
    stored.result = image.result;
    stored.identity = image.identity;
    std::string rules;
    for (const std::string& rule : image.failedRules)
        rules += (rules.empty() ? "" : "; ") + rule;
    stored.verdicts.push_back(
        {-1, 0, VerdictName(image.verdict), "narvo watch" + (rules.empty() ? "" : ": " + rules), image.acquired});
    return stored;
}

} // namespace

StoreSink::StoreSink(Settings settings)
    : m_settings(std::move(settings)),
      m_run(std::make_unique<StoreRun>(m_settings.options, m_settings.output, m_settings.recipe, m_settings.start))
{
}

void StoreSink::Begin(const WatchLog& log)
{
    m_log = &log;
    m_run->Begin(m_settings.tell, StorePolicy_Drop);
    if (log.Lines() > 0)
        AddMissing();
}

void StoreSink::AddMissing()
{
    StoreRun run(m_settings.options, m_settings.output, m_settings.recipe, RunStart_Continue);
    run.Begin(m_settings.tell, StorePolicy_Wait);
    m_log->ForEachLine(
        [&](const WatchedImage& image, std::size_t line)
        {
            StoredImage stored = StoredLine(image, line);
            if (!run.Has(stored.key, stored.identity))
                run.Add(std::move(stored));
        });
    run.Finish();
}

void StoreSink::Add(const WatchedImage& image)
{
    try
    {
        const bool taken = m_run->Add(StoredLine(image, m_log->Lines()));
        m_handed += taken ? 1 : 0;
        if (taken || m_behind)
            return;
        m_settings.tell("store: images are left out until the database is back; they are added from the result file");
    }
    catch (const HostError& error)
    {
        if (!m_behind)
            m_settings.tell("store: " + Printable(error.Problems().front().Text()));
    }
    m_behind = true;
}

void StoreSink::Finish(const WatchSummary&)
{
    try
    {
        m_run->Finish();
        if (m_behind || m_run->Written() < m_handed)
            AddMissing();
    }
    catch (const WriteError& error)
    {
        throw WriteError({{"--store " + Printable(m_run->Place()), error.Problems().front().value,
                           "a database that answers; --resume adds what it lacks from the result file"}});
    }
}

std::string StoreSink::Description() const
{
    return Printable(m_run->Place()) + ", run " + Printable(m_run->Key());
}

} // namespace narvo::tools
