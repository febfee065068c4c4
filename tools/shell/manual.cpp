// SPDX-License-Identifier: MIT
// Roff from the command tree.
#include "tools/shell/manual.h"

#include <algorithm>

#include "host/file/output_file.h"
#include "host/problem.h"
#include "tools/command.h"
#include "tools/exit_code.h"

namespace narvo::tools
{

namespace
{

/// Text that roff shows as it is.
std::string Plain(const std::string& text)
{
    std::string plain;
    for (const char letter : text)
        switch (letter)
        {
        case '\\':
            plain += "\\e";
            break;
        case '-':
            plain += "\\-";
            break;
        case '\n':
            plain += "\n.br\n";
            break;
        default:
            // A dot or quote at a line's beginning would be a request.
            if ((letter == '.' || letter == '\'') && (plain.empty() || plain.back() == '\n'))
                plain += "\\&";
            plain += letter;
        }
    return plain;
}

std::string Upper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    return text;
}

std::string ValueOf(const OptionText& option)
{
    std::string words;
    for (const std::string& choice : option.choices)
        words += (words.empty() ? "" : "|") + choice;
    return (words.empty() ? option.value : words) + (option.repeated ? " ..." : "");
}

std::string Entry(const OptionText& option)
{
    std::string names;
    for (const std::string& name : option.names)
        names += (names.empty() ? "\\fB" : ", \\fB") + Plain(name) + "\\fR";
    if (option.names.empty())
        names = "\\fI" + Plain(option.label) + (option.repeated ? " ..." : "") + "\\fR";
    else if (!option.value.empty())
        names += " \\fI" + Plain(ValueOf(option)) + "\\fR";
    std::string text = ".TP\n" + names + "\n" + Plain(option.meaning);
    if (option.required)
        text += "; required";
    if (!option.standard.empty())
        text += " (default " + Plain(option.standard) + ")";
    return text + "\n";
}

std::string ExitSection()
{
    std::string text = ".SH EXIT STATUS\n";
    for (const auto& [code, meaning] : ExitCodes())
        text += ".TP\n\\fB" + std::to_string(code) + "\\fR\n" + Plain(meaning) + "\n";
    return text;
}

} // namespace

std::string ManualName(const CommandText& command)
{
    return command.name.empty() ? "narvo" : "narvo-" + command.name;
}

std::string ManualPage(const std::vector<CommandText>& tree, std::size_t index)
{
    const CommandText& command = tree[index];
    const bool program = command.name.empty();
    const std::string name = ManualName(command);
    std::string text = ".TH " + Upper(name) + " 1 \"\" \"narvo " + VersionText() + "\" \"User Commands\"\n";
    text += ".SH NAME\n" + Plain(name) + " \\- " + Plain(command.meaning) + "\n";
    text += ".SH SYNOPSIS\n\\fBnarvo" + std::string(program ? "" : " " + Plain(command.name)) + "\\fR";
    text += program ? " \\fICOMMAND\\fR [\\fIOPTIONS\\fR]" : " [\\fIOPTIONS\\fR]";
    for (const OptionText& option : command.options)
        if (option.names.empty())
            text += option.required ? " \\fI" + Plain(option.label) + "\\fR"
                                    : " [\\fI" + Plain(option.label) + (option.repeated ? " ..." : "") + "\\fR]";
    text += "\n";
    if (program)
    {
        text += ".SH COMMANDS\n";
        for (const CommandText& other : tree)
            if (!other.name.empty())
                text += ".TP\n\\fB" + Plain(other.name) + "\\fR\n" + Plain(other.meaning) + "; see \\fB" +
                        Plain(ManualName(other)) + "\\fR(1)\n";
    }
    const auto section = [&](const char* title, bool positional)
    {
        std::string entries;
        for (const OptionText& option : command.options)
            if (option.names.empty() == positional)
                entries += Entry(option);
        if (!entries.empty())
            text += std::string(".SH ") + title + "\n" + entries;
    };
    section("ARGUMENTS", true);
    section("OPTIONS", false);
    if (!program && !command.footer.empty())
        text += ".SH NOTES\n" + Plain(command.footer) + "\n";
    text += ExitSection() + ".SH SEE ALSO\n";
    std::string others;
    for (const CommandText& other : tree)
        if (&other != &command)
            others += (others.empty() ? "\\fB" : ", \\fB") + Plain(ManualName(other)) + "\\fR(1)";
    return text + others + "\n";
}

void WriteManual(const std::filesystem::path& folder, const std::vector<CommandText>& tree)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    for (std::size_t i = 0; i < tree.size(); ++i)
        WriteTextFile(folder / (ManualName(tree[i]) + ".1"), ManualPage(tree, i));
}

} // namespace narvo::tools
