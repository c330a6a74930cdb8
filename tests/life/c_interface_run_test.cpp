// Runs what c_interface_test.c checks from C.
#include <gtest/gtest.h>

#include "support/outcome.hpp"

extern "C" {
int cTablesAndLuts(void);
int cWriteAndRead(const char* path);
int cGuardedEnding(void);
}

namespace {

// The line in the C file that failed.
constexpr int none = 0;

TEST(CInterface, TablesAndLuts)
{
    EXPECT_EQ(cTablesAndLuts(), none);
}

TEST(CInterface, AFileIsWrittenAndReadBack)
{
    zel_test::TempDir dir;
    int failed = -1;
    const auto outcome =
        zel_test::run([&] { failed = cWriteAndRead(dir.path("scene.zel").c_str()); });
    EXPECT_EQ(failed, none);
    EXPECT_FALSE(outcome.ended) << outcome.out;
}

TEST(CInterface, AnEndingIsTrappedByAGuardedCall)
{
    EXPECT_EQ(cGuardedEnding(), none);
}

}  // namespace
