#include <fcntl.h>

#include <csignal>
#include <cstdio>

#include "base/failure.hpp"
#include "base/report.hpp"
#include "base/settings.hpp"
#include "command/command.hpp"
#include "command/help.hpp"
#include "command/options.hpp"
#include "scene/library.hpp"

namespace {

using namespace std::string_literals;
using zel_tool::Misuse;
using zel_tool::put;

// A reached quota and a closed pipe are write errors like any other.
void ignoreSignals()
{
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

// A file opened in the place of a closed standard stream would get the messages between its bytes.
bool occupyStandardStreams()
{
    for (int stream = 0; stream < 3; ++stream)
        if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", O_RDONLY) != stream) return false;
    return true;
}

const zel_tool::Command& commandNamed(const std::string& name)
{
    if (const zel_tool::Command* command = zel_tool::findCommand(name)) return *command;
    throw Misuse("unknown verb '" + name + "'");
}

int print(const std::string& text)
{
    put(text);
    return zel_tool::statusDone;
}

bool asksForHelp(const std::string& word)
{
    return word == "--help" || word == "-h" || word == "help";
}

int printHelp(const std::vector<std::string>& words)
{
    if (words.size() < 2 || asksForHelp(words[1])) return print(zel_tool::mainHelp());
    if (words[1] == "completion") return print(zel_tool::completionHelp());
    return print(zel_tool::helpOf(commandNamed(words[1])));
}

int printCompletion(const std::vector<std::string>& words)
{
    if (words.size() == 2 && asksForHelp(words[1])) return print(zel_tool::completionHelp());
    const std::string script = words.size() == 2 ? zel_tool::completionFor(words[1]) : "";
    if (script.empty()) throw Misuse("completion takes one of bash, zsh, fish");
    return print(script);
}

// Without a verb: the words that are about the command itself.
bool isAboutItself(const std::string& word)
{
    return asksForHelp(word) || word == "--version" || word == "--man" || word == "completion";
}

int runAboutItself(const std::vector<std::string>& words)
{
    const std::string& word = words[0];
    if (word == "completion") return printCompletion(words);
    if (word == "--version") return print("zel " ZEL_LIBRARY_VERSION_TEXT "\n");
    if (word == "--man")
        return print(words.size() < 2 ? zel_tool::mainManual()
                                      : zel_tool::manualOf(commandNamed(words[1])));
    return printHelp(words);
}

int runVerb(const std::vector<std::string>& words)
{
    const zel_tool::Command& command = commandNamed(words[0]);
    zel_tool::settings().verb = command.name;
    const std::vector<std::string> rest(words.begin() + 1, words.end());
    if (zel_tool::parseOptions(command, rest) == zel_tool::Parsed::helpWanted)
        return print(zel_tool::helpOf(command));
    zel_tool::takeMessages();
    return command.run();
}

int run(const std::vector<std::string>& words)
{
    if (words.empty()) {
        std::fputs(zel_tool::mainHelp().c_str(), stderr);
        return zel_tool::statusUsage;
    }
    return isAboutItself(words[0]) ? runAboutItself(words) : runVerb(words);
}

}  // namespace

int main(int argc, char** argv)
{
    ignoreSignals();
    if (!occupyStandardStreams()) return zel_tool::statusProblem;
    const int status = zel_tool::guardedStatus([&] {
        return run({argv + (argc > 0 ? 1 : 0), argv + argc});
    });
    const bool whole = zel_tool::finishOutput();
    return whole || status != zel_tool::statusDone ? status : zel_tool::statusProblem;
}
