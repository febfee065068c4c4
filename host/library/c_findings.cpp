// SPDX-License-Identifier: MIT
// The C interface: what a call found out, as texts.
#include <cstdint>

#include "host/library/c_call.h"
#include "narvo/narvo_c.h"

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C

std::int32_t narvo_findings_json(const narvo_findings* findings, const char** text)
{
    return HandOutText(text, [&] { return FindingsHandles().Find(findings, "findings")->json.c_str(); });
}

std::int32_t narvo_findings_text(const narvo_findings* findings, const char** text)
{
    return HandOutText(text, [&] { return FindingsHandles().Find(findings, "findings")->text.c_str(); });
}

std::int32_t narvo_findings_free(narvo_findings* findings)
{
    return GuardedQuietly([&] { FindingsHandles().Remove(findings, "findings"); });
}
