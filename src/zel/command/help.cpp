#include "command/help.hpp"

#include <algorithm>

#include "base/text.hpp"

namespace zel_tool {
namespace {

constexpr std::size_t lineWidth = 79;
constexpr std::size_t helpColumn = 26;

std::string entry(const std::string& left, const std::string& text)
{
    std::string line = "  " + left;
    if (left.size() + 4 > helpColumn)
        line += "\n" + std::string(helpColumn, ' ');
    else
        line = padded(line, helpColumn);
    return line + wrapped(text, lineWidth - helpColumn, helpColumn) + "\n";
}

// "-o, --output FILE", long names aligned.
std::string leftOf(const Option& option)
{
    std::string text;
    for (const std::string& name : namesOf(option))
        text += (text.empty() ? (name.starts_with("--") ? "    " : "") : ", ") + name;
    return text + (option.argument.empty() ? "" : " " + option.argument);
}

std::string paragraphs(const std::vector<std::string>& texts)
{
    std::string out;
    for (const std::string& text : texts) out += "\n" + wrapped(text, lineWidth, 0) + "\n";
    return out;
}

}  // namespace

std::vector<std::string> namesOf(const Option& option)
{
    return split(option.names, ',');
}

std::string mainHelp()
{
    std::string out = "zel - inspect and use ZEL satellite image files\n"
                      "\n"
                      "Usage: zel VERB [options] FILE...\n"
                      "       zel help VERB\n"
                      "       zel completion bash|zsh|fish\n"
                      "       zel --version\n"
                      "\n"
                      "Verbs:\n";
    for (const Command& command : commands())
        out += "  " + padded(command.name, 12) + command.summary + "\n";
    out += "\n"
           "Example:\n"
           "  zel info scene.zel\n"
           "\n"
           "Exit status: 0 done; 1 the data have a problem, or the answer is no; 2 wrong usage.\n";
    return out;
}

std::string completionHelp()
{
    return "zel completion - prints the completion script for a shell\n"
           "\n"
           "Usage: zel completion bash|zsh|fish\n"
           "\n"
           "Examples:\n"
           "  source <(zel completion bash)\n"
           "      Words of zel are completed in this bash.\n"
           "  zel completion fish | source\n"
           "      The same in fish.\n"
           "\n"
           "Exit status: 0 done; 2 wrong usage.\n";
}

std::string helpOf(const Command& command)
{
    std::string out = "zel " + command.name + " - " + command.summary +
                      "\n\nUsage: " + synopsis(command) + "\n" + paragraphs(command.description) +
                      "\n";
    for (const Operand& operand : command.operands) out += entry(operand.name, operand.help);
    out += "\nOptions:\n";
    for (const Option& option : allOptions(command)) out += entry(leftOf(option), option.help);
    out += entry("-h, --help", "Print this and end.");
    out += "\nExamples:\n";
    for (const Example& example : command.examples)
        out += "  zel " + example.command + "\n      " +
               wrapped(example.purpose, lineWidth - 6, 6) + "\n";
    out += "\n" +
           wrapped("Exit status: 0 done; 1 " + command.failure + "; 2 wrong usage.", lineWidth, 0) +
           "\n";
    return out;
}

}  // namespace zel_tool
