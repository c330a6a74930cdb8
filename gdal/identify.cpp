#include "identify.hpp"

#include <cmath>
#include <cstdint>
#include <cstring>

#include "vorn_header.hpp"
#include "zel.h"

namespace zel_gdal {
namespace {

// The first fields of a file without a prefix, in either byte order.
class Fields {
public:
    Fields(const GByte* bytes, int size, bool isReversed)
        : bytes_(bytes), size_(size), isReversed_(isReversed)
    {
    }
    template <class T>
    T take()
    {
        T value{};
        if (position_ + static_cast<int>(sizeof value) > size_) return value;
        std::memcpy(&value, bytes_ + position_, sizeof value);
        if (isReversed_) GDALSwapWords(&value, sizeof value, 1, sizeof value);
        position_ += static_cast<int>(sizeof value);
        return value;
    }

private:
    const GByte* bytes_;
    int size_;
    bool isReversed_;
    int position_ = 0;
};

template <class T>
bool isWithin(T value, T min, T max)
{
    return value >= min && value <= max;
}

// A hundred times the version number; 0 unless it is just that of an old layout.
int oldVersion(float number)
{
    const int version =
        isWithin(number, 1.0F, 1.5F) ? static_cast<int>(std::lround(number * 100)) : 0;
    return number == static_cast<float>(version) / 100.0F ? version : 0;
}

// Nothing but its numbers tells an old file from any other, so that all of them have to make sense.
bool isOldHeader(Fields fields)
{
    const int version = oldVersion(fields.take<float>());
    if (version == 0) return false;
    if (version > 100 && !isWithin<int>(fields.take<std::int16_t>(), 1, ZEL_MAX_CHANNELS))
        return false;
    const int year = fields.take<std::int16_t>();
    if (!isWithin(year, 60, 99) && !isWithin(year, 1960, 2100)) return false;
    if (!isWithin<int>(fields.take<std::int16_t>(), 1, 366)) return false;
    fields.take<std::int16_t>();
    if (fields.take<std::int16_t>() < 1) return false;
    if (version < 111) return true;
    if (!isWithin(fields.take<std::int32_t>(), 0, 32767)) return false;
    if (!isWithin(fields.take<std::int32_t>(), 0, 32767)) return false;
    if (!isWithin(fields.take<std::int32_t>(), 0, 32767)) return false;
    return isWithin<int>(fields.take<std::int16_t>(), ZEL_SENSOR_GENERIC, ZEL_SENSOR_UNSUPPORTED);
}

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

// "2.3" or "2", ended inside its ten bytes.
bool isVersionText(const char* text)
{
    int position = 0;
    while (position < 9 && isDigit(text[position])) ++position;
    if (position == 0) return false;
    if (text[position] == '.') ++position;
    while (position < 9 && isDigit(text[position])) ++position;
    return text[position] == '\0';
}

}  // namespace

int identifyZel(GDALOpenInfo* info)
{
    if (STARTS_WITH_CI(info->pszFilename, "ZEL:")) return TRUE;
    if (!info->fpL || info->nHeaderBytes < 64) return FALSE;
    const auto* text = reinterpret_cast<const char*>(info->pabyHeader);
    if (std::strncmp(text, ZELString, 3) == 0) return isVersionText(text + 3);
    const Fields host(info->pabyHeader, info->nHeaderBytes, false);
    const Fields other(info->pabyHeader, info->nHeaderBytes, true);
    return isOldHeader(host) || isOldHeader(other);
}

int identifyVorn(GDALOpenInfo* info)
{
    VornHeader header;
    return info->fpL && header.take(info->pabyHeader, info->nHeaderBytes);
}

}  // namespace zel_gdal
