#include "input_lines.hpp"

#include <cstdlib>
#include <system_error>
#include <utility>

namespace zel_combine {
namespace {

struct Read {
    ZELType* file;
    int pixels;
};

void read(void* data)
{
    auto* line = static_cast<Read*>(data);
    line->pixels = ZELReadLine(line->file);
}

}  // namespace

int numThreads()
{
    const char* text = std::getenv("ZEL_NUM_THREADS");
    const int threads = text ? std::atoi(text) : 1;
    return threads > 1 ? threads : 1;
}

// Where no thread can be had, the caller reads.
InputLines::InputLines(ZELType* file, int threads) : file_(file)
{
    if (threads < 2) return;
    try {
        thread_ = std::thread(&InputLines::readLines, this);
    } catch (const std::system_error&) {
    }
}

InputLines::~InputLines()
{
    if (!thread_.joinable()) return;
    waitForReader();
    give(Turn::done);
    thread_.join();
    ZELDiscard(deferred_);
}

void InputLines::readLines()
{
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return turn_ != Turn::caller; });
        if (turn_ == Turn::done) return;
        Read line{file_, 0};
        deferred_ = ZELDefer(read, &line);
        pixels_ = line.pixels;
        turn_ = Turn::caller;
        changed_.notify_one();
    }
}

void InputLines::give(Turn turn)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    turn_ = turn;
    changed_.notify_one();
}

void InputLines::waitForReader()
{
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return turn_ == Turn::caller; });
}

bool InputLines::next()
{
    if (!thread_.joinable()) return ZELReadLine(file_) != 0;
    waitForReader();
    ZELDeliver(std::exchange(deferred_, nullptr));
    return pixels_ != 0;
}

void InputLines::release()
{
    if (thread_.joinable()) give(Turn::reader);
}

}  // namespace zel_combine
