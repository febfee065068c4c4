// SPDX-License-Identifier: MIT
// The layouts that hosts and kernels agree on: the size of every exported record and the place of its every field.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "narvoassem/narvoassem.h"

// Records with a virtual function or a base have no standard layout, but the compilers in use give them a fixed one.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

#define NARVO_RECORD(record, size) static_assert(sizeof(record) == (size), #record " has another size");
#define NARVO_FIELD(record, field, offset)                                                                             \
    static_assert(offsetof(record, field) == (offset), #record "::" #field " is at another offset");
#include "rules/record_layouts.inc"
#undef NARVO_RECORD
#undef NARVO_FIELD

// What may be copied as bytes, and what is destroyed through a base.
static_assert(std::is_standard_layout_v<CDefectPair> && std::is_trivially_copyable_v<CDefectPair>);
static_assert(std::is_standard_layout_v<CConvResult> && std::is_standard_layout_v<CRect>);
static_assert(std::is_standard_layout_v<CPoint> && std::is_standard_layout_v<CPadPoligon>);
static_assert(std::has_virtual_destructor_v<CConvParam> && std::has_virtual_destructor_v<CPixelStorage>);
static_assert(std::has_virtual_destructor_v<CAssemControl> && std::has_virtual_destructor_v<CAssemThreadControl>);
static_assert(std::has_virtual_destructor_v<CStopWatch> && std::has_virtual_destructor_v<CASGInspection>);
static_assert(std::is_polymorphic_v<CNarvoBufferSudo> && !std::has_virtual_destructor_v<CNarvoBufferSudo>);
static_assert(!std::is_polymorphic_v<CDefectPair> && !std::is_polymorphic_v<CScratchArray<short>>);
static_assert(!std::is_polymorphic_v<CPadPoint> && !std::is_polymorphic_v<CTrapeziumStorage>);

namespace
{

TEST(RecordLayout, EveryExportedRecordIsInTheTable)
{
    std::set<std::string> listed;
#define NARVO_RECORD(record, size) listed.insert(#record);
#define NARVO_FIELD(record, field, offset)
#include "rules/record_layouts.inc"
#undef NARVO_RECORD
#undef NARVO_FIELD
    // A template counts by its instances.
    ASSERT_TRUE(listed.contains("CScratchArray<short>") && listed.contains("CScratchArray<std::int64_t>"));
    listed.insert("CScratchArray");

    const std::regex definition(R"((?:^|\n)(?:class|struct) (?:NARVO_API )?(\w+)[^;{]*\{)");
    std::size_t nFound = 0;
    for (const auto& entry : std::filesystem::directory_iterator(NARVO_HEADER_FOLDER "/narvoassem"))
    {
        std::ifstream file(entry.path());
        const std::string strText(std::istreambuf_iterator<char>(file), {});
        for (std::sregex_iterator it(strText.begin(), strText.end(), definition), end; it != end; ++it, ++nFound)
            EXPECT_TRUE(listed.contains((*it)[1])) << (*it)[1] << " of " << entry.path();
    }
    EXPECT_GE(nFound, 25U);
}

} // namespace
