// Allocations of the library that fail when a test wants them to, and how much memory is in use.
#pragma once

#include <functional>
#include <map>
#include <string>

// The sanitizers, and other systems, have allocators of their own.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZEL_TEST_OWN_ALLOCATOR 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || !defined(__GLIBC__)
#define ZEL_TEST_OWN_ALLOCATOR 1
#endif

namespace zel_test {

// The allocation that fails, counted from 1; 0: none fails.
extern long allocationsUntilFailure;

// Blocks of memory that are in use: allocated by the C library and not released.
long blocksInUse();

// How the call ends for each of its allocations that fails: its last message, and the status.
std::map<std::string, int> endings(const std::function<void()>& call);

// Fails each allocation of the call in turn, also those of the C library. The call returns whether
// it succeeded; finish cleans up, however it ended. Each failure must end the process with its
// message and status, or be reported and returned, or not matter; nothing may leak, and a second
// try must succeed. Returns the number of allocations.
long everyFailure(const std::function<bool()>& call, const std::function<void()>& finish);

// Runs the function with no allocation failing in it, whatever the call around it asked for.
void withMemory(const std::function<void()>& function);

}  // namespace zel_test
