// SPDX-License-Identifier: MIT
// The recipe's JSON form as a JSON schema, for editors and other programs, made from the field table.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace narvo
{

/// The schema, draft 2020-12. It knows every field with type, range, default and meaning, and which fields each mode
/// needs and reads; the rules that tie numbers together are the reader's alone.
nlohmann::ordered_json RecipeSchema();

} // namespace narvo
