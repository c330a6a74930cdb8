// Work in processes of its own: a copy of this one that can fail, or be killed, alone.
#pragma once

#include <sys/types.h>

#include <csignal>
#include <functional>
#include <string>
#include <vector>

namespace zel_tool {

// While one lives, SIGINT, SIGTERM and SIGHUP are noted, and end the wait for a child instead of
// the process. One that was ignored stays so.
class StopSignals {
public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    // The signal that has come; 0 for none.
    static int received();

    // Lets signals come that are held back now; what it was, 0 for none.
    static int check();

    // In a child that may end by them.
    static void leaveToSystem();

private:
    sigset_t before_;
};

// How a child ended, and what it took, its own children included.
struct Ended {
    int status = 0;  // of its exit, when no signal killed it
    int signal = 0;
    double cpuSeconds = 0.0;
    long long peakBytes = 0;
    std::string text;  // what it has written to its descriptor
};

// What becomes of a child whose parent is gone: it is asked to end, or ended.
enum class Orphan { asked, ended };

class ChildProcess {
public:
    // Runs work in a copy of this process, which ends with the status that it returns; what it
    // writes to the descriptor comes back. Needs StopSignals. Throws Failure.
    ChildProcess(Orphan orphan, const std::function<int(int descriptor)>& work);

    pid_t id() const { return id_; }
    void send(int signal) const;

    // The index of one that has ended, or -1 when a signal to stop has come before; waits for it.
    static int waitForAny(const std::vector<const ChildProcess*>& children);

    // Waits until it has ended.
    Ended finish();

private:
    class Pipe {
    public:
        explicit Pipe(int end) : end_(end) {}
        Pipe(Pipe&& other) noexcept : end_(other.end_) { other.end_ = -1; }
        Pipe& operator=(Pipe&& other) noexcept;
        ~Pipe();
        int end() const { return end_; }

    private:
        int end_;
    };

    bool readSome() const;

    pid_t id_ = -1;
    Pipe pipe_{-1};
    mutable std::string text_;
};

// "SIGKILL" of 9.
std::string signalName(int signal);

}  // namespace zel_tool
