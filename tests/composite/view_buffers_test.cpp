// What the buffers of a view hold after a line was read: stored pixels, values, positions and
// angles.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "support/file_builder.hpp"
#include "support/outcome.hpp"

namespace {

using zel_test::Bytes;
using zel_test::run;
using zel_test::Scene;

using Values = std::vector<float>;

// Byte channels of stored steps 0, 2, 4 ... 510: what is stored is not what it stands for.
Scene sceneOf(float resolution, const std::vector<Bytes>& lines)
{
    Scene scene;
    scene.resolution = resolution;
    scene.pixels = static_cast<int>(lines[0].size());
    scene.slots = {zel_test::channel(1, "scaled", 510.0f, 0.0f)};
    for (const Bytes& pixels : lines) {
        zel_test::Line line;
        line.scanTime = 9.0;
        line.pixels[0] = pixels;
        scene.lines.push_back(line);
    }
    return scene;
}

// A composite of three grids; the view has that of the first component.
class View : public testing::Test {
protected:
    View()
    {
        const std::string path = dir.path("three.zel");
        zel_test::writeFile(path,
                            zel_test::buildComposite({sceneOf(1000, {{1, 2, 3, 4}, {5, 6, 7, 8}}),
                                                      sceneOf(2000, {{50, 60}}),
                                                      sceneOf(500, {{10, 20, 30, 30, 1, 1, 1, 1},
                                                                    {20, 30, 10, 10, 1, 1, 1, 1},
                                                                    Bytes(8, 40),
                                                                    Bytes(8, 40)})}));
        run([&] { ZELOpenReadOnlyFile(record.get(), path.c_str()); });
    }
    ~View() override
    {
        run([&] { ZELFinishReadingFile(record.get()); });
    }
    Bytes stored(int slot) const { return {record->PixBuf[slot], record->PixBuf[slot] + 4}; }
    Values values(int slot) const
    {
        const float* data = record->Channels[slot].ChannelData;
        return {data, data + 4};
    }
    static void fill(ZELType& file, float value)
    {
        for (int slot = 0; slot < file.NumTotalChans; ++slot)
            std::fill_n(file.Channels[slot].ChannelData, file.ZELHeader.NPixelPerLine, value);
    }

    zel_test::TempDir dir;
    std::unique_ptr<ZELType> record = zel_test::junkRecord();
};

TEST_F(View, HoldsStoredPixelsAndValues)
{
    ASSERT_EQ(ZELReadLine(record.get()), 4);
    EXPECT_EQ(stored(0), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(values(0), (Values{2, 4, 6, 8}));
    EXPECT_EQ(stored(1), (Bytes{50, 50, 60, 60}));
    EXPECT_EQ(values(1), (Values{100, 100, 120, 120}));
    EXPECT_EQ(stored(2), (Bytes{20, 20, 1, 1}));
    EXPECT_EQ(values(2), (Values{40, 40, 2, 2}));
}

// The mean of several pixels is one of values; that of stored pixels would depend on their scale.
TEST_F(View, WithoutScalingHoldsStoredPixelsAndOnlyTheValuesOfMeans)
{
    fill(*record, -1.0f);
    for (int i = 0; i < 3; ++i) fill(record->ZELComponent[i], -2.0f);
    ASSERT_EQ(ZELReadLineNoScale(record.get()), 4);
    EXPECT_EQ(stored(0), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(values(0), Values(4, -1.0f));
    EXPECT_EQ(record->ZELComponent[0].Channels[0].ChannelData[0], -2.0f);
    EXPECT_EQ(stored(1), (Bytes{50, 50, 60, 60}));
    EXPECT_EQ(values(1), Values(4, -1.0f));
    EXPECT_EQ(record->ZELComponent[1].Channels[0].ChannelData[0], -2.0f);
    EXPECT_EQ(stored(2), (Bytes{20, 20, 1, 1}));
    EXPECT_EQ(values(2), (Values{40, 40, 2, 2}));
    EXPECT_EQ(record->ZELComponent[2].Channels[0].ChannelData[0], 40.0f) << "of its second line";
    ASSERT_EQ(ZELReadLineNoScale(record.get()), 4);
    EXPECT_EQ(stored(0), (Bytes{5, 6, 7, 8}));
    EXPECT_EQ(stored(1), (Bytes{50, 50, 60, 60}));
    EXPECT_EQ(stored(2), Bytes(4, 40));
    EXPECT_EQ(ZELReadLineNoScale(record.get()), 0);
}

// On the equator, on a day with the sun above it: the solar zenith is the hour angle, which falls
// by 15 degrees from one line to the next, an hour later. The second component lies elsewhere.
TEST(ViewLine, HasPositionsAndAnglesOfItsOwnLineOfTheBase)
{
    Scene base = sceneOf(1000, {{1, 2, 3}, {4, 5, 6}});
    base.julian = 80;  // declination -0.0848, equation of time 1.879
    base.navPoints = 2;
    base.navInterval = 2;
    base.altitude = 833;
    base.lines[1].scanTime = 10.0;
    for (zel_test::Line& line : base.lines) {
        line.nadir = 1;
        line.lats = {0, 0};
    }
    base.lines[0].lons = {0, 2};
    base.lines[1].lons = {0.5f, 2.5f};
    Scene other = base;
    other.lines[0].lats = other.lines[1].lats = {45, 46};
    const zel_test::TempDir dir;
    zel_test::writeFile(dir.path("f"), zel_test::buildComposite({other, base}, 1));
    auto record = zel_test::junkRecord();
    run([&] { ZELOpenReadOnlyFile(record.get(), dir.path("f").c_str()); });
    float *lat = nullptr, *lon = nullptr, *sz = nullptr, *vz = nullptr, *az = nullptr;
    for (int line = 0; line < 2; ++line) {
        ASSERT_EQ(ZELReadLine(record.get()), 3);
        const float shift = 0.5f * static_cast<float>(line);
        ZELFetchNavigation(record.get(), &lat, &lon);
        for (int x = 0; x < 3; ++x) {
            EXPECT_EQ(lat[x], 0.0f);
            EXPECT_EQ(lon[x], shift + static_cast<float>(x));
        }
        ZELFetchSolar(record.get(), &sz, &vz, &az);
        // (scan time - 12) * 15 + longitude - 1.879, without its sign
        EXPECT_NEAR(sz[0], 46.879f - 15.5f * static_cast<float>(line), 0.01f);
        EXPECT_NEAR(sz[2], 44.879f - 15.5f * static_cast<float>(line), 0.01f);
        EXPECT_EQ(vz[1], 0.0f);
        EXPECT_EQ(az[1], 0.0f);
        // One degree from the nadir, with the satellite at 7204.03 km and the ground at 6378.374:
        // the distance is 834.089 km, and the zenith asin(sin(1) / 834.089 * 7204.03).
        EXPECT_NEAR(vz[0], 8.669f, 0.01f);
        EXPECT_NEAR(vz[2], 8.669f, 0.01f);
        // The sun is in the east, and so is the satellite from the western pixel.
        EXPECT_NEAR(az[0], 180.0f, 0.5f);
        EXPECT_NEAR(az[2], 0.0f, 0.5f);
    }
    run([&] { ZELFinishReadingFile(record.get()); });
}

}  // namespace
