// Positions of every pixel from a line's navigation points, and the points themselves.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "support/file_builder.hpp"
#include "support/writer.hpp"

namespace {

using zel_test::run;
using zel_test::Writer;

using Values = std::vector<float>;

// A file of one line with these navigation points, read and interpolated.
struct Interpolated {
    Values lat, lon;
    int valid = -1;
    bool ended = false;
};

Interpolated interpolate(int pixels, int start, int interval, const Values& lats,
                         const Values& lons)
{
    zel_test::Scene scene;
    scene.slots.resize(1);
    scene.pixels = pixels;
    scene.navPoints = static_cast<int>(lats.size());
    scene.startNav = start;
    scene.navInterval = interval;
    zel_test::Line line;
    line.scanTime = 12;
    line.lats = lats;
    line.lons = lons;
    scene.lines = {line};
    zel_test::OpenedFile file(build(scene).bytes);
    EXPECT_EQ(file.result, 0) << file.outcome.out;
    Interpolated result;
    const auto outcome = run([&] {
        ZELReadLine(file.get());
        ZELInterpolateLatLong(file.get());
    });
    result.ended = outcome.ended;
    result.lat.assign(file->Lat, file->Lat + pixels);
    result.lon.assign(file->Lon, file->Lon + pixels);
    result.valid = file->LatLonInterpolated;
    return result;
}

Values latitudes(int pixels, int start, int interval, const Values& lats)
{
    return interpolate(pixels, start, interval, lats, Values(lats.size())).lat;
}

Values longitudes(int pixels, int start, int interval, const Values& lons)
{
    return interpolate(pixels, start, interval, Values(lons.size()), lons).lon;
}

TEST(Interpolate, WithoutPointsEveryPositionIsMissingAndNothingIsValid)
{
    const Interpolated line = interpolate(3, 0, 1, {}, {});
    EXPECT_EQ(line.lat, (Values{-9999, -9999, -9999}));
    EXPECT_EQ(line.lon, (Values{-9999, -9999, -9999}));
    EXPECT_EQ(line.valid, 0);
}

TEST(Interpolate, WithAPointAtEveryPixelThePointsAreCopied)
{
    const Interpolated line =
        interpolate(4, 0, 1, {10.1f, -20.2f, 30.3f, 95.0f}, {170.7f, -170.7f, 181.0f, 0.1f});
    EXPECT_EQ(line.lat, (Values{10.1f, -20.2f, 30.3f, 95.0f}));
    EXPECT_EQ(line.lon, (Values{170.7f, -170.7f, 181.0f, 0.1f}));
    EXPECT_EQ(line.valid, 1);
}

TEST(Interpolate, MorePointsThanPixelsAreCutAtTheLine)
{
    const Interpolated line = interpolate(3, 0, 1, {1, 2, 3, 4, 5}, {6, 7, 8, 9, 10});
    EXPECT_EQ(line.lat, (Values{1, 2, 3}));
    EXPECT_EQ(line.lon, (Values{6, 7, 8}));
}

TEST(Interpolate, APointAtEveryPixelFromALaterStartIsExtrapolatedBackwards)
{
    EXPECT_EQ(latitudes(4, 1, 1, {10, 11, 13}), (Values{9, 10, 11, 13}));
}

TEST(Interpolate, ExactlyOnePointIsEveryPixelsPosition)
{
    const Interpolated line = interpolate(4, 1, 3, {45.5f}, {-100.25f});
    EXPECT_FALSE(line.ended);
    EXPECT_EQ(line.lat, Values(4, 45.5f));
    EXPECT_EQ(line.lon, Values(4, -100.25f));
}

TEST(Interpolate, EachSegmentHasItsOwnStep)
{
    EXPECT_EQ(latitudes(9, 0, 4, {10, 12, 8}), (Values{10, 10.5f, 11, 11.5f, 12, 11, 10, 9, 8}));
    EXPECT_EQ(longitudes(9, 0, 4, {10, 12, 8}), (Values{10, 10.5f, 11, 11.5f, 12, 11, 10, 9, 8}));
}

TEST(Interpolate, PixelsBeforeTheFirstPointContinueTheFirstStep)
{
    EXPECT_EQ(latitudes(7, 2, 4, {10, 12}), (Values{9, 9.5f, 10, 10.5f, 11, 11.5f, 12}));
    EXPECT_EQ(longitudes(7, 2, 4, {10, 12}), (Values{9, 9.5f, 10, 10.5f, 11, 11.5f, 12}));
}

TEST(Interpolate, PixelsAfterTheLastPointContinueTheLastStep)
{
    EXPECT_EQ(latitudes(8, 0, 2, {10, 11, 9}), (Values{10, 10.5f, 11, 10, 9, 8, 7, 6}));
    EXPECT_EQ(longitudes(8, 0, 2, {10, 11, 9}), (Values{10, 10.5f, 11, 10, 9, 8, 7, 6}));
}

TEST(Interpolate, ASegmentThatLeavesTheLineIsCutThere)
{
    EXPECT_EQ(latitudes(6, 0, 4, {10, 12, 8}), (Values{10, 10.5f, 11, 11.5f, 12, 11}));
    EXPECT_EQ(latitudes(3, 0, 4, {10, 12, 8}), (Values{10, 10.5f, 11}));
    EXPECT_EQ(longitudes(6, 0, 4, {10, 12, 8}), (Values{10, 10.5f, 11, 11.5f, 12, 11}));
}

TEST(Interpolate, IsValidAfterwards)
{
    EXPECT_EQ(interpolate(5, 0, 4, {1, 2}, {1, 2}).valid, 1);
}

// A tenth is no binary fraction: ten of them are not one.
TEST(Interpolate, ValuesAccumulateAndAreNotResetAtThePoints)
{
    Values expected(21);
    const float step = 1.0f / 10.0f;
    for (std::size_t x = 1; x < expected.size(); ++x) expected[x] = expected[x - 1] + step;
    ASSERT_NE(expected[10], 1.0f);
    EXPECT_EQ(latitudes(21, 0, 10, {0, 1, 2}), expected);
    EXPECT_EQ(longitudes(21, 0, 10, {0, 1, 2}), expected);
}

TEST(Interpolate, EastwardsAcrossTheDateLineRunsThrough180)
{
    EXPECT_EQ(longitudes(5, 0, 4, {179, -179}), (Values{179, 179.5f, 180, -179.5f, -179}));
}

TEST(Interpolate, WestwardsAcrossTheDateLineRunsThroughMinus180)
{
    EXPECT_EQ(longitudes(5, 0, 4, {-179, 179}), (Values{-179, -179.5f, -180, 179.5f, 179}));
}

TEST(Interpolate, GoesOnAfterACrossing)
{
    EXPECT_EQ(longitudes(9, 0, 4, {179, -179, -175}),
              (Values{179, 179.5f, 180, -179.5f, -179, -178, -177, -176, -175}));
    EXPECT_EQ(longitudes(9, 0, 4, {-179, 179, 175}),
              (Values{-179, -179.5f, -180, 179.5f, 179, 178, 177, 176, 175}));
}

TEST(Interpolate, ADifferenceOfExactly180IsNoCrossing)
{
    EXPECT_EQ(longitudes(5, 0, 4, {0, 180}), (Values{0, 45, 90, 135, 180}));
    EXPECT_EQ(longitudes(5, 0, 4, {0, -180}), (Values{0, -45, -90, -135, -180}));
}

TEST(Interpolate, BothNamesOfTheDateLineAreOnePlace)
{
    EXPECT_EQ(longitudes(5, 0, 4, {-180, 180}), Values(5, -180));
    EXPECT_EQ(longitudes(5, 0, 4, {180, -180}), Values(5, 180));
}

// Going west nothing passes 180 from below, going east nothing -180 from above: longitudes that
// stand beyond it already stay there, until the tail puts them right.
TEST(Interpolate, InsideACrossingOnlyItsOwnSideIsWrapped)
{
    EXPECT_EQ(longitudes(6, 0, 4, {200, -170}), (Values{200, 197.5f, 195, 192.5f, 190, -172.5f}));
    EXPECT_EQ(longitudes(6, 0, 4, {-200, 170}),
              (Values{-200, -197.5f, -195, -192.5f, -190, 172.5f}));
}

TEST(Interpolate, FromLongitudeZeroACrossingGoesWest)
{
    EXPECT_EQ(longitudes(5, 0, 4, {0, 200}), (Values{0, -40, -80, -120, -160}));
}

TEST(Interpolate, ASegmentThatDoesNotCrossIsNotWrapped)
{
    EXPECT_EQ(longitudes(5, 0, 4, {179, 181}), (Values{179, 179.5f, 180, 180.5f, 181}));
    EXPECT_EQ(longitudes(5, 0, 4, {-179, -181}), (Values{-179, -179.5f, -180, -180.5f, -181}));
}

TEST(Interpolate, BackwardsFromTheFirstPointWrapsBelowMinus180)
{
    EXPECT_EQ(longitudes(7, 2, 4, {-179.5f, -177.5f}),
              (Values{179.5f, -180, -179.5f, -179, -178.5f, -178, -177.5f}));
}

TEST(Interpolate, BackwardsFromTheFirstPointWrapsAbove180)
{
    EXPECT_EQ(longitudes(7, 2, 4, {179.5f, 177.5f}),
              (Values{-179.5f, 180, 179.5f, 179, 178.5f, 178, 177.5f}));
}

TEST(Interpolate, BackwardsFromAFirstSegmentThatCrossesTakesTheShortStep)
{
    EXPECT_EQ(longitudes(7, 2, 4, {179, -179}),
              (Values{178, 178.5f, 179, 179.5f, 180, -179.5f, -179}));
    EXPECT_EQ(longitudes(7, 2, 4, {-179, 179}),
              (Values{-178, -178.5f, -179, -179.5f, -180, 179.5f, 179}));
}

TEST(Interpolate, TheTailWrapsAbove180)
{
    EXPECT_EQ(longitudes(6, 0, 2, {178.5f, 179.5f}),
              (Values{178.5f, 179, 179.5f, 180, -179.5f, -179}));
}

TEST(Interpolate, TheTailWrapsBelowMinus180)
{
    EXPECT_EQ(longitudes(6, 0, 2, {-178.5f, -179.5f}),
              (Values{-178.5f, -179, -179.5f, -180, 179.5f, 179}));
}

TEST(Interpolate, TheTailAfterACrossingKeepsTheShortStep)
{
    EXPECT_EQ(longitudes(7, 0, 4, {179, -179}),
              (Values{179, 179.5f, 180, -179.5f, -179, -178.5f, -178}));
}

TEST(Interpolate, LatitudesAreNotWrapped)
{
    EXPECT_EQ(latitudes(6, 0, 2, {89, 90}), (Values{89, 89.5f, 90, 90.5f, 91, 91.5f}));
}

TEST(BadLatLon, TheBoundsThemselvesAreValid)
{
    ZELClearBadLatLonCount();
    EXPECT_EQ(ZELBadLatLon(90, 180), 0);
    EXPECT_EQ(ZELBadLatLon(-90, -180), 0);
    EXPECT_EQ(ZELBadLatLon(0, 0), 0);
    EXPECT_EQ(ZELGetBadLatLonCount(), 0);
}

TEST(BadLatLon, EveryInvalidPositionCounts)
{
    ZELClearBadLatLonCount();
    EXPECT_EQ(ZELBadLatLon(90.5f, 0), 1);
    EXPECT_EQ(ZELBadLatLon(std::nextafter(-90.0f, -100.0f), 0), 1);
    EXPECT_EQ(ZELBadLatLon(0, std::nextafter(180.0f, 200.0f)), 1);
    EXPECT_EQ(ZELBadLatLon(0, -180.5f), 1);
    EXPECT_EQ(ZELBadLatLon(91, 181), 1);
    EXPECT_EQ(ZELGetBadLatLonCount(), 5);
    EXPECT_EQ(BadLatLonCount, 5);
    ZELClearBadLatLonCount();
    EXPECT_EQ(ZELGetBadLatLonCount(), 0);
}

TEST(BadLatLon, ANotANumberPassesAsValid)
{
    ZELClearBadLatLonCount();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(ZELBadLatLon(nan, nan), 0);
    EXPECT_EQ(ZELBadLatLon(nan, 0), 0);
    EXPECT_EQ(ZELGetBadLatLonCount(), 0);
}

TEST(LoadNavigation, SetsTimeAndPointsOfTheNextLine)
{
    Writer writer(4, 2);
    writer.open();
    writer->LatLonInterpolated = writer->SolarAnglesCalculated = 1;
    const float lats[] = {1.5f, 2.5f}, lons[] = {3.5f, 4.5f};
    ZELLoadNavigation(writer.get(), 17.125, lats, lons);
    EXPECT_EQ(writer->ScanTime, 17.125);
    EXPECT_EQ(Values(writer->LatBuffer, writer->LatBuffer + 2), (Values{1.5f, 2.5f}));
    EXPECT_EQ(Values(writer->LonBuffer, writer->LonBuffer + 2), (Values{3.5f, 4.5f}));
    EXPECT_EQ(writer->LatLonInterpolated, 0);
    EXPECT_EQ(writer->SolarAnglesCalculated, 0);
}

TEST(LoadNavigation, WithoutPointsThereIsNoLatitudeBuffer)
{
    Writer writer(4, 0);
    writer.open();
    writer->LatLonInterpolated = writer->SolarAnglesCalculated = 1;
    float old = 0;
    writer->LatBuffer = &old;
    ZELLoadNavigation(writer.get(), 3.5, nullptr, nullptr);
    EXPECT_EQ(writer->ScanTime, 3.5);
    EXPECT_EQ(writer->LatBuffer, nullptr);
    EXPECT_EQ(writer->LatLonInterpolated, 0);
    EXPECT_EQ(writer->SolarAnglesCalculated, 0);
}

TEST(LoadNavigation, ASinglePointIsLoadedToo)
{
    Writer writer(4, 1);
    writer.open();
    const float lat = 1.5f, lon = 2.5f;
    ZELLoadNavigation(writer.get(), 3.5, &lat, &lon);
    ASSERT_NE(writer->LatBuffer, nullptr);
    EXPECT_EQ(writer->LatBuffer[0], 1.5f);
    EXPECT_EQ(writer->LonBuffer[0], 2.5f);
}

TEST(CopyNavigation, CopiesTimeAltitudeAndPoints)
{
    zel_test::OpenedFile from(build(zel_test::smallScene()).bytes);
    ZELReadLine(from.get());
    Writer to(4, 2);
    to.open();
    to->LatLonInterpolated = to->SolarAnglesCalculated = 1;
    ZELCopyNavigation(to.get(), from.get());
    EXPECT_EQ(to->ScanTime, 10.25);
    EXPECT_EQ(to->ScanAltitude, 700.5f);
    EXPECT_EQ(Values(to->LatBuffer, to->LatBuffer + 2), (Values{40.0f, 41.5f}));
    EXPECT_EQ(Values(to->LonBuffer, to->LonBuffer + 2), (Values{-100.0f, -98.5f}));
    EXPECT_NE(to->LatBuffer, from->LatBuffer);
    EXPECT_EQ(to->LatLonInterpolated, 0);
    EXPECT_EQ(to->SolarAnglesCalculated, 0);
}

TEST(CopyNavigation, FromAFileWithoutPointsDropsTheDestinationsBuffers)
{
    zel_test::Scene scene = zel_test::smallScene();
    scene.navPoints = 0;
    zel_test::OpenedFile from(build(scene).bytes);
    ZELReadLine(from.get());
    Writer to(4, 2);
    to.open();
    float* const lats = to->LatBuffer;
    float* const lons = to->LonBuffer;
    ZELCopyNavigation(to.get(), from.get());
    EXPECT_EQ(to->ScanTime, 10.25);
    EXPECT_EQ(to->LatBuffer, nullptr);
    EXPECT_EQ(to->LonBuffer, nullptr);
    to->LatBuffer = lats;  // they were not freed: give them back
    to->LonBuffer = lons;
}

TEST(Navigation, TheScanAltitudeIsPlainAccess)
{
    Writer writer;
    ZELSetScanAltitude(writer.get(), 812.5f);
    EXPECT_EQ(writer->ScanAltitude, 812.5f);
}

TEST(Navigation, TheAngleChannelsAreFieldsOfTheHeader)
{
    Writer writer;
    ZELSetSolarChannels(writer.get(), 7, 8, 9);
    EXPECT_EQ(writer->ZELHeader.SZChannelIndex, 7);
    EXPECT_EQ(writer->ZELHeader.VZChannelIndex, 8);
    EXPECT_EQ(writer->ZELHeader.AZChannelIndex, 9);
}

}  // namespace
