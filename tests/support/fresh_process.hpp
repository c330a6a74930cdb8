// Runs the body of a test in a process of its own, where nothing has been written or read yet.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>

#ifdef ZEL_TEST_COVERAGE
extern "C" void __gcov_dump();
#endif

namespace zel_test {

// What the exit of a process does, and _Exit does not.
inline void countLines()
{
#ifdef ZEL_TEST_COVERAGE
    __gcov_dump();
#endif
}

// The child runs this test alone, from its start to this call; failures inside body appear on its
// output and fail the test.
inline void inFreshProcess(const std::function<void()>& body)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            body();
            std::fflush(nullptr);
            countLines();
            std::_Exit(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace zel_test
