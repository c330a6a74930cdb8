// Space that is asked for before a file is written.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#ifdef __linux__
#include <linux/magic.h>
#include <sys/vfs.h>
#endif

#include <cerrno>
#include <cstdio>

#include "ground/memory.hpp"
#include "ground/system_copy.hpp"
#include "support/outcome.hpp"

namespace {

constexpr std::int64_t size = 8 * 1024 * 1024;

TEST(ReserveSpace, LeavesTheFileAsLongAsItIs)
{
    const zel_test::TempDir dir;
    const zel::OpenedFile file(std::fopen(dir.path("f").c_str(), "w+b"));
    ASSERT_TRUE(file);
    ASSERT_GE(std::fputs("five!", file.get()), 0);
    ASSERT_EQ(std::fflush(file.get()), 0);
    zel::reserveSpace(file.get(), size);
    struct stat status {};
    ASSERT_EQ(fstat(fileno(file.get()), &status), 0);
    EXPECT_EQ(status.st_size, 5);
    EXPECT_EQ(std::ftell(file.get()), 5);
}

#ifdef __linux__
TEST(ReserveSpace, TakesTheBlocksWhereThatIsCheaper)
{
    const zel_test::TempDir dir;
    const zel::OpenedFile file(std::fopen(dir.path("f").c_str(), "w+b"));
    ASSERT_TRUE(file);
    struct statfs system {};
    ASSERT_EQ(fstatfs(fileno(file.get()), &system), 0);
    zel::reserveSpace(file.get(), size);
    struct stat status {};
    ASSERT_EQ(fstat(fileno(file.get()), &status), 0);
    if (system.f_type == EXT4_SUPER_MAGIC)
        EXPECT_GE(status.st_blocks * 512, size);
    else
        EXPECT_LT(status.st_blocks * 512, size);
}
#endif

TEST(ReserveSpace, IsSilentWhereThereIsNone)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const zel::OpenedFile in(fdopen(ends[0], "rb"));
    const zel::OpenedFile out(fdopen(ends[1], "wb"));
    errno = 0;
    zel::reserveSpace(out.get(), size);
    EXPECT_EQ(errno, 0);
    const zel_test::TempDir dir;
    const zel::OpenedFile file(std::fopen(dir.path("f").c_str(), "w+b"));
    zel::reserveSpace(file.get(), INT64_MAX);
    EXPECT_EQ(errno, 0);
}

}  // namespace
