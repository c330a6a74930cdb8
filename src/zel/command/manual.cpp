// Manual pages, in the man(7) macros.
#include "base/text.hpp"
#include "command/help.hpp"
#include "zel.h"

namespace zel_tool {
namespace {

constexpr const char* manualDate = "2026-11-22";

// Text as roff takes it: no line begins with a dot, and minus signs stay what can be typed.
std::string roff(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else if ((c == '.' || c == '\'') && (out.empty() || out.back() == '\n'))
            out += "\\&" + std::string(1, c);
        else
            out += c;
    }
    return out;
}

std::string quoted(const std::string& text)
{
    std::string out;
    for (const char c : roff(text)) out += c == '"' ? std::string("\\(dq") : std::string(1, c);
    return "\"" + out + "\"";
}

std::string head(std::string name)
{
    for (char& c : name)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return ".TH " + quoted(name) + " 1 " + manualDate +
           " \"ZEL " ZEL_LIBRARY_VERSION_TEXT "\" \"User Commands\"\n";
}

std::string optionsSection(const Command& command)
{
    std::string out = ".SH OPTIONS\n";
    for (const Operand& operand : command.operands)
        out += ".TP\n.I " + quoted(operand.name) + "\n" + roff(operand.help) + "\n";
    for (const Option& option : allOptions(command)) {
        std::string names;
        for (const std::string& name : namesOf(option))
            names += (names.empty() ? "\\fB" : ", \\fB") + roff(name) + "\\fR";
        if (!option.argument.empty()) names += " \\fI" + roff(option.argument) + "\\fR";
        out += ".TP\n" + names + "\n" + roff(option.help) + "\n";
    }
    return out + ".TP\n\\fB\\-h\\fR, \\fB\\-\\-help\\fR\nPrint a summary of the options and end.\n";
}

std::string statusSection(const std::string& failure)
{
    return ".SH EXIT STATUS\n.TP\n.B 0\nDone.\n.TP\n.B 1\n" + roff(failure) +
           ".\n.TP\n.B 2\nThe command line is wrong.\n";
}

std::string capitalised(std::string text)
{
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z')
        text[0] = static_cast<char>(text[0] - 32);
    return text;
}

}  // namespace

std::string manualOf(const Command& command)
{
    std::string out = head("zel-" + command.name);
    out += ".SH NAME\nzel\\-" + command.name + " \\- " + roff(command.summary) + "\n";
    out += ".SH SYNOPSIS\n.B " + quoted("zel " + command.name) + "\n" +
           roff(synopsis(command).substr(5 + command.name.size())) + "\n.SH DESCRIPTION\n";
    for (const std::string& text : command.description)
        out += (&text == command.description.data() ? "" : ".PP\n") + roff(text) + "\n";
    out += optionsSection(command) + statusSection(capitalised(command.failure)) + ".SH EXAMPLES\n";
    for (const Example& example : command.examples)
        out += ".TP\n.B " + quoted("zel " + example.command) + "\n" + roff(example.purpose) + "\n";
    return out + ".SH SEE ALSO\n.BR zel (1),\n.BR zel (5)\n";
}

std::string mainManual()
{
    std::string out = head("zel");
    out +=
        ".SH NAME\nzel \\- inspect and use ZEL satellite image files\n"
        ".SH SYNOPSIS\n.B zel\n.I verb\n[options]\n.IR file ...\n"
        ".SH DESCRIPTION\nEach verb has a manual page of its own. Results go to standard output, "
        "everything else to\nstandard error; nothing is ever asked on standard input.\n";
    for (const Command& command : commands())
        out += ".TP\n.BR zel\\-" + command.name + " (1)\n" + roff(capitalised(command.summary)) +
               ".\n";
    out += ".TP\n.B zel completion bash|zsh|fish\nPrint the completion script for a shell.\n";
    out += ".TP\n.B zel \\-\\-version\nPrint the version of the library.\n";
    return out + statusSection("The data have a problem, or the answer is no") +
           ".SH SEE ALSO\n.BR zel_combine (1),\n.BR zel (5)\n";
}

}  // namespace zel_tool
