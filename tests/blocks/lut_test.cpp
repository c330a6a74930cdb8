// The list of display LUTs of a file and its editing.
#include <gtest/gtest.h>

#include <cstring>

#include "support/outcome.hpp"

namespace {

using zel_test::Outcome;
using zel_test::run;

const char* const cannotDelete = "Cannot delete lut from Read Only file... Ignoring...\n";

class LutList : public testing::Test {
protected:
    void SetUp() override { prepare(*record); }
    void TearDown() override
    {
        run([&] { ZELFreeLUTs(record.get()); });
        run([&] { ZELFreeLUTs(source.get()); });
    }

    // A record as it is before its header is written.
    static void prepare(ZELType& r)
    {
        r.ReadWriteFlag = 2;
        r.numZELComponents = 1;
    }

    ZELDisplayLUTType* add(int key, int values, const char* label)
    {
        return ZELAddLUT(record.get(), key, values, label);
    }
    void addThree()
    {
        add(5, 2, "Five");
        add(3, 1, "Three");
        add(8, 0, "Eight");
    }

    // Keys in list order, after a look at the count.
    static std::vector<int> keys(const ZELType& r)
    {
        std::vector<int> all;
        for (auto* lut = r.ZELHeader.DisplayLUTHead; lut != nullptr; lut = lut->NextDisplayLUT)
            all.push_back(lut->DisplayLUTKeyValue);
        EXPECT_EQ(r.ZELHeader.NumDisplayLUTs, static_cast<int>(all.size()));
        return all;
    }
    std::vector<int> keys() const { return keys(*record); }

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

    std::unique_ptr<ZELType> record = zel_test::zeroRecord();
    std::unique_ptr<ZELType> source = zel_test::zeroRecord();
};

using Keys = std::vector<int>;

TEST_F(LutList, AFreshLutIsBlackAndItsEntriesAreLabelledNone)
{
    for (int count : {0, 1, 300}) {
        ZELDisplayLUTType* lut = ZELAllocateLUT(count);
        ASSERT_NE(lut, nullptr);
        EXPECT_EQ(lut->NextDisplayLUT, nullptr);
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(lut->DisplayLUT[i].R, 0);
            EXPECT_EQ(lut->DisplayLUT[i].G, 0);
            EXPECT_EQ(lut->DisplayLUT[i].B, 0);
            EXPECT_STREQ(lut->DisplayLUT[i].LUTEntryLabel, "None");
        }
        EXPECT_EQ(said([&] { ZELDeAllocateLUT(lut); }), "");
    }
}

TEST_F(LutList, DeallocatingNullEndsTheProcess)
{
    EXPECT_EQ(ending([] { ZELDeAllocateLUT(nullptr); }),
              "ZELDeAllocateLUT: error.. tried to de-allocate NULL LUT\n");
}

TEST_F(LutList, AddingAppendsAtTheTail)
{
    ZELDisplayLUTType* lut = add(5, 2, "Five");
    ASSERT_NE(lut, nullptr);
    EXPECT_EQ(lut->DisplayLUTKeyValue, 5);
    EXPECT_EQ(lut->NumLUTValues, 2);
    EXPECT_STREQ(lut->DisplayLUTLabel, "Five");
    add(3, 1, "Three");
    add(8, 0, "Eight");
    EXPECT_EQ(keys(), (Keys{5, 3, 8}));
}

TEST_F(LutList, AKeyInUseIsRefused)
{
    addThree();
    ZELDisplayLUTType* lut = nullptr;
    EXPECT_EQ(said([&] { lut = add(3, 9, "again"); }), "Key value 3 already in use...\n");
    EXPECT_EQ(lut, nullptr);
    EXPECT_EQ(keys(), (Keys{5, 3, 8}));
    EXPECT_STREQ(ZELFetchLUTLabelByKey(record.get(), 3), "Three");
}

TEST_F(LutList, ALongLabelIsCutAt200Characters)
{
    const std::string label(230, 'x');
    EXPECT_STREQ(add(1, 1, label.c_str())->DisplayLUTLabel, label.substr(0, 200).c_str());
    ZELLoadLUTEntryByKey(record.get(), 1, 0, 1, 2, 3, label.c_str());
    EXPECT_STREQ(record->ZELHeader.DisplayLUTHead->DisplayLUT[0].LUTEntryLabel,
                 label.substr(0, 200).c_str());
}

TEST_F(LutList, AppendingToAnEmptyListYieldsKeyZero)
{
    EXPECT_EQ(ZELAppendLUT(record.get(), 4, "first")->DisplayLUTKeyValue, 0);
    EXPECT_EQ(ZELAppendLUT(record.get(), 4, "second")->DisplayLUTKeyValue, 1);
}

TEST_F(LutList, AppendingTakesTheKeyAfterTheLastLutOnly)
{
    ZELAddStandardLUTs(record.get());
    EXPECT_EQ(ZELAppendLUT(record.get(), 4, "after 1 and 2")->DisplayLUTKeyValue, 3);
    add(50, 1, "large");
    add(7, 1, "small");
    EXPECT_EQ(ZELAppendLUT(record.get(), 4, "after 7")->DisplayLUTKeyValue, 8);
}

TEST_F(LutList, AppendingMeetsAKeyInUseAsAddingDoes)
{
    add(2, 1, "two");
    add(1, 1, "one");
    ZELDisplayLUTType* lut = nullptr;
    EXPECT_EQ(said([&] { lut = ZELAppendLUT(record.get(), 4, "x"); }),
              "Key value 2 already in use...\n");
    EXPECT_EQ(lut, nullptr);
    EXPECT_EQ(keys(), (Keys{2, 1}));
}

TEST_F(LutList, DeletingUnlinksHeadMiddleAndTail)
{
    for (const auto& [key, left] :
         std::vector<std::pair<int, Keys>>{{5, {3, 8}}, {3, {5, 8}}, {8, {5, 3}}}) {
        ZELFreeLUTs(record.get());
        addThree();
        EXPECT_EQ(said([&, k = key] { ZELDeleteLUTByKey(record.get(), k); }), "");
        EXPECT_EQ(keys(), left);
    }
    for (const auto& [label, left] : std::vector<std::pair<const char*, Keys>>{
             {"five", {3, 8}}, {"THREE", {5, 8}}, {"Eight", {5, 3}}}) {
        ZELFreeLUTs(record.get());
        addThree();
        EXPECT_EQ(said([&, l = label] { ZELDeleteLUTByLabel(record.get(), l); }), "");
        EXPECT_EQ(keys(), left);
    }
}

TEST_F(LutList, DeletingTheOnlyLutLeavesCountZeroAndANullHead)
{
    add(1, 3, "one");
    ZELDeleteLUTByKey(record.get(), 1);
    EXPECT_EQ(record->ZELHeader.NumDisplayLUTs, 0);
    EXPECT_EQ(record->ZELHeader.DisplayLUTHead, nullptr);
    add(2, 3, "two");
    ZELDeleteLUTByLabel(record.get(), "two");
    EXPECT_EQ(record->ZELHeader.NumDisplayLUTs, 0);
    EXPECT_EQ(record->ZELHeader.DisplayLUTHead, nullptr);
}

TEST_F(LutList, DeletingByLabelIgnoresCase)
{
    ZELAddStandardLUTs(record.get());
    EXPECT_EQ(said([&] { ZELDeleteLUTByLabel(record.get(), "full classes"); }), "");
    EXPECT_EQ(keys(), Keys{1});
}

TEST_F(LutList, DeletingRemovesTheFirstOfSeveralMatchesOnly)
{
    add(1, 1, "same");
    add(2, 1, "other");
    add(3, 1, "SAME");
    ZELDeleteLUTByLabel(record.get(), "Same");
    EXPECT_EQ(keys(), (Keys{2, 3}));
}

TEST_F(LutList, DeletingWithoutAMatchOrWithoutLutsOnlyPrints)
{
    EXPECT_EQ(said([&] { ZELDeleteLUTByKey(record.get(), 4); }),
              "ZELDeleteLUTByKey: No LUT's present in file\n");
    EXPECT_EQ(said([&] { ZELDeleteLUTByLabel(record.get(), "x"); }),
              "ZELDeleteLUTByLabel: No LUT's present in file\n");
    addThree();
    EXPECT_EQ(said([&] { ZELDeleteLUTByKey(record.get(), 4); }),
              "ZELDeleteLUTByKey: LUT with key 4 not present in file\n");
    EXPECT_EQ(said([&] { ZELDeleteLUTByLabel(record.get(), "Fiv"); }),
              "ZELDeleteLUTByLabel: LUT with label Fiv not present in file\n");
    EXPECT_EQ(keys(), (Keys{5, 3, 8}));
}

TEST_F(LutList, DeletingFromAReadOnlyFileIsRefused)
{
    addThree();
    record->ReadWriteFlag = 1;
    EXPECT_EQ(said([&] { ZELDeleteLUTByKey(record.get(), 5); }), cannotDelete);
    EXPECT_EQ(said([&] { ZELDeleteLUTByLabel(record.get(), "Five"); }), cannotDelete);
    EXPECT_EQ(keys(), (Keys{5, 3, 8}));
}

TEST_F(LutList, DeletingAfterTheHeaderIsWrittenEndsTheProcess)
{
    addThree();
    record->FileOpened = 1;
    const std::string message =
        "Cannot delete an LUT from a Write Only file after the file is opened...exiting...\n";
    EXPECT_EQ(ending([&] { ZELDeleteLUTByKey(record.get(), 5); }), message);
    EXPECT_EQ(ending([&] { ZELDeleteLUTByLabel(record.get(), "Five"); }), message);
    EXPECT_EQ(keys(), (Keys{5, 3, 8}));
}

void expectEntry(const ZELLUTType& entry, int r, int g, int b, const char* label)
{
    EXPECT_EQ(entry.R, r);
    EXPECT_EQ(entry.G, g);
    EXPECT_EQ(entry.B, b);
    EXPECT_STREQ(entry.LUTEntryLabel, label);
}

TEST_F(LutList, AnEntryIsLoadedDirectlyByKeyAndByLabel)
{
    addThree();
    ZELDisplayLUTType* five = record->ZELHeader.DisplayLUTHead;
    EXPECT_EQ(said([&] {
                  ZELLoadLUTEntry(five, 0, 1, 2, 3, "direct");
                  ZELLoadLUTEntryByKey(record.get(), 5, 1, 253, 254, 255, "by key");
                  ZELLoadLUTEntryByLabel(record.get(), "tHrEe", 0, 7, 8, 9, "by label");
              }),
              "");
    expectEntry(five->DisplayLUT[0], 1, 2, 3, "direct");
    expectEntry(five->DisplayLUT[1], 253, 254, 255, "by key");
    expectEntry(five->NextDisplayLUT->DisplayLUT[0], 7, 8, 9, "by label");
}

// The bound is inclusive: one entry more than there are values passes the check.
TEST_F(LutList, AnIndexEqualToTheCountPassesTheCheck)
{
    addThree();
    EXPECT_EQ(said([&] {
                  ZELLoadLUTEntry(record->ZELHeader.DisplayLUTHead, 2, 1, 2, 3, "spare");
                  ZELLoadLUTEntryByKey(record.get(), 3, 1, 1, 2, 3, "spare");
                  ZELLoadLUTEntryByLabel(record.get(), "Eight", 0, 1, 2, 3, "spare");
              }),
              "");
    EXPECT_EQ(record->ZELHeader.DisplayLUTHead->NumLUTValues, 2);
}

TEST_F(LutList, AnIndexOutsideEndsTheProcess)
{
    addThree();
    for (const auto& [index, text] : std::vector<std::pair<int, std::string>>{
             {-1, "-1\n"}, {3, "3\n"}, {1000000, "1000000\n"}}) {
        const int i = index;
        EXPECT_EQ(
            ending([&] { ZELLoadLUTEntry(record->ZELHeader.DisplayLUTHead, i, 1, 2, 3, "x"); }),
            "ZELLoadLUTEntry: Invalid LUT entry " + text);
        EXPECT_EQ(ending([&] { ZELLoadLUTEntryByKey(record.get(), 5, i, 1, 2, 3, "x"); }),
                  "ZELLoadLUTEntryByKey: Invalid LUT entry " + text);
        EXPECT_EQ(ending([&] { ZELLoadLUTEntryByLabel(record.get(), "Five", i, 1, 2, 3, "x"); }),
                  "ZELLoadLUTEntryByLabel: Invalid LUT entry " + text);
    }
}

TEST_F(LutList, LoadingIntoALutThatIsNotThereChangesNothing)
{
    EXPECT_EQ(said([&] { ZELLoadLUTEntryByKey(record.get(), 1, 0, 1, 2, 3, "x"); }),
              "ZELLoadLUTEntryByKey:No LUT's defined.\n");
    EXPECT_EQ(said([&] { ZELLoadLUTEntryByLabel(record.get(), "a", 0, 1, 2, 3, "x"); }),
              "ZELLoadLUTEntryByLabel:No LUT's defined.\n");
    addThree();
    EXPECT_EQ(said([&] { ZELLoadLUTEntryByKey(record.get(), 1, -7, 1, 2, 3, "x"); }),
              "ZELLoadLUTEntryByKey: Cannot find LUT Key 1\n");
    EXPECT_EQ(said([&] { ZELLoadLUTEntryByLabel(record.get(), "a", 0, 1, 2, 3, "x"); }),
              "ZELLoadLUTEntryByLabel: Cannot find LUT Label a\n");
    expectEntry(record->ZELHeader.DisplayLUTHead->DisplayLUT[0], 0, 0, 0, "None");
}

// The note names the by-key form although only the by-label form prints it.
TEST_F(LutList, LoadingByLabelIntoAReadOnlyFileWarnsAndLoadsAllTheSame)
{
    addThree();
    record->ReadWriteFlag = 1;
    EXPECT_EQ(said([&] { ZELLoadLUTEntryByLabel(record.get(), "Five", 1, 1, 2, 3, "x"); }),
              "ZELLoadLUTEntryByKey: Loading LUT on Read Only file... "
              "LUT valid only until program ends\n");
    expectEntry(record->ZELHeader.DisplayLUTHead->DisplayLUT[1], 1, 2, 3, "x");
    EXPECT_EQ(said([&] { ZELLoadLUTEntryByKey(record.get(), 5, 0, 4, 5, 6, "y"); }), "");
    expectEntry(record->ZELHeader.DisplayLUTHead->DisplayLUT[0], 4, 5, 6, "y");
}

TEST_F(LutList, FetchingFindsByKeyAndByLabelWithoutRegardToCase)
{
    addThree();
    ZELDisplayLUTType* three = record->ZELHeader.DisplayLUTHead->NextDisplayLUT;
    EXPECT_EQ(said([&] {
                  EXPECT_EQ(ZELFetchLUTByKey(record.get(), 3), three);
                  EXPECT_EQ(ZELFetchLUTByLabel(record.get(), "tHREE"), three);
                  EXPECT_EQ(ZELFetchLUTKeyByLabel(record.get(), "EIGHT"), 8);
                  EXPECT_EQ(ZELFetchLUTLabelByKey(record.get(), 3), three->DisplayLUTLabel);
              }),
              "");
}

TEST_F(LutList, FetchingFromAnEmptyListIsReported)
{
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchLUTByKey(record.get(), 3), nullptr); }),
              "ZELFetchLUTByKey:No LUT's defined.\n");
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchLUTByLabel(record.get(), "x"), nullptr); }),
              "ZELFetchLUTByLabel:No LUT's defined.\n");
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchLUTKeyByLabel(record.get(), "x"), -1); }),
              "ZELFetchLUTKeyByLabel:No LUT's defined.\n");
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchLUTLabelByKey(record.get(), 3), nullptr); }),
              "ZELFetchLUTLabelByKey:No LUT's defined.\n");
}

TEST_F(LutList, FetchingWhatIsNotThereIsReported)
{
    addThree();
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchLUTByKey(record.get(), 4), nullptr); }),
              "ZELFetchLUTByKey: Cannot find LUT Key 4\n");
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchLUTByLabel(record.get(), "x"), nullptr); }),
              "ZELFetchLUTByLabel: Cannot find LUT Label x\n");
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchLUTKeyByLabel(record.get(), "x"), -1); }),
              "ZELFetchLUTKeyByLabel: Cannot find LUT Label x\n");
    EXPECT_EQ(said([&] { EXPECT_EQ(ZELFetchLUTLabelByKey(record.get(), 4), nullptr); }),
              "ZELFetchLUTLabelByKey: Cannot find LUT Key 4\n");
}

TEST_F(LutList, WalkingTheList)
{
    EXPECT_EQ(ZELFetchNumLuts(record.get()), 0);
    EXPECT_EQ(ZELFetchFirstLut(record.get()), nullptr);
    addThree();
    EXPECT_EQ(ZELFetchNumLuts(record.get()), 3);
    ZELDisplayLUTType* lut = ZELFetchFirstLut(record.get());
    EXPECT_EQ(lut->DisplayLUTKeyValue, 5);
    lut = ZELFetchNextLut(lut);
    EXPECT_EQ(lut->DisplayLUTKeyValue, 3);
    EXPECT_EQ(ZELFetchNextLut(ZELFetchNextLut(lut)), nullptr);
}

TEST_F(LutList, ACopyIsDeepAndDetached)
{
    addThree();
    ZELDisplayLUTType* five = record->ZELHeader.DisplayLUTHead;
    ZELLoadLUTEntry(five, 1, 4, 5, 6, "entry");
    ZELDisplayLUTType* copy = ZELCopyLUT(five);
    EXPECT_EQ(copy->DisplayLUTKeyValue, 5);
    EXPECT_EQ(copy->NumLUTValues, 2);
    EXPECT_STREQ(copy->DisplayLUTLabel, "Five");
    EXPECT_EQ(copy->NextDisplayLUT, nullptr);
    ASSERT_NE(copy->DisplayLUT, five->DisplayLUT);
    expectEntry(copy->DisplayLUT[0], 0, 0, 0, "None");
    expectEntry(copy->DisplayLUT[1], 4, 5, 6, "entry");
    ZELDeAllocateLUT(copy);
}

TEST_F(LutList, FreeingLeavesCountZeroAndANullHead)
{
    addThree();
    EXPECT_EQ(said([&] { ZELFreeLUTs(record.get()); }), "");
    EXPECT_EQ(record->ZELHeader.NumDisplayLUTs, 0);
    EXPECT_EQ(record->ZELHeader.DisplayLUTHead, nullptr);
    EXPECT_EQ(said([&] { ZELFreeLUTs(record.get()); }), "");
}

TEST_F(LutList, AnEntryKeepsALabelThatIsItsOwn)
{
    ZELDisplayLUTType* lut = add(1, 2, "lut");
    char* label = lut->DisplayLUT[1].LUTEntryLabel;
    ZELLoadLUTEntry(lut, 1, 1, 2, 3, "Water Cloud");
    ZELLoadLUTEntry(lut, 1, 4, 5, 6, label);
    EXPECT_STREQ(label, "Water Cloud");
    ZELLoadLUTEntryByKey(record.get(), 1, 1, 4, 5, 6, label + 6);
    EXPECT_STREQ(label, "Cloud");
    EXPECT_STREQ(label + 6, "") << "and zeros after it";
    ZELLoadLUTEntryByLabel(record.get(), "lut", 1, 4, 5, 6, label + 2);
    EXPECT_STREQ(label, "oud");
}

}  // namespace
