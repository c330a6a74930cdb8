// Dates and times of the header as texts.
#pragma once

#include <string>

namespace zel_gdal {

// Whether a year has that day, from 1 on.
bool isDate(int year, int day);

// "2001-05-03"
std::string isoDate(int year, int day);

// "2001-05-03T12:30:15.250Z". The hours of the day may go on into the next one.
std::string isoTime(int year, int day, double hours);

}  // namespace zel_gdal
