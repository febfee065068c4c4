// SPDX-License-Identifier: MIT
// Names of any bytes as text and back.
#include <random>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "host/file/name_text.h"

namespace narvo::test
{

namespace
{

TEST(NameText, OrdinaryNamesStayAsTheyAre)
{
    for (const char* name : {"", "a.png", "100%.png", "50%20.png", "%", "%%", "%2", "%7F", "%c3",
                             "\xC3\xA4\xE2\x82\xAC", "\xF0\x9F\x93\xB7", "a\nb", "\xF4\x8F\xBF\xBF"})
    {
        EXPECT_EQ(NameToText(name), name);
        EXPECT_EQ(NameFromText(name), name);
    }
}

TEST(NameText, WhatIsNoUtf8AndWhatLooksEscapedIsEscaped)
{
    const std::pair<const char*, const char*> cases[] = {
        {"a\xFF", "a%FF"},
        {"a%FF", "a%25FF"},
        {"a%25", "a%2525"},
        {"%\xFF", "%%FF"},
        {"%4\xFF", "%4%FF"},
        {"\xC3", "%C3"},
        {"\xC3z", "%C3z"},
        {"\xE2\x82", "%E2%82"},
        {"\xC0\xAF", "%C0%AF"},              // overlong
        {"\xED\xA0\x80", "%ED%A0%80"},       // a surrogate
        {"\xF4\x90\x80\x80", "%F4%90%80%80"} // beyond the last character
    };
    for (const auto& [name, text] : cases)
    {
        EXPECT_EQ(NameToText(name), text);
        EXPECT_EQ(NameFromText(text), name);
    }
}

TEST(NameText, EveryNameComesBackAndIsTextInBetween)
{
    std::mt19937 random(7);
    const std::string letters = "%25F8aC\xC3\xA4\xE2\x82\xFF\x80";
    for (int i = 0; i < 20000; ++i)
    {
        std::string name;
        for (auto length = random() % 12; length > 0; --length)
            name += random() % 4 == 0 ? static_cast<char>(random() % 256) : letters[random() % letters.size()];
        const std::string text = NameToText(name);
        ASSERT_EQ(NameFromText(text), name);
        ASSERT_EQ(nlohmann::json::parse(nlohmann::json(text).dump()), text);
        ASSERT_TRUE(IsUtf8(text));
        bool dumped = true; // by a reader of its own
        try
        {
            (void)nlohmann::json(name).dump();
        }
        catch (const nlohmann::json::exception&)
        {
            dumped = false;
        }
        ASSERT_EQ(IsUtf8(name), dumped);
    }
}

} // namespace

} // namespace narvo::test
