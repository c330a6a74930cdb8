// Memory that plain records point to: zeroed, and released with release(). Streams that are closed.
#ifndef ZEL_GROUND_MEMORY_HPP
#define ZEL_GROUND_MEMORY_HPP

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <type_traits>

namespace zel {

// count zeroed elements, or null. An empty array has an address too.
template <class T>
T* allocate(std::size_t count)
{
    static_assert(std::is_trivial_v<T>, "records are plain memory");
    return static_cast<T*>(std::calloc(count > 0 ? count : 1, sizeof(T)));
}

inline void release(void* memory)
{
    std::free(memory);
}

// Releases and forgets.
template <class T>
void discard(T*& memory)
{
    release(memory);
    memory = nullptr;
}

struct Release {
    void operator()(void* memory) const { release(memory); }
};

// Memory that is not attached to a record yet.
template <class T>
using Owned = std::unique_ptr<T, Release>;

struct CloseFile {
    void operator()(FILE* stream) const { std::fclose(stream); }
};

// A stream that is closed however it is left.
using OpenedFile = std::unique_ptr<FILE, CloseFile>;

}  // namespace zel

#endif
