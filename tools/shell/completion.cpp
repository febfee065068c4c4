// SPDX-License-Identifier: MIT
// Scripts from the command tree: words of commands and options, and file names where a value is wanted.
#include "tools/shell/completion.h"

#include "host/file/output_file.h"

namespace narvo::tools
{

namespace
{

std::string Joined(const std::vector<std::string>& words, const char* separator)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : separator) + word;
    return text;
}

std::vector<std::string> CommandNames(const std::vector<CommandText>& tree)
{
    std::vector<std::string> names;
    for (const CommandText& command : tree)
        if (!command.name.empty())
            names.push_back(command.name);
    return names;
}

std::vector<std::string> OptionNames(const CommandText& command)
{
    std::vector<std::string> names;
    for (const OptionText& option : command.options)
        names.insert(names.end(), option.names.begin(), option.names.end());
    return names;
}

/// Words that arguments of a command can be.
std::vector<std::string> ArgumentWords(const CommandText& command)
{
    std::vector<std::string> words;
    for (const OptionText& option : command.options)
        if (option.names.empty())
            words.insert(words.end(), option.choices.begin(), option.choices.end());
    return words;
}

/// Text inside single quotes of a shell.
std::string Quoted(const std::string& text, const char* quote)
{
    std::string quoted;
    for (const char letter : text)
        quoted += letter == '\'' ? std::string(quote) : letter == '\n' ? std::string(" ") : std::string(1, letter);
    return quoted;
}

std::string BashScript(const std::vector<CommandText>& tree)
{
    std::string text = "# Completion of narvo for bash.\n"
                       "_narvo()\n{\n"
                       "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command= i\n"
                       "    for ((i = 1; i < COMP_CWORD; ++i)); do\n"
                       "        case ${COMP_WORDS[i]} in\n"
                       "            " +
                       Joined(CommandNames(tree), " | ") +
                       ") command=${COMP_WORDS[i]}; break ;;\n"
                       "        esac\n    done\n"
                       "    local options= values= words=\n"
                       "    case $command in\n";
    for (const CommandText& command : tree)
    {
        std::vector<std::string> words = command.name.empty() ? CommandNames(tree) : ArgumentWords(command);
        text += "        " + (command.name.empty() ? "''" : command.name) + ")\n            options='" +
                Joined(OptionNames(command), " ") + "'\n            words='" + Joined(words, " ") + "'\n";
        std::string cases;
        std::vector<std::string> free;
        for (const OptionText& option : command.options)
        {
            if (option.names.empty() || option.value.empty())
                continue;
            if (option.choices.empty())
                free.insert(free.end(), option.names.begin(), option.names.end());
            else
                cases += "                " + Joined(option.names, " | ") + ") values='" + Joined(option.choices, " ") +
                         "' ;;\n";
        }
        if (!free.empty())
            cases += "                " + Joined(free, " | ") + ") values=@file ;;\n";
        if (!cases.empty())
            text += "            case $previous in\n" + cases + "            esac\n";
        text += "            ;;\n";
    }
    return text + "    esac\n"
                  "    COMPREPLY=()\n"
                  "    if [[ $values == @file ]]; then\n"
                  "        compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- \"$current\")\n"
                  "    elif [[ -n $values ]]; then\n"
                  "        mapfile -t COMPREPLY < <(compgen -W \"$values\" -- \"$current\")\n"
                  "    elif [[ $current == -* ]]; then\n"
                  "        mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$current\")\n"
                  "    elif [[ -n $words ]]; then\n"
                  "        mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
                  "    else\n"
                  "        compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- \"$current\")\n"
                  "    fi\n}\ncomplete -F _narvo narvo\n";
}

/// Text inside the brackets of an option given to _arguments.
std::string ZshText(const std::string& text)
{
    std::string escaped;
    for (const char letter : Quoted(text, "'\\''"))
        escaped +=
            letter == '[' || letter == ']' || letter == ':' ? std::string("\\") + letter : std::string(1, letter);
    return escaped;
}

std::string ZshAction(const OptionText& option)
{
    return option.choices.empty() ? "_files" : "(" + Joined(option.choices, " ") + ")";
}

std::string ZshArguments(const CommandText& command)
{
    std::string text = "_arguments -s";
    for (const OptionText& option : command.options)
    {
        const std::string value = option.value.empty() ? "" : ":" + ZshText(option.value) + ":" + ZshAction(option);
        for (const std::string& name : option.names)
            text += " \\\n                '*" + name + "[" + ZshText(option.meaning) + "]" + value + "'";
        if (option.names.empty())
            text += " \\\n                '" + std::string(option.repeated ? "*" : "") + ":" + ZshText(option.label) +
                    ":" + ZshAction(option) + "'";
    }
    return text;
}

std::string ZshScript(const std::vector<CommandText>& tree)
{
    std::string text = "#compdef narvo\n# Completion of narvo for zsh.\n_narvo()\n{\n"
                       "    local -a commands=(\n";
    for (const CommandText& command : tree)
        if (!command.name.empty())
            text += "        '" + command.name + ":" + Quoted(command.meaning, "'\\''") + "'\n";
    text += "    )\n"
            "    if (( CURRENT == 2 )) && [[ $words[2] != -* ]]; then\n"
            "        _describe command commands\n        return\n    fi\n"
            "    local command=$words[2]\n"
            "    case $command in\n";
    for (const CommandText& command : tree)
        if (!command.name.empty())
            text += "        " + command.name + ")\n            shift words; (( CURRENT-- ))\n            " +
                    ZshArguments(command) + " ;;\n";
    return text + "        *)\n            " + ZshArguments(tree.front()) +
           " ;;\n    esac\n}\nif [[ $funcstack[1] == _narvo ]]; then\n    _narvo \"$@\"\nelse\n"
           "    compdef _narvo narvo\nfi\n";
}

std::string FishScript(const std::vector<CommandText>& tree)
{
    std::string text = "# Completion of narvo for fish.\n";
    const std::string names = Joined(CommandNames(tree), " ");
    for (const CommandText& command : tree)
    {
        const bool program = command.name.empty();
        const std::string condition = program ? "'not __fish_seen_subcommand_from " + names + "'"
                                              : "'__fish_seen_subcommand_from " + command.name + "'";
        if (!program)
            text += "complete -c narvo -n 'not __fish_seen_subcommand_from " + names + "' -f -a " + command.name +
                    " -d '" + Quoted(command.meaning, "\\'") + "'\n";
        for (const OptionText& option : command.options)
        {
            if (option.names.empty())
            {
                if (!option.choices.empty())
                    text += "complete -c narvo -n " + condition + " -f -a '" + Joined(option.choices, " ") + "'\n";
                continue;
            }
            text += "complete -c narvo -n " + condition;
            for (const std::string& name : option.names)
                text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
            if (!option.value.empty())
                text += option.choices.empty() ? " -r -F" : " -x -a '" + Joined(option.choices, " ") + "'";
            text += " -d '" + Quoted(option.meaning, "\\'") + "'\n";
        }
    }
    return text;
}

} // namespace

std::string CompletionScript(std::string_view shell, const std::vector<CommandText>& tree)
{
    return shell == "bash" ? BashScript(tree) : shell == "zsh" ? ZshScript(tree) : FishScript(tree);
}

void WriteCompletions(const std::filesystem::path& folder, const std::vector<CommandText>& tree)
{
    for (const std::string_view shell : completionShells)
    {
        const std::filesystem::path place = folder / shell;
        std::error_code error;
        std::filesystem::create_directories(place, error);
        const char* name = shell == "bash" ? "narvo" : shell == "zsh" ? "_narvo" : "narvo.fish";
        WriteTextFile(place / name, CompletionScript(shell, tree));
    }
}

} // namespace narvo::tools
