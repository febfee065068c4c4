// SPDX-License-Identifier: MIT
// The installed headers: each compiles alone as C++17 (it would not link here otherwise), and none is left out of
// the installed set.
#include <filesystem>
#include <map>
#include <set>
#include <string>

#include <gtest/gtest.h>

#define NARVO_HEADER(folder, name) long HeaderStandard_##name();
#include "header_table.inc"
#undef NARVO_HEADER

namespace
{

const std::map<std::string, long (*)()>& Headers()
{
    static const std::map<std::string, long (*)()> headers = {
#define NARVO_HEADER(folder, name) {#folder "/" #name ".h", HeaderStandard_##name},
#include "header_table.inc"
#undef NARVO_HEADER
    };
    return headers;
}

TEST(PublicHeaders, EachCompilesAloneAsCpp17)
{
    ASSERT_FALSE(Headers().empty());
    for (const auto& [strName, pStandard] : Headers())
        EXPECT_EQ(pStandard(), 201703L) << strName;
}

TEST(PublicHeaders, EveryHeaderOfTheirFoldersIsInstalled)
{
    std::set<std::string> installed;
    std::set<std::string> folders;
    for (const auto& [strName, pStandard] : Headers())
    {
        installed.insert(strName);
        folders.insert(strName.substr(0, strName.find('/')));
    }
    EXPECT_EQ(folders.size(), static_cast<std::size_t>(NARVO_HEADER_FOLDERS));
    std::set<std::string> present;
    for (const std::string& strFolder : folders)
        for (const auto& entry : std::filesystem::directory_iterator(NARVO_HEADER_FOLDER "/" + strFolder))
            present.insert(strFolder + '/' + entry.path().filename().string());
    EXPECT_EQ(present, installed);
}

} // namespace
