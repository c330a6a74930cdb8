// Lists of value tables and their editing.
#include <gtest/gtest.h>

#include <cstdint>

#include "support/outcome.hpp"

namespace {

using zel_test::Outcome;
using zel_test::run;
using Keys = std::vector<int>;

Keys keys(const TableListType& list)
{
    Keys all;
    const TableType* table = list.TableHead;
    for (int i = 0; i < list.NumTables; ++i, table = table->NextTable)
        all.push_back(table->TableKeyValue);
    if (list.NumTables > 0) {
        EXPECT_EQ(table, nullptr) << "the list is longer than its count";
    }
    return all;
}

template <class Call>
std::string said(Call call)
{
    const Outcome outcome = run(call);
    EXPECT_FALSE(outcome.ended) << outcome.out;
    return outcome.out;
}

// The message of a call that must end the process with -1.
template <class Call>
std::string ending(Call call)
{
    const Outcome outcome = run(call);
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    return outcome.out;
}

class Tables : public testing::Test {
protected:
    void TearDown() override { ZELFreeTables(&list); }

    void addThree()
    {
        ZELAddTable(&list, 5, 2, "Five");
        ZELAddTable(&list, 3, 1, "Three");
        ZELAddTable(&list, 8, 0, "Eight");
    }

    TableListType list{};
};

TEST_F(Tables, AFreshTableHoldsZeros)
{
    for (int count : {0, 1, 500}) {
        TableType* table = ZELAllocateTable(count);
        ASSERT_NE(table, nullptr);
        EXPECT_EQ(table->NextTable, nullptr);
        for (int i = 0; i < count; ++i) EXPECT_EQ(table->Table[i], 0.0f);
        EXPECT_EQ(said([&] { ZELDeAllocateTable(table); }), "");
    }
}

TEST_F(Tables, DeallocatingNullEndsTheProcess)
{
    EXPECT_EQ(ending([] { ZELDeAllocateTable(nullptr); }),
              "ZELDeAllocateTable: error... tried to de-allocate NULL Table data\n");
}

TEST_F(Tables, AddingAppendsAtTheTail)
{
    TableType* table = ZELAddTable(&list, 5, 2, "Five");
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->TableKeyValue, 5);
    EXPECT_EQ(table->NumTableValues, 2);
    EXPECT_STREQ(table->TableLabel, "Five");
    EXPECT_EQ(table->Table[1], 0.0f);
    ZELAddTable(&list, 3, 1, "Three");
    ZELAddTable(&list, 8, 0, "Eight");
    EXPECT_EQ(keys(list), (Keys{5, 3, 8}));
}

TEST_F(Tables, AKeyInUseIsRefused)
{
    addThree();
    TableType* table = nullptr;
    EXPECT_EQ(said([&] { table = ZELAddTable(&list, 3, 4, "again"); }),
              "Key value 3 already in use... pick another one\n");
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(keys(list), (Keys{5, 3, 8}));
}

TEST_F(Tables, ALongLabelIsCutAt200Characters)
{
    const std::string label(230, 'x');
    EXPECT_STREQ(ZELAddTable(&list, 1, 1, label.c_str())->TableLabel, label.substr(0, 200).c_str());
}

TEST_F(Tables, DeletingUnlinksHeadMiddleAndTail)
{
    for (const auto& [key, left] :
         std::vector<std::pair<int, Keys>>{{5, {3, 8}}, {3, {5, 8}}, {8, {5, 3}}}) {
        ZELFreeTables(&list);
        addThree();
        EXPECT_EQ(said([&, k = key] { ZELDeleteTableByKey(&list, k); }), "");
        EXPECT_EQ(keys(list), left);
    }
    for (const auto& [label, left] : std::vector<std::pair<const char*, Keys>>{
             {"five", {3, 8}}, {"THREE", {5, 8}}, {"Eight", {5, 3}}}) {
        ZELFreeTables(&list);
        addThree();
        EXPECT_EQ(said([&, l = label] { ZELDeleteTableByLabel(&list, l); }), "");
        EXPECT_EQ(keys(list), left);
    }
}

TEST_F(Tables, DeletingTheOnlyTableLeavesANullHead)
{
    ZELAddTable(&list, 1, 1, "one");
    ZELDeleteTableByKey(&list, 1);
    EXPECT_EQ(list.NumTables, 0);
    EXPECT_EQ(list.TableHead, nullptr);
    ZELAddTable(&list, 2, 1, "two");
    ZELDeleteTableByLabel(&list, "two");
    EXPECT_EQ(list.NumTables, 0);
    EXPECT_EQ(list.TableHead, nullptr);
}

TEST_F(Tables, DeletingWithoutAMatchOrWithoutTablesOnlyPrints)
{
    EXPECT_EQ(said([&] { ZELDeleteTableByKey(&list, 4); }),
              "ZELDeleteTableByKey: No Tables present in file\n");
    EXPECT_EQ(said([&] { ZELDeleteTableByLabel(&list, "x"); }),
              "ZELDeleteTableByLabel: No Tables present in file\n");
    addThree();
    EXPECT_EQ(said([&] { ZELDeleteTableByKey(&list, 4); }),
              "ZELDeleteTableByKey: Table with key 4 not present in file\n");
    EXPECT_EQ(said([&] { ZELDeleteTableByLabel(&list, "x"); }),
              "ZELDeleteTableByLabel: Table with label x not present in file\n");
    EXPECT_EQ(keys(list), (Keys{5, 3, 8}));
}

TEST_F(Tables, AValueIsLoadedByKeyAndByLabel)
{
    addThree();
    EXPECT_EQ(said([&] {
                  ZELLoadTableEntryByKey(&list, 5, 1, 2.5f);
                  ZELLoadTableEntryByLabel(&list, "tHREE", 0, -4.0f);
              }),
              "");
    EXPECT_EQ(list.TableHead->Table[0], 0.0f);
    EXPECT_EQ(list.TableHead->Table[1], 2.5f);
    EXPECT_EQ(list.TableHead->NextTable->Table[0], -4.0f);
}

// The bound is inclusive: one value more than there are passes the check.
TEST_F(Tables, AnIndexEqualToTheCountPassesTheCheck)
{
    addThree();
    EXPECT_EQ(said([&] {
                  ZELLoadTableEntryByKey(&list, 5, 2, 1.0f);
                  ZELLoadTableEntryByLabel(&list, "Eight", 0, 1.0f);
              }),
              "");
    EXPECT_EQ(list.TableHead->NumTableValues, 2);
}

TEST_F(Tables, AnIndexOutsideEndsTheProcess)
{
    addThree();
    for (int i : {-1, 3, 1000000}) {
        const std::string text = std::to_string(i) + "\n";
        EXPECT_EQ(ending([&] { ZELLoadTableEntryByKey(&list, 5, i, 1.0f); }),
                  "ZELLoadTableEntryByKey: Invalid Table entry " + text);
        EXPECT_EQ(ending([&] { ZELLoadTableEntryByLabel(&list, "Five", i, 1.0f); }),
                  "ZELLoadTableEntryByLabel: Invalid Table entry " + text);
    }
}

TEST_F(Tables, LoadingAValueOfATableThatIsNotThereChangesNothing)
{
    EXPECT_EQ(said([&] { ZELLoadTableEntryByKey(&list, 4, 0, 1.0f); }),
              "ZELLoadTableEntryByKey:No Tables defined.\n");
    EXPECT_EQ(said([&] { ZELLoadTableEntryByLabel(&list, "x", 0, 1.0f); }),
              "ZELLoadTableEntryByLabel:No Tables defined.\n");
    addThree();
    EXPECT_EQ(said([&] { ZELLoadTableEntryByKey(&list, 4, -7, 1.0f); }),
              "ZELLoadTableEntryByKey: Cannot find Table Key 4\n");
    EXPECT_EQ(said([&] { ZELLoadTableEntryByLabel(&list, "x", 0, 1.0f); }),
              "ZELLoadTableEntryByLabel: Cannot find Table Label x\n");
    EXPECT_EQ(list.TableHead->Table[0], 0.0f);
}

TEST_F(Tables, AWholeTableIsLoadedByKeyAndByLabel)
{
    addThree();
    const float values[3] = {1.5f, 2.5f, 99.0f};
    EXPECT_EQ(said([&] {
                  ZELLoadTableByKey(&list, 5, values);
                  ZELLoadTableByLabel(&list, "three", values + 1);
                  ZELLoadTableByKey(&list, 8, values);
              }),
              "");
    EXPECT_EQ(list.TableHead->Table[0], 1.5f);
    EXPECT_EQ(list.TableHead->Table[1], 2.5f);
    EXPECT_EQ(list.TableHead->NextTable->Table[0], 2.5f);
}

// The by-label form names the entry form in its messages.
TEST_F(Tables, LoadingAWholeTableThatIsNotThereChangesNothing)
{
    const float values[1] = {1.0f};
    EXPECT_EQ(said([&] { ZELLoadTableByKey(&list, 4, values); }),
              "ZELLoadTableByKey:No Tables defined.\n");
    EXPECT_EQ(said([&] { ZELLoadTableByLabel(&list, "x", values); }),
              "ZELLoadTableEntryByLabel:No Tables defined.\n");
    addThree();
    EXPECT_EQ(said([&] { ZELLoadTableByKey(&list, 4, values); }),
              "ZELLoadTableByKey: Cannot find Table Key 4\n");
    EXPECT_EQ(said([&] { ZELLoadTableByLabel(&list, "x", values); }),
              "ZELLoadTableEntryByLabel: Cannot find Table Label x\n");
}

TEST_F(Tables, FetchingFindsByKeyAndByLabelWithoutRegardToCase)
{
    addThree();
    TableType* three = list.TableHead->NextTable;
    EXPECT_EQ(said([&] {
                  EXPECT_EQ(ZELFetchTableByKey(&list, 3), three);
                  EXPECT_EQ(ZELFetchTableByLabel(&list, "tHREE"), three);
                  EXPECT_EQ(ZELFetchTableKeyByLabel(&list, "EIGHT"), 8);
                  EXPECT_EQ(ZELFetchTableLabelByKey(&list, 3), three->TableLabel);
              }),
              "");
}

TEST_F(Tables, FetchingFromAnEmptyListIsReported)
{
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchTableByKey(&list, 3), nullptr); }),
              "ZELFetchTableByKey:No Tables defined.\n");
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchTableByLabel(&list, "x"), nullptr); }),
              "ZELFetchTableByLabel:No Tables defined.\n");
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchTableKeyByLabel(&list, "x"), -1); }),
              "ZELFetchTableKeyByLabel:No Tables defined.\n");
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchTableLabelByKey(&list, 3), nullptr); }),
              "ZELFetchTableLabelByKey:No Tables defined.\n");
}

TEST_F(Tables, FetchingWhatIsNotThereIsReported)
{
    addThree();
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchTableByKey(&list, 4), nullptr); }),
              "ZELFetchTableByKey: Cannot find Table Key 4\n");
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchTableByLabel(&list, "x"), nullptr); }),
              "ZELFetchTableByLabel: Cannot find Table Label x\n");
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchTableKeyByLabel(&list, "x"), -1); }),
              "ZELFetchTableKeyByLabel: Cannot find Table Label x\n");
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchTableLabelByKey(&list, 4), nullptr); }),
              "ZELFetchTableLabelByKey: Cannot find Table Key 4\n");
}

TEST_F(Tables, ACopyIsDeepAndDetached)
{
    addThree();
    ZELLoadTableEntryByKey(&list, 5, 1, 2.5f);
    TableType* copy = ZELCopyTable(list.TableHead);
    EXPECT_EQ(copy->TableKeyValue, 5);
    EXPECT_EQ(copy->NumTableValues, 2);
    EXPECT_STREQ(copy->TableLabel, "Five");
    EXPECT_EQ(copy->NextTable, nullptr);
    ASSERT_NE(copy->Table, list.TableHead->Table);
    EXPECT_EQ(copy->Table[1], 2.5f);
    ZELDeAllocateTable(copy);
}

// The head is left as it was, so only the count shows that the list is empty.
TEST_F(Tables, AfterFreeingTheCountIsZeroAndTheHeadIsStale)
{
    addThree();
    const auto head = reinterpret_cast<std::uintptr_t>(list.TableHead);
    EXPECT_EQ(said([&] { ZELFreeTables(&list); }), "");
    EXPECT_EQ(list.NumTables, 0);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(list.TableHead), head);
}

TEST_F(Tables, AListWithAStaleHeadWorksLikeAnEmptyOne)
{
    addThree();
    ZELFreeTables(&list);
    EXPECT_EQ(said([&] { ZELFreeTables(&list); }), "");
    EXPECT_EQ(said([&] { ZELFetchTableByKey(&list, 5); }),
              "ZELFetchTableByKey:No Tables defined.\n");
    EXPECT_EQ(said([&] { ZELPrintTables(&list); }), "ZELPrintTables:No Tables defined.\n");
    EXPECT_EQ(said([&] { ZELDeleteTableByKey(&list, 5); }),
              "ZELDeleteTableByKey: No Tables present in file\n");
    EXPECT_NE(ZELAddTable(&list, 5, 1, "again"), nullptr);
    EXPECT_EQ(keys(list), Keys{5});
    TableListType other{};
    ZELAddTable(&other, 1, 1, "one");
    ZELFreeTables(&list);
    ZELAppendTableList(&list, &other);
    EXPECT_EQ(keys(list), Keys{1});
    ZELFreeTables(&other);
}

TEST_F(Tables, TheListingShowsEveryTableAndValue)
{
    EXPECT_EQ(said([&] { ZELPrintTables(&list); }), "ZELPrintTables:No Tables defined.\n");
    addThree();
    ZELLoadTableEntryByKey(&list, 5, 1, 2.5f);
    EXPECT_EQ(said([&] { ZELPrintTables(&list); }),
              "3 Tables defined\n"
              "NumTableValues 2\nTableKeyValue 5\nTableLabel Five\n"
              "0: Value 0.000000\n1: Value 2.500000\n"
              "NumTableValues 1\nTableKeyValue 3\nTableLabel Three\n"
              "0: Value 0.000000\n"
              "NumTableValues 0\nTableKeyValue 8\nTableLabel Eight\n");
}

}  // namespace
