// The tables by day of year: the sun's declination and the equation of time.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "zel/zel.h"

#include "support/places.hpp"

namespace {

TEST(Almanac, TheKeyRowsOfTheDeclination)
{
    EXPECT_EQ(declination[1 - 1], -23.0672f);
    EXPECT_EQ(declination[80 - 1], -0.0848f);
    EXPECT_EQ(declination[173 - 1], 23.4420f);
    EXPECT_EQ(declination[266 - 1], 0.2450f);
    EXPECT_EQ(declination[356 - 1], -23.4411f);
    EXPECT_EQ(declination[366 - 1], -23.0672f);
}

TEST(Almanac, TheDeclinationIsGreatestOnDay173AndLeastOnDay356)
{
    EXPECT_EQ(std::max_element(declination, declination + 366) - declination, 173 - 1);
    EXPECT_EQ(std::min_element(declination, declination + 366) - declination, 356 - 1);
}

TEST(Almanac, TheKeyRowsOfTheEquationOfTime)
{
    EXPECT_EQ(delon[1 - 1], 0.768f);
    EXPECT_EQ(delon[43 - 1], 3.575f);
    EXPECT_EQ(delon[121 - 1], -0.687f);
    EXPECT_EQ(delon[172 - 1], 0.366f);
    EXPECT_EQ(delon[266 - 1], -1.794f);
    EXPECT_EQ(delon[308 - 1], -4.097f);
    EXPECT_EQ(delon[366 - 1], 0.738f);
}

TEST(Almanac, TheEquationOfTimeIsGreatestOnDay43AndLeastOnDay308)
{
    EXPECT_EQ(std::max_element(delon, delon + 366) - delon, 43 - 1);
    EXPECT_EQ(std::min_element(delon, delon + 366) - delon, 308 - 1);
}

TEST(Almanac, NeighbouringDaysDifferLittle)
{
    for (int day = 1; day < 366; ++day) {
        EXPECT_LT(std::abs(declination[day] - declination[day - 1]), 0.41f) << "day " << day + 1;
        EXPECT_LT(std::abs(delon[day] - delon[day - 1]), 0.13f) << "day " << day + 1;
    }
}

TEST(Almanac, TheEarthsMeanRadius)
{
    EXPECT_EQ(earth_radius, 6371.03);
}

TEST(Almanac, EveryRowIsThatOfTheAlmanac)
{
    std::ifstream file(zel_test::testData() + "/almanac.csv");
    if (!file) GTEST_SKIP() << "ZEL_TEST_DATA has no almanac.csv";
    std::string row;
    std::getline(file, row);
    ASSERT_EQ(row, "julian,declination_deg,equation_of_time_deg");
    int rows = 0;
    for (int day; std::getline(file, row) && rows < 366; ++rows) {
        std::replace(row.begin(), row.end(), ',', ' ');
        std::istringstream values(row);
        double angle = 0, time = 0;
        ASSERT_TRUE(values >> day >> angle >> time) << row;
        ASSERT_EQ(day, rows + 1);
        EXPECT_EQ(declination[rows], static_cast<float>(angle)) << "day " << day;
        EXPECT_EQ(delon[rows], static_cast<float>(time)) << "day " << day;
    }
    EXPECT_EQ(rows, 366);
}

}  // namespace
