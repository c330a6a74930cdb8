#include "library_call.hpp"

#include <pthread.h>

#include <cstdio>
#include <mutex>
#include <utility>

namespace zel_embed {
namespace {

// The byte order, the guard, the sink and the opener are the process's. Whoever holds this lock
// waits for no other one: embedders' locks and this cannot block each other.
std::mutex& libraryLock()
{
    static std::mutex lock;
    return lock;
}

std::string trimmed(std::string text)
{
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    text.erase(0, text.find_first_not_of("\n "));
    return text;
}

void keep(void* messages, FILE* stream, const char* text)
{
    std::string message = trimmed(text);
    if (!message.empty())
        static_cast<Messages*>(messages)->push_back({stream == stderr, std::move(message)});
}

// The sink and the opener, for the time of a call.
class Hooks {
public:
    Hooks(Messages& messages, ZELFileOpener opener)
    {
        ZELSetMessageSink(keep, &messages);
        ZELSetFileOpener(opener, nullptr);
    }
    ~Hooks()
    {
        ZELSetFileOpener(nullptr, nullptr);
        ZELSetMessageSink(nullptr, nullptr);
    }
    Hooks(const Hooks&) = delete;
    Hooks& operator=(const Hooks&) = delete;
};

struct Call {
    const std::function<int()>& function;
    int result;
};

void run(void* data)
{
    auto& call = *static_cast<Call*>(data);
    call.result = call.function();
}

void lockForFork()
{
    libraryLock().lock();
}

void unlockAfterFork()
{
    libraryLock().unlock();
}

}  // namespace

bool runAlone(const std::function<int()>& call, Messages& messages, ZELFileOpener opener)
{
    const std::lock_guard<std::mutex> lock(libraryLock());
    const Hooks hooks(messages, opener);
    Call guarded = {call, 0};
    const bool ended = ZELGuardedCall(run, &guarded, nullptr) != 0;
    return !ended && guarded.result == 0;
}

// What follows the message that says most only repeats that the open failed.
std::string reasonOf(const Messages& messages)
{
    std::string best;
    for (const Message& message : messages)
        if (best.empty() || message.text.rfind("Error opening file", 0) != 0) best = message.text;
    return best;
}

void prepareForForks()
{
    pthread_atfork(lockForFork, unlockAfterFork, unlockAfterFork);
}

}  // namespace zel_embed
