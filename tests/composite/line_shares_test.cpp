// A line of a view that is read in shares is the line that is read whole.
#include <gtest/gtest.h>

#include <thread>

#include "support/file_builder.hpp"
#include "support/outcome.hpp"
#include "zel/zel.h"

namespace {

using zel_test::Outcome;
using zel_test::run;

// Lines whose times, pixels and padding are all different.
zel_test::Scene sceneOf(float resolution, int pixels, int lines)
{
    zel_test::Scene scene = zel_test::smallScene();
    scene.resolution = resolution;
    scene.pixels = pixels;
    scene.startNav = 0;
    scene.navInterval = 1;
    scene.slots = {zel_test::channel(3, "bytes"), zel_test::channel(4, "words", 100, 0)};
    const zel_test::Line first = scene.lines[0];
    scene.lines.clear();
    for (int y = 0; y < lines; ++y) {
        zel_test::Line line = first;
        line.scanTime = 12 + y / 64.0;
        line.left = y % 3;
        std::vector<int> words;
        for (int x = 0; x < pixels; ++x) {
            line.pixels[0].push_back(static_cast<unsigned char>(31 * y + 7 * x));
            words.push_back(977 * y + 131 * x);
        }
        line.pixels[1] = zel_test::rawWords(words);
        scene.lines.push_back(line);
    }
    return scene;
}

// Files of 1000, 500 and 250 m, of which the last is short of a line, and a view on one's grid.
struct Views {
    explicit Views(int base)
    {
        const std::string paths[] = {dir.path("a.zel"), dir.path("b.zel"), dir.path("c.zel")};
        zel_test::writeFile(paths[0], zel_test::build(sceneOf(1000, 6, 5)).bytes);
        zel_test::writeFile(paths[1], zel_test::build(sceneOf(500, 12, 10)).bytes);
        zel_test::writeFile(paths[2], zel_test::build(sceneOf(250, 24, 19)).bytes);
        const char* names[] = {paths[0].c_str(), paths[1].c_str(), paths[2].c_str()};
        run([&] {
            ASSERT_EQ(ZELOpenCompositeReadOnlyFile(whole.get(), names, 3, base), 0);
            ASSERT_EQ(ZELOpenCompositeReadOnlyFile(shared.get(), names, 3, base), 0);
        });
    }
    ~Views()
    {
        run([&] {
            ZELFinishReadingFile(whole.get());
            ZELFinishReadingFile(shared.get());
        });
    }
    zel_test::TempDir dir;
    std::unique_ptr<ZELType> whole = zel_test::junkRecord();
    std::unique_ptr<ZELType> shared = zel_test::junkRecord();
};

std::vector<float> valuesOf(const ZELType& view)
{
    std::vector<float> all = {static_cast<float>(view.ScanTime), static_cast<float>(view.LeftPixel),
                              static_cast<float>(view.CurrentLine)};
    for (int i = 0; i < view.NumTotalChans; ++i)
        all.insert(all.end(), view.Channels[i].ChannelData,
                   view.Channels[i].ChannelData + view.ZELHeader.NPixelPerLine);
    return all;
}

std::vector<unsigned char> bytesOf(const ZELType& view)
{
    std::vector<unsigned char> all;
    for (int i = 0; i < view.NumTotalChans; ++i)
        all.insert(all.end(), view.PixBuf[i],
                   view.PixBuf[i] + view.ZELHeader.NPixelPerLine * view.Channels[i].DataByteSize);
    return all;
}

// The shares of a line, each on a thread of its own; false when one has no such line.
bool readShares(ZELType& view)
{
    int pixels[3] = {-1, -1, -1};
    std::vector<std::thread> threads;
    for (int i = 2; i >= 0; --i)
        threads.emplace_back(
            [&, i] { pixels[i] = ZELReadCompositeShare(&view, i, view.CurrentLine); });
    for (std::thread& thread : threads) thread.join();
    for (const int n : pixels) {
        if (n == 0) return false;
        EXPECT_EQ(n, view.ZELHeader.NPixelPerLine);
    }
    ZELCompleteCompositeLine(&view);
    return true;
}

class LineShares : public testing::TestWithParam<int> {};

TEST_P(LineShares, AreTheLineOfEveryGrid)
{
    const Views views(GetParam());
    int lines = 0;
    while (readShares(*views.shared)) {
        ASSERT_NE(ZELReadLine(views.whole.get()), 0);
        EXPECT_EQ(valuesOf(*views.shared), valuesOf(*views.whole)) << lines;
        EXPECT_EQ(bytesOf(*views.shared), bytesOf(*views.whole)) << lines;
        ++lines;
    }
    EXPECT_EQ(ZELReadLine(views.whole.get()), 0);
    const int expected[] = {4, 9, 19};  // as many as the 19 lines of 250 m fill
    EXPECT_EQ(lines, expected[GetParam()]);
}

INSTANTIATE_TEST_SUITE_P(Bases, LineShares, testing::Values(0, 1, 2));

TEST(LineShare, ForgetsPositionsAndAnglesOfTheLastLine)
{
    const Views views(0);
    views.shared->LatLonInterpolated = 1;
    views.shared->SolarAnglesCalculated = 1;
    ASSERT_TRUE(readShares(*views.shared));
    EXPECT_EQ(views.shared->LatLonInterpolated, 0);
    EXPECT_EQ(views.shared->SolarAnglesCalculated, 0);
}

TEST(LineShare, OfNoComponentEndsTheProcess)
{
    const Views views(0);
    for (const int component : {-1, 3}) {
        const Outcome outcome =
            run([&] { ZELReadCompositeShare(views.shared.get(), component, 0); });
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.out,
                  "ZELReadCompositeShare: no component " + std::to_string(component) + "\n");
    }
}

TEST(LineShare, OfAPlainFileEndsTheProcess)
{
    zel_test::OpenedFile file(zel_test::build(zel_test::smallScene()).bytes);
    const Outcome outcome = run([&] { ZELCompleteCompositeLine(file.get()); });
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "ZELCompleteCompositeLine: no component 0\n");
}

}  // namespace
