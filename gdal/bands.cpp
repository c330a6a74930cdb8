#include "bands.hpp"

#include <cpl_vsi_virtual.h>

#include <algorithm>
#include <cmath>

#include "library.hpp"
#include "names.hpp"

namespace zel_gdal {
namespace {

int stepsOf(const ZELChannelType& channel)
{
    if (channel.Type == ZEL_STORED_BYTE_SCALED) return 255;
    return channel.Type == ZEL_STORED_UINT16_SCALED ? 65535 : 0;
}

// The LUT whose label is the channel's comment. The library says so when there is none: it is asked
// only for a comment.
const ZELDisplayLUTType* lutOf(ZELType& record, int slot)
{
    const char* comment = record.Channels[slot].ChannelComment;
    for (const auto* lut = record.ZELHeader.DisplayLUTHead; lut && *comment;
         lut = lut->NextDisplayLUT)
        if (EQUAL(lut->DisplayLUTLabel, comment)) return lut;
    return nullptr;
}

GDALColorEntry colourOf(const ZELLUTType& entry)
{
    return {entry.R, entry.G, entry.B, 255};
}

// The colour of a scaled number is that of its value.
std::unique_ptr<GDALColorTable> coloursOf(ZELType& record, int slot, const ZELDisplayLUTType& lut)
{
    auto colours = std::make_unique<GDALColorTable>();
    const std::vector<float> values = valuesOf(record, slot);
    const int numbers = storedType(record.Channels[slot]) == GDT_Byte ? 256 : 65536;
    const int count = values.empty() ? std::min<int>(lut.NumLUTValues, numbers) : numbers;
    for (int k = 0; k < count; ++k) {
        const double value =
            values.empty() ? k : static_cast<double>(values[static_cast<std::size_t>(k)]);
        const bool isEntry = value >= 0 && value < lut.NumLUTValues;
        const GDALColorEntry colour = isEntry ? colourOf(lut.DisplayLUT[static_cast<int>(value)])
                                              : GDALColorEntry{0, 0, 0, 0};
        colours->SetColorEntry(k, &colour);
    }
    return colours;
}

void takeClasses(BandFacts& facts, ZELType& record, int slot, const OpenOptions& options)
{
    const ZELDisplayLUTType* lut = lutOf(record, slot);
    const bool isClass = isClassChannel(record, slot);
    const bool isPainted =
        options.colourTable && !options.unscale && storedType(record.Channels[slot]) != GDT_Float32;
    if (!lut || lut->NumLUTValues < 1 || !(isClass || isPainted)) return;
    facts.colours = coloursOf(record, slot, *lut);
    if (!isClass) return;
    for (int k = 0; k < lut->NumLUTValues; ++k)
        facts.classNames.AddString(utf8(lut->DisplayLUT[k].LUTEntryLabel).c_str());
}

// The buckets of GDAL are as wide as the bins, and the last one ends a width after the last bin
// begins.
void takeHistogram(BandFacts& facts, const ZELChannelType& channel)
{
    const ZELHistogramType* stored =
        channel.ChannelHistogram ? channel.ChannelHistogram : channel.ChannelStandardHistogram;
    if (!stored || stored->NumHistogramBins < 2 || !(stored->Max > stored->Min)) return;
    const double width = (static_cast<double>(stored->Max) - static_cast<double>(stored->Min)) /
                         (stored->NumHistogramBins - 1);
    const double min = static_cast<double>(stored->Min);
    const double max = min + width * stored->NumHistogramBins;
    const bool isRaw = facts.isScaled;
    if (!std::isfinite(max) || (isRaw && !(facts.scale > 0))) return;
    Buckets& buckets = facts.histogram;
    buckets.min = isRaw ? (min - facts.offset) / facts.scale : min;
    buckets.max = isRaw ? (max - facts.offset) / facts.scale : max;
    for (int i = 0; i < stored->NumHistogramBins; ++i)
        buckets.counts.push_back(static_cast<GUIntBig>(std::max(stored->Histogram[i], 0)));
}

void setItem(GDALRasterBand& band, const char* name, const std::string& value,
             const char* domain = "")
{
    if (!value.empty()) band.GDALMajorObject::SetMetadataItem(name, value.c_str(), domain);
}

}  // namespace

OpenOptions OpenOptions::from(CSLConstList list)
{
    OpenOptions options;
    options.unscale = CPLFetchBool(list, "UNSCALE", false);
    options.colourTable = CPLFetchBool(list, "COLOR_TABLE", false);
    options.controlPoints = CPLFetchBool(list, "GCPS", false);
    return options;
}

GDALDataType storedType(const ZELChannelType& channel)
{
    if (channel.Type == ZEL_STORED_FLOAT) return GDT_Float32;
    const bool isByte = channel.Type == ZEL_STORED_BYTE || channel.Type == ZEL_STORED_BYTE_SCALED;
    return isByte ? GDT_Byte : GDT_UInt16;
}

bool isClassChannel(ZELType& record, int slot)
{
    const int type = record.Channels[slot].Type;
    return (type == ZEL_STORED_BYTE || type == ZEL_STORED_UINT16) && lutOf(record, slot);
}

std::vector<float> valuesOf(ZELType& record, int slot)
{
    std::vector<float> values(65536);
    int count = 0;
    callLibrary("", [&] { return count = ZELFetchScalingTable(&record, slot, values.data()), 0; });
    values.resize(static_cast<std::size_t>(count));
    return values;
}

BandFacts bandFacts(ZELType& record, int slot, const OpenOptions& options)
{
    const ZELChannelType& channel = record.Channels[slot];
    BandFacts facts;
    facts.unit = unitsSymbol(channel.Units);
    facts.isScaled = stepsOf(channel) > 0 && !options.unscale;
    if (facts.isScaled) {
        facts.offset = static_cast<double>(channel.MinValue);
        facts.scale = static_cast<double>(channel.MaxValue - channel.MinValue) / stepsOf(channel);
    }
    takeClasses(facts, record, slot, options);
    takeHistogram(facts, channel);
    return facts;
}

// Not as an item of this file's own: it would be written into a file beside it.
void describeBand(GDALRasterBand& band, const ZELChannelType& channel, int slot)
{
    band.GDALMajorObject::SetDescription(utf8(channel.ChannelLabel).c_str());
    setItem(band, "SLOT", std::to_string(slot));
    setItem(band, "BIT_DEPTH", std::to_string(channel.DataBitResolution));
    setItem(band, "UNITS", unitsName(channel.Units));
    setItem(band, "COMMENT", utf8(channel.ChannelComment));
    if (channel.BaseChannelFlag) setItem(band, "BASE_CHANNEL", "YES");
    if (!(channel.ChannelWaveLength > 0.0F) || !std::isfinite(channel.ChannelWaveLength)) return;
    setItem(band, "WAVELENGTH_UM", shown(channel.ChannelWaveLength));
    setItem(band, "CENTRAL_WAVELENGTH_UM", shown(channel.ChannelWaveLength), "IMAGERY");
}

WindowReader::WindowReader(GDALDataset* dataset, int band, VSILFILE* file, vsi_l_offset place,
                           int pixelSize, const LinePlaces& places, GDALDataType type)
    : RawRasterBand(dataset, band, file, place, pixelSize, places.lineSize, type,
                    byteOrder(places.isSwapped), OwnFP::NO),
      isDirect_(places.isLocal && reinterpret_cast<VSIVirtualHandle*>(file)->HasPRead())
{
}

bool WindowReader::readLine(int x, int line, int width, void* numbers) const
{
    const auto* handle = reinterpret_cast<const VSIVirtualHandle*>(GetFPL());
    const vsi_l_offset place =
        GetImgOffset() +
        static_cast<vsi_l_offset>(line) * static_cast<vsi_l_offset>(GetLineOffset()) +
        static_cast<vsi_l_offset>(x) * static_cast<vsi_l_offset>(GetPixelOffset());
    const std::size_t size =
        static_cast<std::size_t>(width) * static_cast<std::size_t>(GetPixelOffset());
    if (handle->PRead(numbers, size, place) != size) {
        CPLError(CE_Failure, CPLE_FileIO, "%s: cannot read line %d", poDS->GetDescription(), line);
        return false;
    }
    const bool isLittle = GetByteOrder() == ByteOrder::ORDER_LITTLE_ENDIAN;
    if (isLittle != (CPL_IS_LSB != 0))
        GDALSwapWords(numbers, GetPixelOffset(), width, GetPixelOffset());
    return true;
}

CPLErr WindowReader::IRasterIO(GDALRWFlag direction, int x, int y, int width, int height,
                               void* data, int dataWidth, int dataHeight, GDALDataType type,
                               GSpacing pixelSpace, GSpacing lineSpace, GDALRasterIOExtraArg* more)
{
    const bool isWhole = width == dataWidth && height == dataHeight;
    if (direction != GF_Read || !isWhole || !isDirect_)
        return RawRasterBand::IRasterIO(direction, x, y, width, height, data, dataWidth, dataHeight,
                                        type, pixelSpace, lineSpace, more);
    const int size = GetPixelOffset();
    const bool isPlain = type == eDataType && pixelSpace == size;
    std::vector<GByte> numbers(
        isPlain ? 0 : static_cast<std::size_t>(width) * static_cast<std::size_t>(size));
    for (int line = 0; line < height; ++line) {
        auto* out = static_cast<GByte*>(data) + line * lineSpace;
        if (!readLine(x, y + line, width, isPlain ? out : numbers.data())) return CE_Failure;
        if (!isPlain)
            GDALCopyWords64(numbers.data(), eDataType, size, out, type,
                            static_cast<int>(pixelSpace), width);
    }
    return CE_None;
}

ValueReader::ValueReader(GDALDataset* dataset, int band, std::unique_ptr<WindowReader> numbers,
                         std::vector<float> table)
    : numbers_(std::move(numbers)), table_(std::move(table))
{
    poDS = dataset;
    nBand = band;
    eDataType = GDT_Float32;
    nRasterXSize = dataset->GetRasterXSize();
    nRasterYSize = dataset->GetRasterYSize();
    nBlockXSize = nRasterXSize;
    nBlockYSize = 1;
    row_.resize(static_cast<std::size_t>(nBlockXSize));
}

CPLErr ValueReader::IReadBlock(int, int line, void* values)
{
    auto* out = static_cast<float*>(values);
    const bool areValues = table_.empty();
    void* numbers = areValues ? values : row_.data();
    const CPLErr error = numbers_->RasterIO(GF_Read, 0, line, nBlockXSize, 1, numbers, nBlockXSize,
                                            1, areValues ? GDT_Float32 : GDT_UInt16, 0, 0, nullptr);
    for (std::size_t x = 0; error == CE_None && !areValues && x < row_.size(); ++x)
        out[x] = table_[row_[x]];
    return error;
}

}  // namespace zel_gdal
