// The fields of a file as ZELDumpFile shows them, and what it says of files that are damaged.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "support/allocation_failure.hpp"
#include "support/base_files.hpp"
#include "support/dumped.hpp"
#include "support/field_map.hpp"
#include "support/mask_bytes.hpp"

namespace {

using zel_test::BaseFile;
using zel_test::build;
using zel_test::Bytes;
using zel_test::Dumped;
using zel_test::DumpedField;
using zel_test::dumpOf;
using zel_test::Layout;
using zel_test::lineOf;
using zel_test::Outcome;
using zel_test::run;
using zel_test::smallScene;
using zel_test::TempDir;
using zel_test::writeFile;

std::vector<DumpedField> fieldsOf(const Dumped& dumped, const std::string& record)
{
    std::vector<DumpedField> found;
    for (const DumpedField& f : dumped.fields)
        if (f.record == record) found.push_back(f);
    return found;
}

const DumpedField& fieldOf(const Dumped& dumped, const std::string& record, const std::string& name)
{
    for (const DumpedField& f : dumped.fields)
        if (f.record == record && f.name == name) return f;
    throw std::out_of_range(record + ": " + name);
}

std::string valueOf(const Dumped& dumped, const std::string& record, const std::string& name)
{
    return fieldOf(dumped, record, name).value;
}

// ---- Every layout ----

class DumpOfLayout : public testing::TestWithParam<Layout> {};

INSTANTIATE_TEST_SUITE_P(Layouts, DumpOfLayout, testing::ValuesIn(zel_test::layouts()),
                         zel_test::nameOf);

void expectNoGaps(const Dumped& dumped, long long size)
{
    long long place = 0;
    for (const DumpedField& f : dumped.fields) {
        ASSERT_EQ(f.offset, place) << lineOf(f);
        ASSERT_GT(f.size, 0) << lineOf(f);
        place += f.size;
    }
    EXPECT_EQ(place, size);
}

TEST_P(DumpOfLayout, HasEveryByteInOneField)
{
    const Layout layout = GetParam();
    const BaseFile file = zel_test::baseFile(layout.version, layout.bigEndian);
    const Dumped dumped = dumpOf(file.bytes, ZEL_DUMP_LINES);
    EXPECT_EQ(dumped.result, 0);
    EXPECT_EQ(dumped.outcome.out + dumped.outcome.err, "");
    expectNoGaps(dumped, static_cast<long long>(file.bytes.size()));
}

TEST_P(DumpOfLayout, SaysInWhichOrderItsNumbersAre)
{
    const Layout layout = GetParam();
    const BaseFile file = zel_test::baseFile(layout.version, layout.bigEndian);
    const Dumped dumped = dumpOf(file.bytes, ZEL_DUMP_HEADER);
    EXPECT_EQ(fieldOf(dumped, "header", "year").bigEndian, layout.bigEndian);
    EXPECT_EQ(fieldOf(dumped, "channel 1", "Type").bigEndian, layout.bigEndian);
    if (layout.version >= 141) {
        EXPECT_TRUE(fieldOf(dumped, "channel 1 mask", "classifier mask").bigEndian);
    }
}

TEST_P(DumpOfLayout, EndsWhereAFileIsCut)
{
    const Layout layout = GetParam();
    const BaseFile file = zel_test::baseFile(layout.version, layout.bigEndian);
    const Dumped whole = dumpOf(file.bytes, ZEL_DUMP_HEADER);
    const TempDir dir;
    const std::string path = dir.path("f");
    // Inside of every field but those of most LUT entries, which are many.
    for (std::size_t n = 0; n < whole.fields.size(); ++n) {
        const DumpedField& field = whole.fields[n];
        if (field.record.find("entry") != std::string::npos && n % 7 != 0) continue;
        const auto cut = static_cast<long>(field.offset + field.size - 1);
        if (field.record == "file") continue;
        writeFile(path, Bytes(file.bytes.begin(), file.bytes.begin() + cut));
        const Dumped dumped = dumpOf(path, ZEL_DUMP_HEADER);
        ASSERT_FALSE(dumped.outcome.ended);
        ASSERT_EQ(dumped.result, -2) << lineOf(field);
        ASSERT_LE(dumped.fields.size(), n) << lineOf(field);
        for (std::size_t i = 0; i < dumped.fields.size(); ++i)
            ASSERT_EQ(lineOf(dumped.fields[i]), lineOf(whole.fields[i]));
        ASSERT_EQ(dumped.outcome.out.find("ZELDumpFile: corrupt file " + path + ": cut short in "),
                  0u)
            << dumped.outcome.out;
    }
}

// ---- Values ----

TEST(Dump, ShowsNumbersAndTextsOfEveryKind)
{
    zel_test::Scene scene = smallScene();
    scene.comment = "tab\there \\ and \x1b[0m";
    scene.altitude = 705.25f;
    scene.resolution = 1e30f;
    scene.luts = {{-4, "Classes", {{1, 2, 255, "one"}, {0, 0, 0, "two"}}}};
    scene.tables = {{9, "Curve", {0.1f, -2, std::numeric_limits<float>::infinity()}}};
    const Dumped dumped = dumpOf(build(scene).bytes, ZEL_DUMP_HEADER);
    ASSERT_EQ(dumped.result, 0) << dumped.outcome.out;
    EXPECT_EQ(dumped.outcome.out, "");  // no trace of the tables
    EXPECT_EQ(valueOf(dumped, "header", "DataComment"), "tab\\x09here \\\\ and \\x1b[0m");
    EXPECT_EQ(valueOf(dumped, "header", "SatelliteAltitude"), "705.25");
    EXPECT_EQ(valueOf(dumped, "header", "SpatialResolution"), "1e+30");
    EXPECT_EQ(valueOf(dumped, "header LUT 0", "DisplayLUTKeyValue"), "-4");
    EXPECT_EQ(valueOf(dumped, "header LUT 0", "DisplayLUTLabel"), "Classes");
    EXPECT_EQ(valueOf(dumped, "header LUT 0 entry 0", "B"), "255");
    EXPECT_EQ(valueOf(dumped, "header LUT 0 entry 1", "LUTEntryLabel"), "two");
    EXPECT_EQ(valueOf(dumped, "header table 0", "value"), "0.1 -2 inf");
    EXPECT_EQ(fieldOf(dumped, "header table 0", "value").type, "float32[3]");
}

TEST(Dump, ShowsTheBlocksOfAChannel)
{
    zel_test::Scene scene = smallScene();
    scene.slots[2].tables = {{1, "A", {}}, {2, "B", {7}}};
    scene.slots[2].histogram = zel_test::Histogram{10, 1, {4, 5}};
    scene.slots[2].standardHistogram = zel_test::Histogram{20, 2, {6}};
    const Dumped dumped = dumpOf(build(scene).bytes, ZEL_DUMP_HEADER);
    ASSERT_EQ(dumped.result, 0) << dumped.outcome.out;
    EXPECT_EQ(valueOf(dumped, "channel 2", "channel NumTables"), "2");
    EXPECT_EQ(valueOf(dumped, "channel 2 table 1", "value"), "7");
    EXPECT_EQ(valueOf(dumped, "channel 2", "standard histogram presence"), "1");
    std::string counts;
    for (const DumpedField& f : fieldsOf(dumped, "channel 2 histogram"))
        if (f.name == "histogram counts") counts += f.value + ";";
    EXPECT_EQ(counts, "4 5;6;");
    EXPECT_EQ(valueOf(dumped, "channel 0", "histogram presence"), "0");
}

TEST(Dump, ShowsPixelsWhenAskedTo)
{
    const zel_test::BuiltFile built = build(smallScene());
    for (const int depth : {ZEL_DUMP_HEADER, ZEL_DUMP_LINES, ZEL_DUMP_PIXELS}) {
        const Dumped dumped = dumpOf(built.bytes, depth);
        ASSERT_EQ(dumped.result, 0);
        const std::vector<DumpedField> pixels = fieldsOf(dumped, "line 1 channel 2");
        ASSERT_EQ(pixels.size(), depth == ZEL_DUMP_HEADER ? 0u : 1u);
        if (pixels.empty()) continue;
        EXPECT_EQ(pixels[0].type, "uint16[4]");
        EXPECT_EQ(pixels[0].offset, static_cast<long long>(built.offset("line[1].channel[2]")));
        const std::size_t place = built.offset("line[1].channel[2]");
        std::string values;
        for (std::size_t i = 0; i < 4; ++i)
            values += (i > 0 ? " " : "") + std::to_string(built.bytes[place + 2 * i] +
                                                          256 * built.bytes[place + 2 * i + 1]);
        EXPECT_EQ(pixels[0].value, depth == ZEL_DUMP_PIXELS ? values : "");
    }
}

TEST(Dump, NamesEveryFieldOfAMask)
{
    zel_test::MaskRecord mask;
    mask.label = "clouds";
    mask.preProgram = {"class=1"};
    zel_test::Scene scene = smallScene();
    scene.slots[1].mask = zel_test::build(mask).bytes;
    const Bytes bytes = build(scene).bytes;
    const Dumped dumped = dumpOf(bytes, ZEL_DUMP_HEADER);
    ASSERT_EQ(dumped.result, 0) << dumped.outcome.out;
    const std::vector<DumpedField> fields = fieldsOf(dumped, "channel 1 mask");
    ASSERT_GT(fields.size(), 5000u);  // 1000 classes of five fields
    EXPECT_EQ(lineOf(fields[1]).substr(lineOf(fields[1]).find(' ')),
              " 4 int32 channel 1 mask: length of mask identifier = 9");
    EXPECT_EQ(fields[2].value, "ZEL_MASK");
    EXPECT_EQ(valueOf(dumped, "channel 1 mask", "mask channel label"), "clouds");
    EXPECT_EQ(valueOf(dumped, "channel 1 mask", "number of program lines"), "1");
    EXPECT_EQ(valueOf(dumped, "channel 1 mask", "program line"), "class=1");
    const Dumped whole = dumpOf(bytes, ZEL_DUMP_LINES);
    expectNoGaps(whole, static_cast<long long>(bytes.size()));
}

// A line that is not whole, and what old headers count for the values of tables and do not have.
TEST(Dump, ShowsBytesOfNoRecord)
{
    zel_test::Scene scene = smallScene(130);
    scene.tables = {{1, "A", {1, 2, 3}}};
    const zel_test::BuiltFile built = build(scene);
    Bytes bytes = built.bytes;
    bytes.insert(bytes.begin() + static_cast<long>(built.headerEnd), 600, 0);
    bytes.resize(bytes.size() - 3);
    const Dumped dumped = dumpOf(bytes, ZEL_DUMP_LINES);
    ASSERT_EQ(dumped.result, 0) << dumped.outcome.out;
    const std::vector<DumpedField> rest = fieldsOf(dumped, "file");
    ASSERT_EQ(rest.size(), 2u);
    EXPECT_EQ(lineOf(rest[0]), std::to_string(built.headerEnd) +
                                   " 600 uint8[600] file: bytes before the first line = ");
    const std::size_t place = built.headerEnd + 600 + built.lineSize;
    const std::string left = std::to_string(built.lineSize - 3);
    EXPECT_EQ(lineOf(rest[1]), std::to_string(place) + " " + left + " uint8[" + left +
                                   "] file: bytes after the last line = ");
}

TEST(Dump, OfAFileThatEndsBeforeItsFirstLineStaysInsideIt)
{
    zel_test::Scene scene = smallScene(130);
    scene.tables = {{1, "A", {1, 2, 3}}};
    const Dumped dumped = dumpOf(build(scene).bytes, ZEL_DUMP_LINES);
    ASSERT_EQ(dumped.result, 0) << dumped.outcome.out;
    expectNoGaps(dumped, static_cast<long long>(build(scene).bytes.size()));
    EXPECT_EQ(dumped.fields.back().name, "bytes before the first line");
}

// ---- Containers ----

TEST(Dump, ShowsTheComponentsOfAContainer)
{
    const zel_test::BaseComposite file = zel_test::baseComposite(1);
    const Dumped dumped = dumpOf(file.bytes, ZEL_DUMP_LINES);
    ASSERT_EQ(dumped.result, 0) << dumped.outcome.out;
    expectNoGaps(dumped, static_cast<long long>(file.bytes.size()));
    EXPECT_EQ(valueOf(dumped, "prefix", "number of components"), "2");
    for (const DumpedField& f : dumped.fields)
        ASSERT_EQ(f.component, f.offset < static_cast<long long>(file.second) ? 0 : 1);
}

TEST(Dump, ShowsADirectoryThatIsRefused)
{
    zel_test::Scene first = smallScene();
    Bytes bytes = zel_test::buildComposite({first, smallScene()});
    bytes[21 + 4 + 3] = 0x7f;  // the offset of the second component
    const std::string offset =
        std::to_string(0x7f000000 + bytes[25] + 0x100 * bytes[26] + 0x10000 * bytes[27]);
    const TempDir dir;
    writeFile(dir.path("f"), bytes);
    const Dumped dumped = dumpOf(dir.path("f"), ZEL_DUMP_LINES);
    EXPECT_EQ(dumped.result, -2);
    EXPECT_EQ(dumped.fields.size(), 7u);
    EXPECT_EQ(dumped.outcome.out, "ZELDumpFile: corrupt file " + dir.path("f") +
                                      ": invalid component offset " + offset + " at offset 25\n");
}

// ---- Damage ----

TEST(Dump, RefusesAFileThatDoesNotExist)
{
    const Dumped dumped = dumpOf(std::string("/no/such/file"), ZEL_DUMP_LINES);
    EXPECT_EQ(dumped.result, -1);
    EXPECT_EQ(dumped.outcome.out, "ZELDumpFile: cannot open file /no/such/file\n");
    const TempDir dir;
    const Dumped directory = dumpOf(dir.path(), ZEL_DUMP_LINES);
    EXPECT_EQ(directory.result, -1);
    EXPECT_EQ(directory.outcome.out.find("ZELDumpFile: cannot read file " + dir.path() + ": "), 0u);
}

TEST(Dump, RefusesNumbersThatAnOpenRefuses)
{
    zel_test::BuiltFile built = build(smallScene());
    built.putInt("channel[2].Type", 9);
    const Dumped dumped = dumpOf(built.bytes, ZEL_DUMP_LINES);
    EXPECT_EQ(dumped.result, -2);
    EXPECT_NE(dumped.outcome.out.find(": invalid Type 9 at offset " +
                                      std::to_string(built.offset("channel[2].Type")) + "\n"),
              std::string::npos)
        << dumped.outcome.out;
    EXPECT_EQ(dumped.fields.back().name, "BaseChannelFlag");
}

TEST(Dump, RefusesAVersionThatIsNotSupported)
{
    zel_test::BuiltFile built = build(smallScene());
    built.putFloat("VersionNumber", 7.5f);
    const TempDir dir;
    writeFile(dir.path("f"), built.bytes);
    const Dumped dumped = dumpOf(dir.path("f"), ZEL_DUMP_LINES);
    EXPECT_EQ(dumped.result, -2);
    EXPECT_EQ(dumped.outcome.out, "ZELDumpFile: corrupt file " + dir.path("f") +
                                      ": unsupported VersionNumber 7.5 at offset 1221\n");
}

TEST(Dump, ReportsMemoryThatFails)
{
    const TempDir dir;
    writeFile(dir.path("f"), build(smallScene()).bytes);
    int result = 0;
    const auto fails = [](void*, const ZELDumpField*) -> int { throw std::bad_alloc(); };
    const Outcome outcome =
        run([&] { result = ZELDumpFile(dir.path("f").c_str(), ZEL_DUMP_LINES, fails, nullptr); });
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(outcome.out, "ZELDumpFile: cannot allocate memory\n");
}

#ifndef ZEL_TEST_OWN_ALLOCATOR
TEST(Dump, SurvivesEveryAllocationThatFails)
{
    const TempDir dir;
    const std::string path = dir.path("f");
    writeFile(path, zel_test::baseFile(230, false).bytes);
    const auto look = [](void*, const ZELDumpField*) { return 0; };
    const auto dump = [&] { return ZELDumpFile(path.c_str(), ZEL_DUMP_LINES, look, nullptr) == 0; };
    EXPECT_GT(zel_test::everyFailure(dump, [] {}), 10);
}
#endif

TEST(Dump, SurvivesWhatEndsAnOpen)
{
    zel_test::Scene newer = smallScene();
    newer.prefix.version = "9.9";
    const Dumped tooNew = dumpOf(build(newer).bytes, ZEL_DUMP_LINES);
    EXPECT_FALSE(tooNew.outcome.ended);
    EXPECT_EQ(tooNew.result, -2);
    EXPECT_EQ(tooNew.outcome.out,
              "ZELOpen: Error: ZEL Library version 9.9 or higher needed to open file\n");
    zel_test::Scene masked = smallScene();
    zel_test::MaskRecord mask;
    mask.identifier = "NO_MASK!";
    masked.slots[1].mask = zel_test::build(mask).bytes;
    const Dumped noMask = dumpOf(build(masked).bytes, ZEL_DUMP_LINES);
    EXPECT_FALSE(noMask.outcome.ended);
    EXPECT_EQ(noMask.result, -2);
    EXPECT_NE(noMask.outcome.out.find("cannot read classifier mask at offset "), std::string::npos);
}

// ---- The sink ----

TEST(Dump, WithoutASinkOnlyChecks)
{
    const TempDir dir;
    zel_test::BuiltFile built = build(smallScene());
    writeFile(dir.path("f"), built.bytes);
    EXPECT_EQ(ZELDumpFile(dir.path("f").c_str(), ZEL_DUMP_PIXELS, nullptr, nullptr), 0);
    writeFile(dir.path("f"), built.cutBefore("MetaDataText"));
    int result = -9;
    const Outcome outcome =
        run([&] { result = ZELDumpFile(dir.path("f").c_str(), ZEL_DUMP_LINES, nullptr, nullptr); });
    EXPECT_EQ(result, -2);
    EXPECT_NE(outcome.out.find("cut short in MetaDataText at offset 3275\n"), std::string::npos);
}

TEST(Dump, EndsWhenTheSinkSaysSo)
{
    const TempDir dir;
    writeFile(dir.path("f"), build(smallScene()).bytes);
    int left = 9;
    const auto count = [](void* n, const ZELDumpField*) {
        return --*static_cast<int*>(n) == 0 ? 5 : 0;
    };
    const int before = zel_test::openDescriptors();
    EXPECT_EQ(ZELDumpFile(dir.path("f").c_str(), ZEL_DUMP_LINES, count, &left), 1);
    EXPECT_EQ(left, 0);
    EXPECT_EQ(zel_test::openDescriptors(), before);
}

TEST(Dump, AnEndingInTheSinkEndsTheCaller)
{
    const TempDir dir;
    writeFile(dir.path("f"), build(smallScene()).bytes);
    const auto misuse = [](void*, const ZELDumpField*) {
        ZELDeAllocateLUT(nullptr);
        return 0;
    };
    const Outcome outcome =
        run([&] { ZELDumpFile(dir.path("f").c_str(), ZEL_DUMP_LINES, misuse, nullptr); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
}

TEST(Dump, LeavesTheByteOrderOfOpenFilesAlone)
{
    const TempDir dir;
    writeFile(dir.path("f"), zel_test::baseFile(132, true).bytes);
    for (const int order : {0, 1}) {
        SwapByteOrdering = order;
        const Dumped dumped = dumpOf(dir.path("f"), ZEL_DUMP_LINES);
        EXPECT_EQ(dumped.result, 0);
        EXPECT_EQ(SwapByteOrdering, order);
    }
    CheckByteOrder();
}

}  // namespace
