// How far a long run is: a bar on a terminal after a second, or lines of JSON for programs.
#pragma once

#include <chrono>
#include <string>

namespace zel_tool {

// The stretch of work between construction and destruction.
class Progress {
public:
    Progress(const std::string& what, long long total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void update(long long done);

private:
    using Clock = std::chrono::steady_clock;
    void show(double seconds);

    std::string what_;  // as it is shown
    long long total_;
    long long done_ = 0;
    bool json_;
    bool shown_;
    Clock::time_point start_;
    Clock::time_point next_;
};

// Removes a bar from the terminal before something else is written.
void clearProgress();

}  // namespace zel_tool
