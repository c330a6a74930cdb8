#include "writer.hpp"

#include <algorithm>
#include <cstring>
#include <optional>

#include "library.hpp"
#include "mask.hpp"

namespace zel_python {
namespace {

template <class T>
T get(const py::dict& facts, const char* name)
{
    return facts[name].cast<T>();
}

void setMetadata(ZELHeaderType& h, const std::string& text, int type)
{
    const std::size_t size = std::min<std::size_t>(text.size(), ZEL_METADATA_SIZE);
    h.MetaDataSize = static_cast<int>(size);
    h.MetaDataType = type;
    std::memcpy(h.MetaDataText, text.data(), size);
}

// The lines of a part, as the library takes them one by one.
struct LineArrays {
    explicit LineArrays(const py::dict& lines)
        : hours(get<Array<double>>(lines, "hours")),
          altitude(get<Array<float>>(lines, "altitude")),
          padding(get<Array<std::int32_t>>(lines, "padding")),
          nadirPixel(get<Array<std::int32_t>>(lines, "nadir_pixel")),
          nadir(get<Array<float>>(lines, "nadir")),
          lat(get<Array<float>>(lines, "latitude")),
          lon(get<Array<float>>(lines, "longitude"))
    {
    }
    void load(ZELType& record, py::ssize_t n) const
    {
        const py::ssize_t points = record.ZELHeader.NumNavPoints;
        ZELLoadNavigation(&record, hours.data()[n], lat.data() + n * points,
                          lon.data() + n * points);
        ZELSetScanAltitude(&record, altitude.data()[n]);
        ZELSetPadding(&record, padding.data()[2 * n], padding.data()[2 * n + 1]);
        ZELSetNadirPixel(&record, nadirPixel.data()[n]);
        ZELSetNadirLatLon(&record, nadir.data()[2 * n], nadir.data()[2 * n + 1]);
    }
    Array<double> hours;
    Array<float> altitude;
    Array<std::int32_t> padding, nadirPixel;
    Array<float> nadir, lat, lon;
};

}  // namespace

Writer::Writer(std::string name, const py::dict& header, const py::list& channels,
               const py::list& luts)
    : name_(std::move(name)), record_(new ZELType())
{
    const auto number = [&](const char* field) { return get<int>(header, field); };
    ZELType* record = record_.get();
    const std::string comment = get<std::string>(header, "comment");
    const int sensor = number("sensor"), year = number("year"), day = number("day_of_year");
    const int satellite = number("satellite"), pixels = number("pixels");
    const int points = number("points"), first = number("first_point");
    const int interval = number("point_interval");
    const auto altitude = get<float>(header, "altitude");
    const auto resolution = get<float>(header, "resolution");
    callLibrary([&] {
        ZELInitNewWriteOnlyFile(record, sensor, comment.c_str(), year, day, satellite, pixels,
                                points, first, interval, altitude, resolution);
        return 0;
    });
    isBegun_ = true;
    setMetadata(record->ZELHeader, get<std::string>(header, "metadata"), number("metadata_type"));
    for (const auto& lut : luts) addLut(lut.cast<py::dict>());
    addTables(record->ZELHeader.TableList, get<py::list>(header, "tables"));
    for (const auto& channel : channels) declare(channel.cast<py::dict>());
    const auto angles = get<std::vector<int>>(header, "angle_slots");
    const int keepsHistograms = get<bool>(header, "histograms") ? 1 : 0;
    callLibrary([&] {
        ZELSetSolarChannels(record, angles.at(0), angles.at(1), angles.at(2));
        ZELSetHistogramFlag(record, keepsHistograms);
        ZELSetOverwritePromptOff(record);
        ZELRearmLUTWriter();  // each file of this process has its own LUTs
        const int result = ZELOpenWriteOnlyFile(record, name_.c_str());
        byteOrder_ = SwapByteOrdering;
        for (Channel& channel : channels_) {
            channel.table.resize(65536);
            const int count = ZELFetchScalingTable(record, channel.slot, channel.table.data());
            channel.table.resize(static_cast<std::size_t>(count));
        }
        return result;
    });
}

// What went wrong was reported before.
Writer::~Writer()
{
    if (isBegun_) callQuietly([&] { ZELFinishWritingFile(record_.get()); });
}

void Writer::addLut(const py::dict& lut)
{
    const auto label = get<std::string>(lut, "label");
    const auto names = get<std::vector<std::string>>(lut, "names");
    const auto colours = get<Array<std::uint8_t>>(lut, "colours");
    if (colours.size() != static_cast<py::ssize_t>(3 * names.size()))
        throw py::value_error("each class has a colour");
    const std::uint8_t* c = colours.data();
    const auto key = get<std::optional<int>>(lut, "key");
    const int size = static_cast<int>(names.size());
    callLibrary([&] {
        ZELDisplayLUTType* added = key ? ZELAddLUT(record_.get(), *key, size, label.c_str())
                                       : ZELAppendLUT(record_.get(), size, label.c_str());
        for (std::size_t i = 0; added && i < names.size(); ++i, c += 3)
            ZELLoadLUTEntry(added, static_cast<int>(i), c[0], c[1], c[2], names[i].c_str());
        return added ? 0 : -1;
    });
}

void Writer::addTables(TableListType& list, const py::list& tables)
{
    for (const auto& item : tables) {
        const auto table = item.cast<py::dict>();
        const auto label = get<std::string>(table, "label");
        const int key = get<int>(table, "key");
        const auto values = get<Array<float>>(table, "values");
        const float* numbers = values.data();
        const int count = static_cast<int>(values.size());
        callLibrary([&] {
            TableType* added = ZELAddTable(&list, key, count, label.c_str());
            if (added) std::copy_n(numbers, count, added->Table);
            return added ? 0 : -1;
        });
    }
}

void Writer::declare(const py::dict& channel)
{
    Channel added{get<int>(channel, "slot"), get<bool>(channel, "is_raw"), {}, {}, {}};
    zel_tool::MadeChannel& made = added.made;
    made.label = get<std::string>(channel, "label");
    made.comment = get<std::string>(channel, "comment");
    made.storage.code = get<int>(channel, "storage");
    made.storage.min = get<float>(channel, "min");
    made.storage.max = get<float>(channel, "max");
    made.units = get<int>(channel, "unit");
    made.missing = get<std::optional<float>>(channel, "missing");
    const int bits = get<int>(channel, "bits");
    const auto wavelength = get<float>(channel, "wavelength");
    const auto mask = get<std::string>(channel, "mask");
    const auto add = get<bool>(channel, "is_base") ? ZELAddSensorBaseChannel : ZELAddSensorChannel;
    callLibrary([&] {
        add(record_.get(), added.slot, made.storage.max, made.storage.min, made.storage.code, bits,
            made.label.c_str(), made.comment.c_str(), wavelength, made.units);
        record_->Channels[added.slot].Mask = maskFrom(mask);
        return 0;
    });
    addTables(record_->Channels[added.slot].TableList, get<py::list>(channel, "tables"));
    channels_.push_back(std::move(added));
}

// Stored numbers as they are, and their values for the histogram.
void Writer::loadNumbers(Channel& channel, const void* pixels)
{
    const ZELChannelType& c = record_->Channels[channel.slot];
    const auto width = static_cast<std::size_t>(record_->ZELHeader.NPixelPerLine);
    std::memcpy(record_->PixBuf[channel.slot], pixels,
                width * static_cast<std::size_t>(c.DataByteSize));
    const auto toValues = [&](const auto* numbers) {
        for (std::size_t x = 0; x < width; ++x)
            c.ChannelData[x] = channel.table.empty()
                                   ? static_cast<float>(numbers[x])
                                   : channel.table[static_cast<std::size_t>(numbers[x])];
    };
    if (c.DataByteSize == 1) toValues(static_cast<const std::uint8_t*>(pixels));
    if (c.DataByteSize == 2) toValues(static_cast<const std::uint16_t*>(pixels));
    if (c.DataByteSize == 4) std::memcpy(c.ChannelData, pixels, width * sizeof(float));
}

void Writer::load(Channel& channel, const void* pixels)
{
    if (channel.isRaw) return loadNumbers(channel, pixels);
    const int width = record_->ZELHeader.NPixelPerLine;
    channel.row.resize(static_cast<std::size_t>(width));
    zel_tool::prepare(channel.made, static_cast<const float*>(pixels), width, channel.row.data());
    ZELLoadChannel(record_.get(), channel.slot, channel.row.data());
}

void Writer::writeLines(const py::dict& lines, const py::list& planes)
{
    if (!isBegun_) throw py::value_error("the file is finished");
    const LineArrays arrays(lines);
    const py::ssize_t count = arrays.hours.size();
    const py::ssize_t width = record_->ZELHeader.NPixelPerLine;
    std::vector<py::array> kept;
    std::vector<const char*> pixels;
    std::vector<std::size_t> rowBytes;
    for (const Channel& channel : channels_) {
        kept.push_back(planes[kept.size()].cast<py::array>());
        const py::array& plane = kept.back();
        const int size = channel.isRaw ? record_->Channels[channel.slot].DataByteSize : 4;
        if (plane.size() != count * width || plane.itemsize() != size ||
            !(plane.flags() & py::array::c_style))
            throw py::value_error("pixels of another size");
        pixels.push_back(static_cast<const char*>(plane.data()));
        rowBytes.push_back(static_cast<std::size_t>(width * size));
    }
    callLibrary([&] {
        SwapByteOrdering = byteOrder_;
        for (py::ssize_t n = 0; n < count; ++n) {
            arrays.load(*record_, n);
            for (std::size_t c = 0; c < channels_.size(); ++c)
                load(channels_[c], pixels[c] + static_cast<std::size_t>(n) * rowBytes[c]);
            ZELWriteLine(record_.get());
        }
        return 0;
    });
}

void Writer::setHistogram(int slot, float min, float max, const Array<std::int32_t>& counts)
{
    const std::int32_t* from = counts.data();
    const py::ssize_t size = counts.size();
    callLibrary([&] {
        if (!isBegun_ || !ZELIsChannelPresent(record_.get(), slot)) return 0;
        ZELHistogramType* histogram = record_->Channels[slot].ChannelHistogram;
        if (!histogram || histogram->NumHistogramBins != size) return 0;
        histogram->Min = min;
        histogram->Max = max;
        std::copy_n(from, size, histogram->Histogram);
        return 0;
    });
}

py::list Writer::misfits() const
{
    py::list all;
    for (const Channel& channel : channels_)
        all.append(py::make_tuple(channel.made.missingCount, channel.made.outsideCount));
    return all;
}

void Writer::finish()
{
    isBegun_ = false;
    callLibrary([&] {
        SwapByteOrdering = byteOrder_;
        ZELFinishWritingFile(record_.get());
        return 0;
    });
}

}  // namespace zel_python
