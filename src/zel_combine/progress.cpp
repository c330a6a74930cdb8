#include "progress.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "zel.h"

namespace zel_combine {
namespace {

constexpr auto patience = std::chrono::seconds(1);
constexpr auto interval = std::chrono::milliseconds(200);

void forward(void* progress, const char* unit, double done, double total)
{
    static_cast<Progress*>(progress)->update(unit, done, total);
}

void draw(const char* unit, double done, double total, double seconds)
{
    const bool bytes = std::strcmp(unit, "bytes") == 0;
    const double scale = bytes ? 1.0e6 : 1.0;
    const double rate = done / seconds;
    const double left = rate > 0.0 && total > done ? (total - done) / rate : 0.0;
    std::fprintf(stderr, "\r\033[K%.0f of %.0f %s, %.0f %s/s, %.0f s left", done / scale,
                 total / scale, bytes ? "MB" : unit, rate / scale, bytes ? "MB" : unit, left);
    std::fflush(stderr);
}

}  // namespace

Progress::Progress()
    : terminal_(isatty(STDERR_FILENO) != 0), start_(Clock::now()), next_(start_ + patience)
{
    if (terminal_) ZELSetProgressSink(forward, this);
}

Progress::~Progress()
{
    ZELSetProgressSink(nullptr, nullptr);
    if (drawn_) std::fputs("\r\033[K", stderr);
}

void Progress::update(const char* unit, double done, double total)
{
    if (!terminal_) return;
    const Clock::time_point now = Clock::now();
    if (now < next_) return;
    next_ = now + interval;
    drawn_ = true;
    draw(unit, done, total, std::chrono::duration<double>(now - start_).count());
}

}  // namespace zel_combine
