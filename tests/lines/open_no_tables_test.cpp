// Files that are opened without scaling tables, and the memory of tables.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ground/width.hpp"
#include "records/scaling_table.hpp"
#include "support/file_builder.hpp"
#include "support/outcome.hpp"

namespace {

using zel_test::build;
using zel_test::buildComposite;
using zel_test::Bytes;
using zel_test::channel;
using zel_test::rawWords;
using zel_test::run;
using zel_test::Scene;
using zel_test::smallScene;
using zel_test::TempDir;
using zel_test::writeFile;

// Slot 0: bytes of 0 to 51 in steps of 0.2; slot 2: words of min to min + 65535 in steps of 1.
Scene scaledScene(float min, float resolution = 30)
{
    Scene scene = smallScene();
    scene.resolution = resolution;
    scene.slots[0] = channel(1, "bytes", 51.0f, 0.0f);
    scene.slots[2] = channel(2, "words", min + 65535.0f, min);
    return scene;
}

// A file of that content, opened without tables.
class NoTablesFile {
public:
    explicit NoTablesFile(const Bytes& content)
    {
        const std::string path = dir_.path("scene.zel");
        writeFile(path, content);
        run([&] { result_ = ZELOpenReadOnlyFileNoTables(file_.get(), path.c_str()); });
        EXPECT_EQ(result_, 0);
    }
    ~NoTablesFile()
    {
        if (result_ == 0) run([&] { ZELFinishReadingFile(file_.get()); });
    }
    NoTablesFile(const NoTablesFile&) = delete;
    NoTablesFile& operator=(const NoTablesFile&) = delete;

    ZELType* operator->() { return file_.get(); }
    ZELType* get() { return file_.get(); }

private:
    TempDir dir_;
    std::unique_ptr<ZELType> file_ = std::make_unique<ZELType>();
    int result_ = -1;
};

TEST(NoTables, StoredNumbersAreRead)
{
    NoTablesFile file(build(scaledScene(0)).bytes);
    EXPECT_EQ(ZELReadLineNoScale(file.get()), 4);
    EXPECT_EQ(file->Channels[0].ChannelLUT, nullptr);
    EXPECT_EQ(file->Channels[2].ChannelLUT, nullptr);
    EXPECT_EQ(file->PixBuf[0][3], 14);
    EXPECT_EQ(file->ScanTime, 10.25);
}

TEST(NoTables, ValuesAreComputed)
{
    NoTablesFile file(build(scaledScene(100)).bytes);
    EXPECT_EQ(ZELReadLine(file.get()), 4);
    EXPECT_EQ(file->Channels[2].ChannelLUT, nullptr);
    EXPECT_EQ(file->Channels[2].ChannelData[2], 40100.0f);
    EXPECT_FLOAT_EQ(file->Channels[0].ChannelData[1], 12 * 0.2f);
}

constexpr int numbersInALine = 16384;

// A line has room for a quarter of the 16-bit numbers.
Scene sceneOfAllNumbers(float min, float max)
{
    Scene scene = smallScene();
    scene.pixels = numbersInALine;
    scene.slots[0] = channel(1, "bytes", max, min);
    scene.slots[2] = channel(2, "words", max, min);
    scene.lines.resize(4);
    for (int line = 0; line < 4; ++line) {
        std::vector<int> words(numbersInALine);
        Bytes bytes(numbersInALine);
        for (int i = 0; i < numbersInALine; ++i) {
            words[static_cast<std::size_t>(i)] = line * numbersInALine + i;
            bytes[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i % 256);
        }
        scene.lines[static_cast<std::size_t>(line)].pixels[0] = bytes;
        scene.lines[static_cast<std::size_t>(line)].pixels[2] = rawWords(words);
    }
    return scene;
}

void expectEqualLines(ZELType* a, ZELType* b)
{
    ASSERT_EQ(ZELReadLine(a), numbersInALine);
    ASSERT_EQ(ZELReadLine(b), numbersInALine);
    for (const int slot : {0, 2})
        EXPECT_EQ(std::memcmp(a->Channels[slot].ChannelData, b->Channels[slot].ChannelData,
                              numbersInALine * sizeof(float)),
                  0)
            << slot << " " << a->Channels[slot].MinValue << " " << a->Channels[slot].MaxValue;
}

// Ranges that are usual, reversed, empty, huge, and not a number.
TEST(NoTables, ValuesAreThoseOfTheTablesToTheBit)
{
    const float ranges[][2] = {{180.0f, 330.0f}, {-0.2f, 1.6f},   {1.0f, -1.0f},
                               {7.25f, 7.25f},   {-3e38f, 3e38f}, {0.0f, 1e-40f},
                               {0.0f, INFINITY}, {NAN, 1.0f},     {1e9f, 1e9f + 64}};
    for (const auto& range : ranges) {
        const Bytes content = build(sceneOfAllNumbers(range[0], range[1])).bytes;
        for (const auto width : {zel::Width::narrow, zel::Width::widest}) {
            zel::limitKernelWidth(width);
            zel_test::OpenedFile tabled(content);
            NoTablesFile plain(content);
            for (int line = 0; line < 4; ++line) expectEqualLines(tabled.get(), plain.get());
        }
        zel::limitKernelWidth(zel::Width::widest);
    }
}

TEST(NoTables, AContainersLinesAreThoseOfAnOrdinaryOpen)
{
    Scene coarse = scaledScene(100, 60);
    coarse.pixels = 2;
    coarse.navInterval = 1;
    coarse.lines.resize(1);
    coarse.lines[0].pixels[0] = {21, 22};
    coarse.lines[0].pixels[2] = rawWords({500, 600});
    NoTablesFile file(buildComposite({scaledScene(0), coarse}, 0));
    EXPECT_EQ(file->Channels[1].ChannelLUT, nullptr);
    EXPECT_EQ(file->ZELComponent[1].Channels[2].ChannelLUT, nullptr);
    EXPECT_EQ(ZELReadLine(file.get()), 4);
    EXPECT_EQ(file->Channels[1].ChannelData[2], 40000.0f);
    EXPECT_EQ(file->Channels[3].ChannelData[3], 700.0f);
}

TEST(NoTables, SeveralFilesTogetherToo)
{
    TempDir dir;
    const std::string a = dir.path("a");
    const std::string b = dir.path("b");
    writeFile(a, build(scaledScene(0)).bytes);
    writeFile(b, build(scaledScene(100)).bytes);
    const char* names[] = {a.c_str(), b.c_str()};
    auto view = std::make_unique<ZELType>();
    int result = -1;
    run([&] { result = ZELOpenCompositeReadOnlyFileNoTables(view.get(), names, 2, 0); });
    ASSERT_EQ(result, 0);
    EXPECT_EQ(view->Channels[3].ChannelLUT, nullptr);
    EXPECT_EQ(view->ZELComponent[0].Channels[2].ChannelLUT, nullptr);
    EXPECT_EQ(ZELReadLine(view.get()), 4);
    EXPECT_EQ(view->Channels[1].ChannelData[2], 40000.0f);
    EXPECT_EQ(view->Channels[3].ChannelData[2], 40100.0f);
    ZELFinishReadingFile(view.get());
}

TEST(NoTables, AFileThatCannotBeOpenedIsReportedAsByAnyOpen)
{
    auto file = std::make_unique<ZELType>();
    int result = 0;
    const auto outcome =
        run([&] { result = ZELOpenReadOnlyFileNoTables(file.get(), "nowhere.zel"); });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(outcome.out, "ZELReadCompositeInfo: cannot open file nowhere.zel\n");
}

// Memory of tables is used again: a table is always that of its own channel.
TEST(ScalingTables, OfManyFilesOneAfterTheOtherAndTogether)
{
    TempDir dir;
    std::vector<std::unique_ptr<ZELType>> open;
    const auto expectTables = [&open] {
        for (std::size_t i = 0; i < open.size(); ++i) {
            if (!open[i]) continue;
            EXPECT_EQ(open[i]->Channels[2].ChannelLUT[7], static_cast<float>(i) + 7.0f) << i;
        }
    };
    for (std::size_t i = 0; i < 40; ++i) {
        const std::string path = dir.path("scene" + std::to_string(i));
        writeFile(path, build(scaledScene(static_cast<float>(i))).bytes);
        open.push_back(std::make_unique<ZELType>());
        run([&] { ZELOpenReadOnlyFile(open[i].get(), path.c_str()); });
        if (i % 3 != 2) continue;
        run([&] { ZELFinishReadingFile(open[i / 2].get()); });
        open[i / 2].reset();
        expectTables();
    }
    for (auto& file : open)
        if (file) run([&] { ZELFinishReadingFile(file.get()); });
}

TEST(KeptTables, OnesInUseStayWhenTheOthersAreDropped)
{
    ZELChannelType words{};
    words.Type = ZEL_STORED_UINT16_SCALED;
    words.MaxValue = 65535.0f;
    ZELChannelType spare = words;
    words.ChannelLUT = zel::createScalingTable(words);
    spare.ChannelLUT = zel::createScalingTable(spare);
    zel::releaseScalingTable(spare);
    zel::dropKeptTables();
    spare.ChannelLUT = zel::createScalingTable(spare);
    EXPECT_NE(words.ChannelLUT, spare.ChannelLUT);
    EXPECT_EQ(words.ChannelLUT[40000], 40000.0f);
    zel::releaseScalingTable(words);
    zel::releaseScalingTable(spare);
    EXPECT_EQ(words.ChannelLUT, nullptr);
}

}  // namespace
