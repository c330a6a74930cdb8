// Builds scene files byte by byte, in every layout from version 1.00 to 2.3, from the tables of the
// format alone: nothing here is shared with the library. Numbers are typed by hand.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zel_test {

using Bytes = std::vector<unsigned char>;

struct LutEntry {
    unsigned char r = 0, g = 0, b = 0;
    std::string label;
};

struct Lut {
    int key = 0;
    std::string label;
    std::vector<LutEntry> entries;
};

struct Table {
    int key = 0;
    std::string label;
    std::vector<float> values;
};

struct Histogram {
    float max = 0, min = 0;
    std::vector<int32_t> counts;  // one per bin
};

struct Slot {
    int present = 0;
    float max = 0, min = 0;
    int type = 0;      // storage code
    int byteSize = 0;  // bytes per stored pixel
    int bits = 0;
    std::string label, comment;
    float wavelength = 0;
    int units = 0;
    int baseFlag = 0;
    Bytes mask = {0, 0, 0, 0};  // the mask block; see mask_bytes.hpp for one with a mask
    std::vector<Table> tables;
    std::optional<Histogram> histogram, standardHistogram;
};

struct Line {
    double scanTime = 0;
    float altitude = 0;
    int left = 0, right = 0, nadir = 0;
    float nadirLat = 0, nadirLon = 0;
    std::vector<float> lats, lons;  // filled up with 0 to the number of navigation points
    // Stored pixels by slot index, little-endian (see rawWords, rawFloats); what is missing is 0.
    std::map<int, Bytes> pixels;
};

struct Prefix {
    std::string magic = "ZEL";
    std::string version = "2.3";
    int base = 0;
    int components = 1;
    std::vector<int32_t> offsets;    // filled up with 0 to 100, as are the other two
    std::vector<float> resolutions;  // empty: the scene's resolution
    std::vector<int32_t> sizes;
};

struct Scene {
    int version = 230;  // 100 x VersionNumber
    bool prefixed = true;
    bool bigEndian = false;
    Prefix prefix;
    int year = 2001, julian = 123, satellite = 7;
    int pixels = 4;  // per line
    int navPoints = 2, startNav = 0, navInterval = 3;
    int dataType = 5;
    float altitude = 705, resolution = 30;
    std::string comment = "a scene";
    std::vector<Lut> luts;
    std::vector<Table> tables;
    int szIndex = -1, vzIndex = -1, azIndex = -1;
    int metaDataType = 0;
    std::string metaData;  // MetaDataSize is its length
    std::vector<Slot> slots;
    std::vector<Line> lines;
};

struct Field {
    std::string name;
    std::size_t offset = 0, size = 0;
};

// The bytes of a file, and where each field of it lies. Fields are named "VersionNumber",
// "prefix.offsets", "lut[0].entry[2].R", "table[1].value[0]", "channel[3].Type",
// "channel[3].table[0].NumTableValues", "channel[3].histogram.present",
// "channel[3].standardHistogram.count[5]", "line[2].ScanTime", "line[2].channel[3]" and so on.
struct BuiltFile {
    Bytes bytes;
    std::vector<Field> fields;  // in file order
    std::size_t headerEnd = 0;  // where line 0 begins
    std::size_t lineSize = 0;   // 0 without lines
    bool bigEndian = false;

    const Field& field(const std::string& name) const;  // throws when there is none
    std::size_t offset(const std::string& name) const { return field(name).offset; }
    bool has(const std::string& name) const;

    // Overwrite a number of 2 or 4 bytes, in the file's byte order.
    void putInt(const std::string& name, long value);
    void putFloat(const std::string& name, float value);
    void putBytes(const std::string& name, const Bytes& value);
    // The file up to (not including) that field.
    Bytes cutBefore(const std::string& name) const;
};

BuiltFile build(const Scene& scene);

// A scene of that version (100 x VersionNumber), with a prefix from 1.51 on: three slots (20 in
// version 1.00), of which 0 is an unscaled byte channel "first" and 2 an unscaled 16-bit channel
// "third" present, and two lines. All values are distinct.
Scene smallScene(int version = 230);

// The complete files one after the other, the first one's prefix being the directory of all.
Bytes buildComposite(std::vector<Scene> scenes, int base = 0);

// A present channel of a storage code 1 to 5.
Slot channel(int type, const std::string& label, float max = 0, float min = 0);

// Stored pixels from numbers.
Bytes rawWords(const std::vector<int>& values);
Bytes rawFloats(const std::vector<float>& values);

}  // namespace zel_test
