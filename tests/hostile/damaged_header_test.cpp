// Files that are cut short or hold senseless numbers: an open refuses them, takes nothing along and
// never crashes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "support/file_builder.hpp"
#include "support/outcome.hpp"

namespace {

using zel_test::build;
using zel_test::BuiltFile;
using zel_test::Bytes;
using zel_test::Histogram;
using zel_test::Lut;
using zel_test::Outcome;
using zel_test::run;
using zel_test::Scene;
using zel_test::smallScene;
using zel_test::Table;
using zel_test::TempDir;
using zel_test::writeFile;

const int everyVersion[] = {100, 101, 110, 111, 120, 121, 130, 131, 132, 140, 141,
                            142, 150, 151, 200, 201, 210, 211, 220, 221, 230};

// A scene with every kind of block, as far as its version has it.
Scene fullScene(int version)
{
    Scene scene = smallScene(version);
    scene.luts = {Lut{1, "lut", {{1, 2, 3, "a"}, {4, 5, 6, "b"}}}};
    scene.tables = {Table{1, "table", {1.0f, 2.0f}}};
    scene.slots[0].tables = {Table{2, "of a channel", {3.0f}}};
    scene.slots[0].histogram = Histogram{9.0f, 1.0f, {1, 2, 3}};
    scene.slots[0].standardHistogram = Histogram{9.0f, 1.0f, {4, 5, 6}};
    scene.metaData = "some text";
    scene.lines.resize(12);
    return scene;
}

class Damaged : public testing::Test {
protected:
    void TearDown() override { CheckByteOrder(); }

    std::string corrupt() const { return "OpenReadOnlyFile: corrupt file " + path + ": "; }

    // Opens what the file holds now; a reader that did open reads a line and is finished.
    void open()
    {
        std::memset(static_cast<void*>(record.get()), 0xA5, sizeof(ZELType));
        const int before = zel_test::openDescriptors();
        result = -9;
        outcome = run([&] { result = OpenReadOnlyFile(record.get(), path.c_str(), 0, 0); });
        outcome.out = zel_test::withoutGridNotes(outcome.out);
        refusedCleanly = result == -2 && zel_test::openDescriptors() == before;
        if (result != 0 && !outcome.ended) {
            if (zel_test::openDescriptors() != before)
                run([&] { ZELFinishReadingFile(record.get()); });
            return;
        }
        if (!outcome.ended) run([&] { ZELReadLine(record.get()); });
        run([&] { ZELFinishReadingFile(record.get()); });
    }

    void open(const Bytes& content)
    {
        writeFile(path, content);
        open();
    }

    // Returns whether the open refused the file as it must refuse a damaged one.
    testing::AssertionResult refused() const
    {
        if (outcome.ended) return testing::AssertionFailure() << "it ended: " << outcome.out;
        if (result != -2) return testing::AssertionFailure() << "the open returned " << result;
        if (!refusedCleanly) return testing::AssertionFailure() << "the stream stayed open";
        const std::size_t at = outcome.out.find(corrupt());
        if (at == std::string::npos) return testing::AssertionFailure() << outcome.out;
        const std::string what = outcome.out.substr(at + corrupt().size());
        if (what.size() < 5 || what.back() != '\n')
            return testing::AssertionFailure() << "nothing said: " << what;
        if (what.find_first_of("0123456789") == std::string::npos)
            return testing::AssertionFailure() << "no offset: " << what;
        return testing::AssertionSuccess();
    }

    TempDir dir;
    std::string path = dir.path("scene.zel");
    std::unique_ptr<ZELType> record = zel_test::zeroRecord();
    Outcome outcome;
    int result = 0;
    bool refusedCleanly = false;
};

TEST_F(Damaged, AHeaderCutAtAnyFieldIsRefused)
{
    for (int version : everyVersion) {
        const BuiltFile built = build(fullScene(version));
        writeFile(path, built.bytes);
        open();
        ASSERT_EQ(result, 0) << version << " whole: " << outcome.out;
        for (auto field = built.fields.rbegin(); field != built.fields.rend(); ++field) {
            if (field->name.starts_with("line[")) continue;
            if (field->name == "VersionNumber") break;
            std::filesystem::resize_file(path, field->offset + field->size / 2);
            open();
            EXPECT_TRUE(refused()) << version << " cut inside " << field->name;
            std::filesystem::resize_file(path, field->offset);
            open();
            EXPECT_TRUE(refused()) << version << " cut before " << field->name;
        }
    }
}

TEST_F(Damaged, AHeaderCutAtAnyByteIsRefused)
{
    for (int version : {100, 140, 150, 230}) {
        Scene scene = fullScene(version);
        scene.slots.resize(version == 100 ? 20 : 1);
        const BuiltFile built = build(scene);
        const std::size_t text = built.has("MetaDataText") ? built.offset("MetaDataText") : 0;
        const std::size_t first = built.offset("VersionNumber") + 4;
        writeFile(path, built.bytes);
        for (std::size_t size = built.headerEnd - 1; size >= first; --size) {
            if (size > text + 50 && size < text + 19950) continue;
            std::filesystem::resize_file(path, size);
            open();
            ASSERT_TRUE(refused()) << version << " cut at byte " << size;
        }
    }
}

// Before the version is read there is no way to know a damaged file from another one.
TEST_F(Damaged, AFileCutInItsPrefixOrVersionIsRefused)
{
    for (int version : {100, 140, 230}) {
        const BuiltFile built = build(smallScene(version));
        for (std::size_t size = 0; size < built.offset("VersionNumber") + 4; ++size) {
            open({built.bytes.begin(), built.bytes.begin() + static_cast<long>(size)});
            EXPECT_EQ(result, -2) << version << " cut at byte " << size;
            EXPECT_FALSE(outcome.ended) << version << " cut at byte " << size;
            int entered = -9;
            const Outcome whole =
                run([&] { entered = ZELOpenReadOnlyFile(record.get(), path.c_str()); });
            EXPECT_EQ(entered, -2) << version << " cut at byte " << size;
            run([&] { ZELFinishReadingFile(record.get()); });
        }
    }
}

TEST_F(Damaged, AFileCutInItsLinesOpensWithFewerLines)
{
    const BuiltFile built = build(smallScene());
    for (std::size_t size = built.headerEnd; size <= built.bytes.size(); ++size) {
        open({built.bytes.begin(), built.bytes.begin() + static_cast<long>(size)});
        ASSERT_EQ(result, 0) << size;
        ASSERT_EQ(record->NumLines, static_cast<int>((size - built.headerEnd) / 60)) << size;
    }
}

struct WrongNumber {
    const char* field;
    std::vector<long> values;
};

const WrongNumber wrongNumbers[] = {
    {"MaxNumChan", {0, -1, 1001, 32767, -32768}},
    {"NPixelPerLine", {0, -1, -32768}},
    {"NumNavPoints", {-1, 0x7FFFFFFF, -0x7FFFFFFF, 0x20000000}},
    {"NavPointInterval", {0, -1, -0x7FFFFFFF}},
    {"NumDisplayLUTs", {32767}},
    {"lut[0].NumLUTValues", {-1, -32768, 32767}},
    {"NumTables", {32767}},
    {"table[0].NumTableValues", {-1, -32768, 32767}},
    {"channel[0].DataByteSize", {0, -1, 2, 4, 8, 0x7FFFFFFF}},
    {"channel[0].Type", {0, -1, 2, 4, 5, 6, 99}},
    {"channel[2].DataByteSize", {0, 1, 4, -2}},
    {"channel[2].Type", {0, 1, 3, 4, 6}},
    {"channel[0].NumTables", {32767}},
    {"channel[0].table[0].NumTableValues", {-1, 32767}},
    {"channel[0].histogram.NumHistogramBins", {-1, -32768, 32767}},
    {"channel[0].standardHistogram.NumHistogramBins", {-1, -32768, 32767}},
};

TEST_F(Damaged, ASenselessNumberIsRefused)
{
    for (int version : everyVersion) {
        const BuiltFile whole = build(fullScene(version));
        for (const WrongNumber& wrong : wrongNumbers) {
            if (!whole.has(wrong.field)) continue;
            for (long value : wrong.values) {
                BuiltFile built = whole;
                built.putInt(wrong.field, value);
                open(built.bytes);
                EXPECT_TRUE(refused()) << version << ": " << wrong.field << " = " << value;
            }
        }
    }
}

TEST_F(Damaged, AWholeFileOfMoreThanAThousandSlotsIsRefused)
{
    Scene scene = smallScene(150);
    scene.slots.resize(1001);
    open(build(scene).bytes);
    EXPECT_TRUE(refused());
    scene.slots.resize(1000);
    open(build(scene).bytes);
    EXPECT_EQ(result, 0) << outcome.out;
}

TEST_F(Damaged, TheMessageNamesTheFileOnce)
{
    BuiltFile built = build(smallScene());
    built.putInt("MaxNumChan", 1001);
    open(built.bytes);
    ASSERT_TRUE(refused());
    EXPECT_EQ(outcome.out.find(corrupt()), 0u) << outcome.out;
    EXPECT_EQ(outcome.out.find('\n'), outcome.out.size() - 1) << "one line";
    EXPECT_EQ(outcome.err, "");
}

// Whether the text has the number by itself.
bool mentions(const std::string& text, std::size_t number)
{
    const std::string digits = std::to_string(number);
    for (std::size_t at = text.find(digits); at != std::string::npos;
         at = text.find(digits, at + 1)) {
        const bool begins = at == 0 || isdigit(text[at - 1]) == 0;
        const std::size_t end = at + digits.size();
        if (begins && (end == text.size() || isdigit(text[end]) == 0)) return true;
    }
    return false;
}

TEST_F(Damaged, TheMessageNamesTheOffsetOfTheWrongNumber)
{
    for (int version : everyVersion) {
        const BuiltFile whole = build(fullScene(version));
        for (const WrongNumber& wrong : wrongNumbers) {
            // A count that is too large shows only where the file ends.
            if (!whole.has(wrong.field) || wrong.values.front() == 32767) continue;
            BuiltFile built = whole;
            built.putInt(wrong.field, wrong.values.front());
            open(built.bytes);
            ASSERT_TRUE(refused()) << version << ": " << wrong.field;
            const std::string what =
                outcome.out.substr(outcome.out.find(corrupt()) + corrupt().size());
            EXPECT_TRUE(mentions(what, built.offset(wrong.field)))
                << version << ": " << wrong.field << " at " << built.offset(wrong.field) << ": "
                << what;
        }
    }
}

TEST_F(Damaged, TheMessageNamesTheOffsetOfTheFieldThatIsCut)
{
    const BuiltFile built = build(fullScene(230));
    for (const char* field : {"MaxNumChan", "DataComment", "lut[0].DisplayLUTKeyValue",
                              "table[0].TableLabel", "MetaDataText", "channel[0].Type",
                              "channel[0].histogram.Max", "channel[2].ChannelLabel"}) {
        open(built.cutBefore(field));
        ASSERT_TRUE(refused()) << field;
        EXPECT_TRUE(mentions(outcome.out.substr(outcome.out.find(corrupt()) + corrupt().size()),
                             built.offset(field)))
            << field << ": " << outcome.out;
    }
}

// The same numbers in an absent slot allocate nothing and do no harm.
TEST_F(Damaged, AnAbsentSlotMayHoldAnyStorageCodeAndSize)
{
    BuiltFile built = build(smallScene());
    built.putInt("channel[1].Type", 77);
    built.putInt("channel[1].DataByteSize", -5);
    open(built.bytes);
    EXPECT_EQ(result, 0) << outcome.out;
    EXPECT_EQ(record->LineOffset, 60);
}

TEST_F(Damaged, AnIntervalOfZeroIsRightWithoutNavigationPoints)
{
    Scene scene = smallScene();
    scene.navPoints = 0;
    scene.navInterval = 0;
    open(build(scene).bytes);
    EXPECT_EQ(result, 0) << outcome.out;
}

// What must not crash, whether the open refuses it or a later step copes.
class Survives : public Damaged {
protected:
    void setByte(std::size_t offset, int value)
    {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(offset));
        file.put(static_cast<char>(value));
    }

    void survive(const BuiltFile& built, const std::string& what)
    {
        writeFile(path, built.bytes);
        survive(what);
    }

    // Opens and uses what the file holds now.
    void survive(const std::string& what)
    {
        std::memset(static_cast<void*>(record.get()), 0xA5, sizeof(ZELType));
        result = -9;
        outcome = run([&] { result = OpenReadOnlyFile(record.get(), path.c_str(), 0, 0); });
        EXPECT_FALSE(outcome.ended) << what << ": " << outcome.out;
        EXPECT_TRUE(result == 0 || result == -2) << what;
        if (result == 0) {
            run([&] {
                float *lat = nullptr, *lon = nullptr, *sz = nullptr, *vz = nullptr, *az = nullptr;
                ZELReadLine(record.get());
                ZELFetchNavigation(record.get(), &lat, &lon);
                ZELFetchSolar(record.get(), &sz, &vz, &az);
                ZELPrintMetadata(record.get());
                ZELPrintLUTs(record.get());
                ZELPrintTables(&record->ZELHeader.TableList);
                ZELReadLine(record.get());
            });
        }
        run([&] { ZELFinishReadingFile(record.get()); });
    }
};

TEST_F(Survives, NumbersThatAnOpenNeedNotRefuse)
{
    const WrongNumber numbers[] = {
        {"NumDisplayLUTs", {-1, -32768}},
        {"NumTables", {-1, -32768}},
        {"channel[0].NumTables", {-1}},
        {"channel[0].histogram.NumHistogramBins", {0}},
        {"channel[0].histogram.present", {2, 255}},
        {"channel[0].ChannelPresentFlag", {2, -1, 0x7FFFFFFF}},
        {"StartNavPoint", {-1, -0x7FFFFFFF, 4, 100000, 0x7FFFFFFF}},
        {"NavPointInterval", {1, 2, 100000, 0x7FFFFFFF}},
        {"NumNavPoints", {1, 5, 100}},
        {"SZChannelIndex", {1, 3, 999, 1000, 32767, -32768}},
        {"AZChannelIndex", {1, 3, 999, 1000, 32767, -32768}},
        {"MetaDataSize", {-1, 20001, 0x7FFFFFFF, -0x7FFFFFFF}},
        {"MetaDataType", {-1, 99}},
        {"julian", {0, -1, 367, 32767, -32768}},
        {"channel[0].Units", {-1, 99}},
        {"line[0].NadirPixel", {-1, 4, 100000, -0x7FFFFFFF}},
        {"line[0].LeftPixel", {-5, 100000}},
    };
    for (int version : everyVersion) {
        for (const WrongNumber& wrong : numbers) {
            for (long value : wrong.values) {
                BuiltFile built = build(fullScene(version));
                if (!built.has(wrong.field)) continue;
                built.putInt(wrong.field, value);
                survive(built, std::to_string(version) + ": " + wrong.field + " = " +
                                   std::to_string(value));
            }
        }
    }
}

TEST_F(Survives, AllThreeAnglesInChannelsThatAreAbsentOrBeyondTheSlots)
{
    for (int slot : {1, 2, 3, 500, 999, 1000, 30000}) {
        Scene scene = fullScene(230);
        scene.szIndex = scene.vzIndex = scene.azIndex = slot;
        survive(build(scene), "angle channels " + std::to_string(slot));
    }
}

TEST_F(Survives, AnyByteOfAHeaderSetToAnything)
{
    for (int version : {100, 140, 150, 230}) {
        Scene scene = fullScene(version);
        scene.slots.resize(version == 100 ? 20 : 2);
        const BuiltFile whole = build(scene);
        writeFile(path, whole.bytes);
        for (const zel_test::Field& field : whole.fields) {
            if (field.name.starts_with("prefix.")) continue;
            if (field.name.starts_with("line[") && !field.name.starts_with("line[0]")) continue;
            for (std::size_t i = 0; i < std::min<std::size_t>(field.size, 8); ++i) {
                for (int value : {0x00, 0x7F, 0x80, 0xFF}) {
                    setByte(field.offset + i, value);
                    survive(field.name + " byte " + std::to_string(i));
                }
                setByte(field.offset + i, whole.bytes[field.offset + i]);
            }
        }
    }
}

TEST_F(Survives, ANumberOfPixelsThatTheLinesDoNotHold)
{
    for (int pixels : {1, 2, 5, 2048, 32767}) {
        for (int version : {110, 140, 230}) {
            BuiltFile built = build(fullScene(version));
            built.putInt("NPixelPerLine", pixels);
            survive(built, std::to_string(pixels) + " pixels");
        }
    }
}

}  // namespace
