// Scene files that a program opens by its own means.
#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/file_builder.hpp"
#include "support/outcome.hpp"

namespace {

using zel_test::Bytes;
using zel_test::run;
using zel_test::Scene;

// Byte channels whose numbers are their values.
Scene sceneOf(float resolution, const std::vector<Bytes>& lines)
{
    Scene scene;
    scene.resolution = resolution;
    scene.pixels = static_cast<int>(lines[0].size());
    scene.slots = {zel_test::channel(3, "bytes")};
    for (const Bytes& pixels : lines) {
        zel_test::Line line;
        line.pixels[0] = pixels;
        scene.lines.push_back(line);
    }
    return scene;
}

// Files in memory, while the object lives.
class Memory : public testing::Test {
protected:
    Memory() { ZELSetFileOpener(open, this); }
    ~Memory() override
    {
        run([&] { ZELFinishReadingFile(record.get()); });
        ZELSetFileOpener(nullptr, nullptr);
    }

    Bytes nextLine()
    {
        run([&] { ZELReadLineNoScale(record.get()); });
        const unsigned char* stored = record->PixBuf[0];
        return {stored, stored + record->ZELHeader.NPixelPerLine};
    }

    std::map<std::string, Bytes> files;
    std::vector<std::string> asked;
    std::unique_ptr<ZELType> record = zel_test::junkRecord();

private:
    static FILE* open(void* memory, const char* name)
    {
        auto& self = *static_cast<Memory*>(memory);
        self.asked.emplace_back(name);
        const auto found = self.files.find(name);
        if (found != self.files.end())
            return fmemopen(found->second.data(), found->second.size(), "rb");
        errno = ENOENT;
        return nullptr;
    }
};

TEST_F(Memory, APlainFileIsReadFromItsStream)
{
    files["memory:scene"] = zel_test::build(sceneOf(500, {{1, 2}, {3, 4}})).bytes;
    int result = -9;
    run([&] { result = ZELOpenReadOnlyFile(record.get(), "memory:scene"); });
    ASSERT_EQ(result, 0);
    EXPECT_EQ(nextLine(), (Bytes{1, 2}));
    EXPECT_EQ(nextLine(), (Bytes{3, 4}));
    EXPECT_EQ(asked, std::vector<std::string>{"memory:scene"});
}

TEST_F(Memory, EachComponentOfACompositeHasItsOwnStream)
{
    files["memory:both"] = zel_test::buildComposite(
        {sceneOf(1000, {{1, 2}, {3, 4}}), sceneOf(500, {{8, 8, 6, 6}, {8, 8, 6, 6}})});
    int result = -9;
    run([&] { result = ZELOpenReadOnlyFile(record.get(), "memory:both"); });
    ASSERT_EQ(result, 0);
    EXPECT_EQ(nextLine(), (Bytes{1, 2}));
    EXPECT_EQ(record->PixBuf[1][0], 8);
    EXPECT_EQ(record->PixBuf[1][1], 6);
    EXPECT_EQ(asked.size(), 3U);  // the directory, and two components
}

TEST_F(Memory, AFileThatIsNotThereIsReportedByItsName)
{
    int result = 0;
    const auto outcome = run([&] { result = ZELOpenReadOnlyFile(record.get(), "memory:missing"); });
    EXPECT_EQ(result, -1);
    EXPECT_NE(outcome.out.find("cannot open file memory:missing"), std::string::npos);
}

TEST_F(Memory, WithoutAnOpenerFilesAreThoseOfTheDisk)
{
    files["memory:scene"] = zel_test::build(sceneOf(500, {{1, 2}})).bytes;
    ZELSetFileOpener(nullptr, nullptr);
    int result = 0;
    run([&] { result = ZELOpenReadOnlyFile(record.get(), "memory:scene"); });
    EXPECT_EQ(result, -1);
    EXPECT_TRUE(asked.empty());
}

}  // namespace
