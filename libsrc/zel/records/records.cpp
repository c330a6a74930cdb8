#include "records/records.hpp"

#include <cstring>

const char* const ZELString = "ZEL";

namespace zel {
namespace {

constexpr std::int64_t prefixSize()
{
    Prefix prefix{};
    LayoutSize size;
    walkPrefix(size, prefix);
    return size.bytes();
}

constexpr std::int64_t directoryPlace()
{
    Prefix prefix{};
    LayoutSize size(currentVersion, "base component index");
    walkPrefix(size, prefix);
    return size.place();
}

static_assert(prefixSize() == compositeHeaderOffset);
static_assert(directoryPlace() == compositeVersionOffset);

}  // namespace

int navOffset(ZELType& file)
{
    LayoutSize size(layoutVersion(file.ZELHeader.VersionNumber));
    walkLineStart(size, file);
    return static_cast<int>(size.bytes());
}

std::int64_t lutRecordSize(int numValues)
{
    ZELDisplayLUTType lut{};
    ZELLUTType entry{};
    LayoutSize head;
    LayoutSize perEntry;
    walkLUT(head, lut);
    walkLUTEntry(perEntry, entry);
    return head.bytes() + perEntry.bytes() * numValues;
}

std::int64_t tableRecordSize(int numValues)
{
    TableType table{};
    LayoutSize head;
    walkTable(head, table);
    return head.bytes() + static_cast<std::int64_t>(sizeof *table.Table) * numValues;
}

std::int64_t histogramRecordSize(int numBins)
{
    ZELHistogramType histogram{};
    histogram.NumHistogramBins = static_cast<int16_t>(numBins);
    LayoutSize size;
    walkHistogram(size, histogram);
    return size.bytes();
}

bool beginsWithPrefix(FILE* stream)
{
    const bool failed = std::ferror(stream) != 0;
    const off_t position = ftello(stream);
    if (position < 0 || fseeko(stream, 0, SEEK_SET) != 0) return false;
    char magic[sizeof Prefix::magic] = "";
    const std::size_t size = std::strlen(ZELString);
    const bool begins =
        std::fread(magic, 1, size, stream) == size && std::strcmp(magic, ZELString) == 0;
    if (!failed) std::clearerr(stream);  // it may not be one to read from
    return fseeko(stream, position, SEEK_SET) == 0 && begins;
}

int storedPixelSize(int storageCode)
{
    switch (storageCode) {
    case ZEL_STORED_BYTE_SCALED:
    case ZEL_STORED_BYTE:
        return 1;
    case ZEL_STORED_UINT16_SCALED:
    case ZEL_STORED_UINT16:
        return 2;
    case ZEL_STORED_FLOAT:
        return 4;
    default:
        return 0;
    }
}

}  // namespace zel
