#include "base/progress.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/json.hpp"
#include "base/settings.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

constexpr auto patience = std::chrono::seconds(1);
constexpr auto interval = std::chrono::milliseconds(200);
constexpr int barWidth = 30;

bool drawn = false;

bool isWanted(bool json)
{
    const Settings& s = settings();
    if (s.progress == "none") return false;
    return json || (!s.quiet && isatty(STDERR_FILENO) != 0);
}

}  // namespace

void clearProgress()
{
    if (!drawn) return;
    std::fputs("\r\033[K", stderr);
    drawn = false;
}

Progress::Progress(const std::string& what, long long total)
    : what_(settings().progress == "json" ? Json(utf8(what)).dump() : printable(what)),
      total_(std::max(total, 1LL)),
      json_(settings().progress == "json"),
      shown_(isWanted(json_)),
      start_(Clock::now()),
      next_(start_ + (json_ ? Clock::duration::zero() : patience))
{
    if (shown_ && json_) update(0);
}

Progress::~Progress()
{
    clearProgress();
    if (!shown_ || !json_) return;
    show(std::chrono::duration<double>(Clock::now() - start_).count());
}

void Progress::update(long long done)
{
    done_ = done;
    if (!shown_) return;
    const Clock::time_point now = Clock::now();
    if (now < next_) return;
    next_ = now + interval;
    show(std::chrono::duration<double>(now - start_).count());
}

void Progress::show(double seconds)
{
    if (json_) {
        std::fprintf(stderr,
                     "{\"progress\":{\"task\":%s,\"done\":%lld,\"total\":%lld,\"seconds\":%.3f}}\n",
                     what_.c_str(), done_, total_, seconds);
        return;
    }
    const double part = static_cast<double>(done_) / static_cast<double>(total_);
    const int filled = std::clamp(static_cast<int>(part * barWidth), 0, barWidth);
    const double left = part > 0.0 ? seconds / part - seconds : 0.0;
    const std::string bar = std::string(static_cast<std::size_t>(filled), '=') +
                            std::string(static_cast<std::size_t>(barWidth - filled), ' ');
    std::fprintf(stderr, "\r\033[K%s [%s] %3.0f %%, %.0f s left", what_.c_str(), bar.c_str(),
                 part * 100.0, left);
    std::fflush(stderr);
    drawn = true;
}

}  // namespace zel_tool
