// Messages of channels, lines, navigation and blocks that are about misuse and numbers that cannot
// be.
#include <gtest/gtest.h>

#include <filesystem>

#include "support/file_builder.hpp"
#include "support/writer.hpp"
#include "zel/ground/zel_io.hpp"
#include "zel/zel_features/files/zel_feature_io.hpp"
#include "zel_features/zel_features.h"

namespace {

using zel_test::build;
using zel_test::OpenedFile;
using zel_test::Outcome;
using zel_test::run;
using zel_test::Scene;
using zel_test::smallScene;
using zel_test::TempDir;
using zel_test::Writer;

// The function ended with that message and status -1.
testing::AssertionResult ends(const std::function<void()>& function, const std::string& message)
{
    const Outcome outcome = run(function);
    if (!outcome.ended || outcome.status != -1)
        return testing::AssertionFailure() << "no ending with -1: " << outcome.out;
    if (outcome.out != message || !outcome.err.empty())
        return testing::AssertionFailure() << outcome.out << outcome.err;
    return testing::AssertionSuccess();
}

// ---- Channels ----

TEST(ChannelMessages, ASlotThatIsNone)
{
    Writer writer(4, 0, 10);
    for (const int slot : {-1, 10, 1000}) {
        const std::string number = std::to_string(slot);
        EXPECT_TRUE(ends([&] { ZELAddChannel(writer.get(), slot, 1, 0, 3, 8, "", ""); },
                         "ZELAddChannel: channel index " + number + " out of range\n"));
        EXPECT_TRUE(
            ends([&] { ZELAddMaskChannel(writer.get(), nullptr, slot, 1, 0, 3, 8, "", ""); },
                 "ZELAddMaskChannel: channel index " + number + " out of range\n"));
    }
}

TEST(ChannelMessages, ASlotThatNoRecordHas)
{
    const auto record = zel_test::writeOnlyRecord();
    ZELType* file = record.get();
    for (const int slot : {-1, 1000}) {
        const auto endsOutOfRange = [&](const std::string& name,
                                        const std::function<void()>& function) {
            return ends(function,
                        name + ": channel index " + std::to_string(slot) + " out of range\n");
        };
        EXPECT_TRUE(endsOutOfRange("ZELSetUnits", [&] { ZELSetUnits(file, slot, 1); }));
        EXPECT_TRUE(endsOutOfRange("ZELFetchUnits", [&] { ZELFetchUnits(file, slot); }));
        EXPECT_TRUE(endsOutOfRange("ZELSetChannelWavelength",
                                   [&] { ZELSetChannelWavelength(file, slot, 1); }));
        EXPECT_TRUE(endsOutOfRange("ZELFetchChannelWavelength",
                                   [&] { ZELFetchChannelWavelength(file, slot); }));
        EXPECT_TRUE(
            endsOutOfRange("ZELSetBaseChannelFlag", [&] { ZELSetBaseChannelFlag(file, slot, 1); }));
        EXPECT_TRUE(
            endsOutOfRange("ZELGetBaseChannelFlag", [&] { ZELGetBaseChannelFlag(file, slot); }));
        EXPECT_TRUE(endsOutOfRange("ZELDeleteChannel", [&] { ZELDeleteChannel(file, slot); }));
        EXPECT_TRUE(endsOutOfRange("ZELFetchChannelHistogram",
                                   [&] { ZELFetchChannelHistogram(file, slot); }));
        EXPECT_TRUE(endsOutOfRange("ZELFetchStandardHistogram",
                                   [&] { ZELFetchStandardHistogram(file, slot); }));
        EXPECT_TRUE(
            endsOutOfRange("ZELIncrementHistogram", [&] { ZELIncrementHistogram(file, slot); }));
    }
}

TEST(ChannelMessages, AddingAfterTheHeader)
{
    Writer writer;
    writer.add(0, 3, 1, 0);
    writer.open();
    EXPECT_TRUE(ends([&] { writer.add(1, 3, 1, 0); },
                     "ZELAddChannel: Cannot add a channel to a Write Only file after the file is "
                     "opened...exiting...\n"));
    EXPECT_EQ(writer.slot(1).ChannelPresentFlag, 0);
}

TEST(ChannelMessages, AStorageCodeThatIsNone)
{
    Writer writer;
    for (const int code : {-1, 0, 6})
        EXPECT_TRUE(ends([&] { writer.add(0, code, 1, 0); },
                         "ZELAddChannel: invalid storage code " + std::to_string(code) + "\n"));
}

TEST(ChannelMessages, LoadingBeforeTheOpen)
{
    Writer writer;
    writer.add(0, 3, 1, 0);
    EXPECT_TRUE(ends(
        [&] {
            writer.load(0, {1, 2, 3, 4});
        },
        "ZELLoadChannel: the file is not open for writing\n"));
}

// ---- New files ----

TEST(InitMessages, NumbersThatNoSceneHas)
{
    const auto record = zel_test::zeroRecord();
    const auto init = [&](auto function, int pixels, int points) {
        return [&record, function, pixels, points] {
            function(record.get(), 5, "", 2001, 1, 1, pixels, points, 0, 1, 1, 1);
        };
    };
    for (const int pixels : {0, -1, 32768}) {
        const std::string message =
            ": invalid number of pixels per line " + std::to_string(pixels) + "\n";
        EXPECT_TRUE(
            ends(init(ZELInitNewWriteOnlyFile, pixels, 0), "ZELInitNewWriteOnlyFile" + message));
        EXPECT_TRUE(
            ends(init(ZELInitNewCompositeFile, pixels, 0), "ZELInitNewCompositeFile" + message));
    }
    for (const int points : {-1, 32768})
        EXPECT_TRUE(ends(init(ZELInitNewWriteOnlyFile, 4, points),
                         "ZELInitNewWriteOnlyFile: invalid number of navigation points " +
                             std::to_string(points) + "\n"));
}

// ---- Lines ----

TEST(LineMessages, ALineNumberBelowZero)
{
    OpenedFile file(build(smallScene()).bytes);
    int result = 0;
    Outcome outcome = run([&] { result = ZELSkipLines(file.get(), -1); });
    EXPECT_EQ(outcome.out, "ZELSkipLines: invalid line number -1\n");
    EXPECT_EQ(result, -1);
    outcome = run([&] { result = ZELSetCurrentLine(file.get(), -7); });
    EXPECT_EQ(outcome.out, "ZELSetCurrentLine: invalid line number -7\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(file->CurrentLine, 0);
}

// Lines that were there at the open; each is 60 bytes.
class ShrinkingFile : public testing::Test {
protected:
    ShrinkingFile() : built(build(smallScene())), file(built.bytes) {}

    // Cuts the file and reads its second line, which is in no buffer.
    Outcome readSecondLine(std::size_t bytesLeft, int& pixels)
    {
        std::filesystem::resize_file(file.path(), built.headerEnd + bytesLeft);
        std::fflush(file->fptr);  // forgets what was read ahead
        ZELSetCurrentLine(file.get(), 1);
        return run([&] { pixels = ZELReadLine(file.get()); });
    }

    zel_test::BuiltFile built;
    OpenedFile file;
};

TEST_F(ShrinkingFile, AnEarlyEndOfAFileIsReportedAndIsTheEnd)
{
    int pixels = -9;
    const Outcome outcome = readSecondLine(60, pixels);
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(pixels, 0);
    EXPECT_EQ(outcome.err,
              "ZELReadLine: warning: file " + file.path() + " ends before line 1 of 2\n");
}

TEST_F(ShrinkingFile, TheEndOfAFileInsideALineEndsTheProcess)
{
    int pixels = -9;
    const Outcome outcome = readSecondLine(70, pixels);
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "ZELReadLine: read error on file " + file.path() +
                               ", line 1: unexpected end of file\n");
}

// The second line is whole again: the pixels that were read of it before are not taken for it.
TEST_F(ShrinkingFile, ALineThatWasCutShortIsNotHeld)
{
    ZELReadLine(file.get());
    int pixels = -9;
    const Outcome torn = readSecondLine(118, pixels);
    ASSERT_TRUE(torn.ended);
    EXPECT_EQ(file->PreviousLine, -2);
    EXPECT_EQ(file->CurrentLine, 1);
    EXPECT_EQ(readSecondLine(118, pixels).out, torn.out);
    zel_test::writeFile(file.path(), built.bytes);
    const Outcome complete = readSecondLine(120, pixels);
    EXPECT_FALSE(complete.ended) << complete.out;
    EXPECT_EQ(pixels, 4);
    EXPECT_EQ(file->Channels[2].ChannelData[3], 4.0F);
    EXPECT_EQ(file->PreviousLine, 1);
}

std::string lostOrder(const std::string& path)
{
    return "ZELReadLine: warning: file " + path +
           " is of the other byte order, which the opening of another file has reset: its numbers "
           "are read with their bytes reversed\n";
}

Scene bigEndianScene()
{
    Scene scene = smallScene(142);
    scene.bigEndian = true;
    return scene;
}

TEST(LineMessages, AnotherOpenTakesTheByteOrderAway)
{
    OpenedFile swapped(build(bigEndianScene()).bytes);
    ASSERT_EQ(swapped.result, 0) << swapped.outcome.out;
    const OpenedFile other(build(smallScene()).bytes);
    EXPECT_EQ(run([&] { ZELReadLine(swapped.get()); }).err, lostOrder(swapped.path()));
    CheckByteOrder();
}

TEST(LineMessages, AnOpenOfTheOtherByteOrderTakesThatOfThisMachineAway)
{
    OpenedFile native(build(smallScene()).bytes);
    const OpenedFile swapped(build(bigEndianScene()).bytes);
    ASSERT_EQ(swapped.result, 0) << swapped.outcome.out;
    EXPECT_EQ(run([&] { ZELReadLine(native.get()); }).err, lostOrder(native.path()));
    EXPECT_EQ(run([&] { ZELReadLine(native.get()); }).err, "") << "reported once";
    CheckByteOrder();
}

// The order in force after the open of a view is that of its last component.
TEST(LineMessages, AnotherOpenTakesTheByteOrderOfAComponentAway)
{
    const zel_test::TempDir dir;
    const std::string native = dir.path("native"), swapped = dir.path("swapped");
    zel_test::writeFile(native, build(smallScene()).bytes);
    zel_test::writeFile(swapped, build(bigEndianScene()).bytes);
    const char* names[] = {native.c_str(), swapped.c_str()};
    const auto view = zel_test::junkRecord();
    int result = -9;
    run([&] { result = ZELOpenCompositeReadOnlyFile(view.get(), names, 2, 0); });
    ASSERT_EQ(result, 0);
    const OpenedFile other(build(smallScene()).bytes);
    EXPECT_EQ(run([&] { ZELReadLine(view.get()); }).err, lostOrder(swapped));
    EXPECT_EQ(view->CurrentLine, 1);
    EXPECT_EQ(run([&] { ZELReadLine(view.get()); }).err, "") << "reported once";
    run([&] { ZELFinishReadingFile(view.get()); });
    CheckByteOrder();
}

// A file in writing, and one of the other byte order whose opening takes the order away.
class WrittenOrder : public testing::Test {
protected:
    WrittenOrder() : writer(2, 0, 1)
    {
        writer.add(0, 5, 0, 0);
        writer.open();
    }
    ~WrittenOrder() override { CheckByteOrder(); }

    std::string write()
    {
        writer.load(0, {258, 3});
        return writer.write().err;
    }
    void takeAway()
    {
        const OpenedFile other(build(bigEndianScene()).bytes);
        ASSERT_EQ(other.result, 0) << other.outcome.out;
    }
    std::string warning(const std::string& function) const
    {
        return function +
               ": warning: the opening of another file has set the other byte order: what is "
               "written to file " +
               writer.path() + " from here on has its bytes reversed, unlike its header\n";
    }
    zel_test::Bytes pixels(std::size_t line)
    {
        const zel_test::Bytes lines = writer.lineBytes();
        const auto begin = lines.begin() + static_cast<long>(line * 36 + 32);
        return {begin, begin + 4};
    }

    Writer writer;
};

TEST_F(WrittenOrder, ThatAnotherOpenTakesAwayIsReportedOnce)
{
    EXPECT_EQ(write(), "");
    takeAway();
    EXPECT_EQ(write(), warning("ZELWriteLine"));
    EXPECT_EQ(write(), "");
    EXPECT_EQ(writer.finish().err, "");
    EXPECT_EQ(pixels(0), (zel_test::Bytes{2, 1, 3, 0}));
    EXPECT_EQ(pixels(1), (zel_test::Bytes{1, 2, 0, 3}));
}

TEST_F(WrittenOrder, IsThatOfTheHistogramsAtTheEndToo)
{
    write();
    takeAway();
    EXPECT_EQ(writer.finish().err, warning("ZELFinishWritingFile"));
}

TEST_F(WrittenOrder, IsOfNoMatterWhereNothingMoreIsWritten)
{
    write();
    ZELSetHistogramFlag(writer.get(), 0);
    takeAway();
    EXPECT_EQ(writer.finish().err, "");
}

TEST_F(WrittenOrder, StaysWhenAnotherFileOfTheSameIsOpened)
{
    const OpenedFile other(build(smallScene()).bytes);
    EXPECT_EQ(write(), "");
    EXPECT_EQ(writer.finish().err, "");
}

TEST(LineMessages, WritingBeforeTheOpen)
{
    Writer writer;
    writer.add(0, 3, 1, 0);
    EXPECT_TRUE(ends([&] { ZELWriteLine(writer.get()); },
                     "ZELWriteLine: the file is not open for writing\n"));
}

TEST(LineMessages, WritingWithoutNavigationPoints)
{
    Writer writer(4, 2);
    writer.add(0, 3, 1, 0);
    writer.open();
    float* const points = std::exchange(writer->LatBuffer, nullptr);
    EXPECT_TRUE(ends([&] { ZELWriteLine(writer.get()); },
                     "ZELWriteLine: no navigation points loaded for line 0\n"));
    writer->LatBuffer = points;
}

// Lines of the small scene, which has 4 pixels and 2 navigation points, into files that do not fit.
class CopiedLine : public testing::Test {
protected:
    CopiedLine() : source(build(smallScene()).bytes)
    {
        run([this] { ZELReadLine(source.get()); });
    }
    testing::AssertionResult copyEnds(Writer& writer, const std::string& message)
    {
        return ends([&] { ZELCopyLine(writer.get(), source.get()); }, message);
    }

    OpenedFile source;
};

TEST_F(CopiedLine, OfAnotherWidth)
{
    Writer writer(5, 2);
    writer.add(0, 3, 1, 0);
    writer.open();
    EXPECT_TRUE(copyEnds(writer, "ZELCopyLine: the files have 4 and 5 pixels per line\n"));
    EXPECT_TRUE(ends([&] { ZELCopyLineWithLoad(writer.get(), source.get()); },
                     "ZELCopyLineWithLoad: the files have 4 and 5 pixels per line\n"));
}

TEST_F(CopiedLine, OfFewerNavigationPoints)
{
    Writer writer(4, 1);
    writer.add(0, 3, 1, 0);
    writer.open();
    EXPECT_TRUE(copyEnds(writer, "ZELCopyLine: the files have 2 and 1 navigation points\n"));
    EXPECT_TRUE(ends([&] { ZELCopyNavigation(writer.get(), source.get()); },
                     "ZELCopyNavigation: the files have 2 and 1 navigation points\n"));
}

TEST_F(CopiedLine, ToAFileThatIsNotOpen)
{
    Writer writer(4, 2);
    writer.add(0, 3, 1, 0);
    EXPECT_TRUE(copyEnds(writer, "ZELCopyLine: no navigation points loaded\n"));
    float points[4] = {};
    writer->LatBuffer = writer->LonBuffer = points;
    EXPECT_TRUE(copyEnds(writer, "ZELCopyLine: channel 0 has no line\n"));
    writer->LatBuffer = writer->LonBuffer = nullptr;
}

TEST_F(CopiedLine, OfAnotherStorage)
{
    Writer writer(4, 2);
    writer.add(0, 5, 1, 0);
    writer.open();
    EXPECT_TRUE(copyEnds(writer, "ZELCopyLine: channel 0 is stored in 1 and 2 bytes\n"));
}

// ---- Navigation ----

TEST(NavigationMessages, PointsThatCannotBe)
{
    OpenedFile file(build(smallScene()).bytes);
    run([&] { ZELReadLine(file.get()); });
    file->ZELHeader.StartNavPoint = 4;
    EXPECT_TRUE(ends([&] { ZELInterpolateLatLong(file.get()); },
                     "ZELInterpolateLatLong: invalid navigation points: start 4, interval 3\n"));
    file->ZELHeader.StartNavPoint = 0;
    file->ZELHeader.NavPointInterval = -2;
    EXPECT_TRUE(ends([&] { ZELInterpolateLatLong(file.get()); },
                     "ZELInterpolateLatLong: invalid navigation points: start 0, interval -2\n"));
}

TEST(NavigationMessages, AFileThatIsNotOpen)
{
    const auto record = zel_test::writeOnlyRecord(4, 2);
    EXPECT_TRUE(ends([&] { ZELInterpolateLatLong(record.get()); },
                     "ZELInterpolateLatLong: the file is not open\n"));
    const float points[2] = {};
    EXPECT_TRUE(ends([&] { ZELLoadNavigation(record.get(), 1, points, points); },
                     "ZELLoadNavigation: the file is not open for writing\n"));
}

TEST(NavigationMessages, NoPoints)
{
    OpenedFile file(build(smallScene()).bytes);
    float* const points = std::exchange(file->LonBuffer, nullptr);
    EXPECT_TRUE(ends([&] { ZELInterpolateLatLong(file.get()); },
                     "ZELInterpolateLatLong: no navigation points loaded\n"));
    file->LonBuffer = points;
}

// ---- Histograms, tables, LUTs ----

TEST(HistogramMessages, ANumberOfBinsThatCannotBe)
{
    for (const int bins : {-1, 32768})
        EXPECT_TRUE(ends([&] { ZELCreateHistogram(bins); },
                         "ZELCreateHistogram: error: invalid number of histogram bins " +
                             std::to_string(bins) + "\n"));
}

TEST(HistogramMessages, OneMadeAfterTheHeaderIsNotKept)
{
    Writer writer;
    writer.add(0, 3, 1, 0);
    writer.open();
    const int counts[] = {1, 2};
    ZELLoadStandardHistogram(writer.get(), 0, 2, 1, 0, counts);
    EXPECT_EQ(writer.finish().err, "ZELUpdateHistogram: warning: a histogram of file " +
                                       writer.path() +
                                       " was made after its header was written and is not kept\n");
}

TEST(TableMessages, NumbersThatCannotBe)
{
    EXPECT_TRUE(ends([] { ZELAllocateTable(-1); },
                     "ZELAllocateTable: invalid number of Table entries -1\n"));
    EXPECT_TRUE(ends([] { ZELAllocateTable(32768); },
                     "ZELAllocateTable: invalid number of Table entries 32768\n"));
    TableListType list{};
    const Outcome outcome = run([&] { EXPECT_EQ(ZELAddTable(&list, 32768, 1, "t"), nullptr); });
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(outcome.out, "ZELAddTable: invalid Table key 32768\n");
    EXPECT_EQ(list.NumTables, 0);
}

TEST(TableMessages, AListThatIsFull)
{
    TableListType full{}, other{};
    full.NumTables = other.NumTables = 32767;
    EXPECT_TRUE(ends([&] { ZELAddTable(&full, 1, 1, "one more"); },
                     "ZELAddTable: cannot add Table one more: a list holds at most 32767\n"));
    EXPECT_TRUE(ends([&] { ZELAppendTableList(&full, &other); },
                     "ZELAppendTableList: a list holds at most 32767 Tables\n"));
}

TEST(TableMessages, ABlockThatIsCutShort)
{
    const TempDir dir;
    zel_test::writeFile(dir.path("block"), zel_test::Bytes{1});
    FILE* const stream = std::fopen(dir.path("block").c_str(), "rb");
    ASSERT_NE(stream, nullptr);
    TableListType list{};
    list.NumTables = 1;
    const Outcome outcome = run([&] { ZELReadTables(stream, &list); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "ZELReadTables:NumTables 1\n"
                           "ZELReadTables: corrupt block: cut short in NumTableValues at offset "
                           "0\n");
    std::fclose(stream);
    ZELFreeTables(&list);
}

TEST(LutMessages, AFileThatIsFull)
{
    const auto dest = zel_test::writeOnlyRecord(), source = zel_test::writeOnlyRecord();
    ZELAddLUT(dest.get(), 1, 1, "a");
    ZELAddLUT(source.get(), 1, 1, "b");
    dest->ZELHeader.NumDisplayLUTs = 32767;
    EXPECT_TRUE(ends([&] { ZELAppendFileLUTs(dest.get(), source.get()); },
                     "ZELAppendFileLUTs: a file holds at most 32767 LUTs\n"));
    dest->ZELHeader.NumDisplayLUTs = 1;
    ZELFreeLUTs(dest.get());
    ZELFreeLUTs(source.get());
}

// Only the first file of a process has its LUTs written.
TEST(LutMessages, ASecondFileIsWarnedOf)
{
    Writer first, second;
    for (Writer* writer : {&first, &second}) {
        writer->add(0, 3, 1, 0);
        ZELAddLUT(writer->get(), 1, 1, "lut");
        ZELAddLUT(writer->get(), 2, 1, "lut");
    }
    first.open();
    EXPECT_EQ(second.open().err,
              "ZELWriteLUTs: warning: file " + second.path() +
                  " counts 2 LUTs that are not written and cannot be read again: write it in a "
                  "process of its own\n");
}

// ---- Byte orders ----

TEST(ByteOrderMessages, AnOrderThatIsNeither)
{
    SwapByteOrdering = 1;
    EXPECT_TRUE(ends([] { zel::setByteOrder(-1); },
                     "CheckByteOrder: cannot determine byte ordering\n"
                     "using machine native format...\n"));
    EXPECT_EQ(SwapByteOrdering, 0);
    const int order = HostOS;
    const Outcome outcome = run([] {
        errno = 0;
        zel::setHostOS(-1);
    });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "InitializeFileRead: cannot determine byte ordering\n");
    EXPECT_EQ(HostOS, order);
}

// Files are little-endian, the feature layer's are big-endian.
TEST(ByteOrderMessages, OrdersThatAreEither)
{
    zel::setByteOrder(1);
    EXPECT_EQ(SwapByteOrdering, 1);
    zel::setByteOrder(0);
    EXPECT_EQ(SwapByteOrdering, 0);
    zel::setHostOS(1);
    EXPECT_EQ(HostOS, 0);
    zel::setHostOS(0);
    EXPECT_EQ(HostOS, 1);
    EXPECT_EQ(OSInitialized, 1);
    CheckByteOrder();
    InitializeFileRead();
}

}  // namespace
