// The bytes of each record, counted by hand: against what the library reads and writes, and against
// the builder of test files.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "support/dumped.hpp"
#include "support/file_builder.hpp"
#include "support/outcome.hpp"

namespace {

using zel_test::Bytes;
using zel_test::OpenedFile;
using zel_test::run;

static_assert(compositeHeaderOffset == 1221);
static_assert(compositeVersionOffset == 13);
static_assert(sizeof(ZELType::ImageFilename) == 240);
static_assert(sizeof(ZELHeaderType::DataComment) == 2001);
static_assert(sizeof(ZELHeaderType::MetaDataText) == 20001);
static_assert(sizeof(ZELChannelType::ChannelLabel) == 120);
static_assert(sizeof(ZELChannelType::ChannelComment) == 120);
static_assert(sizeof(ZELLUTType::LUTEntryLabel) == 201);
static_assert(sizeof(ZELDisplayLUTType::DisplayLUTLabel) == 201);
static_assert(sizeof(TableType::TableLabel) == 201);
static_assert(sizeof(ZELType::Channels) / sizeof(ZELChannelType) == 1000);
static_assert(sizeof(ZELType::PixBuf) / sizeof(unsigned char*) == 1000);
static_assert(sizeof(ZELType::Pixel) / sizeof(float) == 1000);
static_assert(sizeof(ZELHeaderType::year) == 2 && sizeof(ZELHeaderType::NumNavPoints) == 4);

struct Row {
    const char* name;
    std::size_t offset, size;
};

const Row prefixRows[] = {
    {"prefix.magic", 0, 3},       {"prefix.version", 3, 10},   {"prefix.base", 13, 4},
    {"prefix.components", 17, 4}, {"prefix.offsets", 21, 400}, {"prefix.resolutions", 421, 400},
    {"prefix.sizes", 821, 400},
};
const std::size_t prefixSize = 1221;

const Row headerRows[] = {
    {"VersionNumber", 0, 4},
    {"MaxNumChan", 4, 2},
    {"year", 6, 2},
    {"julian", 8, 2},
    {"sat_no", 10, 2},
    {"NPixelPerLine", 12, 2},
    {"NumNavPoints", 14, 4},
    {"StartNavPoint", 18, 4},
    {"NavPointInterval", 22, 4},
    {"DataType", 26, 2},
    {"SatelliteAltitude", 28, 4},
    {"SpatialResolution", 32, 4},
    {"DataComment", 36, 2000},
    {"NumDisplayLUTs", 2036, 2},
    {"NumTables", 2038, 2},
    {"SZChannelIndex", 2040, 2},
    {"VZChannelIndex", 2042, 2},
    {"AZChannelIndex", 2044, 2},
    {"MetaDataType", 2046, 4},
    {"MetaDataSize", 2050, 4},
    {"MetaDataText", 2054, 20000},
};
const std::size_t headerSize = 22054;

const Row channelRows[] = {
    {"ChannelPresentFlag", 0, 4},
    {"MaxValue", 4, 4},
    {"MinValue", 8, 4},
    {"Type", 12, 4},
    {"DataByteSize", 16, 4},
    {"DataBitResolution", 20, 4},
    {"ChannelLabel", 24, 120},
    {"ChannelComment", 144, 120},
    {"ChannelWaveLength", 264, 4},
    {"Units", 268, 4},
    {"BaseChannelFlag", 272, 4},
    {"mask", 276, 4},
    {"NumTables", 280, 2},
    {"histogram.present", 282, 1},
    {"standardHistogram.present", 283, 1},
};
const std::size_t channelSize = 284;

// With two navigation points.
const Row lineRows[] = {
    {"ScanTime", 0, 8},    {"ScanAltitude", 8, 4}, {"LeftPixel", 12, 4},
    {"RightPixel", 16, 4}, {"NadirPixel", 20, 4},  {"NadirLat", 24, 4},
    {"NadirLon", 28, 4},   {"latitudes", 32, 8},   {"longitudes", 40, 8},
};
const std::size_t lineHead = 48;

template <std::size_t N>
std::size_t at(const Row (&rows)[N], const std::string& name)
{
    for (const Row& row : rows)
        if (name == row.name) return row.offset;
    throw std::out_of_range(name);
}

void put(Bytes& bytes, std::size_t offset, const void* value, std::size_t size)
{
    ASSERT_LE(offset + size, bytes.size());
    std::memcpy(bytes.data() + offset, value, size);  // little-endian, as the host is
}
template <class T>
void put(Bytes& bytes, std::size_t offset, T value)
{
    put(bytes, offset, &value, sizeof value);
}
void put(Bytes& bytes, std::size_t offset, const char* text)
{
    put(bytes, offset, text, std::strlen(text));
}

// A file of two slots, the second present with four float pixels per line, and one line, each field
// put at its place in zeros.
Bytes fileByHand()
{
    Bytes f(prefixSize + headerSize + 2 * channelSize + lineHead + 16);
    put(f, at(prefixRows, "prefix.magic"), "ZEL");
    put(f, at(prefixRows, "prefix.version"), "2.3");
    put<int32_t>(f, at(prefixRows, "prefix.components"), 1);
    const auto header = [&](const char* name) { return prefixSize + at(headerRows, name); };
    put<float>(f, header("VersionNumber"), 2.3f);
    put<int16_t>(f, header("MaxNumChan"), 2);
    put<int16_t>(f, header("year"), 1987);
    put<int16_t>(f, header("julian"), 211);
    put<int16_t>(f, header("sat_no"), 9);
    put<int16_t>(f, header("NPixelPerLine"), 4);
    put<int32_t>(f, header("NumNavPoints"), 2);
    put<int32_t>(f, header("StartNavPoint"), 1);
    put<int32_t>(f, header("NavPointInterval"), 2);
    put<int16_t>(f, header("DataType"), 12);
    put<float>(f, header("SatelliteAltitude"), 681.5f);
    put<float>(f, header("SpatialResolution"), 3.25f);
    put(f, header("DataComment"), "by hand");
    put<int16_t>(f, header("SZChannelIndex"), -1);
    put<int16_t>(f, header("VZChannelIndex"), 1);
    put<int16_t>(f, header("AZChannelIndex"), -1);
    put<int32_t>(f, header("MetaDataType"), 1);
    put<int32_t>(f, header("MetaDataSize"), 5);
    put(f, header("MetaDataText"), "text!");
    const auto channel = [&](const char* name) {
        return prefixSize + headerSize + channelSize + at(channelRows, name);
    };
    put<int32_t>(f, channel("ChannelPresentFlag"), 1);
    put<float>(f, channel("MaxValue"), 100.5f);
    put<float>(f, channel("MinValue"), -20.5f);
    put<int32_t>(f, channel("Type"), 4);
    put<int32_t>(f, channel("DataByteSize"), 4);
    put<int32_t>(f, channel("DataBitResolution"), 31);
    put(f, channel("ChannelLabel"), "label");
    put(f, channel("ChannelComment"), "comment");
    put<float>(f, channel("ChannelWaveLength"), 10.75f);
    put<int32_t>(f, channel("Units"), 7);
    put<int32_t>(f, channel("BaseChannelFlag"), 1);
    const std::size_t start = prefixSize + headerSize + 2 * channelSize;
    const auto line = [&](const char* name) { return start + at(lineRows, name); };
    put<double>(f, line("ScanTime"), 13.5);
    put<float>(f, line("ScanAltitude"), 680.25f);
    put<int32_t>(f, line("LeftPixel"), 1);
    put<int32_t>(f, line("RightPixel"), 3);
    put<int32_t>(f, line("NadirPixel"), 2);
    put<float>(f, line("NadirLat"), 12.5f);
    put<float>(f, line("NadirLon"), -13.5f);
    put<float>(f, line("latitudes") + 4, 61.0f);
    put<float>(f, line("longitudes") + 4, -62.0f);
    for (std::size_t i = 0; i < 4; ++i)
        put<float>(f, start + lineHead + 4 * i, 1.5f * static_cast<float>(i));
    return f;
}

TEST(RecordLayout, TheLibraryFindsTheHeaderFieldsAtTheirPlaces)
{
    OpenedFile file(fileByHand());
    ASSERT_EQ(file.result, 0) << file.outcome.out;
    const ZELHeaderType& h = file->ZELHeader;
    EXPECT_EQ(h.VersionNumber, 2.3f);
    EXPECT_EQ(h.MaxNumChan, 2);
    EXPECT_EQ(h.year, 1987);
    EXPECT_EQ(h.julian, 211);
    EXPECT_EQ(h.sat_no, 9);
    EXPECT_EQ(h.NPixelPerLine, 4);
    EXPECT_EQ(h.NumNavPoints, 2);
    EXPECT_EQ(h.StartNavPoint, 1);
    EXPECT_EQ(h.NavPointInterval, 2);
    EXPECT_EQ(h.DataType, 12);
    EXPECT_EQ(h.SatelliteAltitude, 681.5f);
    EXPECT_EQ(h.SpatialResolution, 3.25f);
    EXPECT_STREQ(h.DataComment, "by hand");
    EXPECT_EQ(h.SZChannelIndex, -1);
    EXPECT_EQ(h.VZChannelIndex, 1);
    EXPECT_EQ(h.AZChannelIndex, -1);
    EXPECT_EQ(h.MetaDataType, 1);
    EXPECT_EQ(h.MetaDataSize, 5);
    EXPECT_STREQ(h.MetaDataText, "text!");
}

TEST(RecordLayout, TheLibraryFindsTheChannelFieldsAtTheirPlaces)
{
    OpenedFile file(fileByHand());
    ASSERT_EQ(file.result, 0) << file.outcome.out;
    EXPECT_EQ(file->Channels[0].ChannelPresentFlag, 0);
    const ZELChannelType& c = file->Channels[1];
    EXPECT_EQ(c.ChannelPresentFlag, 1);
    EXPECT_EQ(c.MaxValue, 100.5f);
    EXPECT_EQ(c.MinValue, -20.5f);
    EXPECT_EQ(c.Type, 4);
    EXPECT_EQ(c.DataByteSize, 4);
    EXPECT_EQ(c.DataBitResolution, 31);
    EXPECT_STREQ(c.ChannelLabel, "label");
    EXPECT_STREQ(c.ChannelComment, "comment");
    EXPECT_EQ(c.ChannelWaveLength, 10.75f);
    EXPECT_EQ(c.Units, 7);
    EXPECT_EQ(c.BaseChannelFlag, 1);
}

TEST(RecordLayout, TheLibraryFindsTheLineFieldsAtTheirPlaces)
{
    OpenedFile file(fileByHand());
    ASSERT_EQ(file.result, 0) << file.outcome.out;
    EXPECT_EQ(file->HeaderOffset, 1221 + 22054 + 568);
    EXPECT_EQ(file->NavOffset, 48);
    EXPECT_EQ(file->LineOffset, 64);
    EXPECT_EQ(file->NumLines, 1);
    run([&] { ZELReadLine(file.get()); });
    EXPECT_EQ(file->ScanTime, 13.5);
    EXPECT_EQ(file->ScanAltitude, 680.25f);
    EXPECT_EQ(file->LeftPixel, 1);
    EXPECT_EQ(file->RightPixel, 3);
    EXPECT_EQ(file->NadirPixel, 2);
    EXPECT_EQ(file->NadirLat, 12.5f);
    EXPECT_EQ(file->NadirLon, -13.5f);
    EXPECT_EQ(file->LatBuffer[0], 0.0f);
    EXPECT_EQ(file->LatBuffer[1], 61.0f);
    EXPECT_EQ(file->LonBuffer[1], -62.0f);
    EXPECT_EQ(file->Channels[1].ChannelData[3], 4.5f);
}

// The file above as a dump, each row typed by hand.
TEST(RecordLayout, ADumpShowsEachFieldAtItsPlace)
{
    std::string zeros = "0";
    for (int i = 1; i < 100; ++i) zeros += " 0";
    const std::vector<std::string> expected = {
        "0 3 text prefix: magic = ZEL",
        "3 10 text prefix: version text = 2.3",
        "13 4 int32 prefix: base component index = 0",
        "17 4 int32 prefix: number of components = 1",
        "21 400 int32[100] prefix: component offsets = " + zeros,
        "421 400 float32[100] prefix: component resolutions = " + zeros,
        "821 400 int32[100] prefix: component sizes = " + zeros,
        "1221 4 float32 header: VersionNumber = 2.3",
        "1225 2 int16 header: MaxNumChan = 2",
        "1227 2 int16 header: year = 1987",
        "1229 2 int16 header: julian = 211",
        "1231 2 int16 header: sat_no = 9",
        "1233 2 int16 header: NPixelPerLine = 4",
        "1235 4 int32 header: NumNavPoints = 2",
        "1239 4 int32 header: StartNavPoint = 1",
        "1243 4 int32 header: NavPointInterval = 2",
        "1247 2 int16 header: DataType = 12",
        "1249 4 float32 header: SatelliteAltitude = 681.5",
        "1253 4 float32 header: SpatialResolution = 3.25",
        "1257 2000 text header: DataComment = by hand",
        "3257 2 int16 header: NumDisplayLUTs = 0",
        "3259 2 int16 header: NumTables = 0",
        "3261 2 int16 header: SZChannelIndex = -1",
        "3263 2 int16 header: VZChannelIndex = 1",
        "3265 2 int16 header: AZChannelIndex = -1",
        "3267 4 int32 header: MetaDataType = 1",
        "3271 4 int32 header: MetaDataSize = 5",
        "3275 20000 text header: MetaDataText = text!",
        "23275 4 int32 channel 0: ChannelPresentFlag = 0",
        "23279 4 float32 channel 0: MaxValue = 0",
        "23283 4 float32 channel 0: MinValue = 0",
        "23287 4 int32 channel 0: Type = 0",
        "23291 4 int32 channel 0: DataByteSize = 0",
        "23295 4 int32 channel 0: DataBitResolution = 0",
        "23299 120 text channel 0: ChannelLabel = ",
        "23419 120 text channel 0: ChannelComment = ",
        "23539 4 float32 channel 0: ChannelWaveLength = 0",
        "23543 4 int32 channel 0: Units = 0",
        "23547 4 int32 channel 0: BaseChannelFlag = 0",
        "23551 4 int32 channel 0 mask: classifier mask = 0",
        "23555 2 int16 channel 0: channel NumTables = 0",
        "23557 1 uint8 channel 0: histogram presence = 0",
        "23558 1 uint8 channel 0: standard histogram presence = 0",
        "23559 4 int32 channel 1: ChannelPresentFlag = 1",
        "23563 4 float32 channel 1: MaxValue = 100.5",
        "23567 4 float32 channel 1: MinValue = -20.5",
        "23571 4 int32 channel 1: Type = 4",
        "23575 4 int32 channel 1: DataByteSize = 4",
        "23579 4 int32 channel 1: DataBitResolution = 31",
        "23583 120 text channel 1: ChannelLabel = label",
        "23703 120 text channel 1: ChannelComment = comment",
        "23823 4 float32 channel 1: ChannelWaveLength = 10.75",
        "23827 4 int32 channel 1: Units = 7",
        "23831 4 int32 channel 1: BaseChannelFlag = 1",
        "23835 4 int32 channel 1 mask: classifier mask = 0",
        "23839 2 int16 channel 1: channel NumTables = 0",
        "23841 1 uint8 channel 1: histogram presence = 0",
        "23842 1 uint8 channel 1: standard histogram presence = 0",
        "23843 8 float64 line 0: ScanTime = 13.5",
        "23851 4 float32 line 0: ScanAltitude = 680.25",
        "23855 4 int32 line 0: LeftPixel = 1",
        "23859 4 int32 line 0: RightPixel = 3",
        "23863 4 int32 line 0: NadirPixel = 2",
        "23867 4 float32 line 0: NadirLat = 12.5",
        "23871 4 float32 line 0: NadirLon = -13.5",
        "23875 8 float32[2] line 0: LatBuffer = 0 61",
        "23883 8 float32[2] line 0: LonBuffer = 0 -62",
        "23891 16 float32[4] line 0 channel 1: pixels = 0 1.5 3 4.5",
    };
    const zel_test::Dumped dumped = zel_test::dumpOf(fileByHand(), ZEL_DUMP_PIXELS);
    EXPECT_EQ(dumped.result, 0) << dumped.outcome.out;
    std::vector<std::string> rows;
    for (const auto& field : dumped.fields) rows.push_back(zel_test::lineOf(field));
    EXPECT_EQ(rows, expected);
}

template <std::size_t N>
void expectBuilt(const zel_test::BuiltFile& built, const Row (&rows)[N], std::size_t start,
                 const std::string& record)
{
    for (const Row& row : rows) {
        const zel_test::Field& field = built.field(record + row.name);
        EXPECT_EQ(field.offset, start + row.offset) << row.name;
        EXPECT_EQ(field.size, row.size) << row.name;
    }
}

TEST(RecordLayout, TheBuilderPutsEachFieldAtItsPlace)
{
    const auto built = zel_test::build(zel_test::smallScene());
    expectBuilt(built, prefixRows, 0, "");
    expectBuilt(built, headerRows, prefixSize, "");
    for (std::size_t i = 0; i < 3; ++i)
        expectBuilt(built, channelRows, prefixSize + headerSize + i * channelSize,
                    "channel[" + std::to_string(i) + "].");
    EXPECT_EQ(built.headerEnd, prefixSize + headerSize + 3 * channelSize);
    expectBuilt(built, lineRows, built.headerEnd, "line[0].");
    EXPECT_EQ(built.offset("line[0].channel[0]"), built.headerEnd + lineHead);
    EXPECT_EQ(built.offset("line[1].ScanTime"), built.headerEnd + lineHead + 12);
}

TEST(RecordLayout, TheBuilderMakesTheRecordsOfOldVersionsTheirFixedSizes)
{
    const struct {
        int version;
        std::size_t size;
    } cases[] = {{100, 264}, {101, 264}, {110, 264}, {111, 268}, {120, 268},
                 {121, 270}, {130, 270}, {131, 274}, {132, 278}, {140, 278}};
    for (const auto& c : cases) {
        const auto built = zel_test::build(zel_test::smallScene(c.version));
        EXPECT_EQ(built.offset("channel[1].ChannelPresentFlag") -
                      built.offset("channel[0].ChannelPresentFlag"),
                  c.size)
            << c.version;
    }
}

TEST(RecordLayout, BlockSizes)
{
    zel_test::Scene scene = zel_test::smallScene();
    scene.luts = {{1, "34 entries", std::vector<zel_test::LutEntry>(34)}, {2, "none", {}}};
    scene.tables = {{1, "5 values", std::vector<float>(5)}};
    scene.slots[0].histogram = zel_test::Histogram{1, 0, std::vector<int32_t>(256)};
    const auto built = zel_test::build(scene);
    EXPECT_EQ(built.offset("lut[0].NumLUTValues"), 1221u + 2040u);
    EXPECT_EQ(built.offset("lut[1].NumLUTValues") - built.offset("lut[0].NumLUTValues"), 7106u);
    EXPECT_EQ(built.offset("table[0].NumTableValues") - built.offset("lut[1].NumLUTValues"), 204u);
    EXPECT_EQ(built.offset("SZChannelIndex") - built.offset("table[0].NumTableValues"), 224u);
    EXPECT_EQ(built.offset("channel[0].standardHistogram.present") -
                  built.offset("channel[0].histogram.NumHistogramBins"),
              1034u);
    OpenedFile file(built.bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->HeaderOffset, 1221 + 22054 + 3 * 284 + 7106 + 204 + 224 + 1034);
}

#define EXPECT_ORDER(Record, first, second)                      \
    EXPECT_LT(offsetof(Record, first), offsetof(Record, second)) \
        << #second " stands before " #first " in " #Record

TEST(RecordLayout, FieldsInMemoryKeepTheirOrder)
{
    EXPECT_ORDER(ZELHeaderType, DataType, year);
    EXPECT_ORDER(ZELHeaderType, sat_no, VersionNumber);
    EXPECT_ORDER(ZELHeaderType, VersionNumber, NPixelPerLine);
    EXPECT_ORDER(ZELHeaderType, MaxNumChan, NumNavPoints);
    EXPECT_ORDER(ZELHeaderType, NavPointInterval, StartNavPoint);
    EXPECT_ORDER(ZELHeaderType, DataComment, MetaDataText);
    EXPECT_ORDER(ZELHeaderType, MetaDataSize, NumDisplayLUTs);
    EXPECT_ORDER(ZELHeaderType, TableList, SZChannelIndex);
    EXPECT_ORDER(ZELChannelType, Type, Units);
    EXPECT_ORDER(ZELChannelType, DataOffset, ChannelLabel);
    EXPECT_ORDER(ZELChannelType, ChannelData, ChannelLUT);
    EXPECT_ORDER(ZELChannelType, Mask, TableList);
    EXPECT_ORDER(ZELType, ImageFilename, ZELHeader);
    EXPECT_ORDER(ZELType, Channels, SolarZenith);
    EXPECT_ORDER(ZELType, Terrain, fptr);
    EXPECT_ORDER(ZELType, NavOffset, LineOffset);
    EXPECT_ORDER(ZELType, PixBuf, Pixel);
    EXPECT_ORDER(ZELType, NadirLon, fileOffset);
    EXPECT_ORDER(ZELType, numZELComponents, ZELComponent);
}

}  // namespace
