#include "support/file_builder.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace zel_test {

namespace {

Bytes littleEndian(uint64_t bits, std::size_t size)
{
    Bytes bytes;
    for (std::size_t i = 0; i < size; ++i)
        bytes.push_back(static_cast<unsigned char>(bits >> 8 * i));
    return bytes;
}

uint32_t bitsOf(float value)
{
    uint32_t bits;
    static_assert(sizeof bits == sizeof value);
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

uint64_t bitsOf(double value)
{
    uint64_t bits;
    static_assert(sizeof bits == sizeof value);
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

std::string numbered(const std::string& name, std::size_t i)
{
    return name + "[" + std::to_string(i) + "]";
}

// Appends fields to a file and notes their places.
class Encoder {
public:
    Encoder(int version, bool bigEndian) : version_(version) { file.bigEndian = bigEndian; }

    bool since(int version) const { return version_ >= version; }

    void byte(const std::string& name, int v)
    {
        raw(name, Bytes{static_cast<unsigned char>(v)}, 1);
    }
    void i16(const std::string& name, long v) { number(name, static_cast<uint64_t>(v), 2); }
    void i32(const std::string& name, long v) { number(name, static_cast<uint64_t>(v), 4); }
    void f32(const std::string& name, float v) { number(name, bitsOf(v), 4); }
    void f64(const std::string& name, double v) { number(name, bitsOf(v), 8); }

    void text(const std::string& name, const std::string& v, std::size_t width)
    {
        Bytes bytes(v.begin(), v.end());
        bytes.resize(width);
        raw(name, bytes, 1);
    }

    template <class T>
    void array(const std::string& name, std::vector<T> values, std::size_t count)
    {
        values.resize(count);
        Bytes bytes;
        for (T v : values) {
            const uint64_t bits = [&] {
                if constexpr (std::is_same_v<T, float>)
                    return uint64_t{bitsOf(v)};
                else
                    return static_cast<uint64_t>(v);
            }();
            const Bytes one = littleEndian(bits, 4);
            bytes.insert(bytes.end(), one.begin(), one.end());
        }
        raw(name, bytes, 4);
    }

    // Little-endian elements; reversed one by one for a big-endian file.
    void raw(const std::string& name, Bytes bytes, std::size_t elementSize)
    {
        if (file.bigEndian)
            for (std::size_t i = 0; i + elementSize <= bytes.size(); i += elementSize)
                std::reverse(bytes.begin() + static_cast<long>(i),
                             bytes.begin() + static_cast<long>(i + elementSize));
        file.fields.push_back({name, file.bytes.size(), bytes.size()});
        file.bytes.insert(file.bytes.end(), bytes.begin(), bytes.end());
    }

    BuiltFile file;

private:
    void number(const std::string& name, uint64_t bits, std::size_t size)
    {
        raw(name, littleEndian(bits, size), size);
    }

    int version_;
};

void prefix(Encoder& e, const Scene& s)
{
    const Prefix& p = s.prefix;
    e.text("prefix.magic", p.magic, 3);
    e.text("prefix.version", p.version, 10);
    e.i32("prefix.base", p.base);
    e.i32("prefix.components", p.components);
    e.array("prefix.offsets", p.offsets, 100);
    e.array("prefix.resolutions",
            p.resolutions.empty() ? std::vector<float>{s.resolution} : p.resolutions, 100);
    e.array("prefix.sizes", p.sizes, 100);
}

void lutRecord(Encoder& e, const Lut& lut, const std::string& name)
{
    e.i16(name + ".NumLUTValues", static_cast<long>(lut.entries.size()));
    e.i16(name + ".DisplayLUTKeyValue", lut.key);
    e.text(name + ".DisplayLUTLabel", lut.label, 200);
    for (std::size_t i = 0; i < lut.entries.size(); ++i) {
        const std::string entry = numbered(name + ".entry", i);
        e.byte(entry + ".R", lut.entries[i].r);
        e.byte(entry + ".G", lut.entries[i].g);
        e.byte(entry + ".B", lut.entries[i].b);
        e.text(entry + ".LUTEntryLabel", lut.entries[i].label, 200);
    }
}

void tableRecords(Encoder& e, const std::vector<Table>& tables, const std::string& owner)
{
    for (std::size_t t = 0; t < tables.size(); ++t) {
        const std::string name = numbered(owner + "table", t);
        e.i16(name + ".NumTableValues", static_cast<long>(tables[t].values.size()));
        e.i16(name + ".TableKeyValue", tables[t].key);
        e.text(name + ".TableLabel", tables[t].label, 200);
        for (std::size_t i = 0; i < tables[t].values.size(); ++i)
            e.f32(numbered(name + ".value", i), tables[t].values[i]);
    }
}

void header(Encoder& e, const Scene& s)
{
    e.f32("VersionNumber", static_cast<float>(s.version / 100.0));
    if (e.since(101)) e.i16("MaxNumChan", static_cast<long>(s.slots.size()));
    e.i16("year", s.year);
    e.i16("julian", s.julian);
    e.i16("sat_no", s.satellite);
    e.i16("NPixelPerLine", s.pixels);
    if (!e.since(111)) return;
    e.i32("NumNavPoints", s.navPoints);
    e.i32("StartNavPoint", s.startNav);
    e.i32("NavPointInterval", s.navInterval);
    e.i16("DataType", s.dataType);
    e.f32("SatelliteAltitude", s.altitude);
    e.f32("SpatialResolution", s.resolution);
    e.text("DataComment", s.comment, 2000);
    e.i16("NumDisplayLUTs", static_cast<long>(s.luts.size()));
    e.i16("NumTables", static_cast<long>(s.tables.size()));
    for (std::size_t i = 0; i < s.luts.size(); ++i) lutRecord(e, s.luts[i], numbered("lut", i));
    tableRecords(e, s.tables, "");
    if (e.since(142)) e.i16("SZChannelIndex", s.szIndex);
    if (e.since(142)) e.i16("VZChannelIndex", s.vzIndex);
    if (e.since(142)) e.i16("AZChannelIndex", s.azIndex);
    if (e.since(201)) e.i32("MetaDataType", s.metaDataType);
    if (e.since(201)) e.i32("MetaDataSize", static_cast<long>(s.metaData.size()));
    if (e.since(201)) e.text("MetaDataText", s.metaData, 20000);
}

void histogramBlock(Encoder& e, const std::optional<Histogram>& h, const std::string& name)
{
    e.byte(name + ".present", h ? 1 : 0);
    if (!h) return;
    e.i16(name + ".NumHistogramBins", static_cast<long>(h->counts.size()));
    e.f32(name + ".Max", h->max);
    e.f32(name + ".Min", h->min);
    for (std::size_t i = 0; i < h->counts.size(); ++i)
        e.i32(numbered(name + ".count", i), h->counts[i]);
}

void channelRecord(Encoder& e, const Slot& c, const std::string& name)
{
    e.i32(name + ".ChannelPresentFlag", c.present);
    e.f32(name + ".MaxValue", c.max);
    e.f32(name + ".MinValue", c.min);
    e.i32(name + ".Type", c.type);
    e.i32(name + ".DataByteSize", c.byteSize);
    e.i32(name + ".DataBitResolution", c.bits);
    e.text(name + ".ChannelLabel", c.label, 120);
    e.text(name + ".ChannelComment", c.comment, 120);
    if (e.since(111)) e.f32(name + ".ChannelWaveLength", c.wavelength);
    if (e.since(131)) e.i32(name + ".Units", c.units);
    if (e.since(132)) e.i32(name + ".BaseChannelFlag", c.baseFlag);
    if (e.since(141)) e.raw(name + ".mask", c.mask, 1);
    if (e.since(211)) e.i16(name + ".NumTables", static_cast<long>(c.tables.size()));
    if (e.since(211)) tableRecords(e, c.tables, name + ".");
    if (e.since(121)) histogramBlock(e, c.histogram, name + ".histogram");
    if (e.since(121)) histogramBlock(e, c.standardHistogram, name + ".standardHistogram");
}

void lineRecord(Encoder& e, const Scene& s, const Line& line, const std::string& name)
{
    const auto points = static_cast<std::size_t>(e.since(111) ? std::max(s.navPoints, 0) : 51);
    e.f64(name + ".ScanTime", line.scanTime);
    if (e.since(131)) e.f32(name + ".ScanAltitude", line.altitude);
    if (e.since(201)) e.i32(name + ".LeftPixel", line.left);
    if (e.since(201)) e.i32(name + ".RightPixel", line.right);
    if (e.since(201)) e.i32(name + ".NadirPixel", line.nadir);
    if (e.since(221)) e.f32(name + ".NadirLat", line.nadirLat);
    if (e.since(221)) e.f32(name + ".NadirLon", line.nadirLon);
    e.array(name + ".latitudes", line.lats, points);
    e.array(name + ".longitudes", line.lons, points);
    for (std::size_t i = 0; i < s.slots.size(); ++i) {
        if (s.slots[i].present == 0) continue;
        const auto found = line.pixels.find(static_cast<int>(i));
        Bytes pixels = found == line.pixels.end() ? Bytes{} : found->second;
        pixels.resize(static_cast<std::size_t>(s.pixels * s.slots[i].byteSize));
        e.raw(numbered(name + ".channel", i), pixels,
              static_cast<std::size_t>(s.slots[i].byteSize));
    }
}

}  // namespace

BuiltFile build(const Scene& scene)
{
    Encoder e(scene.version, scene.bigEndian);
    if (scene.prefixed) prefix(e, scene);
    header(e, scene);
    for (std::size_t i = 0; i < scene.slots.size(); ++i)
        channelRecord(e, scene.slots[i], numbered("channel", i));
    e.file.headerEnd = e.file.bytes.size();
    for (std::size_t i = 0; i < scene.lines.size(); ++i)
        lineRecord(e, scene, scene.lines[i], numbered("line", i));
    if (!scene.lines.empty())
        e.file.lineSize = (e.file.bytes.size() - e.file.headerEnd) / scene.lines.size();
    return e.file;
}

const Field& BuiltFile::field(const std::string& name) const
{
    const auto found =
        std::find_if(fields.begin(), fields.end(), [&](const Field& f) { return f.name == name; });
    if (found == fields.end()) throw std::out_of_range("no field " + name);
    return *found;
}

bool BuiltFile::has(const std::string& name) const
{
    return std::any_of(fields.begin(), fields.end(),
                       [&](const Field& f) { return f.name == name; });
}

void BuiltFile::putInt(const std::string& name, long value)
{
    Bytes number = littleEndian(static_cast<uint64_t>(value), field(name).size);
    if (bigEndian) std::reverse(number.begin(), number.end());
    putBytes(name, number);
}

void BuiltFile::putFloat(const std::string& name, float value)
{
    putInt(name, static_cast<long>(bitsOf(value)));
}

void BuiltFile::putBytes(const std::string& name, const Bytes& value)
{
    const Field& f = field(name);
    if (value.size() > f.size) throw std::length_error("too long for " + name);
    std::copy(value.begin(), value.end(), bytes.begin() + static_cast<long>(f.offset));
}

Bytes BuiltFile::cutBefore(const std::string& name) const
{
    return {bytes.begin(), bytes.begin() + static_cast<long>(offset(name))};
}

Slot channel(int type, const std::string& label, float max, float min)
{
    static constexpr int bytesPerPixel[] = {0, 1, 2, 1, 4, 2};
    Slot slot;
    slot.present = 1;
    slot.max = max;
    slot.min = min;
    slot.type = type;
    slot.byteSize = bytesPerPixel[type];
    slot.bits = 8 * slot.byteSize;
    slot.label = label;
    return slot;
}

Scene smallScene(int version)
{
    Scene scene;
    scene.version = version;
    scene.prefixed = version >= 151;
    scene.slots.resize(version == 100 ? 20 : 3);
    scene.slots[0] = channel(3, "first", 250.0f, 2.0f);
    scene.slots[0].comment = "the first channel";
    scene.slots[0].wavelength = 0.5f;
    scene.slots[0].units = 2;
    scene.slots[0].baseFlag = 1;
    scene.slots[2] = channel(5, "third", 60000.0f, 10.0f);
    scene.slots[2].wavelength = 11.0f;
    scene.slots[2].units = 4;
    scene.lines.resize(2);
    for (int n = 0; n < 2; ++n) {
        Line& line = scene.lines[static_cast<std::size_t>(n)];
        line.scanTime = 10.25 + n;
        line.altitude = 700.5f + static_cast<float>(n);
        line.left = 1;
        line.right = 2;
        line.nadir = n;
        line.nadirLat = 45.5f;
        line.nadirLon = -120.25f;
        line.lats = {40.0f, 41.5f};
        line.lons = {-100.0f, -98.5f};
        line.pixels[0] = {11, 12, 13, static_cast<unsigned char>(14 + n)};
        line.pixels[2] = rawWords({1000, 2000, 40000, 3 + n});
    }
    return scene;
}

Bytes buildComposite(std::vector<Scene> scenes, int base)
{
    Prefix directory;
    directory.base = base;
    directory.components = static_cast<int>(scenes.size());
    int32_t start = 0;
    for (const Scene& scene : scenes) {
        const auto size = static_cast<int32_t>(build(scene).bytes.size());
        directory.offsets.push_back(start);
        directory.resolutions.push_back(scene.resolution);
        directory.sizes.push_back(size);
        start += size;
    }
    scenes.at(0).prefix = directory;
    Bytes all;
    for (const Scene& scene : scenes) {
        const Bytes one = build(scene).bytes;
        all.insert(all.end(), one.begin(), one.end());
    }
    return all;
}

Bytes rawWords(const std::vector<int>& values)
{
    Bytes bytes;
    for (int v : values)
        for (unsigned char b : littleEndian(static_cast<uint64_t>(v), 2)) bytes.push_back(b);
    return bytes;
}

Bytes rawFloats(const std::vector<float>& values)
{
    Bytes bytes;
    for (float v : values)
        for (unsigned char b : littleEndian(bitsOf(v), 4)) bytes.push_back(b);
    return bytes;
}

}  // namespace zel_test
