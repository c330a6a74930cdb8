// Dates and times of a scene, as ISO 8601.
#pragma once

#include <optional>
#include <string>

namespace zel_tool {

// "2015-08-04" of a year and a day of the year; nothing when there is no such day.
std::optional<std::string> isoDate(int year, int dayOfYear);

// The number of that day since 1970-01-01; nothing when there is no such day.
std::optional<long long> dayNumber(int year, int dayOfYear);

// "2015-08-04T16:19:14.784Z" of hours since that day began in UT; nothing for a time of 0, which
// means unknown, and for one that is no number or more than a week away.
std::optional<std::string> isoTime(int year, int dayOfYear, double hours);

}  // namespace zel_tool
