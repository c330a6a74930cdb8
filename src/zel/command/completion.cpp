// Completion scripts for the shells.
#include "base/text.hpp"
#include "command/help.hpp"

namespace zel_tool {
namespace {

constexpr const char* otherWords = "help completion --help --version";

// Between single quotes; each character of special gets a backslash of its own.
std::string quoted(const std::string& text, const std::string& special, const std::string& quote)
{
    std::string out = "'";
    for (const char c : text) {
        if (c == '\'')
            out += quote;
        else if (special.find(c) != std::string::npos)
            out += std::string("\\") + c;
        else
            out += c;
    }
    return out + "'";
}

std::string shellQuoted(const std::string& text)
{
    return quoted(text, "", "'\\''");
}

std::string verbNames()
{
    std::vector<std::string> names;
    for (const Command& command : commands()) names.push_back(command.name);
    return join(names, " ");
}

std::string wordsOf(const Command& command)
{
    std::string words = "-h --help";
    for (const Option& option : allOptions(command)) words += " " + join(namesOf(option), " ");
    return words;
}

std::string bashWords(const std::string& words)
{
    return "COMPREPLY=($(compgen -W " + shellQuoted(words) + " -- \"$word\"))";
}

// What follows an option that takes one of a few words.
std::string bashChoices(const Command& command)
{
    std::string out;
    for (const Option& option : allOptions(command)) {
        if (option.choices.empty()) continue;
        for (const std::string& name : namesOf(option))
            out += "    " + command.name + ":" + name + ") " +
                   bashWords(join(option.choices, " ")) + "; return ;;\n";
    }
    return out;
}

std::string bash()
{
    std::string choices;
    std::string options;
    for (const Command& command : commands()) {
        choices += bashChoices(command);
        options += "    " + command.name + ") " + bashWords(wordsOf(command)) + " ;;\n";
    }
    return "# bash completion for zel\n"
           "_zel() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}\n"
           "    local verb=${COMP_WORDS[1]}\n"
           "    COMPREPLY=()\n"
           "    if [[ $COMP_CWORD -eq 1 ]]; then\n"
           "        " +
           bashWords(verbNames() + " " + otherWords) +
           "; return\n"
           "    fi\n"
           "    case $verb:$before in\n"
           "    help:*) " +
           bashWords(verbNames()) +
           "; return ;;\n"
           "    completion:*) " +
           bashWords("bash zsh fish") + "; return ;;\n" + choices +
           "    esac\n"
           "    [[ $word == -* ]] || return\n"
           "    case $verb in\n" +
           options +
           "    esac\n"
           "}\n"
           "complete -o bashdefault -o default -F _zel zel\n";
}

std::string zshQuoted(const std::string& text)
{
    return quoted(text, "[]:\\", "'\\''");
}

std::string zshOption(const Option& option)
{
    const auto names = namesOf(option);
    std::string out = " \\\n        ";
    const bool list = std::holds_alternative<std::vector<std::string>*>(option.target);
    const std::string before = list ? "*" : "(" + join(names, " ") + ")";
    out += "'" + before + "'";
    out += names.size() > 1 ? "{" + join(names, ",") + "}" : names[0];
    std::string help = zshQuoted(option.help);
    out += "'['" + help + "']";
    if (!option.argument.empty()) {
        out += ":" + option.argument + ":";
        if (!option.choices.empty())
            out += "(" + join(option.choices, " ") + ")";
        else if (option.takes == Takes::file)
            out += "_files";
    }
    return out + "'";
}

std::string zsh()
{
    std::string described;
    std::string cases;
    for (const Command& command : commands()) {
        described += "        " + zshQuoted(command.name) + ":" + zshQuoted(command.summary) + "\n";
        std::string arguments;
        for (const Option& option : allOptions(command)) arguments += zshOption(option);
        cases += "    " + command.name +
                 ")\n        _arguments '(-h --help)'{-h,--help}'[Print a "
                 "summary and end.]'" +
                 arguments + " \\\n        '*:file:_files' ;;\n";
    }
    return "#compdef zel\n"
           "_zel() {\n"
           "    local -a verbs\n"
           "    verbs=(\n" +
           described +
           "    )\n"
           "    if (( CURRENT == 2 )); then\n"
           "        _describe verb verbs\n"
           "        return\n"
           "    fi\n"
           "    local verb=$words[2]\n"
           "    shift words\n"
           "    (( CURRENT-- ))\n"
           "    case $verb in\n"
           "    help) _describe verb verbs ;;\n"
           "    completion) _values shell bash zsh fish ;;\n" +
           cases +
           "    esac\n"
           "}\n"
           "if [[ $funcstack[1] == _zel ]]; then _zel \"$@\"; else compdef _zel zel; fi\n";
}

std::string fishQuoted(const std::string& text)
{
    return quoted(text, "\\", "\\'");
}

std::string fishOption(const Command& command, const Option& option)
{
    std::string out = "complete -c zel -n '__fish_seen_subcommand_from " + command.name + "'";
    for (const std::string& name : namesOf(option))
        out += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    if (!option.argument.empty()) out += " -r";
    if (!option.choices.empty()) out += " -f -a " + fishQuoted(join(option.choices, " "));
    return out + " -d " + fishQuoted(option.help) + "\n";
}

std::string fish()
{
    std::string out =
        "# fish completion for zel\n"
        "complete -c zel -n __fish_use_subcommand -f -a help -d 'Show the help of a verb'\n"
        "complete -c zel -n __fish_use_subcommand -f -a completion -d 'Print a completion script'\n"
        "complete -c zel -n '__fish_seen_subcommand_from completion' -f -a 'bash zsh fish'\n"
        "complete -c zel -n '__fish_seen_subcommand_from help' -f -a '" +
        verbNames() + "'\n";
    for (const Command& command : commands()) {
        out += "complete -c zel -n __fish_use_subcommand -f -a " + command.name + " -d " +
               fishQuoted(command.summary) + "\n";
        for (const Option& option : allOptions(command)) out += fishOption(command, option);
    }
    return out;
}

}  // namespace

std::string completionFor(const std::string& shell)
{
    if (shell == "bash") return bash();
    if (shell == "zsh") return zsh();
    if (shell == "fish") return fish();
    return {};
}

}  // namespace zel_tool
