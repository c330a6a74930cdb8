#include "times.hpp"

#include <cpl_string.h>

#include <cmath>
#include <ctime>

namespace zel_gdal {

bool isDate(int year, int day)
{
    const bool isLeap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return year >= 1 && year <= 9999 && day >= 1 && day <= (isLeap ? 366 : 365);
}

std::string isoDate(int year, int day)
{
    std::tm date{};
    date.tm_year = year - 1900;
    date.tm_mday = day;
    date.tm_hour = 12;
    timegm(&date);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d", &date);
    return text;
}

std::string isoTime(int year, int day, double hours)
{
    const auto milliseconds = static_cast<long long>(std::llround(hours * 3600000.0));
    const auto ofDay = static_cast<int>(milliseconds % 86400000);
    const std::string date = isoDate(year, day + static_cast<int>(milliseconds / 86400000));
    return date + CPLSPrintf("T%02d:%02d:%02d.%03dZ", ofDay / 3600000, ofDay / 60000 % 60,
                             ofDay / 1000 % 60, ofDay % 1000);
}

}  // namespace zel_gdal
