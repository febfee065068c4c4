// SPDX-License-Identifier: MIT
// The way from the parser's objects to plain text.
#include "tools/shell/command_tree.h"

#include <algorithm>

#include <CLI/CLI.hpp>

namespace narvo::tools
{

namespace
{

/// The words of a validator like IsMember, which the parser shows as {a,b,c} behind the type.
std::vector<std::string> ChoicesOf(const std::string& typeName)
{
    const std::size_t from = typeName.find('{');
    const std::size_t to = typeName.find('}', from == std::string::npos ? 0 : from);
    if (from == std::string::npos || to == std::string::npos)
        return {};
    std::vector<std::string> words;
    std::string word;
    for (const char letter : typeName.substr(from + 1, to - from - 1) + ",")
        if (letter == ',')
        {
            // A transformer shows its pairs.
            words.push_back(word.substr(0, word.find("->")));
            word.clear();
        }
        else
            word += letter;
    return words;
}

OptionText TextOf(const CLI::Option& option)
{
    OptionText text;
    for (const std::string& name : option.get_snames())
        text.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        text.names.push_back("--" + name);
    if (option.get_positional() && text.names.empty())
        text.label = option.get_name(true);
    const bool takesValue = option.get_items_expected_max() > 0;
    if (takesValue)
    {
        const std::string type = option.get_type_name();
        text.value = type.substr(0, type.find(':'));
        text.choices = ChoicesOf(type);
        if (!text.choices.empty() || text.value.empty())
            text.value = "WORD";
    }
    text.meaning = option.get_description();
    text.standard = takesValue ? option.get_default_str() : "";
    text.required = option.get_required();
    text.repeated = option.get_items_expected_max() > 1;
    return text;
}

CommandText TextOf(const CLI::App& app, const std::string& name)
{
    CommandText text;
    text.name = name;
    text.meaning = app.get_description();
    text.footer = app.get_footer();
    std::vector<OptionText> arguments;
    for (const CLI::Option* option : app.get_options())
    {
        OptionText one = TextOf(*option);
        (one.names.empty() ? arguments : text.options).push_back(std::move(one));
    }
    text.options.insert(text.options.end(), arguments.begin(), arguments.end());
    return text;
}

} // namespace

std::vector<CommandText> ReadCommandTree(const CLI::App& app)
{
    std::vector<CommandText> commands = {TextOf(app, "")};
    // A filter that takes all, or the parser reports only commands that were on the command line.
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        commands.push_back(TextOf(*command, command->get_name()));
    return commands;
}

} // namespace narvo::tools
