// Display LUTs from file to file, the two standard LUTs, and the listing.
#include <gtest/gtest.h>

#include "support/outcome.hpp"

namespace {

using zel_test::Outcome;
using zel_test::run;
using Keys = std::vector<int>;

class LutCopy : public testing::Test {
protected:
    void SetUp() override
    {
        for (ZELType* r : {record.get(), source.get()}) {
            r->ReadWriteFlag = 2;
            r->numZELComponents = 1;
        }
    }
    void TearDown() override
    {
        ZELFreeLUTs(record.get());
        ZELFreeLUTs(source.get());
    }

    void fillSource()
    {
        ZELAddLUT(source.get(), 1, 1, "one");
        ZELAddLUT(source.get(), 7, 2, "seven");
        ZELLoadLUTEntryByKey(source.get(), 7, 1, 10, 20, 30, "entry");
    }

    static Keys keys(const ZELType& r)
    {
        Keys all;
        for (auto* lut = r.ZELHeader.DisplayLUTHead; lut != nullptr; lut = lut->NextDisplayLUT)
            all.push_back(lut->DisplayLUTKeyValue);
        EXPECT_EQ(r.ZELHeader.NumDisplayLUTs, static_cast<int>(all.size()));
        return all;
    }

    Outcome copied()
    {
        return run([&] { ZELCopyFileLUTs(record.get(), source.get()); });
    }
    Outcome appended()
    {
        return run([&] { ZELAppendFileLUTs(record.get(), source.get()); });
    }

    std::unique_ptr<ZELType> record = zel_test::zeroRecord();
    std::unique_ptr<ZELType> source = zel_test::zeroRecord();
};

TEST_F(LutCopy, CopyingMakesDeepCopiesInOrder)
{
    fillSource();
    EXPECT_EQ(copied().out, "");
    EXPECT_EQ(keys(*record), (Keys{1, 7}));
    EXPECT_EQ(keys(*source), (Keys{1, 7}));
    ASSERT_NE(record->ZELHeader.DisplayLUTHead, source->ZELHeader.DisplayLUTHead);
    const ZELDisplayLUTType* seven = record->ZELHeader.DisplayLUTHead->NextDisplayLUT;
    EXPECT_STREQ(seven->DisplayLUTLabel, "seven");
    EXPECT_EQ(seven->DisplayLUT[1].G, 20);
    EXPECT_STREQ(seven->DisplayLUT[1].LUTEntryLabel, "entry");
}

TEST_F(LutCopy, CopyingDropsTheOldListWithoutFreeingIt)
{
    fillSource();
    ZELDisplayLUTType* old = ZELAddLUT(record.get(), 3, 1, "old");
    EXPECT_EQ(copied().out, "");
    EXPECT_EQ(keys(*record), (Keys{1, 7}));
    EXPECT_STREQ(old->DisplayLUTLabel, "old");
    ZELDeAllocateLUT(old);
}

TEST_F(LutCopy, AppendingAddsTheCopiesAtTheTailWhateverTheirKeys)
{
    fillSource();
    ZELAddLUT(record.get(), 7, 0, "mine");
    EXPECT_EQ(appended().out, "");
    EXPECT_EQ(keys(*record), (Keys{7, 1, 7}));
    EXPECT_STREQ(ZELFetchLUTByKey(record.get(), 7)->DisplayLUTLabel, "mine") << "the first wins";
    EXPECT_EQ(appended().out, "");
    EXPECT_EQ(keys(*record), (Keys{7, 1, 7, 1, 7}));
}

TEST_F(LutCopy, AppendingToAnEmptyListCopies)
{
    fillSource();
    EXPECT_EQ(appended().out, "");
    EXPECT_EQ(keys(*record), (Keys{1, 7}));
}

TEST_F(LutCopy, ASourceWithoutLutsChangesNothing)
{
    ZELAddLUT(record.get(), 3, 1, "mine");
    EXPECT_EQ(copied().out, "ZELCopyFileLUTs: No LUT's to copy... continuing...\n");
    EXPECT_EQ(appended().out, "ZELAppendFileLUTs: No LUT's to Append... continuing...\n");
    EXPECT_EQ(keys(*record), Keys{3});
}

TEST_F(LutCopy, AReadOnlyFileIsRefused)
{
    fillSource();
    record->ReadWriteFlag = 1;
    Outcome outcome = copied();
    EXPECT_EQ(outcome.out, "ZELCopyFileLUTs: Cannot copy lut to Read Only file... Ignoring...\n");
    EXPECT_FALSE(outcome.ended);
    outcome = appended();
    EXPECT_EQ(outcome.out,
              "ZELAppendFileLUTs: Cannot Append lut to Read Only file... Ignoring...\n");
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(keys(*record), Keys{});
}

TEST_F(LutCopy, ACompositeViewIsWritableAlthoughReadOnly)
{
    fillSource();
    record->ReadWriteFlag = 1;
    record->numZELComponents = 2;
    EXPECT_EQ(appended().out, "");
    EXPECT_EQ(appended().out, "");
    EXPECT_EQ(keys(*record), (Keys{1, 7, 1, 7}));
    ZELFreeLUTs(record.get());
    EXPECT_EQ(copied().out, "");
    EXPECT_EQ(keys(*record), (Keys{1, 7}));
}

TEST_F(LutCopy, AFileWhoseHeaderIsWrittenEndsTheProcess)
{
    fillSource();
    record->FileOpened = 1;
    Outcome outcome = copied();
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out,
              "ZELCopyFileLUTs: Cannot copy LUT to a Write Only file after the file is "
              "opened...exiting...\n");
    outcome = appended();
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out,
              "ZELAppendFileLUTs: Cannot Append LUT to a Write Only file after the file is "
              "opened...exiting...\n");
    EXPECT_EQ(keys(*record), Keys{});
}

// ---- standard class tables, row = class value

struct ClassRow {
    int r, g, b;
    const char* label;
};

const ClassRow collapsed[35] = {
    {0, 0, 0, "skip"},           {0, 0, 255, "Water"},      {255, 255, 255, "Snow/Ice"},
    {255, 75, 211, "Ice Cloud"}, {0, 255, 0, "Land/Clear"}, {255, 106, 0, "Water Cloud"},
    {255, 106, 0, "skip"},       {255, 106, 0, "skip"},     {255, 255, 255, "skip"},
    {255, 255, 255, "skip"},     {255, 106, 0, "skip"},     {137, 83, 105, "skip"},
    {255, 106, 0, "skip"},       {255, 106, 0, "skip"},     {232, 210, 162, "Desert"},
    {255, 106, 0, "skip"},       {255, 106, 0, "skip"},     {0, 255, 255, "Sunglint"},
    {0, 255, 255, "skip"},       {137, 83, 105, "skip"},    {137, 83, 105, "skip"},
    {255, 255, 255, "skip"},     {0, 0, 255, "skip"},       {137, 83, 105, "skip"},
    {70, 70, 70, "skip"},        {255, 106, 0, "skip"},     {255, 106, 0, "skip"},
    {137, 83, 105, "Haze"},      {137, 83, 105, "skip"},    {0, 255, 0, "skip"},
    {70, 70, 70, "Shadow"},      {0, 255, 0, "skip"},       {255, 75, 211, "skip"},
    {0, 255, 0, "skip"},         {255, 0, 0, "skip"}};

const ClassRow full[35] = {{0, 0, 0, "None"},
                           {0, 0, 255, "Water"},
                           {255, 255, 255, "Snow/Ice"},
                           {255, 75, 211, "Ice Cloud"},
                           {0, 255, 0, "Land/Clear"},
                           {255, 106, 0, "Thin Water Cloud"},
                           {255, 106, 0, "Stratus Water Cloud"},
                           {255, 0, 0, "Cumulus Over Water"},
                           {255, 255, 255, "Textured Ice or Broken Sea Ice"},
                           {255, 255, 255, "Snow Covered Mountain"},
                           {255, 106, 0, "None"},
                           {137, 83, 105, "Smoke Over Land"},
                           {255, 106, 0, "Water Cloud Over Land"},
                           {255, 0, 0, "Cumulus Cloud Over Land"},
                           {232, 210, 162, "Desert"},
                           {255, 106, 0, "Water Cloud Over Desert"},
                           {255, 106, 0, "Thin Water Cloud Over Land"},
                           {0, 255, 255, "Sunglint"},
                           {0, 255, 255, "Extreme Sunglint"},
                           {137, 83, 105, "Dust Over Water"},
                           {137, 83, 105, "Dust Over Land"},
                           {255, 255, 255, "Slush"},
                           {0, 0, 255, "Silty Water"},
                           {137, 83, 105, "Smoke Over Water"},
                           {0, 255, 0, "Cloud Shadow over Land"},
                           {255, 106, 0, "Nighttime Cloud"},
                           {255, 106, 0, "None"},
                           {137, 83, 105, "Haze over Land"},
                           {137, 83, 105, "Haze over Water"},
                           {61, 14, 43, "Mountain"},
                           {70, 70, 70, "Shadow"},
                           {0, 70, 0, "Forest"},
                           {255, 75, 211, "Thin Ice Cloud"},
                           {128, 38, 0, "Bare Ground/Tundra"},
                           {255, 0, 0, "skip"}};

const char* const combined[35] = {
    "skip",    "Water",       "Snow/Ice",      "Ice Cloud", "Land/Clear", "Water Cloud", "skip",
    "Cumulus", "Sea/Tex Ice", "Snow Cvrd Mtn", "skip",      "Smoke",      "skip",        "skip",
    "Desert",  "skip",        "skip",          "Sunglint",  "skip",       "skip",        "Dust",
    "Slush",   "skip",        "skip",          "skip",      "skip",       "skip",        "Haze",
    "skip",    "Mountain",    "Shadow",        "Forest",    "skip",       "skip",        "skip"};

TEST(ClassTables, HoldTheStandardColoursAndLabels)
{
    static_assert(ZEL_NUM_CLASS_ROWS == 35);
    for (int row = 0; row < 35; ++row) {
        EXPECT_EQ(collapsed_class_colors[row][0], collapsed[row].r) << row;
        EXPECT_EQ(collapsed_class_colors[row][1], collapsed[row].g) << row;
        EXPECT_EQ(collapsed_class_colors[row][2], collapsed[row].b) << row;
        EXPECT_STREQ(collapsed_class_labels[row], collapsed[row].label) << row;
        EXPECT_EQ(full_class_colors[row][0], full[row].r) << row;
        EXPECT_EQ(full_class_colors[row][1], full[row].g) << row;
        EXPECT_EQ(full_class_colors[row][2], full[row].b) << row;
        EXPECT_STREQ(full_class_labels[row], full[row].label) << row;
        EXPECT_STREQ(full_combined_class_labels[row], combined[row]) << row;
    }
}

void expectStandard(const ZELDisplayLUTType* lut, int key, const char* label, const ClassRow* rows)
{
    ASSERT_NE(lut, nullptr);
    EXPECT_EQ(lut->DisplayLUTKeyValue, key);
    EXPECT_STREQ(lut->DisplayLUTLabel, label);
    ASSERT_EQ(lut->NumLUTValues, 34) << "the last row of the tables is not used";
    for (int i = 0; i < 34; ++i) {
        EXPECT_EQ(lut->DisplayLUT[i].R, rows[i].r) << i;
        EXPECT_EQ(lut->DisplayLUT[i].G, rows[i].g) << i;
        EXPECT_EQ(lut->DisplayLUT[i].B, rows[i].b) << i;
        EXPECT_STREQ(lut->DisplayLUT[i].LUTEntryLabel, rows[i].label) << i;
    }
}

TEST_F(LutCopy, TheStandardLutsAreTheCollapsedAndTheFullClasses)
{
    EXPECT_EQ(run([&] { ZELAddStandardLUTs(record.get()); }).out, "");
    EXPECT_EQ(keys(*record), (Keys{1, 2}));
    expectStandard(ZELFetchFirstLut(record.get()), 1, "Collapsed Classes", collapsed);
    expectStandard(ZELFetchNextLut(ZELFetchFirstLut(record.get())), 2, "Full Classes", full);
}

TEST_F(LutCopy, AddingTheStandardLutsTwiceChangesNothing)
{
    ZELAddStandardLUTs(record.get());
    const Outcome outcome = run([&] { ZELAddStandardLUTs(record.get()); });
    EXPECT_EQ(outcome.out,
              "Key value 1 already in use...\nZELAddStandardLUTs: Lut already allocated\n");
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(keys(*record), (Keys{1, 2}));
}

TEST(StandardLut, BothComeAsDetachedLutsToo)
{
    ZELDisplayLUTType* fullLut = ZELCreateFullStandardLUT();
    ZELDisplayLUTType* collapsedLut = ZELCreateCollapsedStandardLUT();
    expectStandard(fullLut, 2, "Full Classes", full);
    expectStandard(collapsedLut, 1, "Collapsed Classes", collapsed);
    EXPECT_EQ(fullLut->NextDisplayLUT, nullptr);
    EXPECT_EQ(collapsedLut->NextDisplayLUT, nullptr);
    ZELDeAllocateLUT(fullLut);
    ZELDeAllocateLUT(collapsedLut);
}

TEST_F(LutCopy, TheListingShowsEveryLutAndEntry)
{
    fillSource();
    EXPECT_EQ(run([&] { ZELPrintLUTs(source.get()); }).out,
              "2 LUT's defined\n"
              "NumLUTValues 1\nDisplayLUTKeyValue 1\nDisplayLUTLabel one\n"
              "0: R 0 G 0 B 0 None\n"
              "NumLUTValues 2\nDisplayLUTKeyValue 7\nDisplayLUTLabel seven\n"
              "0: R 0 G 0 B 0 None\n"
              "1: R 10 G 20 B 30 entry\n");
    EXPECT_EQ(run([&] { ZELPrintLUTs(record.get()); }).out, "ZELPrintLUTs:No LUT's defined.\n");
}

}  // namespace
