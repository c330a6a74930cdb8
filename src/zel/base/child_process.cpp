#include "base/child_process.hpp"

#include <sys/resource.h>
#include <sys/select.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

constexpr std::array<int, 3> stopSignals = {SIGINT, SIGTERM, SIGHUP};
constexpr std::size_t longestText = 1 << 20;

volatile std::sig_atomic_t stopped = 0;

extern "C" void noteStop(int signal)
{
    stopped = signal;
}

sigset_t stopSet()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : stopSignals) sigaddset(&set, signal);
    return set;
}

bool isIgnored(int signal)
{
    struct sigaction now {};
    sigaction(signal, nullptr, &now);
    return now.sa_handler == SIG_IGN;
}

// The mask outside of the waits: the signals wait there.
sigset_t openMask()
{
    sigset_t mask;
    sigprocmask(SIG_SETMASK, nullptr, &mask);
    for (const int signal : stopSignals) sigdelset(&mask, signal);
    return mask;
}

// A child does not outlive its parent, which may be gone already.
void followParent([[maybe_unused]] Orphan orphan, pid_t parent)
{
#ifdef __linux__
    prctl(PR_SET_PDEATHSIG, orphan == Orphan::asked ? SIGTERM : SIGKILL);
#endif
    if (getppid() != parent) _exit(statusProblem);
}

double secondsOf(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

long long bytesOf(const rusage& used)
{
#ifdef __APPLE__
    return used.ru_maxrss;
#else
    return used.ru_maxrss * 1024LL;
#endif
}

}  // namespace

StopSignals::StopSignals()
{
    const sigset_t set = stopSet();
    sigprocmask(SIG_BLOCK, &set, &before_);
    stopped = 0;
    for (const int signal : stopSignals)
        if (!isIgnored(signal)) std::signal(signal, noteStop);
}

StopSignals::~StopSignals()
{
    leaveToSystem();
    sigprocmask(SIG_SETMASK, &before_, nullptr);
}

void StopSignals::leaveToSystem()
{
    for (const int signal : stopSignals)
        if (!isIgnored(signal)) std::signal(signal, SIG_DFL);
    const sigset_t open = openMask();
    sigprocmask(SIG_SETMASK, &open, nullptr);
}

int StopSignals::received()
{
    return stopped;
}

int StopSignals::check()
{
    const sigset_t open = openMask();
    sigset_t now;
    sigprocmask(SIG_SETMASK, &open, &now);
    sigprocmask(SIG_SETMASK, &now, nullptr);
    return stopped;
}

ChildProcess::Pipe& ChildProcess::Pipe::operator=(Pipe&& other) noexcept
{
    std::swap(end_, other.end_);
    return *this;
}

ChildProcess::Pipe::~Pipe()
{
    if (end_ >= 0) close(end_);
}

ChildProcess::ChildProcess(Orphan orphan, const std::function<int(int descriptor)>& work)
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        throw Failure(format("cannot make a pipe: %s", std::strerror(errno)));
    pipe_ = Pipe(ends[0]);
    if (ends[0] >= FD_SETSIZE) {  // waitForAny could not wait for it
        close(ends[1]);
        throw Failure("cannot make a pipe: too many open files");
    }
    std::fflush(nullptr);
    const pid_t parent = getpid();
    id_ = fork();
    if (id_ == 0) {
        close(ends[0]);
        stopped = 0;
        followParent(orphan, parent);
        _exit(work(ends[1]));
    }
    const int error = errno;
    close(ends[1]);
    if (id_ < 0) throw Failure(format("cannot start a process: %s", std::strerror(error)));
}

void ChildProcess::send(int signal) const
{
    kill(id_, signal);
}

// False at the end.
bool ChildProcess::readSome() const
{
    std::array<char, 4096> bytes{};
    const ssize_t got = read(pipe_.end(), bytes.data(), bytes.size());
    if (got > 0 && text_.size() < longestText)
        text_.append(bytes.data(), static_cast<std::size_t>(got));
    return got > 0 || (got < 0 && errno == EINTR);
}

int ChildProcess::waitForAny(const std::vector<const ChildProcess*>& children)
{
    const sigset_t open = openMask();
    while (stopped == 0) {
        fd_set ready;
        FD_ZERO(&ready);
        int last = -1;
        for (const ChildProcess* child : children) {
            FD_SET(child->pipe_.end(), &ready);
            last = std::max(last, child->pipe_.end());
        }
        if (pselect(last + 1, &ready, nullptr, nullptr, nullptr, &open) < 0) continue;
        for (std::size_t i = 0; i < children.size(); ++i) {
            const ChildProcess& child = *children[i];
            if (!FD_ISSET(child.pipe_.end(), &ready)) continue;
            if (!child.readSome()) return static_cast<int>(i);
        }
    }
    return -1;
}

Ended ChildProcess::finish()
{
    for (bool more = true; more;) more = readSome();
    int status = 0;
    rusage used{};
    while (wait4(id_, &status, 0, &used) < 0 && errno == EINTR) {
    }
    Ended ended;
    if (WIFSIGNALED(status))
        ended.signal = WTERMSIG(status);
    else
        ended.status = WEXITSTATUS(status);
    ended.cpuSeconds = secondsOf(used.ru_utime) + secondsOf(used.ru_stime);
    ended.peakBytes = bytesOf(used);
    ended.text = std::move(text_);
    return ended;
}

std::string signalName(int signal)
{
    const char* name = nullptr;
#ifdef __GLIBC__
    name = sigabbrev_np(signal);
#endif
    return name ? std::string("SIG") + name : format("signal %d", signal);
}

}  // namespace zel_tool
