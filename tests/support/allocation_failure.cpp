#include "support/allocation_failure.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <utility>

#include "support/outcome.hpp"

#ifndef ZEL_TEST_OWN_ALLOCATOR

namespace {

long blocks = 0;

void* counted(void* memory)
{
    if (memory != nullptr) ++blocks;
    return memory;
}

}  // namespace

extern "C" {

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void __libc_free(void* memory);

void* malloc(size_t size)
{
    return counted(__libc_malloc(size));
}

void* calloc(size_t count, size_t size)
{
    long& left = zel_test::allocationsUntilFailure;
    if (left > 0 && --left == 0) return nullptr;
    return counted(__libc_calloc(count, size));
}

void* realloc(void* memory, size_t size)
{
    if (memory == nullptr) return counted(__libc_realloc(nullptr, size));
    if (size == 0) --blocks;
    return __libc_realloc(memory, size);
}

void free(void* memory)
{
    if (memory != nullptr) --blocks;
    __libc_free(memory);
}

}  // extern "C"

#endif

namespace zel_test {

long allocationsUntilFailure = 0;

long blocksInUse()
{
#ifdef ZEL_TEST_OWN_ALLOCATOR
    return 0;
#else
    return blocks;
#endif
}

std::map<std::string, int> endings(const std::function<void()>& call)
{
    std::map<std::string, int> all;
    // The C library reads the time zone once, with memory of its own.
    const std::time_t now = std::time(nullptr);
    EXPECT_NE(std::localtime(&now), nullptr);
    for (long n = 1; n < 10000; ++n) {
        const Outcome outcome = run([&] {
            allocationsUntilFailure = n;
            call();
        });
        const bool failed = allocationsUntilFailure == 0;
        allocationsUntilFailure = 0;
        if (!failed) return all;
        const std::string out = withoutGridNotes(outcome.out + outcome.err);
        const std::size_t last = out.find_last_of('\n', out.size() - 2);
        const std::string message = last == std::string::npos ? out : out.substr(last + 1);
        EXPECT_TRUE(outcome.ended) << n << ": " << message;
        all[message] = outcome.status;
    }
    ADD_FAILURE() << "there is no end of allocations";
    return all;
}

void withMemory(const std::function<void()>& function)
{
    const long armed = std::exchange(allocationsUntilFailure, 0);
    function();
    allocationsUntilFailure = armed;
}

}  // namespace zel_test
