// Value tables on disk, from list to list and from file to file.
#include <gtest/gtest.h>

#include <unistd.h>

#include <utility>

#include "support/outcome.hpp"

namespace {

using zel_test::Bytes;
using zel_test::Outcome;
using zel_test::run;
using Keys = std::vector<int>;

Keys keys(const TableListType& list)
{
    Keys all;
    const TableType* table = list.TableHead;
    for (int i = 0; i < list.NumTables; ++i, table = table->NextTable)
        all.push_back(table->TableKeyValue);
    return all;
}

void append(Bytes& bytes, std::initializer_list<int> values)
{
    for (int v : values) bytes.push_back(static_cast<unsigned char>(v));
}

void appendLabel(Bytes& bytes, const std::string& label)
{
    bytes.insert(bytes.end(), label.begin(), label.end());
    bytes.resize(bytes.size() + 200 - label.size());
}

// The count before the key; 1.0 is 3F800000, -2.5 is C0200000. 212 and 204 bytes.
Bytes twoTablesOnDisk()
{
    Bytes bytes;
    append(bytes, {2, 0, 0x2C, 1});
    appendLabel(bytes, "Gains");
    append(bytes, {0, 0, 0x80, 0x3F, 0, 0, 0x20, 0xC0});
    append(bytes, {0, 0, 2, 0});
    appendLabel(bytes, "Empty");
    return bytes;
}

void fillAsOnDisk(TableListType& list)
{
    ZELAddTable(&list, 300, 2, "Gains");
    ZELLoadTableEntryByKey(&list, 300, 0, 1.0f);
    ZELLoadTableEntryByKey(&list, 300, 1, -2.5f);
    ZELAddTable(&list, 2, 0, "Empty");
}

class TableBlock : public testing::Test {
protected:
    void SetUp() override
    {
        SwapByteOrdering = 0;
        stream = tmpfile();
        ASSERT_NE(stream, nullptr);
    }
    void TearDown() override
    {
        SwapByteOrdering = 0;
        ZELFreeTables(&list);
        fclose(stream);
    }

    void place(const Bytes& content)
    {
        if (!content.empty()) fwrite(content.data(), 1, content.size(), stream);
        rewind(stream);
    }
    Bytes written()
    {
        const std::string content = zel_test::contentOf(stream);
        return {content.begin(), content.end()};
    }
    Outcome read(int tables)
    {
        list.NumTables = static_cast<int16_t>(tables);
        list.TableHead = nullptr;
        return run([&] { total = ZELReadTables(stream, &list); });
    }

    FILE* stream = nullptr;
    int total = -9;
    TableListType list{};
};

TEST_F(TableBlock, ReadingFillsTheListAndTracesIt)
{
    place(twoTablesOnDisk());
    const Outcome outcome = read(2);
    EXPECT_EQ(outcome.out, "ZELReadTables:NumTables 2\n"
                           "ZELReadTables:NumTableValues 2\n"
                           "ZELReadTables:TableKeyValue 300\n"
                           "ZELReadTables:TableLabel Gains\n"
                           "ZELReadTables:0: 1.000000\n"
                           "ZELReadTables:1: -2.500000\n"
                           "ZELReadTables:NumTableValues 0\n"
                           "ZELReadTables:TableKeyValue 2\n"
                           "ZELReadTables:TableLabel Empty\n"
                           "Table offset 816\n");
    EXPECT_EQ(keys(list), (Keys{300, 2}));
    EXPECT_EQ(list.TableHead->NumTableValues, 2);
    EXPECT_STREQ(list.TableHead->TableLabel, "Gains");
    EXPECT_EQ(list.TableHead->Table[0], 1.0f);
    EXPECT_EQ(list.TableHead->Table[1], -2.5f);
    EXPECT_EQ(list.TableHead->NextTable->NextTable, nullptr);
}

// A table counts 204 bytes for each value although a value takes only 4.
TEST_F(TableBlock, ATableOf5ValuesTakes224BytesAndCounts1224)
{
    Bytes bytes;
    append(bytes, {5, 0, 1, 0});
    appendLabel(bytes, "five");
    bytes.resize(bytes.size() + 20);
    EXPECT_EQ(bytes.size(), 224u);
    place(bytes);
    read(1);
    EXPECT_EQ(total, 1224);
    EXPECT_EQ(ftell(stream), 224);
}

TEST_F(TableBlock, TheTotalIsSummedOverTheTables)
{
    place(twoTablesOnDisk());
    read(2);
    EXPECT_EQ(total, (204 + 204 * 2) + 204);
    EXPECT_EQ(ftell(stream), 212 + 204);
}

TEST_F(TableBlock, ReadingWithCountZeroIsReported)
{
    EXPECT_EQ(read(0).out, "ZELReadTables:No Tables defined.\n");
    EXPECT_EQ(total, 0);
    EXPECT_EQ(ftell(stream), 0);
}

TEST_F(TableBlock, NumbersAreSwappedAndTextIsNot)
{
    Bytes bytes = twoTablesOnDisk();
    for (std::size_t at : {0u, 2u, 212u, 214u}) std::swap(bytes[at], bytes[at + 1]);
    for (std::size_t at : {204u, 208u}) {
        std::swap(bytes[at], bytes[at + 3]);
        std::swap(bytes[at + 1], bytes[at + 2]);
    }
    place(bytes);
    SwapByteOrdering = 1;
    read(2);
    EXPECT_EQ(total, 816);
    EXPECT_EQ(keys(list), (Keys{300, 2}));
    EXPECT_STREQ(list.TableHead->TableLabel, "Gains");
    EXPECT_EQ(list.TableHead->Table[1], -2.5f);
    rewind(stream);
    run([&] { ZELWriteTables(stream, &list); });
    EXPECT_EQ(written(), bytes) << "and back";
}

TEST_F(TableBlock, ALabelOf200CharactersWithoutATerminatorIsTerminated)
{
    Bytes bytes;
    append(bytes, {1, 0, 9, 0});
    appendLabel(bytes, std::string(200, 'l'));
    append(bytes, {0, 0, 0x80, 0x3F});
    place(bytes);
    const Outcome outcome = read(1);
    EXPECT_STREQ(list.TableHead->TableLabel, std::string(200, 'l').c_str());
    EXPECT_NE(outcome.out.find("TableLabel " + std::string(200, 'l') + "\n"), std::string::npos);
}

TEST_F(TableBlock, ABlockCutShortEndsTheProcess)
{
    const Bytes whole = twoTablesOnDisk();
    for (std::size_t size : {0u, 1u, 3u, 100u, 204u, 207u, 211u, 213u, 415u}) {
        rewind(stream);
        ASSERT_EQ(ftruncate(fileno(stream), 0), 0);
        place({whole.begin(), whole.begin() + static_cast<long>(size)});
        const Outcome outcome = read(2);
        EXPECT_TRUE(outcome.ended) << size;
        EXPECT_EQ(outcome.status, -1) << size;
        while (TableType* table = list.TableHead) {
            list.TableHead = table->NextTable;
            ZELDeAllocateTable(table);
        }
        list = {};
    }
}

TEST_F(TableBlock, WritingPutsTheRecordsBackToBackAndTracesThem)
{
    fillAsOnDisk(list);
    fputs("before", stream);
    const Outcome outcome = run([&] { ZELWriteTables(stream, &list); });
    EXPECT_EQ(outcome.out, "ZELWriteTables:NumTables 2\n"
                           "ZELWriteTables:NumTableValues 2\n"
                           "ZELWriteTables:TableKeyValue 300\n"
                           "ZELWriteTables:TableLabel Gains\n"
                           "ZELWriteTables:0: 1.000000\n"
                           "ZELWriteTables:1: -2.500000\n"
                           "ZELWriteTables:NumTableValues 0\n"
                           "ZELWriteTables:TableKeyValue 2\n"
                           "ZELWriteTables:TableLabel Empty\n");
    EXPECT_EQ(list.TableStartOffset, 6);
    const Bytes all = written();
    ASSERT_GT(all.size(), 6u);
    EXPECT_EQ(Bytes(all.begin() + 6, all.end()), twoTablesOnDisk());
}

TEST_F(TableBlock, WritingASecondTimeWritesAgain)
{
    fillAsOnDisk(list);
    run([&] { ZELWriteTables(stream, &list); });
    run([&] { ZELWriteTables(stream, &list); });
    EXPECT_EQ(list.TableStartOffset, 416);
    EXPECT_EQ(written().size(), 832u);
}

TEST_F(TableBlock, WritingWithoutTablesIsReported)
{
    EXPECT_EQ(run([&] { ZELWriteTables(stream, &list); }).out,
              "ZELWriteTables:No Tables defined.\n");
    EXPECT_EQ(written(), Bytes{});
}

TEST_F(TableBlock, UpdatingRewritesTheBlockInPlaceReturnsAndTraces)
{
    fillAsOnDisk(list);
    Bytes content(100, 0xEE);
    content.resize(100 + 416 + 50, 0xDD);
    place(content);
    list.TableStartOffset = 100;
    fseek(stream, 7, SEEK_SET);
    const Outcome outcome = run([&] { ZELUpdateTables(stream, &list); });
    EXPECT_EQ(outcome.out, "ZELUpdateTables:NumTableValues 2\n"
                           "ZELUpdateTables:TableKeyValue 300\n"
                           "ZELUpdateTables:TableLabel Gains\n"
                           "ZELUpdateTables:0: 1.000000\n"
                           "ZELUpdateTables:1: -2.500000\n"
                           "ZELUpdateTables:NumTableValues 0\n"
                           "ZELUpdateTables:TableKeyValue 2\n"
                           "ZELUpdateTables:TableLabel Empty\n");
    EXPECT_EQ(ftell(stream), 7);
    Bytes expected(100, 0xEE);
    const Bytes block = twoTablesOnDisk();
    expected.insert(expected.end(), block.begin(), block.end());
    expected.resize(expected.size() + 50, 0xDD);
    EXPECT_EQ(written(), expected);
    EXPECT_EQ(list.TableStartOffset, 100);
}

// At place 0 of a file stands its prefix.
TEST_F(TableBlock, ABlockThatWasNotWrittenIsNotUpdated)
{
    fillAsOnDisk(list);
    Bytes content = {'Z', 'E', 'L', '2', '.', '3', 0, 9, 8, 7};
    place(content);
    const Outcome outcome = run([&] { ZELUpdateTables(stream, &list); });
    EXPECT_EQ(outcome.err, "ZELUpdateTables: warning: tables that were not written with the header "
                           "of a file are not kept\n");
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(written(), content);
}

// Any other stream may hold the block at its start.
TEST_F(TableBlock, ABlockAtTheStartOfAStreamIsUpdated)
{
    fillAsOnDisk(list);
    run([&] { ZELWriteTables(stream, &list); });
    ASSERT_EQ(list.TableStartOffset, 0);
    ZELLoadTableEntryByKey(&list, 300, 0, -2.5f);
    EXPECT_EQ(run([&] { ZELUpdateTables(stream, &list); }).err, "");
    Bytes expected = twoTablesOnDisk();
    expected[206] = 0x20;
    expected[207] = 0xC0;
    EXPECT_EQ(written(), expected);
}

// Looking for a prefix fails on such a stream; that is no error of the update.
TEST_F(TableBlock, ABlockAtTheStartOfAWriteOnlyStreamIsUpdatedWithoutAnError)
{
    fillAsOnDisk(list);
    const zel_test::TempDir dir;
    const std::string path = dir.path("tables");
    FILE* writeOnly = fopen(path.c_str(), "wb");
    ASSERT_NE(writeOnly, nullptr);
    run([&] { ZELWriteTables(writeOnly, &list); });
    ZELLoadTableEntryByKey(&list, 300, 0, -2.5f);
    EXPECT_EQ(run([&] { ZELUpdateTables(writeOnly, &list); }).err, "");
    EXPECT_FALSE(ferror(writeOnly));
    fclose(writeOnly);
    Bytes expected = twoTablesOnDisk();
    expected[206] = 0x20;
    expected[207] = 0xC0;
    EXPECT_EQ(zel_test::readFile(path), expected);
}

TEST_F(TableBlock, UpdatingKeepsAnEarlierErrorOfTheStream)
{
    fillAsOnDisk(list);
    const zel_test::TempDir dir;
    FILE* writeOnly = fopen(dir.path("tables").c_str(), "wb");
    ASSERT_NE(writeOnly, nullptr);
    EXPECT_EQ(fgetc(writeOnly), EOF);
    run([&] { ZELUpdateTables(writeOnly, &list); });
    EXPECT_TRUE(ferror(writeOnly));
    fclose(writeOnly);
}

TEST_F(TableBlock, UpdatingWithoutTablesIsReported)
{
    EXPECT_EQ(run([&] { ZELUpdateTables(stream, &list); }).out,
              "ZELUpdateTables:No Tables defined.\n");
    EXPECT_EQ(written(), Bytes{});
}

// ---- from list to list

class TableCopy : public testing::Test {
protected:
    void SetUp() override
    {
        for (ZELType* r : {dest.get(), source.get()}) {
            r->ReadWriteFlag = 2;
            r->numZELComponents = 1;
        }
    }
    void TearDown() override
    {
        ZELFreeTables(&to());
        ZELFreeTables(&from());
    }

    TableListType& to() { return dest->ZELHeader.TableList; }
    TableListType& from() { return source->ZELHeader.TableList; }
    void fillSource()
    {
        ZELAddTable(&from(), 1, 1, "one");
        ZELAddTable(&from(), 7, 2, "seven");
        ZELLoadTableEntryByKey(&from(), 7, 1, 3.25f);
    }
    Outcome copyFiles()
    {
        return run([&] { ZELCopyFileTables(dest.get(), source.get()); });
    }
    Outcome appendFiles()
    {
        return run([&] { ZELAppendFileTables(dest.get(), source.get()); });
    }

    std::unique_ptr<ZELType> dest = zel_test::zeroRecord();
    std::unique_ptr<ZELType> source = zel_test::zeroRecord();
};

TEST_F(TableCopy, CopyingAListMakesDeepCopiesInOrder)
{
    fillSource();
    EXPECT_EQ(run([&] { ZELCopyTableList(&to(), &from()); }).out, "");
    EXPECT_EQ(keys(to()), (Keys{1, 7}));
    EXPECT_EQ(keys(from()), (Keys{1, 7}));
    ASSERT_NE(to().TableHead, from().TableHead);
    EXPECT_EQ(to().TableHead->NextTable->Table[1], 3.25f);
    EXPECT_STREQ(to().TableHead->NextTable->TableLabel, "seven");
    EXPECT_EQ(to().TableHead->NextTable->NextTable, nullptr);
}

TEST_F(TableCopy, CopyingAListDropsTheOldTablesWithoutFreeingThem)
{
    fillSource();
    TableType* old = ZELAddTable(&to(), 3, 1, "old");
    ZELCopyTableList(&to(), &from());
    EXPECT_EQ(keys(to()), (Keys{1, 7}));
    EXPECT_STREQ(old->TableLabel, "old");
    ZELDeAllocateTable(old);
}

TEST_F(TableCopy, CopyingAnEmptyListChangesNothingSilently)
{
    ZELAddTable(&to(), 3, 1, "mine");
    EXPECT_EQ(run([&] { ZELCopyTableList(&to(), &from()); }).out, "");
    EXPECT_EQ(keys(to()), Keys{3});
}

TEST_F(TableCopy, AppendingAListKeepsSameKeysAndTheFirstWins)
{
    fillSource();
    ZELAddTable(&to(), 1, 0, "mine");
    EXPECT_EQ(run([&] { ZELAppendTableList(&to(), &from()); }).out, "");
    EXPECT_EQ(keys(to()), (Keys{1, 1, 7}));
    EXPECT_STREQ(ZELFetchTableByKey(&to(), 1)->TableLabel, "mine");
}

TEST_F(TableCopy, AppendingToAnEmptyListCopies)
{
    fillSource();
    EXPECT_EQ(run([&] { ZELAppendTableList(&to(), &from()); }).out, "");
    EXPECT_EQ(keys(to()), (Keys{1, 7}));
}

TEST_F(TableCopy, AppendingAnEmptyListIsReported)
{
    ZELAddTable(&to(), 3, 1, "mine");
    EXPECT_EQ(run([&] { ZELAppendTableList(&to(), &from()); }).out,
              "ZELAppendTableList: No Tables to copy... continuing...\n");
    EXPECT_EQ(keys(to()), Keys{3});
}

TEST_F(TableCopy, FileTablesAreCopiedAndAppended)
{
    fillSource();
    EXPECT_EQ(copyFiles().out, "");
    EXPECT_EQ(keys(to()), (Keys{1, 7}));
    EXPECT_EQ(appendFiles().out, "");
    EXPECT_EQ(keys(to()), (Keys{1, 7, 1, 7}));
}

TEST_F(TableCopy, ASourceFileWithoutTablesChangesNothing)
{
    ZELAddTable(&to(), 3, 1, "mine");
    EXPECT_EQ(copyFiles().out, "ZELCopyFileTables: No Tables to copy... continuing...\n");
    EXPECT_EQ(appendFiles().out, "ZELAppendFileTables: No Tables to Append... continuing...\n");
    EXPECT_EQ(keys(to()), Keys{3});
}

// The append form too says "copy" here.
TEST_F(TableCopy, AReadOnlyFileIsRefused)
{
    fillSource();
    dest->ReadWriteFlag = 1;
    Outcome outcome = copyFiles();
    EXPECT_EQ(outcome.out,
              "ZELCopyFileTables: Cannot copy Table to Read Only file... Ignoring...\n");
    EXPECT_FALSE(outcome.ended);
    outcome = appendFiles();
    EXPECT_EQ(outcome.out,
              "ZELAppendFileTables: Cannot copy Table to Read Only file... Ignoring...\n");
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(to().NumTables, 0);
}

TEST_F(TableCopy, ACompositeViewAcceptsTablesAlthoughReadOnly)
{
    fillSource();
    dest->ReadWriteFlag = 1;
    dest->numZELComponents = 2;
    EXPECT_EQ(copyFiles().out, "");
    EXPECT_EQ(appendFiles().out, "");
    EXPECT_EQ(keys(to()), (Keys{1, 7, 1, 7}));
}

TEST_F(TableCopy, AFileWhoseHeaderIsWrittenEndsTheProcess)
{
    fillSource();
    dest->FileOpened = 1;
    Outcome outcome = copyFiles();
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out,
              "ZELCopyFileTables: Cannot copy Table to a Write Only file after the file is "
              "opened...exiting...\n");
    outcome = appendFiles();
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out,
              "ZELAppendFileTables: Cannot Append Table to a Write Only file after the file is "
              "opened...exiting...\n");
    EXPECT_EQ(to().NumTables, 0);
}

TEST_F(TableCopy, TheTestTablesHoldTheirIndices)
{
    EXPECT_EQ(run([&] { ZELAddTestTables(dest.get()); }).out, "");
    EXPECT_EQ(keys(to()), (Keys{1, 2}));
    const TableType* first = to().TableHead;
    const TableType* second = first->NextTable;
    EXPECT_STREQ(first->TableLabel, "Test Table 1");
    EXPECT_STREQ(second->TableLabel, "Test Table 2");
    ASSERT_EQ(first->NumTableValues, 5);
    ASSERT_EQ(second->NumTableValues, 7);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(first->Table[i], static_cast<float>(i));
    for (int i = 0; i < 7; ++i) EXPECT_EQ(second->Table[i], static_cast<float>(i));
}

TEST_F(TableCopy, TestTablesWithAKeyInUseEndTheProcess)
{
    for (int key : {1, 2}) {
        ZELFreeTables(&to());
        ZELAddTable(&to(), key, 1, "mine");
        const Outcome outcome = run([&] { ZELAddTestTables(dest.get()); });
        EXPECT_TRUE(outcome.ended);
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.out, "Key value " + std::to_string(key) +
                                   " already in use... pick another one\n"
                                   "ZELAddTestTables: Error in Table read...exiting\n");
    }
}

}  // namespace
