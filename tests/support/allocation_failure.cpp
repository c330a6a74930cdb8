#include "support/allocation_failure.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <utility>

#include "support/outcome.hpp"

#ifndef ZEL_TEST_OWN_ALLOCATOR

extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t count, size_t size);
extern "C" void* __libc_realloc(void* memory, size_t size);
extern "C" void __libc_free(void* memory);

namespace {

long live = 0;
bool allFail = false;  // not only the library's own

bool fails()
{
    long& left = zel_test::allocationsUntilFailure;
    if (left <= 0 || --left > 0) return false;
    if (allFail) errno = ENOMEM;
    return true;
}

void* counted(void* memory)
{
    if (memory) ++live;
    return memory;
}

}  // namespace

extern "C" void* calloc(size_t count, size_t size)
{
    return fails() ? nullptr : counted(__libc_calloc(count, size));
}

extern "C" void* malloc(size_t size)
{
    return allFail && fails() ? nullptr : counted(__libc_malloc(size));
}

extern "C" void* realloc(void* memory, size_t size)
{
    if (allFail && fails()) return nullptr;
    if (!memory) return counted(__libc_realloc(nullptr, size));
    if (size == 0) --live;
    return __libc_realloc(memory, size);
}

extern "C" void free(void* memory)
{
    if (memory) --live;
    __libc_free(memory);
}

#endif

namespace zel_test {

long allocationsUntilFailure = 0;

long blocksInUse()
{
#ifdef ZEL_TEST_OWN_ALLOCATOR
    return 0;
#else
    return live;
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
            errno = 0;  // left by another test; messages of the feature layer would show it
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
    ADD_FAILURE() << "the allocations do not end";
    return all;
}

#ifndef ZEL_TEST_OWN_ALLOCATOR

namespace {

// The messages, kept without allocating; only the end of long ones.
struct Said {
    char text[2000] = "";

    void keep(const Outcome& outcome)
    {
        const std::string all = withoutGridNotes(outcome.out + outcome.err);
        const std::size_t begin = all.size() < sizeof text ? 0 : all.size() - sizeof text + 1;
        std::snprintf(text, sizeof text, "%s", all.c_str() + begin);
    }
};

bool speaksOfMemory(const std::string& message)
{
    for (const char* words :
         {"allocate", "alloc error", "cannot open", "Cannot allocate memory", "cannot create",
          "cannot get listing", "ClassifierByteCount = ", "ReadString"})
        if (message.find(words) != std::string::npos) return true;
    return false;
}

int statusOf(const std::string& message)
{
    if (message.find("cannot allocate memory for channel") != std::string::npos) return -3;
    return message.find("cannot allocate memory for PixBuf") != std::string::npos ? -8 : -1;
}

}  // namespace

long everyFailure(const std::function<bool()>& call, const std::function<void()>& finish)
{
    const auto tryCall = [&](long failing, Said& said, bool& done) {
        done = false;
        const Outcome outcome = run([&] {
            errno = 0;
            allocationsUntilFailure = failing;
            allFail = true;
            done = call();
        });
        allFail = false;
        said.keep(outcome);
        return std::pair(outcome.ended, outcome.status);
    };
    Said said;
    bool done = false;
    tryCall(0, said, done);  // creates what a process creates only once
    EXPECT_TRUE(done) << said.text;
    run(finish);
    for (long n = 1; n < 20000; ++n) {
        const long before = live;
        const auto [ended, status] = tryCall(n, said, done);
        const bool failed = allocationsUntilFailure == 0;
        allocationsUntilFailure = 0;
        run(finish);
        const long after = live;  // lower when memory kept for the next call was freed
        EXPECT_LE(after, before) << "allocation " << n << " leaks memory: " << said.text;
        if (!failed) {
            EXPECT_TRUE(done) << said.text;
            testing::Test::RecordProperty("allocations", static_cast<int>(n - 1));
            return n - 1;
        }
        EXPECT_TRUE(done || speaksOfMemory(said.text)) << "allocation " << n << ": " << said.text;
        EXPECT_EQ(status, ended ? statusOf(said.text) : 0) << said.text;
        tryCall(0, said, done);
        EXPECT_TRUE(done) << "not after the failure of allocation " << n << ": " << said.text;
        run(finish);
        EXPECT_LE(live, before) << "allocation " << n << ", second try";
        if (testing::Test::HasFailure()) return n;
    }
    ADD_FAILURE() << "the allocations do not end";
    return 0;
}

#endif

void withMemory(const std::function<void()>& function)
{
    const long armed = std::exchange(allocationsUntilFailure, 0);
    function();
    allocationsUntilFailure = armed;
}

}  // namespace zel_test
