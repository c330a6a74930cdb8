#include "names.hpp"

#include <cpl_conv.h>
#include <cpl_string.h>

#include <charconv>

namespace zel_gdal {
namespace {

constexpr const char* sensors[] = {"Generic", "AVHRR LAC",     "AVHRR GAC",      "MAS",
                                   "VIRS",    "LANDSAT TM",    "GOES",           "MODIS",
                                   "ASTER",   "Cirrovue VIRS", "Cirrovue MODIS", "Landsat MSS",
                                   "IKONOS",  "Unsupported"};

struct Units {
    const char* symbol;
    const char* name;
};
constexpr Units units[] = {{"", "None"},
                           {"K", "Degree Kelvin"},
                           {"%", "Percent Albedo"},
                           {"1", "Reflectance"},
                           {"degC", "Degree Celcius"},
                           {"", "None (Look up Table)"},
                           {"", "None (Daytime)"},
                           {"W m-2 um-1 sr-1", "Radiance(W/m^2/micron/steradian)"}};

template <std::size_t N, class T>
bool isIndexOf(const T (&)[N], int code)
{
    return code >= 0 && code < static_cast<int>(N);
}

template <class T>
std::string shortest(T number)
{
    char digits[64];
    return {digits, std::to_chars(digits, digits + sizeof digits, number).ptr};
}

}  // namespace

std::string sensorName(int code)
{
    return isIndexOf(sensors, code) ? sensors[code] : "Unsupported";
}

int sensorCode(const std::string& name)
{
    for (int code = 0; isIndexOf(sensors, code); ++code)
        if (EQUAL(sensors[code], name.c_str()) || shortest(code) == name) return code;
    return -1;
}

std::string unitsName(int code)
{
    return isIndexOf(units, code) ? units[code].name : "Unknown";
}

std::string unitsSymbol(int code)
{
    return isIndexOf(units, code) ? units[code].symbol : "";
}

int unitsCode(const std::string& text)
{
    if (text.empty()) return 0;
    for (int code = 0; isIndexOf(units, code); ++code)
        if (EQUAL(units[code].symbol, text.c_str()) || EQUAL(units[code].name, text.c_str()))
            return code;
    return 0;
}

std::string utf8(const char* text)
{
    std::string clean;
    for (; *text; ++text) {
        const bool isControl = static_cast<unsigned char>(*text) < 0x20 || *text == 0x7f;
        if (!isControl || *text == '\n' || *text == '\t') clean += *text;
    }
    if (CPLIsUTF8(clean.c_str(), -1)) return clean;
    char* recoded = CPLRecode(clean.c_str(), CPL_ENC_ISO8859_1, CPL_ENC_UTF8);
    clean = recoded;
    CPLFree(recoded);
    return clean;
}

std::string shown(float number)
{
    return shortest(number);
}

std::string shown(double number)
{
    return shortest(number);
}

}  // namespace zel_gdal
