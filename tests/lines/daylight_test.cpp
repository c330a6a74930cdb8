// Where the sun stands at most 85 degrees from the zenith, found for pixels in blocks, is where the
// angles of the pixels say so.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "lines/angles.hpp"
#include "zel_navigate.h"

namespace {

// A line whose positions are given, with what its angles are computed from.
class Line {
public:
    Line(int julian, double time, std::size_t pixels) : lat(pixels), lon(pixels), angles(3 * pixels)
    {
        file->ZELHeader.julian = static_cast<std::int16_t>(julian);
        file->ZELHeader.NumNavPoints = 2;
        file->ZELHeader.NPixelPerLine = static_cast<std::int16_t>(pixels);
        file->ZELHeader.SatelliteAltitude = 705.0f;
        file->ZELHeader.SZChannelIndex = -1;
        file->ZELHeader.VZChannelIndex = -1;
        file->ZELHeader.AZChannelIndex = -1;
        file->ScanTime = time;
        file->Lat = lat.data();
        file->Lon = lon.data();
        file->LatLonInterpolated = 1;
        file->SolarZenith = angles.data();
        file->ViewZenith = angles.data() + pixels;
        file->Azimuth = angles.data() + 2 * pixels;
    }

    // Along a straight line on the map from one position to another, across the date line too.
    void run(float lat0, float lon0, float lat1, float lon1)
    {
        const auto last = static_cast<float>(lat.size() - 1);
        for (std::size_t x = 0; x < lat.size(); ++x) {
            const float part = static_cast<float>(x) / last;
            lat[x] = lat0 + (lat1 - lat0) * part;
            lon[x] = lon0 + (lon1 - lon0) * part;
            if (lon[x] > 180.0f) lon[x] -= 360.0f;
        }
    }

    std::vector<std::uint8_t> daylight()
    {
        std::vector<std::uint8_t> marks(lat.size(), 7);
        zel::markDaylight(*file, marks.data());
        return marks;
    }

    // By the zenith angle of each pixel.
    std::vector<std::uint8_t> byAngles()
    {
        ZELCalculateLineOfAngles(file.get(), 0.0f, 0.0f);
        file->SolarAnglesCalculated = 0;
        std::vector<std::uint8_t> marks;
        for (std::size_t x = 0; x < lat.size(); ++x) marks.push_back(angles[x] <= 85.0f ? 1 : 0);
        return marks;
    }

    std::unique_ptr<ZELType> file = std::make_unique<ZELType>();
    std::vector<float> lat, lon, angles;
};

TEST(Daylight, FollowsTheAnglesOfEachPixelOnRandomLines)
{
    std::mt19937 random(11);
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    int mixed = 0;
    for (int round = 0; round < 3000; ++round) {
        Line line(1 + static_cast<int>(random() % 366), 24.0 * static_cast<double>(unit(random)),
                  1 + random() % 200);
        const float lat = 180.0f * unit(random) - 90.0f;
        const float lon = 360.0f * unit(random) - 180.0f;
        const float size = std::pow(10.0f, 3.0f * unit(random) - 1.3f);  // degrees
        line.run(lat, lon, std::clamp(lat + size * (unit(random) - 0.5f), -90.0f, 90.0f),
                 lon + size * unit(random));
        const auto marks = line.daylight();
        ASSERT_EQ(marks, line.byAngles()) << "round " << round;
        mixed += std::count(marks.begin(), marks.end(), 0) % static_cast<int>(marks.size()) != 0;
    }
    EXPECT_GT(mixed, 20) << "too few lines cross the limit to tell anything";
}

TEST(Daylight, APixelAtTheLimitIsDecidedByItsOwnAngle)
{
    // At noon near an equinox the zenith angle is close to the latitude: steps of 0.0006 degrees.
    Line line(80, 12.0, 2001);
    line.run(84.4f, 0.0f, 85.6f, 0.0f);
    const auto marks = line.daylight();
    EXPECT_EQ(marks, line.byAngles());
    EXPECT_EQ(marks.front(), 1);
    EXPECT_EQ(marks.back(), 0);
}

TEST(Daylight, PolesAndTheDateLineAreNoExceptions)
{
    for (const int julian : {1, 80, 172, 266, 356})
        for (const double time : {0.01, 6.0, 11.9, 18.3}) {
            Line line(julian, time, 300);
            line.run(-90.0f, -180.0f, 90.0f, 180.0f);
            EXPECT_EQ(line.daylight(), line.byAngles());
            line.run(60.0f, 179.0f, 61.0f, 182.0f);
            EXPECT_EQ(line.daylight(), line.byAngles());
        }
}

TEST(Daylight, ALineWithoutGeometryIsLit)
{
    Line line(172, 0.0, 40);  // no scan time: the angles are 0
    EXPECT_EQ(line.daylight(), std::vector<std::uint8_t>(40, 1));
}

TEST(Daylight, AnglesThatTheLineHasDecide)
{
    Line line(172, 12.0, 3);
    line.angles[0] = 85.0f;
    line.angles[1] = 85.00001f;
    line.angles[2] = NAN;
    line.file->SolarAnglesCalculated = 1;
    EXPECT_EQ(line.daylight(), (std::vector<std::uint8_t>{1, 0, 0}));
    EXPECT_EQ(line.file->SolarAnglesCalculated, 1);
}

}  // namespace
