// Whole records: their sizes, counted by hand, and files that are read and written again.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

#include "blocks/zel_lut.hpp"
#include "lines/file_reader.hpp"
#include "lines/file_writer.hpp"
#include "records/records.hpp"
#include "records/release_seam.hpp"
#include "support/file_builder.hpp"
#include "support/outcome.hpp"

namespace {

using zel::LayoutSize;
using zel_test::Bytes;

template <class Walk>
std::int64_t sizeIn(int version, Walk walk)
{
    LayoutSize size(version);
    walk(size);
    return size.bytes();
}

TEST(WholeRecord, PrefixIsOfOneSizeAndItsFieldsArePatchedInPlace)
{
    zel::Prefix prefix{};
    EXPECT_EQ(sizeIn(230, [&](LayoutSize& w) { zel::walkPrefix(w, prefix); }), 1221);
    const struct {
        const char* name;
        int element;
        std::int64_t place;
    } rows[] = {{"magic", 0, 0},
                {"version text", 0, 3},
                {"base component index", 0, 13},
                {"number of components", 0, 17},
                {"component offsets", 0, 21},
                {"component offsets", 99, 417},
                {"component resolutions", 0, 421},
                {"component sizes", 0, 821},
                {"component sizes", 2, 829}};
    for (const auto& row : rows) {
        LayoutSize size(230, row.name, row.element);
        zel::walkPrefix(size, prefix);
        EXPECT_EQ(size.place(), row.place) << row.name << ' ' << row.element;
    }
    LayoutSize none(230, "no such field");
    zel::walkPrefix(none, prefix);
    EXPECT_EQ(none.place(), -1);
}

TEST(WholeRecord, HeadersOfEveryVersionHaveTheirSizes)
{
    const struct {
        int version;
        std::int64_t start, end, channel, line;
    } rows[] = {
        {100, 12, 0, 264, 8},        {101, 14, 0, 264, 8},        {110, 14, 0, 264, 8},
        {111, 2040, 0, 268, 8},      {130, 2040, 0, 268, 8},      {131, 2040, 0, 272, 12},
        {132, 2040, 0, 276, 12},     {141, 2040, 0, 276, 12},     {142, 2040, 6, 276, 12},
        {200, 2040, 6, 276, 12},     {201, 2040, 20014, 276, 24}, {220, 2040, 20014, 276, 24},
        {221, 2040, 20014, 276, 32}, {230, 2040, 20014, 276, 32},
    };
    const auto file = zel_test::zeroRecord();
    ZELHeaderType& h = file->ZELHeader;
    for (const auto& row : rows) {
        EXPECT_EQ(sizeIn(row.version,
                         [&](LayoutSize& w) {
                             zel::walkVersion(w, h);
                             zel::walkHeaderStart(w, h);
                         }),
                  row.start)
            << row.version;
        EXPECT_EQ(sizeIn(row.version, [&](LayoutSize& w) { zel::walkHeaderEnd(w, h); }), row.end)
            << row.version;
        EXPECT_EQ(
            sizeIn(row.version, [&](LayoutSize& w) { zel::walkChannel(w, file->Channels[0]); }),
            row.channel)
            << row.version;
        h.VersionNumber = static_cast<float>(row.version) / 100;
        h.NumNavPoints = 0;
        EXPECT_EQ(zel::navOffset(*file), row.line) << row.version;
        h.NumNavPoints = 51;
        EXPECT_EQ(zel::navOffset(*file), row.line + 408) << row.version;
    }
}

TEST(WholeRecord, BlocksHaveTheirSizes)
{
    EXPECT_EQ(zel::lutRecordSize(0), 204);
    EXPECT_EQ(zel::lutRecordSize(34), 7106);
    EXPECT_EQ(zel::lutRecordSize(32767), 6651905);
    EXPECT_EQ(zel::tableRecordSize(0), 204);
    EXPECT_EQ(zel::tableRecordSize(5), 224);
    EXPECT_EQ(zel::histogramRecordSize(0), 10);
    EXPECT_EQ(zel::histogramRecordSize(256), 1034);
    ZELDisplayLUTType* lut = ZELAllocateLUT(2);
    EXPECT_EQ(ZELFetchLUTRecordSize(lut), 610);
    ZELDeAllocateLUT(lut);
}

// Two channels of 4 pixels, of 2 bytes and of 4, with navigation at 2 points: 32 + 16 bytes before
// them.
TEST(WholeRecord, ALineHasThePixelsOfThePresentChannels)
{
    const auto file = zel_test::zeroRecord();
    file->ZELHeader.NPixelPerLine = 4;
    file->ZELHeader.NumNavPoints = 2;
    file->ZELHeader.MaxNumChan = 9;
    for (const auto& [slot, size] : {std::pair(3, 2), std::pair(7, 4)}) {
        file->Channels[slot].ChannelPresentFlag = 1;
        file->Channels[slot].DataByteSize = size;
    }
    EXPECT_EQ(sizeIn(230, [&](LayoutSize& w) { zel::walkLine(w, *file); }), 48 + 8 + 16);
}

// ---- Read and written again ----

struct CloseAndFree {
    void operator()(ZELType* file) const
    {
        std::fclose(file->fptr);
        file->fptr = nullptr;
        zel::releaseData(*file);
        delete file;
    }
};

// What the library writes of a file that it has read, up to the first line.
Bytes writtenAgain(const Bytes& bytes)
{
    const std::unique_ptr<ZELType, CloseAndFree> file(new ZELType{});
    file->fptr = std::tmpfile();
    std::fwrite(bytes.data(), 1, bytes.size(), file->fptr);
    const auto size = static_cast<std::int64_t>(bytes.size());
    zel::FileReader reader(*file, 0, size);
    zel_test::run([&] { zel::readComponent(reader, *file); });
    std::fclose(file->fptr);
    file->fptr = std::tmpfile();
    zel::lutBlockWritten() = false;
    zel_test::run([&] { zel::writeFile(*file); });
    zel::lutBlockWritten() = false;
    const std::string content = zel_test::contentOf(file->fptr);
    return {content.begin(), content.end()};
}

TEST(WholeRecord, AFileThatIsReadIsWrittenAgainToTheByte)
{
    zel_test::Scene scene = zel_test::smallScene();
    scene.luts = {{4, "Classes", {{1, 2, 3, "one"}, {250, 251, 252, "two"}}}, {9, "none", {}}};
    scene.tables = {{7, "Curve", {1.5f, -2.5f, 3e30f}}, {-8, "empty", {}}};
    scene.slots[1].tables = {{1, "of an absent channel", {4}}};
    scene.slots[2].tables = {{2, "T", {5, 6}}};
    scene.slots[0].histogram = zel_test::Histogram{9, -9, {1, 2, 3}};
    scene.slots[2].standardHistogram = zel_test::Histogram{8, -8, {4, 5}};
    scene.szIndex = 2;
    scene.metaDataType = 1;
    scene.metaData = "some text";
    scene.slots[1].label = scene.slots[1].comment = "";  // an absent channel has neither
    const zel_test::BuiltFile built = zel_test::build(scene);
    const Bytes header(built.bytes.begin(),
                       built.bytes.begin() + static_cast<long>(built.headerEnd));
    const Bytes again = writtenAgain(built.bytes);
    ASSERT_EQ(again.size(), header.size());
    for (const zel_test::Field& field : built.fields) {
        if (field.offset >= built.headerEnd) break;
        const auto begin = static_cast<long>(field.offset);
        const auto end = begin + static_cast<long>(field.size);
        EXPECT_TRUE(std::equal(again.begin() + begin, again.begin() + end, header.begin() + begin))
            << field.name;
    }
    EXPECT_EQ(again, header);
    EXPECT_EQ(writtenAgain(again), again);
}

}  // namespace
