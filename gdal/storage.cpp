#include "storage.hpp"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>

namespace zel_gdal {
namespace {

constexpr int mostEntries = 32767;

struct Numbers {
    int min;
    int max;
    int steps;
    int scaledCode;
    int plainCode;
};

// The whole numbers that a type holds, when a channel can hold as many.
bool wholeNumbers(GDALDataType type, Numbers& numbers)
{
    if (type == GDT_Byte)
        numbers = {0, 255, 255, ZEL_STORED_BYTE_SCALED, ZEL_STORED_BYTE};
    else if (type == GDT_UInt16)
        numbers = {0, 65535, 65535, ZEL_STORED_UINT16_SCALED, ZEL_STORED_UINT16};
    else if (type == GDT_Int16)
        numbers = {-32768, 32767, 65535, ZEL_STORED_UINT16_SCALED, 0};
    else
        return false;
    return true;
}

// Whether the ends of a scale, as the two floats that a channel has, give back the value of every
// number to the precision of such floats.
bool fits(const Numbers& numbers, double scale, double offset, Storage& storage)
{
    if (!(scale > 0) || !std::isfinite(scale) || !std::isfinite(offset)) return false;
    const double low = offset + scale * numbers.min;
    const double high = offset + scale * numbers.max;
    if (std::abs(low) > FLT_MAX || std::abs(high) > FLT_MAX) return false;
    storage.min = static_cast<float>(low);
    storage.max = static_cast<float>(high);
    const double step = static_cast<double>(storage.max - storage.min) / numbers.steps;
    const double precision = std::max(std::abs(low), std::abs(high)) * FLT_EPSILON;
    const double atEnd = static_cast<double>(storage.min) + step * numbers.steps;
    return step > 0 && precision < step / 4 &&
           std::abs(static_cast<double>(storage.min) - low) <= precision &&
           std::abs(atEnd - high) <= precision;
}

Storage scaled(const Numbers& numbers, const Storage& range)
{
    Storage storage = range;
    storage.code = numbers.scaledCode;
    storage.bits = numbers.steps == 255 ? 8 : 16;
    storage.shift = -numbers.min;
    return storage;
}

Storage plain(const Numbers& numbers)
{
    Storage storage;
    storage.code = numbers.plainCode;
    storage.bits = numbers.steps == 255 ? 8 : 16;
    return storage;
}

Storage asFloat(GDALDataType type, bool hasScale, double scale, double offset)
{
    Storage storage;
    storage.applies = hasScale;
    storage.scale = scale;
    storage.offset = offset;
    Numbers numbers{};
    const bool isExact = type == GDT_Float32 || wholeNumbers(type, numbers);
    if (!isExact) storage.loss = std::string(GDALGetDataTypeName(type)) + " is stored as Float32";
    return storage;
}

}  // namespace

Storage storageOf(GDALRasterBand& band)
{
    const GDALDataType type = band.GetRasterDataType();
    int knowsScale = FALSE;
    int knowsOffset = FALSE;
    const double scale = band.GetScale(&knowsScale);
    const double offset = band.GetOffset(&knowsOffset);
    const bool isScaled = (knowsScale || knowsOffset) && !(scale == 1 && offset == 0);
    const double step = knowsScale ? scale : 1;
    const double begin = knowsOffset ? offset : 0;
    Numbers numbers{};
    Storage storage;
    if (!wholeNumbers(type, numbers)) return asFloat(type, isScaled, step, begin);
    if (!isScaled && numbers.plainCode != 0) return plain(numbers);
    if (fits(numbers, step, begin, storage)) return scaled(numbers, storage);
    return asFloat(type, isScaled, step, begin);
}

void keepNodata(GDALDataset& source, GDALDataset& copy)
{
    for (int b = 1; b <= source.GetRasterCount(); ++b) {
        GDALRasterBand& band = *source.GetRasterBand(b);
        int isKnown = FALSE;
        const double nodata = band.GetNoDataValue(&isKnown);
        if (!isKnown) continue;
        const Storage storage = storageOf(band);
        const double stored =
            storage.applies ? storage.offset + storage.scale * nodata : nodata + storage.shift;
        copy.GetRasterBand(b)->SetNoDataValue(
            storage.applies ? static_cast<double>(static_cast<float>(stored)) : stored);
    }
}

GDALDataType readType(const Storage& storage)
{
    if (storage.applies) return GDT_Float64;
    switch (storage.code) {
    case ZEL_STORED_BYTE:
    case ZEL_STORED_BYTE_SCALED:
        return GDT_Byte;
    case ZEL_STORED_UINT16:
        return GDT_UInt16;
    case ZEL_STORED_UINT16_SCALED:
        return storage.shift != 0 ? GDT_Int16 : GDT_UInt16;
    default:
        return GDT_Float32;
    }
}

std::vector<ZELLUTType> lutEntries(GDALRasterBand& band)
{
    const GDALColorTable* colours = band.GetColorTable();
    char** names = band.GetCategoryNames();
    const int count = std::max(colours ? colours->GetColorEntryCount() : 0, CSLCount(names));
    std::vector<ZELLUTType> entries(static_cast<std::size_t>(std::min(count, mostEntries)));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        ZELLUTType& entry = entries[i];
        GDALColorEntry colour = {0, 0, 0, 255};
        const int index = static_cast<int>(i);
        if (colours && index < colours->GetColorEntryCount())
            colours->GetColorEntryAsRGB(index, &colour);
        entry.R = static_cast<unsigned char>(colour.c1);
        entry.G = static_cast<unsigned char>(colour.c2);
        entry.B = static_cast<unsigned char>(colour.c3);
        const char* name = index < CSLCount(names) ? names[index] : "";
        std::snprintf(entry.LUTEntryLabel, sizeof entry.LUTEntryLabel, "%s", name);
    }
    return entries;
}

}  // namespace zel_gdal
