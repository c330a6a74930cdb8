// Vorn rasters: planes of 32-bit floats, one for each channel.
#include <rawdataset.h>

#include <climits>
#include <memory>
#include <new>
#include <vector>

#include "create.hpp"
#include "identify.hpp"
#include "open.hpp"
#include "vorn_header.hpp"
#include "vorn_text.hpp"

namespace zel_gdal {
namespace {

constexpr int pixelSize = 4;

struct CloseVsi {
    void operator()(VSILFILE* file) const { VSIFCloseL(file); }
};
using OpenedVsi = std::unique_ptr<VSILFILE, CloseVsi>;

class VornDataset final : public RawDataset {
public:
    VornDataset(OpenedVsi file, const VornHeader& header, std::string textName)
        : file_(std::move(file)), textName_(std::move(textName))
    {
        nRasterXSize = header.pixels;
        nRasterYSize = header.lines;
        const auto labels = readVornLabels(textName_, header.channels);
        for (int c = 0; c < header.channels; ++c) {
            auto* band = new RawRasterBand(
                this, c + 1, file_.get(), planeOffset(header, c), pixelSize,
                pixelSize * header.pixels, GDT_Float32,
                // Whatever the order of the header is: readers take the rows so.
                RawRasterBand::ByteOrder::ORDER_LITTLE_ENDIAN, RawRasterBand::OwnFP::NO);
            if (c < static_cast<int>(labels.size()))
                band->GDALMajorObject::SetDescription(labels[static_cast<std::size_t>(c)].c_str());
            SetBand(c + 1, band);
        }
        hasLabels_ = !labels.empty();
    }

    static vsi_l_offset planeOffset(const VornHeader& header, int channel)
    {
        return VornHeader::size + static_cast<vsi_l_offset>(channel) *
                                      static_cast<vsi_l_offset>(header.lines) *
                                      static_cast<vsi_l_offset>(header.pixels) * pixelSize;
    }

    char** GetFileList() override
    {
        CPLStringList files(RawDataset::GetFileList());
        if (hasLabels_) files.AddString(textName_.c_str());
        return files.StealList();
    }

    void finishOpening(GDALOpenInfo* info)
    {
        SetDescription(info->pszFilename);
        TryLoadXML(info->GetSiblingFiles());
        oOvManager.Initialize(this, info->pszFilename);
    }

private:
    OpenedVsi file_;
    std::string textName_;
    bool hasLabels_ = false;
};

bool hasAllPlanes(VSILFILE* file, const VornHeader& header, const char* name)
{
    if (!GDALCheckDatasetDimensions(header.pixels, header.lines) ||
        !GDALCheckBandCount(header.channels, FALSE))
        return false;
    const bool isAddressable = header.pixels <= INT_MAX / pixelSize;
    const vsi_l_offset line = static_cast<vsi_l_offset>(header.pixels) * pixelSize;
    VSIFSeekL(file, 0, SEEK_END);
    const vsi_l_offset size = VSIFTellL(file);
    const vsi_l_offset lines = size < VornHeader::size ? 0 : (size - VornHeader::size) / line;
    const auto wanted =
        static_cast<vsi_l_offset>(header.lines) * static_cast<vsi_l_offset>(header.channels);
    if (isAddressable && lines >= wanted) return true;
    CPLError(CE_Failure, CPLE_AppDefined, "%s: is cut short: %lld of %lld lines of all channels",
             name, static_cast<long long>(lines), static_cast<long long>(wanted));
    return false;
}

// A line of a band as floats; scaled numbers as their values.
class FloatLine {
public:
    FloatLine(GDALRasterBand& band, int width)
        : band_(band), values_(static_cast<std::size_t>(width))
    {
        int isKnown = FALSE;
        const double scale = band.GetScale(&isKnown);
        if (isKnown) scale_ = scale;
        const double offset = band.GetOffset(&isKnown);
        if (isKnown) offset_ = offset;
    }
    bool read(int line)
    {
        const int width = static_cast<int>(values_.size());
        if (band_.RasterIO(GF_Read, 0, line, width, 1, values_.data(), width, 1, GDT_Float32, 0, 0,
                           nullptr) != CE_None)
            return false;
        for (float& value : values_)
            if (scale_ != 1 || offset_ != 0)
                value = static_cast<float>(offset_ + scale_ * static_cast<double>(value));
        return true;
    }
    bool write(VSILFILE* file)
    {
        if (!CPL_IS_LSB)
            GDALSwapWords(values_.data(), pixelSize, static_cast<int>(values_.size()), pixelSize);
        return VSIFWriteL(values_.data(), pixelSize, values_.size(), file) == values_.size();
    }

private:
    GDALRasterBand& band_;
    std::vector<float> values_;
    double scale_ = 1;
    double offset_ = 0;
};

bool isInterrupted(GDALProgressFunc progress, void* progressData, double done)
{
    if (progress(done, nullptr, progressData)) return false;
    CPLError(CE_Failure, CPLE_UserInterrupt, "The user has interrupted the copy");
    return true;
}

bool writeBand(VSILFILE* file, GDALDataset& source, int number, GDALProgressFunc progress,
               void* progressData)
{
    FloatLine line(*source.GetRasterBand(number), source.GetRasterXSize());
    const int lines = source.GetRasterYSize();
    const double all = static_cast<double>(lines) * source.GetRasterCount();
    for (int n = 0; n < lines; ++n) {
        const double done = (static_cast<double>(lines) * (number - 1) + n) / all;
        if (isInterrupted(progress, progressData, done) || !line.read(n)) return false;
        if (line.write(file)) continue;
        CPLError(CE_Failure, CPLE_FileIO, "%s", VSIStrerror(errno));
        return false;
    }
    return true;
}

bool writePlanes(const char* name, GDALDataset& source, bool isReversed, GDALProgressFunc progress,
                 void* progressData)
{
    VSILFILE* file = VSIFOpenL(name, "wb");
    if (!file) {
        CPLError(CE_Failure, CPLE_OpenFailed, "%s: cannot be created", name);
        return false;
    }
    GByte bytes[VornHeader::size];
    VornHeader header;
    header.pixels = source.GetRasterXSize();
    header.lines = source.GetRasterYSize();
    header.channels = source.GetRasterCount();
    header.give(bytes, isReversed);
    bool isWritten = VSIFWriteL(bytes, 1, sizeof bytes, file) == sizeof bytes;
    for (int b = 1; isWritten && b <= source.GetRasterCount(); ++b)
        isWritten = writeBand(file, source, b, progress, progressData);
    return VSIFCloseL(file) == 0 && isWritten;
}

bool isStorable(GDALDataset& source)
{
    const int bands = source.GetRasterCount();
    if (bands >= 1 && bands <= VornHeader::mostChannels) return true;
    CPLError(CE_Failure, CPLE_NotSupported, "Files of this format have 1 to %d bands, not %d",
             VornHeader::mostChannels, bands);
    return false;
}

// False after a CPLError where strictness is asked for, or a band cannot be stored at all.
bool keepsNumbers(GDALDataset& source, bool isStrict)
{
    for (int b = 1; b <= source.GetRasterCount(); ++b) {
        const GDALDataType type = source.GetRasterBand(b)->GetRasterDataType();
        const bool isKept =
            type == GDT_Byte || type == GDT_UInt16 || type == GDT_Int16 || type == GDT_Float32;
        const bool isRefused = GDALDataTypeIsComplex(type) || (isStrict && !isKept);
        if (isKept) continue;
        CPLError(isRefused ? CE_Failure : CE_Warning, CPLE_NotSupported,
                 "Band %d: %s is stored as Float32", b, GDALGetDataTypeName(type));
        if (isRefused) return false;
    }
    return true;
}

std::vector<std::string> labelsOf(GDALDataset& source)
{
    std::vector<std::string> labels;
    bool areThere = false;
    for (int b = 1; b <= source.GetRasterCount(); ++b) {
        const std::string label = source.GetRasterBand(b)->GetDescription();
        areThere = areThere || !label.empty();
        labels.push_back(label.empty() ? "Band " + std::to_string(b) : label);
    }
    if (!areThere) labels.clear();
    return labels;
}

}  // namespace

GDALDataset* openVorn(GDALOpenInfo* info)
{
    VornHeader header;
    if (!info->fpL || !header.take(info->pabyHeader, info->nHeaderBytes)) return nullptr;
    if (info->eAccess == GA_Update) {
        CPLError(CE_Failure, CPLE_NotSupported, "%s: files of this format cannot be updated",
                 info->pszFilename);
        return nullptr;
    }
    if (!hasAllPlanes(info->fpL, header, info->pszFilename)) return nullptr;
    const char* given = CSLFetchNameValue(info->papszOpenOptions, "HEADER");
    OpenedVsi file(info->fpL);
    info->fpL = nullptr;
    try {
        auto dataset = std::make_unique<VornDataset>(
            std::move(file), header, given ? given : vornTextName(info->pszFilename));
        dataset->finishOpening(info);
        return dataset.release();
    } catch (const std::bad_alloc&) {
        CPLError(CE_Failure, CPLE_OutOfMemory, "%s: cannot allocate memory", info->pszFilename);
        return nullptr;
    }
}

GDALDataset* createVorn(const char* name, GDALDataset* source, int isStrict, char** options,
                        GDALProgressFunc progress, void* progressData)
{
    try {
        if (!isStorable(*source) || !keepsNumbers(*source, isStrict != 0)) return nullptr;
        const bool isReversed =
            EQUAL(CSLFetchNameValueDef(options, "BYTE_ORDER", "LSB"), "MSB") == (CPL_IS_LSB != 0);
        const auto labels = labelsOf(*source);
        const std::string text = labels.empty() ? "" : vornTextName(name);
        const bool isWritten = writePlanes(name, *source, isReversed, progress, progressData) &&
                               (text.empty() || writeVornLabels(text, labels)) &&
                               !isInterrupted(progress, progressData, 1);
        if (!isWritten) {
            VSIUnlink(name);
            if (!text.empty()) VSIUnlink(text.c_str());
            return nullptr;
        }
        GDALOpenInfo info(name, GA_ReadOnly);
        return openVorn(&info);
    } catch (const std::bad_alloc&) {
        CPLError(CE_Failure, CPLE_OutOfMemory, "%s: cannot allocate memory", name);
        return nullptr;
    }
}

}  // namespace zel_gdal
