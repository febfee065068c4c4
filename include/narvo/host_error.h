// SPDX-License-Identifier: MIT
// How the host library says that something handed to it is wrong: one exception with all problems at once, and the
// same as values.
#pragma once

#include <exception>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "narvo/host_export.h"

namespace narvo::v1
{

/// One thing that is wrong.
struct Problem
{
    std::string field;   ///< path of a recipe field, name of an argument, or a file
    std::string value;   ///< what was found there
    std::string allowed; ///< what would have been right
};

/// Everything that was wrong with a call. An object that it was called on stays usable.
class NARVOHOST_API Error : public std::exception
{
public:
    /// `problems` must not be empty.
    explicit Error(std::vector<Problem> problems);
    ~Error() override;
    /// Copies problems and text.
    Error(const Error&) = default;
    /// As the copy.
    Error& operator=(const Error&) = default;

    /// At least one.
    const std::vector<Problem>& Problems() const noexcept { return m_problems; }
    /// One line for each problem: "field: value; allowed: range".
    const char* what() const noexcept override;

private:
    std::vector<Problem> m_problems;
    std::string m_text;
};

/// The same of what could not be written, as distinct from what was wrong with the call: a file without room, place or
/// right, a database that is away. The call may be made again once that has changed.
class NARVOHOST_API WriteError : public Error
{
public:
    /// `problems` must not be empty.
    explicit WriteError(std::vector<Problem> problems);
    ~WriteError() override;
    /// Copies problems and text.
    WriteError(const WriteError&) = default;
    /// As the copy.
    WriteError& operator=(const WriteError&) = default;
};

/// A text from outside, such as a file's name, as one line that a terminal shows as it stands: control characters, line
/// ends among them, characters that turn the direction of writing and bytes that are no UTF-8 are written out.
NARVOHOST_API std::string Printable(const std::string& text);

/// Runs `call` and returns what was wrong as values; empty when all was well. For hosts that let no exception through:
/// `problems = narvo::Attempt([&] { reports = inspector.Inspect(image, recipe); });`. Memory that runs out is a problem
/// of the field "memory".
template <typename Call>
std::vector<Problem> Attempt(Call&& call)
{
    try
    {
        std::forward<Call>(call)();
        return {};
    }
    catch (const Error& error)
    {
        return error.Problems();
    }
    catch (const std::bad_alloc&)
    {
        return {{"memory", "not enough", "what the call needs"}};
    }
}

} // namespace narvo::v1
