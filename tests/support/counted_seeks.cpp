#include "support/counted_seeks.hpp"

#include <stdio.h>
#include <sys/types.h>

#include <atomic>

static_assert(sizeof(off_t) == sizeof(long), "the stand-in hands its offset on to fseek");

namespace {

std::atomic<int> seeks{0};

}  // namespace

// Found before the C library's, by the library's calls too.
extern "C" int fseeko(FILE* stream, off_t offset, int whence)
{
    ++seeks;
    return fseek(stream, offset, whence);
}

namespace zel_test {

int CountedSeeks::total()
{
    return seeks;
}

}  // namespace zel_test
