#include "archive/run/step_process.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "base/failure.hpp"
#include "base/report.hpp"
#include "base/settings.hpp"
#include "base/text.hpp"
#include "command/options.hpp"
#include "scene/library.hpp"

namespace zel_tool {
namespace {

constexpr std::size_t longestReason = 2000;

bool redirect(int descriptor, const std::string& output)
{
    const char* name = output.empty() ? "/dev/null" : output.c_str();
    const int file = open(name, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    return dup2(descriptor, STDERR_FILENO) >= 0 && file >= 0 && dup2(file, STDOUT_FILENO) >= 0;
}

int runVerb(const Step& step, const std::vector<std::string>& words)
{
    settings() = Settings();
    settings().verb = step.kind->verb;
    settings().progress = "none";
    return guardedStatus([&] {
        const Command command = newCommand(step.kind->verb);
        parseOptions(command, words);
        takeMessages();
        return command.run();
    });
}

int work(const Step& step, const std::vector<std::string>& words, const std::string& output,
         int messages)
{
    StopSignals::leaveToSystem();
    if (!redirect(messages, output)) return statusProblem;
    const int status = runVerb(step, words);
    const bool whole = finishOutput() && (output.empty() || fsync(STDOUT_FILENO) == 0);
    return whole ? status : statusProblem;
}

// Messages without "zel calc: ": warnings, or all others.
std::vector<std::string> messagesOf(const Ended& ended, const std::string& verb, bool warnings)
{
    const std::string begin = "zel " + verb + ": ";
    const std::string mark = "warning: ";
    std::vector<std::string> list;
    for (std::string text : split(ended.text, '\n')) {
        if (text.starts_with(begin)) text.erase(0, begin.size());
        const bool isWarning = text.starts_with(mark);
        if (isWarning) text.erase(0, mark.size());
        if (!text.empty() && isWarning == warnings) list.push_back(text);
    }
    return list;
}

std::string reasonOf(const Step& step, const Ended& ended)
{
    std::string reason = join(messagesOf(ended, step.kind->verb, false), "; ");
    if (reason.empty()) reason = format("ended with status %d", ended.status);
    if (reason.size() > longestReason) {
        reason.resize(longestReason);
        reason += " ...";
    }
    return step.title() + ": " + reason;
}

}  // namespace

std::vector<std::string> runStep(const Step& step, const std::vector<std::string>& words,
                                 const std::string& output, int descriptor)
{
    ChildProcess child(Orphan::ended, [&](int messages) {
        close(descriptor);
        return work(step, words, output, messages);
    });
    const bool stopped = ChildProcess::waitForAny({&child}) < 0;
    if (stopped) child.send(SIGKILL);
    const Ended ended = child.finish();
    if (stopped) throw Killed{StopSignals::received(), true};
    if (ended.signal != 0) throw Killed{ended.signal, false};
    if (ended.status != statusDone) throw Failure(reasonOf(step, ended));
    return messagesOf(ended, step.kind->verb, true);
}

}  // namespace zel_tool
