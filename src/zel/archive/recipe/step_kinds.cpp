#include "archive/recipe/step_kinds.hpp"

#include <algorithm>
#include <cctype>

#include "command/help.hpp"

namespace zel_tool {
namespace {

bool holds(const std::vector<std::string>& list, const std::string& text)
{
    return std::find(list.begin(), list.end(), text) != list.end();
}

}  // namespace

const std::vector<StepKind>& stepKinds()
{
    static const std::vector<StepKind> kinds = {
        {"combine",
         "combine",
         {{"--output", "output", Form::scene, ""}},
         {},
         {"--dry-run", "--json", "--overwrite"}},
        {"calc",
         "calc",
         {{"--output", "output", Form::scene, ""}},
         {},
         {"--explain", "--json", "--overwrite"}},
        {"sample",
         "sample",
         {{"--output", "output", Form::samples, ""}},
         {},
         {"--json", "--overwrite"},
         true},
        {"look",
         "look",
         {{"--output", "output", Form::picture, ""}, {"--report", "report", Form::page, ""}},
         {},
         {"--color", "--overwrite"}},
        {"stats",
         "info",
         {{"", "output", Form::statistics, ""}},
         {"--json", "--stats"},
         {"--json", "--get", "--stats", "--all"},
         false,
         true},
        {"channels",
         "channels",
         {{"--output", "output", Form::raster, ".hdr"}, {"--header", "header", Form::raster, ""}},
         {},
         {"--overwrite"}}};
    return kinds;
}

const StepKind* findStepKind(const std::string& name)
{
    for (const StepKind& kind : stepKinds())
        if (kind.name == name) return &kind;
    return nullptr;
}

const StepKind::Output* StepKind::outputOf(const std::string& option) const
{
    for (const Output& output : outputs)
        if (output.option == option) return &output;
    return nullptr;
}

std::string longName(const Option& option)
{
    return namesOf(option).back();
}

std::string keyOf(const Option& option)
{
    return longName(option).substr(2);
}

std::string keyOf(const Operand& operand)
{
    std::string key = operand.name;
    for (char& c : key) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return key;
}

std::vector<Option> optionsOf(const StepKind& kind, const Command& command)
{
    std::vector<Option> list;
    for (const Option& option : command.options)
        if (!holds(kind.refused, longName(option)) && !kind.outputOf(longName(option)))
            list.push_back(option);
    return list;
}

std::vector<std::string> keysOf(const StepKind& kind, const Command& command)
{
    std::vector<std::string> keys = {"verb"};
    for (const Operand& operand : command.operands) keys.push_back(keyOf(operand));
    if (kind.hasInputs) keys.emplace_back("input");
    for (const StepKind::Output& output : kind.outputs) keys.push_back(output.key);
    for (const Option& option : optionsOf(kind, command)) keys.push_back(keyOf(option));
    return keys;
}

}  // namespace zel_tool
