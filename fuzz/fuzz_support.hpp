// What the fuzz targets share: an input as a file, and calls whose documented endings are no crash.
#ifndef FUZZ_SUPPORT_HPP
#define FUZZ_SUPPORT_HPP

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <zel/zel.h>

namespace zel_fuzz {

// A file in memory-backed storage, removed with the object.
class File {
public:
    explicit File(const char* name)
        : path_("/dev/shm/zel_fuzz_" + std::to_string(getpid()) + "_" + name)
    {
    }
    File(const char* name, const std::uint8_t* data, std::size_t size) : File(name)
    {
        if (FILE* stream = std::fopen(path(), "wb")) {
            std::fwrite(data, 1, size, stream);
            std::fclose(stream);
        }
    }
    File(const char* name, const std::string& content)
        : File(name, reinterpret_cast<const std::uint8_t*>(content.data()), content.size())
    {
    }
    ~File() { std::remove(path()); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    const char* path() const { return path_.c_str(); }

private:
    std::string path_;
};

// Runs action without messages; false when the library ended it.
template <class Action>
bool guarded(Action action)
{
    ZELSetMessageSink([](void*, FILE*, const char*) {}, nullptr);
    const auto call = [](void* theAction) { (*static_cast<Action*>(theAction))(); };
    return ZELGuardedCall(call, &action, nullptr) == 0;
}

// The same with the messages appended to said.
template <class Action>
bool guarded(Action action, std::string& said)
{
    const auto note = [](void* text, FILE*, const char* message) {
        *static_cast<std::string*>(text) += message;
    };
    ZELSetMessageSink(note, &said);
    const auto call = [](void* theAction) { (*static_cast<Action*>(theAction))(); };
    const bool returned = ZELGuardedCall(call, &action, nullptr) == 0;
    ZELSetMessageSink([](void*, FILE*, const char*) {}, nullptr);
    return returned;
}

// Ends the run and keeps the input when the condition does not hold.
inline void require(bool holds, const char* otherwise)
{
    if (holds) return;
    dprintf(STDERR_FILENO, "%s\n", otherwise);  // the streams may lead nowhere
    std::abort();
}

}  // namespace zel_fuzz

#endif
