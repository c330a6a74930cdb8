// Words for the codes of a file, and text as GDAL takes it.
#pragma once

#include <string>

namespace zel_gdal {

std::string sensorName(int code);
// The code of a sensor's name, without regard to case, or of a number; -1 for no sensor.
int sensorCode(const std::string& name);

std::string unitsName(int code);    // "Degree Kelvin"
std::string unitsSymbol(int code);  // "K", for programs that calculate with units; often empty
// The code of a symbol or name, without regard to case; 0 for one that no code stands for.
int unitsCode(const std::string& text);

// UTF-8 without control characters. Text of a file that is no UTF-8 is taken for Latin-1.
std::string utf8(const char* text);

// A number in the shortest form that reads back as the same float, or double.
std::string shown(float number);
std::string shown(double number);

}  // namespace zel_gdal
