#include "library.hpp"

#include <pthread.h>

#include <mutex>
#include <string_view>
#include <vector>

#include "python.hpp"

namespace zel_python {
namespace {

struct Message {
    bool isError;  // on the stream of errors
    std::string text;
};
using Messages = std::vector<Message>;

constexpr std::string_view warning = "warning: ";

// The byte order, the guard and the sink are the process's. Whoever holds this lock never waits for
// the interpreter's: the two cannot block each other.
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

// The sink and what it needs, for the time of a call.
class Sink {
public:
    explicit Sink(Messages& messages) { ZELSetMessageSink(keep, &messages); }
    ~Sink() { ZELSetMessageSink(nullptr, nullptr); }
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;
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

bool runAlone(const std::function<int()>& function, Messages& messages)
{
    const std::lock_guard<std::mutex> lock(libraryLock());
    const Sink sink(messages);
    Call call = {function, 0};
    const bool ended = ZELGuardedCall(run, &call, nullptr) != 0;
    return !ended && call.result == 0;
}

// What follows the message that says most only repeats that the open failed.
std::string reason(const Messages& messages)
{
    std::string best;
    for (const Message& message : messages)
        if (best.empty() || message.text.rfind("Error opening file", 0) != 0) best = message.text;
    return best.empty() ? "cannot be read" : best;
}

bool isWarning(const Message& message)
{
    return message.text.rfind(warning, 0) == 0;
}

std::string joined(const Messages& messages)
{
    std::string text;
    for (const Message& message : messages)
        if (!isWarning(message)) text += (text.empty() ? "" : ": ") + message.text;
    return text;
}

void warn(const Messages& messages)
{
    for (const Message& message : messages) {
        if (!message.isError) continue;
        const std::size_t begin = isWarning(message) ? warning.size() : 0;
        const auto text = toText(message.text.substr(begin)).cast<std::string>();
        if (PyErr_WarnEx(PyExc_UserWarning, text.c_str(), 2)) throw py::error_already_set();
    }
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

void callLibrary(const std::function<int()>& call, Reasons reasons)
{
    Messages messages;
    bool succeeded = false;
    {
        const py::gil_scoped_release released;
        succeeded = runAlone(call, messages);
    }
    if (!succeeded)
        throw LibraryError(reasons == Reasons::all ? joined(messages) : reason(messages));
    warn(messages);
}

void callQuietly(const std::function<void()>& call) noexcept
{
    try {
        Messages messages;
        const py::gil_scoped_release released;
        runAlone([&] { return call(), 0; }, messages);
    } catch (...) {  // memory for messages; the record is given up then
    }
}

void prepareForForks()
{
    pthread_atfork(lockForFork, unlockAfterFork, unlockAfterFork);
}

}  // namespace zel_python
