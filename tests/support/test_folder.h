// SPDX-License-Identifier: MIT
// A folder for the files of one test.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

namespace narvo::test
{

/// A new folder that no other test or process uses, however many run at once; removed with the object.
class TestFolder
{
public:
    TestFolder()
    {
        const auto* info = testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string("narvo_") + info->test_suite_name() + "_" + info->name() + "_";
        for (char& letter : name)
            letter = letter == '/' ? '_' : letter;
        int number = 0;
        do
            m_path = std::filesystem::path(testing::TempDir()) / (name + std::to_string(number++));
        while (!std::filesystem::create_directory(m_path));
    }
    ~TestFolder()
    {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::filesystem::path operator/(const std::string& name) const { return m_path / name; }
    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace narvo::test
