#include "zel_door.h"

#include <cstdarg>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "ground/zel_door.hpp"

namespace {

// Unwinds from the place of an ending to the guarded call around it.
struct Ending {
    int status;
};

struct Door {
    ZELMessageSink sink = nullptr;
    void* sinkData = nullptr;
    ZELExitHandler exitHandler = nullptr;
    void* exitData = nullptr;
    ZELProgressSink progressSink = nullptr;
    void* progressData = nullptr;
    int guards = 0;
};

// The door of a call that is deferred, on its thread.
thread_local Door* ownDoor = nullptr;

Door& door()
{
    static Door theDoor;
    return ownDoor ? *ownDoor : theDoor;
}

void deliver(FILE* stream, const char* text)
{
    if (door().sink)
        door().sink(door().sinkData, stream, text);
    else
        std::fputs(text, stream);
}

// Most messages are short; one with a long name or comment is formatted again where it fits.
[[gnu::format(printf, 2, 0)]] void deliverFormatted(FILE* stream, const char* format,
                                                    va_list arguments)
{
    char text[1024];
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    char* whole = nullptr;
    if (length >= static_cast<int>(sizeof text))
        whole = static_cast<char*>(std::malloc(static_cast<size_t>(length) + 1));
    if (whole) std::vsnprintf(whole, static_cast<size_t>(length) + 1, format, again);
    va_end(again);
    deliver(stream, whole ? whole : text);
    std::free(whole);
}

// Counts the guarded calls that are active, however they are left.
struct GuardCount {
    GuardCount() { ++door().guards; }
    ~GuardCount() { --door().guards; }
    GuardCount(const GuardCount&) = delete;
    GuardCount& operator=(const GuardCount&) = delete;
};

}  // namespace

namespace zel {

void report(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    deliverFormatted(stdout, format, arguments);
    va_end(arguments);
}

void reportTo(FILE* stream, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    deliverFormatted(stream, format, arguments);
    va_end(arguments);
}

// A sink takes texts, in which a zero is the end.
void reportCharacter(char character)
{
    const char text[] = {character, '\0'};
    if (door().sink)
        deliver(stdout, text);
    else
        std::fputc(character, stdout);
}

void print(FILE* stream, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stream, format, arguments);
    va_end(arguments);
}

void terminate(int status)
{
    if (door().guards > 0) throw Ending{status};
    if (door().exitHandler) door().exitHandler(door().exitData, status);
    std::fflush(nullptr);
    std::exit(status);
}

void fail(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    deliverFormatted(stdout, format, arguments);
    va_end(arguments);
    terminate(-1);
}

void failWith(int status, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    deliverFormatted(stdout, format, arguments);
    va_end(arguments);
    terminate(status);
}

void confirmOverwrite(const char* filename, int answerSize)
{
    report("file %s exists! do you wish to overwrite? (y/n) ", filename);
    std::fflush(stdout);
    char answer[16] = "";
    if (!std::fgets(answer, answerSize + 1, stdin) || answer[0] != 'y') terminate(0);
}

void progress(const char* unit, double done, double total)
{
    if (door().progressSink) door().progressSink(door().progressData, unit, done, total);
}

}  // namespace zel

void ZELSetMessageSink(ZELMessageSink sink, void* userData)
{
    door().sink = sink;
    door().sinkData = userData;
}

void ZELSetExitHandler(ZELExitHandler handler, void* userData)
{
    door().exitHandler = handler;
    door().exitData = userData;
}

void ZELSetProgressSink(ZELProgressSink sink, void* userData)
{
    door().progressSink = sink;
    door().progressData = userData;
}

int ZELGuardedCall(void (*function)(void* userData), void* userData, int* status)
{
    int ending = 0;
    bool ended = false;
    try {
        const GuardCount guard;
        function(userData);
    } catch (const Ending& end) {
        ended = true;
        ending = end.status;
    } catch (const std::bad_alloc&) {
        ended = true;
        ending = -1;
    }
    if (status) *status = ending;
    return ended ? 1 : 0;
}

struct ZELDeferredType {
    struct Message {
        FILE* stream;
        std::string text;
    };
    std::vector<Message> messages;
    bool ended = false;
    int status = 0;
};

namespace {

void keep(void* deferred, FILE* stream, const char* text)
{
    static_cast<ZELDeferredType*>(deferred)->messages.push_back({stream, text});
}

}  // namespace

ZELDeferredType* ZELDefer(void (*function)(void* userData), void* userData)
{
    std::unique_ptr<ZELDeferredType> deferred(new (std::nothrow) ZELDeferredType);
    if (!deferred) return nullptr;
    Door own;
    own.sink = keep;
    own.sinkData = deferred.get();
    Door* const before = std::exchange(ownDoor, &own);
    deferred->ended = ZELGuardedCall(function, userData, &deferred->status) != 0;
    ownDoor = before;
    return deferred.release();
}

void ZELDeliver(ZELDeferredType* deferred)
{
    const std::unique_ptr<ZELDeferredType> owned(deferred);
    if (!owned) zel::fail("ZELDefer: cannot allocate memory\n");
    for (const auto& message : owned->messages) deliver(message.stream, message.text.c_str());
    if (owned->ended) zel::terminate(owned->status);
}

void ZELDiscard(ZELDeferredType* deferred)
{
    delete deferred;
}
