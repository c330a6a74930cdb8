#include "base/report.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include "base/failure.hpp"
#include "base/progress.hpp"
#include "base/settings.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

int outputError = 0;

void say(const std::string& file, const std::string& message)
{
    clearProgress();
    const std::string verb = settings().verb.empty() ? "zel" : "zel " + settings().verb;
    const std::string place = file.empty() ? "" : printable(file) + ": ";
    std::fprintf(stderr, "%s: %s%s\n", verb.c_str(), place.c_str(), message.c_str());
}

}  // namespace

Settings& settings()
{
    static Settings theSettings;
    return theSettings;
}

void put(std::string_view text)
{
    clearProgress();
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() && outputError == 0)
        outputError = errno != 0 ? errno : EIO;
}

void complain(const std::string& file, const std::string& message)
{
    say(file, message);
}

void warn(const std::string& file, const std::string& message)
{
    if (!settings().quiet) say(file, "warning: " + message);
}

void remark(const std::string& message)
{
    if (!settings().quiet) say("", message);
}

bool finishOutput()
{
    errno = 0;
    if (std::fflush(stdout) != 0 && outputError == 0) outputError = errno != 0 ? errno : EIO;
    if (outputError == 0) return true;
    if (outputError != EPIPE)
        say("", format("cannot write to standard output: %s", std::strerror(outputError)));
    return false;
}

int forEachFile(const std::vector<std::string>& files,
                const std::function<int(const std::string&)>& work)
{
    int status = statusDone;
    for (const std::string& file : files) {
        try {
            status = std::max(status, work(file));
        } catch (const Failure& failure) {
            complain(file, failure.what());
            status = std::max<int>(status, statusProblem);
        } catch (const std::bad_alloc&) {
            complain(file, "cannot allocate memory");
            status = std::max<int>(status, statusProblem);
        }
    }
    return status;
}

int guardedStatus(const std::function<int()>& work)
{
    using namespace std::string_literals;
    try {
        return work();
    } catch (const Misuse& misuse) {
        const std::string& verb = settings().verb;
        complain("", misuse.what() + "; see zel "s + (verb.empty() ? "" : verb + " ") + "--help");
        return statusUsage;
    } catch (const Failure& failure) {
        complain("", failure.what());
    } catch (const std::bad_alloc&) {
        complain("", "cannot allocate memory");
    } catch (const std::exception& error) {
        complain("", "internal error: "s + error.what());
    }
    return statusProblem;
}

}  // namespace zel_tool
