// Sun and view angles of every pixel, beside a computation of our own in double precision.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/file_builder.hpp"
#include "support/writer.hpp"

namespace {

using zel_test::run;
using zel_test::Writer;

constexpr double degrees = 57.29577951;  // per radian
// Both compute in double precision. What is left is the result's single precision, and that of the
// almanac: a difference in the fifth decimal place of an angle is one of the arithmetic.
constexpr double tolerance = 1.0e-4;

// Day of year with the sun's declination and equation of time, degrees, as an almanac lists them.
struct Day {
    int julian;
    double declination, delon;
};
constexpr Day newYear{1, -23.0672, 0.768}, spring{80, -0.0848, 1.879},
    midsummer{173, 23.4420, 0.421}, november{308, -15.1205, -4.097}, leapDay{366, -23.0672, 0.738};

struct Angles {
    double sz, vz, az;
};

double clamped(double cosine)
{
    return std::clamp(cosine, -1.0, 1.0);
}

Angles anglesAt(double lat, double lon, double nadirLat, double nadirLon, double altitude,
                double scanTime, const Day& day)
{
    const double phi = lat / degrees, lambda = lon / degrees;
    const double phiN = nadirLat / degrees, lambdaN = nadirLon / degrees;
    const double delta = day.declination / degrees;
    const double hour = (scanTime - 12.0 + (lon - day.delon) / 15.0) * 15.0 / degrees;
    const double cosSun = clamped(cos(hour) * cos(delta) * cos(phi) + sin(delta) * sin(phi));
    const double cosB =
        clamped(cos(lambda - lambdaN) * cos(phiN) * cos(phi) + sin(phiN) * sin(phi));
    const double sinB = sin(acos(cosB));
    const double orbit = altitude + 6371.03;
    const double radius = (0.99999788 - 0.00335208 * sin(phi) * sin(phi)) * 6378.388;
    const double range = sqrt(radius * radius + orbit * orbit - 2 * orbit * radius * cosB);
    const double cosS =
        cos(lambda - lambdaN - hour) * cos(phiN) * cos(delta) + sin(phiN) * sin(delta);
    const double cosA = (cosS - cosSun * cosB) / (sqrt(1 - cosSun * cosSun) * sinB);
    return {acos(cosSun) * degrees, asin(clamped(sinB / range * orbit)) * degrees,
            180 - acos(clamped(cosA)) * degrees};
}

void expectNear(const Angles& got, const Angles& expected)
{
    EXPECT_NEAR(got.sz, expected.sz, tolerance);
    EXPECT_NEAR(got.vz, expected.vz, tolerance);
    EXPECT_NEAR(got.az, expected.az, tolerance);
}

Angles utilAngles(float lat, float lon, float altitude, int julian, float nadirLat, float nadirLon,
                  float scanTime)
{
    float sz = -1, vz = -1, az = -1;
    ZEL_UTILCalculateAngle(lat, lon, altitude, julian, nadirLat, nadirLon, scanTime, &sz, &vz, &az);
    return {sz, vz, az};
}

struct Case {
    float lat, lon, nadirLat, nadirLon, altitude, scanTime;
    Day day;
};

class AnglesOf : public testing::TestWithParam<Case> {};

TEST_P(AnglesOf, OnePositionAreThoseOfSphericalGeometry)
{
    const Case& c = GetParam();
    expectNear(
        utilAngles(c.lat, c.lon, c.altitude, c.day.julian, c.nadirLat, c.nadirLon, c.scanTime),
        anglesAt(c.lat, c.lon, c.nadirLat, c.nadirLon, c.altitude, c.scanTime, c.day));
}

INSTANTIATE_TEST_SUITE_P(
    Positions, AnglesOf,
    testing::Values(Case{40, -100, 41, -108, 833, 18.5f, midsummer},
                    Case{40, -116, 41, -108, 833, 18.5f, midsummer},
                    Case{-33.5f, 151.25f, -30, 147, 705, 1.25f, newYear},
                    Case{-33.5f, 151.25f, -30, 147, 705, 23.5f, leapDay},
                    Case{67.25f, 25, 60, 20, 860, 9.75f, november},
                    Case{5.5f, -60.5f, 3, -55, 402.5f, 14, spring},
                    Case{0, 10, 0, 4, 355, 11, spring},
                    Case{12, 179.5f, 10, -176, 833, 0.5f, midsummer},  // across the date line
                    Case{-75, 10, -70, -20, 833, 15, newYear},
                    Case{50, 0, 0, 0, 35786, 10, november},   // from a geostationary orbit
                    Case{20, 30, 25, 37, 833, 22, spring}));  // at night

// Worked by hand: on the equator at an equinox the sun stands as many degrees from the zenith as
// the hour angle says.
TEST(AnglesByHand, TheHourAngleIsTheSolarZenithOnTheEquatorAtAnEquinox)
{
    // Declination -0.0848 and equation of time 1.879: hour angle (9 - 12) * 15 + 0 - 1.879.
    EXPECT_NEAR(utilAngles(0, 0, 833, 80, 1, 1, 9).sz, 46.879, 0.01);
    EXPECT_NEAR(utilAngles(0, 31.879f, 833, 80, 1, 30, 9).sz, 15.0, 0.01);
}

// All on one meridian: the pixel looks south to the sun, and to the satellite south or north of it.
TEST(AnglesByHand, TheAzimuthIs180WithSunAndSatelliteOnTheSameSideAnd0OnOpposite)
{
    const float noon = 12 + 0.421f / 15;  // hour angle 0 at longitude 0 on day 173
    EXPECT_NEAR(utilAngles(50, 0, 833, 173, 45, 0, noon).az, 180.0, 0.5);
    EXPECT_NEAR(utilAngles(50, 0, 833, 173, 55, 0, noon).az, 0.0, 0.5);
}

TEST(AnglesUtil, AreZeroWhenTheAltitudeTruncatesToZero)
{
    const Angles none = utilAngles(40, -100, 0.99f, 173, 41, -108, 18.5f);
    EXPECT_EQ(none.sz, 0);
    EXPECT_EQ(none.vz, 0);
    EXPECT_EQ(none.az, 0);
    EXPECT_GT(utilAngles(40, -100, 1, 173, 41, -108, 18.5f).sz, 0);
}

TEST(AnglesUtil, AreZeroWithoutAScanTime)
{
    const Angles none = utilAngles(40, -100, 833, 173, 41, -108, 0);
    EXPECT_EQ(none.sz, 0);
    EXPECT_EQ(none.vz, 0);
    EXPECT_EQ(none.az, 0);
}

TEST(AnglesUtil, AreZeroAtAnInvalidPositionWhichIsCounted)
{
    ZELClearBadLatLonCount();
    const Angles none = utilAngles(90.5f, -100, 833, 173, 41, -108, 18.5f);
    EXPECT_EQ(none.sz, 0);
    EXPECT_EQ(none.vz, 0);
    EXPECT_EQ(none.az, 0);
    EXPECT_EQ(ZELGetBadLatLonCount(), 1);
    ZELClearBadLatLonCount();
}

TEST(AnglesUtil, APositionIsNotLookedAtWithoutAltitudeOrTime)
{
    ZELClearBadLatLonCount();
    EXPECT_EQ(utilAngles(90.5f, -100, 0.99f, 173, 41, -108, 18.5f).sz, 0);
    EXPECT_EQ(utilAngles(90.5f, -100, 833, 173, 41, -108, 0).sz, 0);
    EXPECT_EQ(ZELGetBadLatLonCount(), 0);
}

// Right below the sun, and where the sun is right below, no direction leads to it. The cosine of
// the zenith is a sum of squares there, which for the declination of this day is exactly 1.
TEST(AnglesUtil, WithTheSunInTheZenithOrTheNadirTheAzimuthIsZero)
{
    const auto lat = static_cast<float>(midsummer.declination);
    const auto lon = static_cast<float>(midsummer.delon);
    for (const float nadirLon : {-5.0f, 5.0f}) {
        const Angles below = utilAngles(lat, lon, 833, 173, lat - 4, nadirLon, 12);
        EXPECT_EQ(below.sz, 0);
        EXPECT_EQ(below.az, 0);
        EXPECT_GT(below.vz, 10);
        const Angles opposite = utilAngles(-lat, lon, 833, 173, 4 - lat, nadirLon, 24);
        EXPECT_FLOAT_EQ(static_cast<float>(opposite.sz), 180.0f);
        EXPECT_EQ(opposite.az, 0);
        EXPECT_GT(opposite.vz, 10);
    }
}

// A pixel 8.4295e-8 radians, 54 cm on the ground, west of the nadir: the cosine is 1 - 32 * 2^-53.
// It sees the satellite, at 7221.03 km, 8.4295e-8 * 7221.03 / (7221.03 - 6378.374478) radians from
// its zenith in the east, where the sun stands as well, at an hour angle of -46.879 degrees.
TEST(AnglesByHand, APixelNextToTheNadirIsNotTheNadir)
{
    const float lon = 4.82975e-6f;
    const Angles west = utilAngles(0, -lon, 850, 80, 0, 0, 9);
    EXPECT_NEAR(west.vz, 8.4295e-8 * 7221.03 / 842.655522 * degrees, 1e-7);
    EXPECT_NEAR(west.az, 180.0, 2.0);
    EXPECT_NEAR(utilAngles(0, lon, 850, 80, 0, 0, 9).az, 0.0, 2.0);
}

// At the pole the ground lies 6356.993... km from the centre, (0.99999788 - 0.00335208) * 6378.388,
// on the equator 6378.374...; with the satellite 90 degrees away the slant range is the hypotenuse.
TEST(AnglesByHand, TheGroundIsCloserToTheCentreAtThePole)
{
    const double orbit = 833 + 6371.03;
    const double pole = 6356.993611, equator = 6378.374478;
    EXPECT_NEAR(utilAngles(90, 0, 833, 80, 0, 0, 9).vz,
                asin(orbit / sqrt(pole * pole + orbit * orbit)) * degrees, tolerance);
    EXPECT_NEAR(utilAngles(0, 90, 833, 80, 0, 0, 9).vz,
                asin(orbit / sqrt(equator * equator + orbit * orbit)) * degrees, tolerance);
}

TEST(AnglesUtil, AtTheNadirViewZenithAndAzimuthAreZero)
{
    for (float lat = -89.5f; lat < 90; lat += 0.75f) {
        const Angles nadir = utilAngles(lat, 12.5f, 833, 123, lat, 12.5f, 9.5f);
        EXPECT_NEAR(nadir.vz, 0, 0.001) << "latitude " << lat;
        EXPECT_EQ(nadir.az, 0) << "latitude " << lat;
        EXPECT_GT(nadir.sz, 0) << "latitude " << lat;
    }
}

TEST(AnglesUtil, BeyondTheHorizonTheViewZenithStaysAnAngle)
{
    const Angles far = utilAngles(-40, 170, 833, 123, 41, -10, 9.5f);
    EXPECT_GE(far.vz, 0);
    EXPECT_LE(far.vz, 90);
}

// A file of 9 pixels between two navigation points at its ends, with a channel per slot.
zel_test::Scene sceneWithLine()
{
    zel_test::Scene scene;
    scene.pixels = 9;
    scene.navPoints = 2;
    scene.navInterval = 8;
    scene.julian = 173;
    scene.altitude = 833;
    scene.slots.assign(3, zel_test::channel(4, "angle"));
    zel_test::Line line;
    line.scanTime = 18.5;
    line.altitude = 0;
    line.left = 0;
    line.right = 8;
    line.nadir = 3;
    line.lats = {40, 44};
    line.lons = {-110, -102};
    for (int i = 0; i < 3; ++i)
        line.pixels[i] =
            zel_test::rawFloats(std::vector<float>(9, 10.0f * static_cast<float>(i + 1)));
    scene.lines = {line, line};
    return scene;
}

// Position of pixel x of that line.
double latOf(int x)
{
    return 40 + 0.5 * x;
}
double lonOf(int x)
{
    return -110 + x;
}

void expectLine(ZELType& record, double nadirLat, double nadirLon, double altitude)
{
    for (int x = 0; x < 9; ++x) {
        if (x == 3) continue;  // the nadir itself
        SCOPED_TRACE(x);
        expectNear({record.SolarZenith[x], record.ViewZenith[x], record.Azimuth[x]},
                   anglesAt(latOf(x), lonOf(x), nadirLat, nadirLon, altitude, 18.5, midsummer));
    }
}

TEST(AnglesOfLine, TakeTheNadirFromTheNadirPixel)
{
    zel_test::OpenedFile file(build(sceneWithLine()).bytes);
    ZELReadLine(file.get());
    ZELInterpolateLatLong(file.get());
    ZELCalculateAngles(file.get());
    expectLine(*file.get(), latOf(3), lonOf(3), 833);
    EXPECT_NEAR(file->ViewZenith[3], 0, 0.001);
    EXPECT_EQ(file->Azimuth[3], 0);
    EXPECT_EQ(file->SolarAnglesCalculated, 1);
}

TEST(AnglesOfLine, TakeTheNadirGivenWhenItLiesOutsideTheLine)
{
    zel_test::Scene scene = sceneWithLine();
    scene.lines[0].nadir = -1;
    scene.lines[0].nadirLat = 47.5f;
    scene.lines[0].nadirLon = -120.25f;
    zel_test::OpenedFile file(build(scene).bytes);
    ZELReadLine(file.get());
    ZELInterpolateLatLong(file.get());
    ZELCalculateAngles(file.get());
    expectLine(*file.get(), 47.5, -120.25, 833);
}

TEST(AnglesOfLine, ANadirAtPixelZeroIsInsideTheLine)
{
    zel_test::Scene scene = sceneWithLine();
    scene.lines[0].nadir = 0;
    scene.lines[0].nadirLat = 47.5f;
    zel_test::OpenedFile file(build(scene).bytes);
    ZELReadLine(file.get());
    ZELInterpolateLatLong(file.get());
    ZELCalculateAngles(file.get());
    EXPECT_NEAR(file->ViewZenith[0], 0, 0.001);
}

TEST(AnglesOfLine, InterpolateThePositionsWhenThatIsNotYetDone)
{
    zel_test::OpenedFile file(build(sceneWithLine()).bytes);
    ZELReadLine(file.get());
    ZELCalculateLineOfAngles(file.get(), 41.5f, -107.0f);
    EXPECT_EQ(file->LatLonInterpolated, 1);
    EXPECT_EQ(file->SolarAnglesCalculated, 1);
    expectLine(*file.get(), 41.5, -107, 833);
}

TEST(AnglesOfLine, TheScanAltitudeOfTheLineReplacesTheSatellites)
{
    zel_test::Scene scene = sceneWithLine();
    scene.lines[0].altitude = 402.5f;
    zel_test::OpenedFile file(build(scene).bytes);
    ZELReadLine(file.get());
    ZELCalculateLineOfAngles(file.get(), 41.5f, -107.0f);
    expectLine(*file.get(), 41.5, -107, 402.5);
}

TEST(AnglesOfLine, AScanAltitudeBelowZeroDoesNot)
{
    zel_test::Scene scene = sceneWithLine();
    scene.lines[0].altitude = -5;
    zel_test::OpenedFile file(build(scene).bytes);
    ZELReadLine(file.get());
    ZELCalculateLineOfAngles(file.get(), 41.5f, -107.0f);
    expectLine(*file.get(), 41.5, -107, 833);
}

void expectNoAngles(const zel_test::Scene& scene)
{
    zel_test::OpenedFile file(build(scene).bytes);
    ZELReadLine(file.get());
    std::fill_n(file->SolarZenith, 9, 5.0f);
    std::fill_n(file->ViewZenith, 9, 5.0f);
    std::fill_n(file->Azimuth, 9, 5.0f);
    ZELCalculateLineOfAngles(file.get(), 41.5f, -107.0f);
    for (int x = 0; x < 9; ++x) {
        EXPECT_EQ(file->SolarZenith[x], 0) << x;
        EXPECT_EQ(file->ViewZenith[x], 0) << x;
        EXPECT_EQ(file->Azimuth[x], 0) << x;
    }
    EXPECT_EQ(file->SolarAnglesCalculated, 0);
}

TEST(AnglesOfLine, AreZeroWhenTheSatelliteAltitudeTruncatesToZero)
{
    zel_test::Scene scene = sceneWithLine();
    scene.altitude = 0.99f;
    scene.lines[0].altitude = 833;  // which does not help
    expectNoAngles(scene);
}

TEST(AnglesOfLine, AreZeroWithoutAScanTime)
{
    zel_test::Scene scene = sceneWithLine();
    scene.lines[0].scanTime = 0;
    expectNoAngles(scene);
}

TEST(AnglesOfLine, AreZeroWithoutNavigation)
{
    zel_test::Scene scene = sceneWithLine();
    scene.navPoints = 0;
    expectNoAngles(scene);
}

TEST(AnglesOfLine, HeldInChannelsArePointedAt)
{
    zel_test::Scene scene = sceneWithLine();
    scene.szIndex = 2;
    scene.vzIndex = 0;
    scene.azIndex = 1;
    zel_test::OpenedFile file(build(scene).bytes);
    ZELReadLine(file.get());
    ZELCalculateLineOfAngles(file.get(), 41.5f, -107.0f);
    EXPECT_EQ(file->SolarZenith, file->Channels[2].ChannelData);
    EXPECT_EQ(file->ViewZenith, file->Channels[0].ChannelData);
    EXPECT_EQ(file->Azimuth, file->Channels[1].ChannelData);
    EXPECT_EQ(file->SolarZenith[8], 30.0f);
    EXPECT_EQ(file->SolarAnglesCalculated, 0);
}

TEST(AnglesOfLine, WithOnlyOneAngleInAChannelTheOthersAreComputed)
{
    zel_test::Scene scene = sceneWithLine();
    scene.szIndex = 2;
    zel_test::OpenedFile file(build(scene).bytes);
    ZELReadLine(file.get());
    const auto outcome = run([&] { ZELCalculateLineOfAngles(file.get(), 41.5f, -107.0f); });
    EXPECT_FALSE(outcome.ended);
    const Angles expected = anglesAt(latOf(7), lonOf(7), 41.5, -107, 833, 18.5, midsummer);
    EXPECT_NEAR(file->ViewZenith[7], expected.vz, tolerance);
    EXPECT_NEAR(file->Azimuth[7], expected.az, tolerance);
}

TEST(AnglesOfLine, ADayOutsideTheYearReadsNothingAfterTheTables)
{
    for (const int julian : {0, -5, 367, 32767}) {
        zel_test::Scene scene = sceneWithLine();
        scene.julian = julian;
        zel_test::OpenedFile file(build(scene).bytes);
        ZELReadLine(file.get());
        ZELCalculateLineOfAngles(file.get(), 41.5f, -107.0f);
        EXPECT_TRUE(std::isfinite(file->SolarZenith[0])) << julian;
        EXPECT_TRUE(std::isfinite(file->Azimuth[0])) << julian;
    }
}

TEST(AnglesOfLine, AreComputedForALineThatIsToBeWritten)
{
    Writer writer(9, 9);
    writer.open();
    float lats[9], lons[9];
    for (int x = 0; x < 9; ++x) {
        lats[x] = static_cast<float>(latOf(x));
        lons[x] = static_cast<float>(lonOf(x));
    }
    writer->ZELHeader.julian = 173;
    ZELLoadNavigation(writer.get(), 18.5, lats, lons);
    ZELSetNadirPixel(writer.get(), 3);
    float *sz = nullptr, *vz = nullptr, *az = nullptr;
    ZELFetchSolar(writer.get(), &sz, &vz, &az);
    EXPECT_EQ(sz, writer->SolarZenith);
    EXPECT_EQ(vz, writer->ViewZenith);
    EXPECT_EQ(az, writer->Azimuth);
    expectLine(*writer.get(), latOf(3), lonOf(3), 705);
}

TEST(OneAngle, IsThatOfTheLineAtThePosition)
{
    for (const int nadir : {3, -1}) {
        zel_test::Scene scene = sceneWithLine();
        scene.lines[0].nadir = nadir;
        scene.lines[0].nadirLat = 47.5f;
        scene.lines[0].nadirLon = -120.25f;
        zel_test::OpenedFile file(build(scene).bytes);
        ZELReadLine(file.get());
        ZELInterpolateLatLong(file.get());
        float sz = -1, vz = -1, az = -1;
        ZELCalculateOneAngle(file.get(), 44.25f, -101.5f, &sz, &vz, &az);
        expectNear({sz, vz, az},
                   nadir >= 0 ? anglesAt(44.25, -101.5, latOf(3), lonOf(3), 833, 18.5, midsummer)
                              : anglesAt(44.25, -101.5, 47.5, -120.25, 833, 18.5, midsummer));
    }
}

TEST(OneAngle, TakesTheScanAltitudeOfTheLine)
{
    zel_test::Scene scene = sceneWithLine();
    scene.lines[0].altitude = 402.5f;
    zel_test::OpenedFile file(build(scene).bytes);
    ZELReadLine(file.get());
    ZELInterpolateLatLong(file.get());
    float sz = -1, vz = -1, az = -1;
    ZELCalculateOneAngle(file.get(), 44.25f, -101.5f, &sz, &vz, &az);
    expectNear({sz, vz, az}, anglesAt(44.25, -101.5, latOf(3), lonOf(3), 402.5, 18.5, midsummer));
}

}  // namespace
