// Runs the body of a test in a process of its own, where nothing has been written or read yet.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>

extern "C" [[gnu::weak]] void __gcov_dump();  // there when lines are counted

namespace zel_test {

// The child runs this test alone, from its start to this call; failures inside body appear on its
// output and fail the test.
inline void inFreshProcess(const std::function<void()>& body)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            body();
            std::fflush(nullptr);
            if (__gcov_dump) __gcov_dump();
            std::_Exit(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace zel_test
