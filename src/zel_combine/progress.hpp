// A progress line for long runs at a terminal.
#ifndef ZEL_COMBINE_PROGRESS_HPP
#define ZEL_COMBINE_PROGRESS_HPP

#include <chrono>

namespace zel_combine {

// While it lives, progress is drawn on standard error once the run is longer than a second, and
// erased at the end. Nothing is drawn when standard error is not a terminal.
class Progress {
public:
    Progress();
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // done and total in unit, "bytes" or "lines".
    void update(const char* unit, double done, double total);

private:
    using Clock = std::chrono::steady_clock;

    bool terminal_;
    bool drawn_ = false;
    Clock::time_point start_;
    Clock::time_point next_;
};

}  // namespace zel_combine

#endif
