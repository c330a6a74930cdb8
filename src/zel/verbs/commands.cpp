// The list of verbs. Each is described in its own file.
#include <algorithm>

#include "base/failure.hpp"
#include "base/settings.hpp"
#include "command/command.hpp"
#include "command/verbs.hpp"

namespace zel_tool {

namespace {

std::vector<Command> described()
{
    return {infoCommand(),    pixelCommand(),  checkCommand(), dumpCommand(),     lookCommand(),
            combineCommand(), replayCommand(), calcCommand(),  channelsCommand(), sampleCommand(),
            samplesCommand(), scenesCommand(), runCommand(),   mergeCommand()};
}

}  // namespace

const std::vector<Command>& commands()
{
    static const std::vector<Command> all = described();
    return all;
}

const Command* findCommand(const std::string& name)
{
    const auto& all = commands();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Command& command) { return command.name == name; });
    return found == all.end() ? nullptr : &*found;
}

Command newCommand(const std::string& name)
{
    std::vector<Command> all = described();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Command& command) { return command.name == name; });
    if (found == all.end()) throw Misuse("unknown verb '" + name + "'");
    return std::move(*found);
}

const std::vector<Option>& commonOptions()
{
    Settings& s = settings();
    static const std::vector<Option> common = {
        {"-q,--quiet", "", "No warnings, no progress bar.", &s.quiet},
        {"-v,--verbose", "", "Show what the library says, such as missing ancillary grids.",
         &s.verbose},
        {"--progress",
         "HOW",
         "auto: a bar on a terminal after a second; json: a line of JSON on standard error from "
         "time to time; none.",
         &s.progress,
         Takes::choice,
         {"auto", "json", "none"}},
    };
    return common;
}

std::vector<Option> allOptions(const Command& command)
{
    std::vector<Option> all = command.options;
    all.insert(all.end(), commonOptions().begin(), commonOptions().end());
    return all;
}

std::string synopsis(const Command& command)
{
    std::string text = "zel " + command.name + " [options]";
    for (const Operand& operand : command.operands) {
        const bool many = std::holds_alternative<std::vector<std::string>*>(operand.target);
        const std::string name = operand.name + (many ? "..." : "");
        text += operand.required ? " " + name : " [" + name + "]";
    }
    return text;
}

}  // namespace zel_tool
