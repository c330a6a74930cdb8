#include "create.hpp"

#include <cpl_conv.h>

#include <cstring>
#include <new>

#include "bands.hpp"
#include "creation.hpp"
#include "library.hpp"
#include "open.hpp"
#include "placement.hpp"

namespace zel_gdal {
namespace {

constexpr int widest = 32767;

// A file that is being written, by the library, and is removed unless it is finished.
class NewFile {
public:
    explicit NewFile(std::string name) : name_(std::move(name)), record_(new ZELType()) {}
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    bool open(const SceneFacts& scene, const std::vector<ChannelFacts>& channels,
              const int (&angles)[3], int width, int points, int interval);
    // numbers(channel): the line of a channel, in the type that its storage is read in.
    template <class Numbers>
    bool writeLine(double hours, const std::vector<float>& lats, const std::vector<float>& lons,
                   Numbers numbers);
    bool finish();

private:
    void declare(const ChannelFacts& facts);
    std::string addLut(const ChannelFacts& facts);
    void load(std::size_t channel, const void* numbers);

    std::string name_;
    std::unique_ptr<ZELType> record_;
    std::vector<ChannelFacts> channels_;
    std::vector<std::vector<float>> tables_;  // of scaled channels
    int byteOrder_ = 0;
    bool isBegun_ = false;
    bool isFinished_ = false;
};

NewFile::~NewFile()
{
    if (!isBegun_ || isFinished_) return;
    CPLPushErrorHandler(CPLQuietErrorHandler);
    callLibrary(name_.c_str(), [&] { return ZELFinishWritingFile(record_.get()), 0; });
    CPLPopErrorHandler();
    VSIUnlink(name_.c_str());
}

// A LUT is found again by its label: two that differ have two.
std::string NewFile::addLut(const ChannelFacts& facts)
{
    std::string label = facts.comment;
    for (int n = 2;; ++n) {
        bool isTaken = false;
        for (const auto* lut = record_->ZELHeader.DisplayLUTHead; lut; lut = lut->NextDisplayLUT)
            isTaken = isTaken || EQUAL(lut->DisplayLUTLabel, label.c_str());
        if (!isTaken) break;
        label = facts.comment.substr(0, ZEL_CHANNEL_TEXT_SIZE - 8) + " " + std::to_string(n);
    }
    ZELDisplayLUTType* lut =
        ZELAppendLUT(record_.get(), static_cast<int>(facts.lut.size()), label.c_str());
    for (std::size_t i = 0; lut && i < facts.lut.size(); ++i) {
        const ZELLUTType& entry = facts.lut[i];
        ZELLoadLUTEntry(lut, static_cast<int>(i), entry.R, entry.G, entry.B, entry.LUTEntryLabel);
    }
    return label;
}

void NewFile::declare(const ChannelFacts& facts)
{
    const std::string comment = facts.lut.empty() ? facts.comment : addLut(facts);
    const Storage& storage = facts.storage;
    const auto add = facts.isBase ? ZELAddSensorBaseChannel : ZELAddSensorChannel;
    add(record_.get(), facts.slot, storage.max, storage.min, storage.code, storage.bits,
        facts.label.c_str(), comment.c_str(), facts.wavelength, facts.units);
}

bool NewFile::open(const SceneFacts& scene, const std::vector<ChannelFacts>& channels,
                   const int (&angles)[3], int width, int points, int interval)
{
    channels_ = channels;
    isBegun_ = true;
    ZELType* record = record_.get();
    const bool isOpen = callLibrary(name_.c_str(), [&] {
        ZELInitNewWriteOnlyFile(record, scene.sensor, scene.comment.c_str(), scene.year, scene.day,
                                scene.satellite, width, points, 0, interval, scene.altitude,
                                scene.resolution);
        ZELHeaderType& h = record->ZELHeader;
        h.MetaDataSize =
            static_cast<int>(std::min<std::size_t>(scene.metadata.size(), ZEL_METADATA_SIZE));
        h.MetaDataType = h.MetaDataSize > 0 ? scene.metadataType : 0;
        std::memcpy(h.MetaDataText, scene.metadata.data(),
                    static_cast<std::size_t>(h.MetaDataSize));
        for (const ChannelFacts& facts : channels_) declare(facts);
        ZELSetSolarChannels(record, angles[0], angles[1], angles[2]);
        ZELSetHistogramFlag(record, scene.keepsHistograms);
        ZELSetOverwritePromptOff(record);
        ZELRearmLUTWriter();
        const int result = ZELOpenWriteOnlyFile(record, name_.c_str());
        byteOrder_ = SwapByteOrdering;
        return result;
    });
    for (const ChannelFacts& facts : channels_) tables_.push_back(valuesOf(*record, facts.slot));
    return isOpen;
}

// The stored numbers as they are to be, and the values that histograms count.
void NewFile::load(std::size_t channel, const void* numbers)
{
    const ChannelFacts& facts = channels_[channel];
    const Storage& storage = facts.storage;
    const auto width = static_cast<std::size_t>(record_->ZELHeader.NPixelPerLine);
    unsigned char* stored = record_->PixBuf[facts.slot];
    float* values = record_->Channels[facts.slot].ChannelData;
    const std::vector<float>& table = tables_[channel];
    const auto put = [&](std::size_t x, int number) {
        values[x] =
            table.empty() ? static_cast<float>(number) : table[static_cast<std::size_t>(number)];
    };
    if (storage.applies) {
        for (std::size_t x = 0; x < width; ++x)
            values[x] = static_cast<float>(storage.offset +
                                           storage.scale * static_cast<const double*>(numbers)[x]);
        std::memcpy(stored, values, width * sizeof(float));
    } else if (storage.code == ZEL_STORED_FLOAT) {
        std::memcpy(stored, numbers, width * sizeof(float));
        std::memcpy(values, numbers, width * sizeof(float));
    } else if (readType(storage) == GDT_Byte) {
        std::memcpy(stored, numbers, width);
        for (std::size_t x = 0; x < width; ++x) put(x, stored[x]);
    } else if (readType(storage) == GDT_UInt16) {
        std::memcpy(stored, numbers, width * sizeof(GUInt16));
        for (std::size_t x = 0; x < width; ++x) put(x, static_cast<const GUInt16*>(numbers)[x]);
    } else {
        for (std::size_t x = 0; x < width; ++x) {
            const int number = static_cast<const GInt16*>(numbers)[x] + storage.shift;
            const auto word = static_cast<GUInt16>(number);
            std::memcpy(stored + x * sizeof word, &word, sizeof word);
            put(x, number);
        }
    }
}

template <class Numbers>
bool NewFile::writeLine(double hours, const std::vector<float>& lats,
                        const std::vector<float>& lons, Numbers numbers)
{
    return callLibrary(name_.c_str(), [&] {
        SwapByteOrdering = byteOrder_;
        ZELLoadNavigation(record_.get(), hours, lats.data(), lons.data());
        for (std::size_t c = 0; c < channels_.size(); ++c) load(c, numbers(c));
        ZELWriteLine(record_.get());
        return 0;
    });
}

bool NewFile::finish()
{
    isFinished_ = callLibrary(name_.c_str(), [&] {
        SwapByteOrdering = byteOrder_;
        ZELFinishWritingFile(record_.get());
        return 0;
    });
    if (!isFinished_) VSIUnlink(name_.c_str());
    isBegun_ = false;
    return isFinished_;
}

// The lines of all bands of a source, in the types that their storages are read in.
class SourceLines {
public:
    SourceLines(GDALDataset& source, const std::vector<ChannelFacts>& channels) : source_(source)
    {
        for (const ChannelFacts& facts : channels) {
            types_.push_back(readType(facts.storage));
            const auto size = static_cast<std::size_t>(GDALGetDataTypeSizeBytes(types_.back()));
            lines_.emplace_back(size * static_cast<std::size_t>(source.GetRasterXSize()));
        }
    }
    bool read(int line)
    {
        const int width = source_.GetRasterXSize();
        for (std::size_t c = 0; c < lines_.size(); ++c) {
            GDALRasterBand* band = source_.GetRasterBand(static_cast<int>(c) + 1);
            if (band->RasterIO(GF_Read, 0, line, width, 1, lines_[c].data(), width, 1, types_[c], 0,
                               0, nullptr) != CE_None)
                return false;
        }
        return true;
    }
    const void* line(std::size_t channel) const { return lines_[channel].data(); }

private:
    GDALDataset& source_;
    std::vector<GDALDataType> types_;
    std::vector<std::vector<GByte>> lines_;
};

bool isStorable(GDALDataset& source)
{
    const int bands = source.GetRasterCount();
    if (bands >= 1 && bands <= ZEL_MAX_CHANNELS && source.GetRasterXSize() <= widest) return true;
    CPLError(CE_Failure, CPLE_NotSupported,
             "Files of this format have 1 to %d bands of up to %d pixels a line, not %d of %d",
             ZEL_MAX_CHANNELS, widest, bands, source.GetRasterXSize());
    return false;
}

bool isInterrupted(GDALProgressFunc progress, void* progressData, double done)
{
    if (progress(done, nullptr, progressData)) return false;
    CPLError(CE_Failure, CPLE_UserInterrupt, "The user has interrupted the copy");
    return true;
}

bool writeAll(const std::string& name, GDALDataset& source, bool isStrict, char** options,
              GDALProgressFunc progress, void* progressData)
{
    const std::optional<SceneFacts> scene = sceneFacts(source, options);
    std::vector<ChannelFacts> channels;
    if (!scene || !channelFacts(source, isStrict, channels)) return false;
    Placement placement(source, scene->navigationInterval);
    int angles[3];
    angleSlots(source, channels, angles);
    NewFile file(name);
    if (!file.open(*scene, channels, angles, source.GetRasterXSize(), placement.points(),
                   placement.interval()))
        return false;
    SourceLines lines(source, channels);
    std::vector<float> lats;
    std::vector<float> lons;
    const int count = source.GetRasterYSize();
    for (int n = 0; n < count; ++n) {
        if (isInterrupted(progress, progressData, static_cast<double>(n) / count) || !lines.read(n))
            return false;
        if (placement.points() > 0) placement.placeLine(n, lats, lons);
        const auto numbers = [&](std::size_t channel) { return lines.line(channel); };
        if (!file.writeLine(scene->beginHours + n * scene->lineHours, lats, lons, numbers))
            return false;
    }
    return file.finish() && !isInterrupted(progress, progressData, 1);
}

// The library writes to disks: a file elsewhere is copied there.
bool writeTo(const char* name, GDALDataset& source, bool isStrict, char** options,
             GDALProgressFunc progress, void* progressData)
{
    if (!STARTS_WITH(name, "/vsi"))
        return writeAll(name, source, isStrict, options, progress, progressData);
    const std::string local = CPLGenerateTempFilename("zel");
    bool isWritten = writeAll(local, source, isStrict, options, progress, progressData);
    if (isWritten && CPLCopyFile(name, local.c_str()) != 0) {
        CPLError(CE_Failure, CPLE_FileIO, "%s: cannot be written", name);
        VSIUnlink(name);
        isWritten = false;
    }
    VSIUnlink(local.c_str());
    return isWritten;
}

}  // namespace

GDALDataset* createZel(const char* name, GDALDataset* source, int isStrict, char** options,
                       GDALProgressFunc progress, void* progressData)
{
    try {
        if (!isStorable(*source) ||
            !writeTo(name, *source, isStrict != 0, options, progress, progressData))
            return nullptr;
        GDALOpenInfo info(name, GA_ReadOnly);
        GDALDataset* copy = openZel(&info);
        if (copy) keepNodata(*source, *copy);
        return copy;
    } catch (const std::bad_alloc&) {
        CPLError(CE_Failure, CPLE_OutOfMemory, "%s: cannot allocate memory", name);
        return nullptr;
    }
}

}  // namespace zel_gdal
