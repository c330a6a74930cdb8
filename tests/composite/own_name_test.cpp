// Records that are opened by the name that they hold.
#include <gtest/gtest.h>

#include "support/file_builder.hpp"
#include "support/outcome.hpp"
#include "zel/zel.h"

namespace {

using zel_test::build;
using zel_test::smallScene;

class OwnName : public testing::Test {
protected:
    OwnName()
    {
        zel_test::Scene coarse = smallScene();
        coarse.resolution = 60;
        zel_test::writeFile(plain, build(smallScene()).bytes);
        zel_test::writeFile(other, build(coarse).bytes);
        zel_test::writeFile(both, zel_test::buildComposite({coarse, smallScene()}, 1));
    }

    // Opens in a guard; true when the record can be read. It is finished, and keeps its name.
    template <class Open>
    bool opens(Open open)
    {
        int result = -9;
        const zel_test::Outcome outcome = zel_test::run([&] { result = open(); });
        if (outcome.ended || result != 0) return false;
        const bool reads = ZELReadLine(file.get()) == 4;
        zel_test::run([&] { ZELFinishReadingFile(file.get()); });
        return reads;
    }

    zel_test::TempDir dir;
    std::string plain = dir.path("plain.zel");
    std::string other = dir.path("other.zel");
    std::string both = dir.path("both.zel");
    std::unique_ptr<ZELType> file = zel_test::zeroRecord();
    char* const own = file->ImageFilename;
};

TEST_F(OwnName, APlainFileOpensAgain)
{
    ASSERT_TRUE(opens([&] { return ZELOpenReadOnlyFile(file.get(), plain.c_str()); }));
    EXPECT_TRUE(opens([&] { return ZELOpenReadOnlyFile(file.get(), own); }));
    EXPECT_EQ(own, plain);
    EXPECT_TRUE(opens([&] { return OpenReadOnlyFile(file.get(), own, 0, 0); }));
    EXPECT_EQ(own, plain);
}

TEST_F(OwnName, TheEndOfItIsANameToo)
{
    ASSERT_TRUE(opens([&] { return ZELOpenReadOnlyFile(file.get(), ("/" + plain).c_str()); }));
    EXPECT_TRUE(opens([&] { return ZELOpenReadOnlyFile(file.get(), own + 1); }));
    EXPECT_EQ(own, plain);
}

TEST_F(OwnName, ACompositeOpensAgain)
{
    ASSERT_TRUE(opens([&] { return ZELOpenReadOnlyFile(file.get(), both.c_str()); }));
    EXPECT_TRUE(opens([&] { return ZELOpenReadOnlyFile(file.get(), own); }));
    EXPECT_EQ(own, both);
    const char* const name[] = {own};
    EXPECT_TRUE(opens([&] { return ZELOpenCompositeReadOnlyFile(file.get(), name, 1, 1); }));
    EXPECT_EQ(own, both);
}

TEST_F(OwnName, OneOfSeveralFilesOpensAgain)
{
    ASSERT_TRUE(opens([&] { return ZELOpenReadOnlyFile(file.get(), plain.c_str()); }));
    const char* const names[] = {other.c_str(), own};
    EXPECT_TRUE(opens([&] { return ZELOpenCompositeReadOnlyFile(file.get(), names, 2, 1); }));
    EXPECT_EQ(own, other);
}

TEST_F(OwnName, AFileThatIsMissingIsReportedByIt)
{
    ASSERT_TRUE(opens([&] { return ZELOpenReadOnlyFile(file.get(), plain.c_str()); }));
    ASSERT_EQ(remove(plain.c_str()), 0);
    const auto missing = [&] { EXPECT_EQ(OpenReadOnlyFile(file.get(), own, 0, 0), -1); };
    EXPECT_EQ(zel_test::run(missing).out, "OpenReadOnlyFile: cannot open file " + plain + "\n");
}

TEST_F(OwnName, AFileIsWrittenUnderTheEndOfIt)
{
    const std::unique_ptr<ZELType> out = zel_test::writeOnlyRecord();
    const std::string path = dir.path("written.zel");
    ASSERT_LT(path.size() + 2, sizeof out->ImageFilename);
    ("/" + path).copy(out->ImageFilename, path.size() + 1);
    int result = -9;
    zel_test::run([&] {
        result = ZELOpenWriteOnlyFile(out.get(), out->ImageFilename + 1);
        if (result == 0) ZELFinishWritingFile(out.get());
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(out->ImageFilename, path);
    EXPECT_FALSE(zel_test::readFile(path).empty());
}

}  // namespace
