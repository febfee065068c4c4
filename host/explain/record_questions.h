// What the engine's later steps say of a single record: its pair filters, and its verification at a short pitch.
#pragma once

#include <optional>
#include <vector>

#include "host/explain/engine_path.h"
#include "host/explain/explain.h"

namespace narvo
{

/// The answers of the filters that the pass asks about the record, in their order; nothing where its filters are those
/// of zones. @throws HostError without memory for a record
std::optional<std::vector<FilterAnswer>> AskFilters(const CConvParam& param, const EnginePath& path,
                                                    const CDefectPair& record);

/// Whether the verification of a vertical build takes the record for pattern. @throws HostError as AskFilters
bool IsPattern(const CConvParam& param, const EnginePath& path, const CDefectPair& record);

} // namespace narvo
