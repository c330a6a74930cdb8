// The record of a view: what it has from its reference component, and what it lays down itself.
#include <gtest/gtest.h>

#include <cstring>
#include <map>

#include "support/file_builder.hpp"
#include "support/outcome.hpp"
#include "zel/zel.h"

namespace {

using zel_test::build;
using zel_test::run;
using zel_test::Scene;

// Lines of a scene, with the pixels of each given slot.
std::vector<zel_test::Line> linesOf(int count, const std::map<int, zel_test::Bytes>& pixels)
{
    zel_test::Line line = zel_test::smallScene().lines[0];
    line.pixels = pixels;
    return std::vector<zel_test::Line>(static_cast<std::size_t>(count), line);
}

// 4 pixels of 1000 m: a scaled byte channel, and a 16-bit channel after an empty slot.
Scene coarse()
{
    Scene scene = zel_test::smallScene();
    scene.dataType = 5;
    scene.year = 2001, scene.julian = 123, scene.satellite = 7;
    scene.pixels = 4;
    scene.navPoints = 2, scene.startNav = 0, scene.navInterval = 3;
    scene.altitude = 705, scene.resolution = 1000;
    scene.comment = "coarse";
    scene.metaDataType = 1, scene.metaData = "of the coarse scene";
    scene.slots = {zel_test::channel(1, "bytes", 41, -10), {}, zel_test::channel(5, "words")};
    scene.lines = linesOf(2, {});
    return scene;
}

// 8 pixels of 500 m: a float channel and a scaled 16-bit channel. Nothing of the header is the same.
Scene fine()
{
    Scene scene = zel_test::smallScene();
    scene.dataType = 7;
    scene.year = 1999, scene.julian = 4, scene.satellite = 12;
    scene.pixels = 8;
    scene.navPoints = 3, scene.startNav = 1, scene.navInterval = 2;
    scene.altitude = 830, scene.resolution = 500;
    scene.comment = "fine";
    scene.metaDataType = 2, scene.metaData = "fine";
    scene.slots = {zel_test::channel(4, "floats"), zel_test::channel(2, "scaled", 65535, 0)};
    scene.lines = linesOf(4, {});
    return scene;
}

// A view over both, with the one or the other as its reference.
class ViewOfTwo {
public:
    explicit ViewOfTwo(int base)
    {
        const std::string a = dir_.path("a"), b = dir_.path("b");
        zel_test::writeFile(a, build(coarse()).bytes);
        zel_test::writeFile(b, build(fine()).bytes);
        const char* names[] = {a.c_str(), b.c_str()};
        run([&] { result = ZELOpenCompositeReadOnlyFile(record_.get(), names, 2, base); });
    }
    ~ViewOfTwo()
    {
        run([&] { ZELFinishReadingFile(record_.get()); });
    }
    ViewOfTwo(const ViewOfTwo&) = delete;
    ViewOfTwo& operator=(const ViewOfTwo&) = delete;

    ZELType* operator->() { return record_.get(); }
    int result = 99;

private:
    zel_test::TempDir dir_;
    std::unique_ptr<ZELType> record_ = zel_test::junkRecord();
};

void expectHeaderOf(const Scene& scene, int base)
{
    ViewOfTwo view(base);
    ASSERT_EQ(view.result, 0);
    const ZELHeaderType& h = view->ZELHeader;
    EXPECT_EQ(h.DataType, scene.dataType);
    EXPECT_EQ(h.year, scene.year);
    EXPECT_EQ(h.julian, scene.julian);
    EXPECT_EQ(h.sat_no, scene.satellite);
    EXPECT_EQ(h.NPixelPerLine, scene.pixels);
    EXPECT_EQ(h.NumNavPoints, scene.navPoints);
    EXPECT_EQ(h.StartNavPoint, scene.startNav);
    EXPECT_EQ(h.NavPointInterval, scene.navInterval);
    EXPECT_EQ(h.SatelliteAltitude, scene.altitude);
    EXPECT_EQ(h.SpatialResolution, scene.resolution);
    EXPECT_EQ(std::string(h.DataComment), scene.comment);
    EXPECT_EQ(h.MetaDataType, scene.metaDataType);
    EXPECT_EQ(static_cast<std::size_t>(h.MetaDataSize), scene.metaData.size());
    EXPECT_EQ(std::string(h.MetaDataText), scene.metaData);
    EXPECT_EQ(view->NumLines, static_cast<int>(scene.lines.size()));
}

TEST(ViewHeader, IsThatOfAReferenceThatComesFirst)
{
    expectHeaderOf(coarse(), 0);
}

TEST(ViewHeader, IsThatOfAReferenceThatComesLater)
{
    expectHeaderOf(fine(), 1);
}

// A line begins with 32 bytes and 8 for each navigation point; the channels of all components follow, in
// their own storage and the width of the view: 1, 2, 4 and 2 bytes a pixel.
TEST(ViewLayout, HasChannelsOneAfterTheOther)
{
    ViewOfTwo wide(1);
    ASSERT_EQ(wide.result, 0);
    EXPECT_EQ(wide->NavOffset, 56);
    EXPECT_EQ(wide->Channels[0].DataOffset, 56);
    EXPECT_EQ(wide->Channels[1].DataOffset, 64);
    EXPECT_EQ(wide->Channels[2].DataOffset, 80);
    EXPECT_EQ(wide->Channels[3].DataOffset, 112);
    EXPECT_EQ(wide->LineOffset, 128);

    ViewOfTwo narrow(0);
    ASSERT_EQ(narrow.result, 0);
    EXPECT_EQ(narrow->NavOffset, 48);
    EXPECT_EQ(narrow->Channels[3].DataOffset, 48 + 4 * 7);
    EXPECT_EQ(narrow->LineOffset, 48 + 4 * 9);
}

// 255 steps from -10 to 41 are 0.2 each, 65535 steps to 65535 are 1.
TEST(ViewScaling, HasTablesOfItsOwnForScaledChannels)
{
    ViewOfTwo view(0);
    ASSERT_EQ(view.result, 0);
    const float* bytes = view->Channels[0].ChannelLUT;
    ASSERT_NE(bytes, nullptr);
    EXPECT_NE(bytes, view->ZELComponent[0].Channels[0].ChannelLUT);
    EXPECT_EQ(bytes[0], -10.0f);
    EXPECT_FLOAT_EQ(bytes[100], 10.0f);
    EXPECT_FLOAT_EQ(bytes[255], 41.0f);
    const float* words = view->Channels[3].ChannelLUT;
    ASSERT_NE(words, nullptr);
    EXPECT_NE(words, view->ZELComponent[1].Channels[1].ChannelLUT);
    EXPECT_EQ(words[0], 0.0f);
    EXPECT_FLOAT_EQ(words[40000], 40000.0f);
    EXPECT_FLOAT_EQ(words[65535], 65535.0f);
    EXPECT_EQ(view->Channels[1].ChannelLUT, nullptr);
    EXPECT_EQ(view->Channels[2].ChannelLUT, nullptr);
}

// ---- Ratios of resolutions that are far apart ----

// One pixel a line, which stores 65536.
Scene column(float resolution, int lines)
{
    Scene scene = zel_test::smallScene();
    scene.pixels = 1;
    scene.navPoints = 0, scene.startNav = 0, scene.navInterval = 1;
    scene.resolution = resolution;
    scene.slots = {zel_test::channel(4, "floats")};
    scene.lines = linesOf(lines, {{0, zel_test::rawFloats({65536.0f})}});
    return scene;
}

struct Far {
    zel_test::TempDir dir;
    std::unique_ptr<ZELType> view = zel_test::junkRecord();
    int result = 99;
    std::string err;

    Far(const Scene& base, const Scene& other)
    {
        const std::string a = dir.path("a"), b = dir.path("b");
        zel_test::writeFile(a, build(base).bytes);
        zel_test::writeFile(b, build(other).bytes);
        const char* names[] = {a.c_str(), b.c_str()};
        err = run([&] { result = ZELOpenCompositeReadOnlyFile(view.get(), names, 2, 0); }).err;
    }
    ~Far()
    {
        run([&] { ZELFinishReadingFile(view.get()); });
    }
    Far(const Far&) = delete;
    Far& operator=(const Far&) = delete;
};

TEST(FarResolutions, HaveTheFactorOfAnyRatioThatANumberOfPixelsHolds)
{
    const float largest = 2147483520.0f;  // the float before 2^31
    for (const float ratio : {32767.0f, 32768.0f, 1e6f, largest}) {
        const Far finer(column(ratio, 1), column(1, 1));
        EXPECT_EQ(finer.result, 0) << ratio;
        EXPECT_EQ(finer.view->ZELComponent[1].samplingFlag, 1);
        EXPECT_EQ(finer.view->ZELComponent[1].samplingFactor, static_cast<int>(ratio));
        const Far coarser(column(1, 1), column(ratio, 1));
        EXPECT_EQ(coarser.result, 0) << ratio;
        EXPECT_EQ(coarser.view->ZELComponent[1].samplingFlag, 2);
        EXPECT_EQ(coarser.view->ZELComponent[1].samplingFactor, static_cast<int>(ratio));
        EXPECT_EQ(finer.err + coarser.err, "");
    }
    for (const float ratio : {2147483648.0f, 1e30f}) {
        EXPECT_EQ(Far(column(ratio, 1), column(1, 1)).result, -1) << ratio;
        EXPECT_EQ(Far(column(1, 1), column(ratio, 1)).result, -1) << ratio;
    }
    EXPECT_EQ(Far(column(1, 1), column(0, 1)).result, -1);
}

// 65536 lines of the 65536 of a block hold one pixel of 65536 each: a sum of 2^32 over 2^32 pixels.
TEST(FarResolutions, AverageBlocksOfMorePixelsThanAnInt)
{
    const Far far(column(65536, 1), column(1, 65536));
    ASSERT_EQ(far.result, 0);
    run([&] { EXPECT_EQ(ZELReadLine(far.view.get()), 1); });
    EXPECT_EQ(far.view->Channels[1].ChannelData[0], 1.0f);
}

TEST(FarResolutions, RepeatAPixelAcrossAndDown)
{
    const Far far(column(1, 3), column(40000, 1));
    ASSERT_EQ(far.result, 0);
    for (int line = 0; line < 3; ++line) {
        run([&] { EXPECT_EQ(ZELReadLine(far.view.get()), 1); });
        EXPECT_EQ(far.view->Channels[1].ChannelData[0], 65536.0f);
    }
    run([&] { EXPECT_EQ(ZELReadLine(far.view.get()), 0); });
}

}  // namespace
