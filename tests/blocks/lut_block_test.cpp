// Display LUTs on disk.
#include <gtest/gtest.h>

#include <unistd.h>

#include <utility>

#include "support/fresh_process.hpp"
#include "support/outcome.hpp"
#include "zel/ground/text.hpp"

namespace {

using zel_test::Bytes;
using zel_test::Outcome;
using zel_test::run;

void append(Bytes& bytes, std::initializer_list<int> values)
{
    for (int v : values) bytes.push_back(static_cast<unsigned char>(v));
}

void appendText(Bytes& bytes, const std::string& text)
{
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.resize(bytes.size() + 200 - text.size());
}

// A LUT of two entries with key 300 (01 2C), followed by an empty one with key 2: 610 and 204
// bytes.
Bytes twoLutsOnDisk()
{
    Bytes bytes;
    append(bytes, {2, 0, 0x2C, 1});
    appendText(bytes, "Classes");
    append(bytes, {1, 2, 3});
    appendText(bytes, "first");
    append(bytes, {253, 254, 255});
    appendText(bytes, "second");
    append(bytes, {0, 0, 2, 0});
    appendText(bytes, "Empty");
    return bytes;
}

class LutBlock : public testing::Test {
protected:
    void SetUp() override
    {
        SwapByteOrdering = 0;
        record->numZELComponents = 1;
        record->fptr = tmpfile();
        ASSERT_NE(record->fptr, nullptr);
    }
    void TearDown() override
    {
        SwapByteOrdering = 0;
        run([&] { ZELFreeLUTs(record.get()); });
        if (record->fptr != nullptr) fclose(record->fptr);
    }

    void place(const Bytes& content)
    {
        if (!content.empty()) fwrite(content.data(), 1, content.size(), record->fptr);
        rewind(record->fptr);
    }
    Bytes written()
    {
        const std::string content = zel_test::contentOf(record->fptr);
        return {content.begin(), content.end()};
    }
    void fillAsOnDisk()
    {
        record->ReadWriteFlag = 2;
        ZELAddLUT(record.get(), 300, 2, "Classes");
        ZELLoadLUTEntryByKey(record.get(), 300, 0, 1, 2, 3, "first");
        ZELLoadLUTEntryByKey(record.get(), 300, 1, 253, 254, 255, "second");
        ZELAddLUT(record.get(), 2, 0, "Empty");
    }

    // Reads the block that stands in the stream.
    Outcome read(int luts)
    {
        record->ReadWriteFlag = 1;
        record->ZELHeader.NumDisplayLUTs = static_cast<int16_t>(luts);
        record->ZELHeader.DisplayLUTHead = nullptr;
        return run([&] { bytesRead = ZELReadLUTs(record.get()); });
    }

    int bytesRead = -9;
    std::unique_ptr<ZELType> record = zel_test::zeroRecord();
};

TEST_F(LutBlock, ReadingFillsTheListAndReturnsTheBytesConsumed)
{
    place(twoLutsOnDisk());
    const Outcome outcome = read(2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(bytesRead, 610 + 204);
    EXPECT_EQ(ftell(record->fptr), 610 + 204);
    EXPECT_EQ(record->ZELHeader.NumDisplayLUTs, 2);
    const ZELDisplayLUTType* lut = record->ZELHeader.DisplayLUTHead;
    ASSERT_NE(lut, nullptr);
    EXPECT_EQ(lut->NumLUTValues, 2);
    EXPECT_EQ(lut->DisplayLUTKeyValue, 300);
    EXPECT_STREQ(lut->DisplayLUTLabel, "Classes");
    EXPECT_EQ(lut->DisplayLUT[0].R, 1);
    EXPECT_EQ(lut->DisplayLUT[0].G, 2);
    EXPECT_EQ(lut->DisplayLUT[0].B, 3);
    EXPECT_STREQ(lut->DisplayLUT[0].LUTEntryLabel, "first");
    EXPECT_EQ(lut->DisplayLUT[1].R, 253);
    EXPECT_STREQ(lut->DisplayLUT[1].LUTEntryLabel, "second");
    ASSERT_NE(lut->NextDisplayLUT, nullptr);
    EXPECT_EQ(lut->NextDisplayLUT->DisplayLUTKeyValue, 2);
    EXPECT_EQ(lut->NextDisplayLUT->NumLUTValues, 0);
    EXPECT_EQ(lut->NextDisplayLUT->NextDisplayLUT, nullptr);
}

TEST_F(LutBlock, NumbersAreSwappedAndTextAndColoursAreNot)
{
    Bytes bytes = twoLutsOnDisk();
    for (std::size_t at : {0u, 2u, 610u, 612u}) std::swap(bytes[at], bytes[at + 1]);
    place(bytes);
    SwapByteOrdering = 1;
    read(2);
    EXPECT_EQ(bytesRead, 814);
    const ZELDisplayLUTType* lut = record->ZELHeader.DisplayLUTHead;
    ASSERT_NE(lut, nullptr);
    EXPECT_EQ(lut->DisplayLUTKeyValue, 300);
    EXPECT_STREQ(lut->DisplayLUTLabel, "Classes");
    EXPECT_EQ(lut->DisplayLUT[1].B, 255);
}

TEST_F(LutBlock, ReadingTheSameKeyTwiceKeepsBoth)
{
    Bytes bytes = twoLutsOnDisk();
    const Bytes again = bytes;
    bytes.insert(bytes.end(), again.begin(), again.end());
    place(bytes);
    const Outcome outcome = read(4);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(bytesRead, 2 * 814);
    EXPECT_EQ(record->ZELHeader.DisplayLUTHead->NextDisplayLUT->NextDisplayLUT->DisplayLUTKeyValue,
              300);
}

TEST_F(LutBlock, ReadingWithCountZeroIsReported)
{
    EXPECT_EQ(read(0).out, "ZELReadLUTs:No LUT's defined.\n");
    EXPECT_EQ(bytesRead, 0);
    EXPECT_EQ(ftell(record->fptr), 0);
}

TEST_F(LutBlock, LabelsOf200CharactersWithoutATerminatorAreTerminated)
{
    Bytes bytes;
    append(bytes, {1, 0, 9, 0});
    appendText(bytes, std::string(200, 'l'));
    append(bytes, {1, 2, 3});
    appendText(bytes, std::string(200, 'e'));
    place(bytes);
    read(1);
    const ZELDisplayLUTType* lut = record->ZELHeader.DisplayLUTHead;
    ASSERT_NE(lut, nullptr);
    EXPECT_STREQ(lut->DisplayLUTLabel, std::string(200, 'l').c_str());
    EXPECT_STREQ(lut->DisplayLUT[0].LUTEntryLabel, std::string(200, 'e').c_str());
}

TEST_F(LutBlock, ABlockCutShortEndsTheProcess)
{
    const Bytes whole = twoLutsOnDisk();
    for (std::size_t size : {0u, 1u, 3u, 100u, 204u, 205u, 400u, 609u, 611u, 813u}) {
        rewind(record->fptr);
        ASSERT_EQ(ftruncate(fileno(record->fptr), 0), 0);
        place({whole.begin(), whole.begin() + static_cast<long>(size)});
        const Outcome outcome = read(2);
        EXPECT_TRUE(outcome.ended) << size;
        EXPECT_EQ(outcome.status, -1) << size;
        while (ZELDisplayLUTType* lut = record->ZELHeader.DisplayLUTHead) {
            record->ZELHeader.DisplayLUTHead = lut->NextDisplayLUT;
            ZELDeAllocateLUT(lut);
        }
        record->ZELHeader.NumDisplayLUTs = 0;
    }
}

TEST_F(LutBlock, ALutOf34EntriesTakes7106BytesAndAnEmptyOne204)
{
    zel_test::inFreshProcess([&] {
        record->ReadWriteFlag = 2;
        ZELAddLUT(record.get(), 1, 34, "large");
        run([&] { ZELWriteLUTs(record.get()); });
        EXPECT_EQ(ftell(record->fptr), 204 + 34 * 203);
        EXPECT_EQ(ftell(record->fptr), 7106);
    });
    zel_test::inFreshProcess([&] {
        record->ReadWriteFlag = 2;
        ZELAddLUT(record.get(), 1, 0, "empty");
        run([&] { ZELWriteLUTs(record.get()); });
        EXPECT_EQ(ftell(record->fptr), 204);
    });
}

TEST_F(LutBlock, WritingPutsTheRecordsBackToBack)
{
    zel_test::inFreshProcess([&] {
        fillAsOnDisk();
        const Outcome outcome = run([&] { ZELWriteLUTs(record.get()); });
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(written(), twoLutsOnDisk()) << "and zeros after the labels";
    });
}

TEST_F(LutBlock, WritingRecordsTheBlocksPlace)
{
    zel_test::inFreshProcess([&] {
        fillAsOnDisk();
        fputs("before", record->fptr);
        run([&] { ZELWriteLUTs(record.get()); });
        EXPECT_EQ(record->LUTStartOffset, 6);
        Bytes all = written();
        EXPECT_EQ(Bytes(all.begin() + 6, all.end()), twoLutsOnDisk());
    });
}

TEST_F(LutBlock, OnlyTheFirstWriteOfAProcessWrites)
{
    zel_test::inFreshProcess([&] {
        fillAsOnDisk();
        EXPECT_EQ(run([&] { ZELWriteLUTs(record.get()); }).out, "");
        const long end = ftell(record->fptr);
        EXPECT_EQ(end, 814);
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(run([&] { ZELWriteLUTs(record.get()); }).out,
                      "ZELWriteLUTs: LUT's already written\n");
            EXPECT_EQ(ftell(record->fptr), end);
            EXPECT_EQ(record->LUTStartOffset, 0);
        }
    });
}

TEST_F(LutBlock, WritingWithoutLutsIsReportedAndLeavesTheFirstWriteToOthers)
{
    zel_test::inFreshProcess([&] {
        record->ReadWriteFlag = 2;
        EXPECT_EQ(run([&] { ZELWriteLUTs(record.get()); }).out, "ZELWriteLUTs:No LUT's defined.\n");
        EXPECT_EQ(ftell(record->fptr), 0);
        fillAsOnDisk();
        EXPECT_EQ(run([&] { ZELWriteLUTs(record.get()); }).out, "");
        EXPECT_EQ(ftell(record->fptr), 814);
    });
}

TEST_F(LutBlock, TheWrittenTestComesBeforeTheTestForLuts)
{
    zel_test::inFreshProcess([&] {
        fillAsOnDisk();
        run([&] { ZELWriteLUTs(record.get()); });
        ZELFreeLUTs(record.get());
        EXPECT_EQ(run([&] { ZELWriteLUTs(record.get()); }).out,
                  "ZELWriteLUTs: LUT's already written\n");
    });
}

TEST_F(LutBlock, NumbersAreSwappedOnWriting)
{
    zel_test::inFreshProcess([&] {
        fillAsOnDisk();
        SwapByteOrdering = 1;
        run([&] { ZELWriteLUTs(record.get()); });
        Bytes expected = twoLutsOnDisk();
        for (std::size_t at : {0u, 2u, 610u, 612u}) std::swap(expected[at], expected[at + 1]);
        EXPECT_EQ(written(), expected);
    });
}

// The second file's header still counts its LUTs.
TEST(LutFiles, TheSecondFileOfAProcessHasNoLutBlock)
{
    zel_test::inFreshProcess([] {
        zel_test::TempDir dir;
        Bytes files[2];
        for (int i = 0; i < 2; ++i) {
            auto record = zel_test::writeOnlyRecord();
            const std::string path = dir.path("file" + std::to_string(i));
            const Outcome outcome = run([&] {
                ZELAddLUT(record.get(), 300, 2, "Classes");
                ZELOpenWriteOnlyFile(record.get(), path.c_str());
                ZELFinishWritingFile(record.get());
            });
            EXPECT_EQ(zel_test::withoutGridNotes(outcome.out),
                      i == 0 ? "" : "ZELWriteLUTs: LUT's already written\n");
            files[i] = zel_test::readFile(path);
            EXPECT_EQ(files[i].at(1221 + 2036), 1) << "NumDisplayLUTs";
        }
        EXPECT_EQ(files[0].size(), files[1].size() + 610);
    });
}

// The second as well as the first, and the third not: a call is good for one file.
TEST(LutFiles, ARearmedWriterWritesTheBlockOfTheNextFile)
{
    zel_test::inFreshProcess([] {
        zel_test::TempDir dir;
        std::size_t sizes[3];
        for (int i = 0; i < 3; ++i) {
            auto record = zel_test::writeOnlyRecord();
            const std::string path = dir.path("file" + std::to_string(i));
            run([&] {
                if (i == 1) ZELRearmLUTWriter();
                ZELAddLUT(record.get(), 300, 2, "Classes");
                ZELOpenWriteOnlyFile(record.get(), path.c_str());
                ZELFinishWritingFile(record.get());
            });
            sizes[i] = zel_test::readFile(path).size();
        }
        EXPECT_EQ(sizes[1], sizes[0]);
        EXPECT_EQ(sizes[2], sizes[0] - 610);
    });
}

TEST_F(LutBlock, UpdatingRewritesTheBlockInPlaceAndReturns)
{
    fillAsOnDisk();
    Bytes content(100, 0xEE);
    content.resize(100 + 814 + 50, 0xDD);
    place(content);
    record->LUTStartOffset = 100;
    fseek(record->fptr, 7, SEEK_SET);
    const Outcome outcome = run([&] { ZELUpdateLUTs(record.get()); });
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(ftell(record->fptr), 7);
    Bytes expected(100, 0xEE);
    const Bytes block = twoLutsOnDisk();
    expected.insert(expected.end(), block.begin(), block.end());
    expected.resize(expected.size() + 50, 0xDD);
    EXPECT_EQ(written(), expected);
}

TEST_F(LutBlock, UpdatingIgnoresThatABlockWasWritten)
{
    zel_test::inFreshProcess([&] {
        fillAsOnDisk();
        run([&] { ZELWriteLUTs(record.get()); });
        ZELLoadLUTEntryByKey(record.get(), 300, 0, 77, 2, 3, "first");
        EXPECT_EQ(run([&] { ZELUpdateLUTs(record.get()); }).out, "");
        Bytes expected = twoLutsOnDisk();
        expected[204] = 77;
        EXPECT_EQ(written(), expected);
    });
}

// As those of the second file of a process: at place 0 stands the prefix of the file.
TEST_F(LutBlock, ABlockThatWasNotWrittenIsNotUpdated)
{
    fillAsOnDisk();
    zel::copyText(record->ImageFilename, "second.zel");
    Bytes content = {'Z', 'E', 'L', '2', '.', '3', 0, 9, 8, 7};
    place(content);
    fseek(record->fptr, 7, SEEK_SET);
    const Outcome outcome = run([&] { ZELUpdateLUTs(record.get()); });
    EXPECT_EQ(outcome.err, "ZELUpdateLUTs: warning: the LUTs of file second.zel were not written "
                           "with its header and are not kept\n");
    EXPECT_EQ(outcome.out, "");
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(ftell(record->fptr), 7);
    EXPECT_EQ(written(), content);
}

TEST_F(LutBlock, UpdatingAReadOnlyFileIsRefused)
{
    fillAsOnDisk();
    record->ReadWriteFlag = 1;
    const Outcome outcome = run([&] { ZELUpdateLUTs(record.get()); });
    EXPECT_EQ(outcome.out, "ZELUpdateLUTs: Cannot update lut of Read Only file... Ignoring...\n");
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(written(), Bytes{});
}

TEST_F(LutBlock, UpdatingWithoutLutsIsReported)
{
    record->ReadWriteFlag = 2;
    EXPECT_EQ(run([&] { ZELUpdateLUTs(record.get()); }).out, "ZELUpdateLUTs:No LUT's defined.\n");
    EXPECT_EQ(written(), Bytes{});
}

}  // namespace
