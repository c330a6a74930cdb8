#include "input_lines.hpp"

#include <algorithm>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace zel_combine {
namespace {

constexpr int looksBeforeSleep = 200;

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
    divide();
    try {
        thread_ = std::thread(&InputLines::readAhead, this);
    } catch (const std::system_error&) {
    }
}

InputLines::~InputLines()
{
    if (!thread_.joinable()) return;
    waitWhile(Turn::reader);
    give(Turn::done);
    thread_.join();
    for (const Share& share : shares_) ZELDiscard(share.deferred);
}

void InputLines::divide()
{
    const int components = isView() ? file_->numZELComponents : 1;
    for (int i = 0; i < components; ++i)
        shares_.push_back(
            {i, isView() && file_->ZELComponent[i].samplingFlag == ZEL_SAMPLING_AVERAGE});
    const bool some = std::any_of(shares_.begin(), shares_.end(),
                                  [](const Share& share) { return share.isAhead; });
    if (!some)
        for (Share& share : shares_) share.isAhead = true;
}

int InputLines::read(const Share& share) const
{
    return isView() ? ZELReadCompositeShare(file_, share.component, file_->CurrentLine)
                    : ZELReadLine(file_);
}

void InputLines::readAhead()
{
    struct Call {
        const InputLines* lines;
        Share* share;
    };
    const auto run = [](void* data) {
        const auto* call = static_cast<Call*>(data);
        call->share->pixels = call->lines->read(*call->share);
    };
    for (;;) {
        waitWhile(Turn::caller);
        if (turn_ == Turn::done) return;
        for (Share& share : shares_) {
            if (!share.isAhead) continue;
            Call call{this, &share};
            share.pixels = 0;
            share.deferred = ZELDefer(run, &call);
            if (share.pixels == 0) break;
        }
        give(Turn::caller);
    }
}

void InputLines::give(Turn turn)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    turn_ = turn;
    changed_.notify_one();
}

// Both threads take some 50 us for a line. To wake one that sleeps takes as long again, so it looks
// a while before it sleeps; another thread that wants the processor gets it meanwhile.
void InputLines::waitWhile(Turn turn)
{
    for (int i = 0; i < looksBeforeSleep; ++i) {
        if (turn_ != turn) return;
        std::this_thread::yield();
    }
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this, turn] { return turn_ != turn; });
}

// False at the end of the component.
bool InputLines::take(Share& share)
{
    if (!share.isAhead) return read(share) != 0;
    waitWhile(Turn::reader);
    ZELDeliver(std::exchange(share.deferred, nullptr));
    return share.pixels != 0;
}

bool InputLines::next()
{
    if (!thread_.joinable()) return ZELReadLine(file_) != 0;
    for (Share& share : shares_)
        if (!take(share)) return false;
    if (isView()) ZELCompleteCompositeLine(file_);
    return true;
}

void InputLines::release()
{
    if (thread_.joinable()) give(Turn::reader);
}

}  // namespace zel_combine
