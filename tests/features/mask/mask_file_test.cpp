// Mask files: written, read and saved.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <utility>

#include "support/mask_bytes.hpp"
#include "support/mask_text.hpp"

namespace {

using zel_test::asWritten;
using zel_test::build;
using zel_test::BuiltMask;
using zel_test::Bytes;
using zel_test::elements;
using zel_test::entry;
using zel_test::FeatureBytes;
using zel_test::fullMask;
using zel_test::MaskRecord;
using zel_test::Outcome;
using zel_test::OwnedMask;
using zel_test::ReadMask;
using zel_test::runFeature;
using zel_test::Stream;
using zel_test::text;
using zel_test::written;

char* owned(const char* characters)
{
    return strdup(characters);
}

ZELStackStruct* compiled(const char* expression, int check = 1)
{
    int status = -1;
    ZELStackStruct* stack = parseCondition(expression, &status, check, nullptr);
    EXPECT_EQ(status, 0) << expression;
    return stack;
}

CommandListStruct* append(CommandStruct& list, const char* label, ZELStackStruct* condition,
                          ZELStackStruct* action = nullptr)
{
    CommandListStruct* added = allocateNewCommand(&list);
    if (label) added->Label = owned(label);
    added->Condition = condition;
    added->Action = action;
    return added;
}

// ---- Writing ----

TEST(MaskFile, AMissingMaskIsFourZeroBytes)
{
    EXPECT_EQ(written(nullptr), (Bytes{0, 0, 0, 0}));
}

// Typed number by number, from nothing but the list of items.
TEST(MaskFile, TheItemsAreWrittenInTheirOrder)
{
    const OwnedMask mask(ZELFeatureAllocateNewMask(513));
    mask->ZELChannelLabel = owned("lb");
    ZELMaskParameterType& p = mask->MaskParameters;
    p.FilterConditions = static_cast<CommandStruct*>(std::calloc(1, sizeof(CommandStruct)));
    append(*p.FilterConditions, "d", compiled("Ch1"));
    append(p.PreClassFilters, nullptr, compiled("Ch2"), compiled("3,4", 0));
    append(p.PostClassFilters, "p", compiled("Ch3"), compiled("class=1"));
    p.PreProcessProgramTextHead = static_cast<ProgramLines*>(std::calloc(1, sizeof(ProgramLines)));
    p.PreProcessProgramTextHead->text = owned("Ch1=2");
    p.PreProcessProgramTextHead->lineNumber = 77;
    p.MaskType = 1;
    append(p.Title, "t", nullptr);
    append(p.Comments, "c1", nullptr);
    append(p.Comments, "c2", nullptr);
    ZELClassifierList* c = ZELFeatureNewClassifierListEntry(mask.get());
    ZELFeatureInitializeParameters(c->Parameters);
    zel_test::FeatureHeader header;
    header.date = c->Parameters->Header.DateTimeString;
    header.output = "";
    header.inputs = {};
    append(c->Parameters->Features, nullptr, compiled("Ch1"));
    c->Parameters->FeatureInfo.Max = static_cast<float*>(std::calloc(1, sizeof(float)));
    c->Parameters->FeatureInfo.Min = static_cast<float*>(std::calloc(1, sizeof(float)));
    c->ClassifierType = 6;
    c->ClassifierLevel = 7;
    c->ClassifierByteCount = 3;
    c->Classifier = static_cast<unsigned char*>(std::calloc(3, 1));
    c->Classifier[0] = 9;
    c->Classifier[2] = 8;

    const Bytes bytes = written(mask.get());
    FeatureBytes b;
    b.raw({0, 0, 0, 1});                           // classifiers
    b.raw({0, 0, 0, 9}).raw("ZEL_MASK").raw({0});  // identifier
    b.raw({0, 0, 2, 1});                           // channel 513
    b.raw({0, 0, 0, 4}).raw("1.2").raw({0});       // version
    b.string(mask->Header.DateTimeString);         // date
    b.raw({0, 0, 0, 3}).raw("lb").raw({0});        // label
    b.raw({0, 0, 0, 1}).raw({0});                  // comment: null is empty
    b.number(1).number(1).string("d").number(1).string("Ch1").number(0);
    b.number(1).number(0).number(1).string("Ch2").number(1).string("3,4");
    b.number(1).number(1).string("p").number(1).string("Ch3").number(1).string("class=1");
    b.number(1).string("Ch1=2");                            // pre-processing program
    b.number(0);                                            // post-processing program
    b.number(1);                                            // type
    b.number(1).number(1).string("t").number(0).number(0);  // title
    b.number(2).number(1).string("c1").number(0).number(0).number(1).string("c2").number(0).number(
        0);  // comments
    const Bytes classifier = build(header).bytes;
    b.bytes.insert(b.bytes.end(), classifier.begin(), classifier.end());
    b.number(3).number(6).number(7).raw({9, 0, 8});
    EXPECT_EQ(bytes, b.bytes);
}

// "12:34:56  Monday Jan 02 2006"
TEST(MaskFile, WritingRenewsIdentifierVersionAndDate)
{
    MaskRecord record = fullMask();
    record.version = "1.15";
    const OwnedMask mask(std::move(ReadMask(build(record).bytes).mask));
    EXPECT_STREQ(mask->Header.VersionNumber, "1.15");
    EXPECT_STREQ(mask->Header.DateTimeString, "01:02:03  Monday Jan 01 2024");
    const std::time_t before = std::time(nullptr);
    const Bytes bytes = written(mask.get());
    const std::time_t after = std::time(nullptr);
    EXPECT_STREQ(mask->Header.IdentifierString, "ZEL_MASK");
    EXPECT_STREQ(mask->Header.VersionNumber, "1.2");
    std::tm read{};
    const char* end = strptime(mask->Header.DateTimeString, "%T  %A %b %d %Y", &read);
    ASSERT_NE(end, nullptr) << mask->Header.DateTimeString;
    EXPECT_STREQ(end, "");
    read.tm_isdst = -1;
    const std::time_t then = std::mktime(&read);
    EXPECT_GE(then, before);
    EXPECT_LE(then, after);
    record.version = "1.2";
    EXPECT_EQ(bytes, asWritten(mask.get(), record));
}

TEST(MaskFile, WhatIsReadAndWrittenAgainIsTheSameBytes)
{
    ReadMask mask(build(fullMask()).bytes);
    ASSERT_FALSE(mask.outcome.ended) << mask.outcome.err;
    const Bytes bytes = written(mask.mask.get());
    EXPECT_EQ(bytes, asWritten(mask.mask.get(), fullMask()));
    EXPECT_EQ(written(mask.mask.get()), bytes);
}

TEST(MaskFile, TheHeadersOfClassifiersAreWrittenWithClassCountsOf0)
{
    ReadMask mask(build(fullMask()).bytes);
    ASSERT_FALSE(mask.outcome.ended) << mask.outcome.err;
    const ZELClassifierList* first = mask->ClassifierListHead;
    ASSERT_EQ(first->Parameters->ClassInfo.Count[3], 258);
    const Bytes bytes = written(mask.mask.get());
    EXPECT_EQ(first->Parameters->ClassInfo.Count[3], 258) << "the record keeps its counts";
    for (const char* item : {"classifier 0 class counts", "classifier 1 class counts"}) {
        const auto at = static_cast<long>(build(fullMask()).place(item));
        EXPECT_EQ(Bytes(bytes.begin() + at, bytes.begin() + at + 4000), Bytes(4000, 0)) << item;
    }
    const ReadMask again(bytes);
    ASSERT_FALSE(again.outcome.ended) << again.outcome.err;
    EXPECT_EQ(again.mask->ClassifierListHead->Parameters->ClassInfo.Count[3], 0);
}

TEST(MaskFile, AMaskIsWrittenWhereTheStreamStands)
{
    ReadMask mask(build(fullMask()).bytes);
    const Stream stream(Bytes(1000, 0xEE));
    std::fseek(stream, 100, SEEK_SET);
    ZELFeatureWriteMask(mask.mask.get(), stream);
    const Bytes expected = asWritten(mask.mask.get(), fullMask());
    EXPECT_EQ(std::ftell(stream), static_cast<long>(100 + expected.size()));
    const Bytes bytes = stream.bytes();
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 100), Bytes(100, 0xEE));
    EXPECT_EQ(Bytes(bytes.begin() + 100, bytes.end()), expected);
}

// The numbers of a scene file may be swapped; those of a mask never are.
TEST(MaskFile, TheByteOrderOfSceneFilesDoesNotMatter)
{
    SwapByteOrdering = !SwapByteOrdering;
    ReadMask mask(build(fullMask()).bytes);
    ASSERT_FALSE(mask.outcome.ended) << mask.outcome.err;
    const Bytes bytes = written(mask.mask.get());
    EXPECT_EQ(bytes, asWritten(mask.mask.get(), fullMask()));
    CheckByteOrder();
}

// ---- Reading ----

TEST(MaskFile, AZeroIsNoMaskAndNothingMoreIsRead)
{
    ReadMask mask(Bytes{0, 0, 0, 0, 1, 2, 3, 4});
    EXPECT_FALSE(mask.outcome.ended);
    EXPECT_EQ(mask.mask, nullptr);
    EXPECT_EQ(std::ftell(mask.stream), 4);
}

TEST(MaskFile, EveryItemIsRead)
{
    BuiltMask built = build(fullMask());
    const std::size_t size = built.bytes.size();
    built.bytes.insert(built.bytes.end(), {1, 2, 3});
    ReadMask mask(built.bytes);
    ASSERT_FALSE(mask.outcome.ended) << mask.outcome.err;
    EXPECT_EQ(mask.outcome.out + mask.outcome.err, "");
    EXPECT_EQ(std::ftell(mask.stream), static_cast<long>(size)) << "not a byte too many";
    EXPECT_STREQ(mask->Header.IdentifierString, "ZEL_MASK");
    EXPECT_STREQ(mask->Header.VersionNumber, "1.2");
    EXPECT_STREQ(mask->Header.DateTimeString, "01:02:03  Monday Jan 01 2024");
    EXPECT_EQ(mask->ZELChannelIndex, 2);
    EXPECT_STREQ(mask->ZELChannelLabel, "cloud mask");
    EXPECT_STREQ(mask->ZELChannelComment, "of two classifiers");
    EXPECT_EQ(mask->numClassifiers, 2);
    EXPECT_EQ(mask->next, nullptr);
    const ZELMaskParameterType& p = mask.rules();
    ASSERT_NE(p.FilterConditions, nullptr);
    EXPECT_EQ(p.FilterConditions->num, 2);
    EXPECT_EQ(text(entry(*p.FilterConditions).Label), "bright");
    EXPECT_EQ(text(entry(*p.FilterConditions).Condition), "Ch1 > 100");
    EXPECT_EQ(p.PreClassFilters.num, 2);
    EXPECT_EQ(entry(p.PreClassFilters).Label, nullptr);
    EXPECT_EQ(text(entry(p.PreClassFilters, 1).Label), "night");
    EXPECT_EQ(p.PostClassFilters.num, 2);
    EXPECT_EQ(text(entry(p.PostClassFilters, 1).Action), "skip_pixel");
    EXPECT_EQ(text(entry(p.Title).Label), "the title");
    EXPECT_EQ(text(entry(p.Comments).Label), "a comment");
    EXPECT_EQ(text(entry(p.Comments, 1).Label), "");
    EXPECT_EQ(p.MaskType, 1);
    EXPECT_EQ(p.IO.numInputFiles, 0);
    EXPECT_EQ(p.IO.outputFilename, nullptr);
}

TEST(MaskFile, ClassifiersAreReadInTheirOrder)
{
    ReadMask mask(build(fullMask()).bytes);
    ASSERT_FALSE(mask.outcome.ended) << mask.outcome.err;
    const ZELClassifierList& first = *mask->ClassifierListHead;
    ASSERT_NE(first.next, nullptr);
    const ZELClassifierList& second = *first.next;
    EXPECT_EQ(mask->ClassifierList, &second);
    EXPECT_EQ(first.ClassifierType, 3);
    EXPECT_EQ(first.ClassifierLevel, 0);
    EXPECT_EQ(first.ClassifierIndex, 0);
    ASSERT_EQ(first.ClassifierByteCount, 700);
    for (int i = 0; i < 700; ++i) ASSERT_EQ(first.Classifier[i], i * 7 % 256) << i;
    EXPECT_EQ(first.Parameters->RandomSeed, 7);
    EXPECT_EQ(first.Parameters->ClassInfo.Count[3], 258);
    EXPECT_STREQ(first.Parameters->ClassInfo.name[3], "water");
    EXPECT_EQ(first.Parameters->Features.num, 3);
    EXPECT_STREQ(first.Parameters->FeatureInfo.Label[0], "sum");
    EXPECT_EQ(first.Parameters->FeatureInfo.Max[0], 1.5f);
    EXPECT_EQ(second.ClassifierType, 1);
    EXPECT_EQ(second.ClassifierLevel, 42);
    EXPECT_EQ(second.ClassifierIndex, 1);
    ASSERT_EQ(second.ClassifierByteCount, 6);
    EXPECT_EQ(Bytes(second.Classifier, second.Classifier + 6), (Bytes{0, 255, 'Z', 'E', 'L', 0}));
    EXPECT_STREQ(second.Parameters->IO.outputFilename, "second.feat");
    EXPECT_EQ(second.next, nullptr);
}

TEST(MaskFile, FiltersAndProgramsMayUseTheDefinitions)
{
    ReadMask mask(build(fullMask()).bytes);
    ASSERT_FALSE(mask.outcome.ended) << mask.outcome.err;
    const ZELMaskParameterType& p = mask.rules();
    EXPECT_EQ(elements(entry(*p.FilterConditions, 1).Condition),
              "2:1 1:100 0:9 2:2 1:250 0:10 0:4");
    EXPECT_EQ(elements(entry(p.PreClassFilters).Condition), "2:1 1:100 0:9");
    EXPECT_EQ(elements(entry(p.PostClassFilters).Condition), "2:1 1:100 0:9 2:2 1:250 0:10 0:4");
    ASSERT_NE(p.PreProcessHead, nullptr);
    EXPECT_EQ(elements(p.PreProcessHead->Statement), "2:1 1:100 0:9");
}

// A list of classes has a comma too many for an expression with one value.
TEST(MaskFile, OnlyPreClassFiltersAreReadAsClassLists)
{
    ReadMask lists(build(fullMask()).bytes);
    EXPECT_EQ(elements(entry(lists.rules().PreClassFilters).Action), "1:3 1:4 0:1");
    MaskRecord record = fullMask();
    record.postFilters = {{{}, "Ch1", "3,4"}};
    ReadMask action(build(record).bytes);
    EXPECT_TRUE(action.outcome.ended);
    EXPECT_EQ(action.outcome.status, -1);
    EXPECT_EQ(action.outcome.err, "expression: 3,4\nparse error: syntax error\n");
    record.postFilters = {};
    record.conditions = {{"list", "3,4", {}}};
    ReadMask definition(build(record).bytes);
    EXPECT_EQ(definition.outcome.err, "expression: 3,4\nparse error: syntax error\n");
}

TEST(MaskFile, ProgramsAreCompiledAndTheirLinesCountedFromOne)
{
    ReadMask mask(build(fullMask()).bytes);
    const ZELMaskParameterType& p = mask.rules();
    int number = 0;
    for (const ProgramLines* line = p.PreProcessProgramTextHead; line; line = line->next) {
        EXPECT_EQ(line->text, fullMask().preProgram[static_cast<std::size_t>(number)]);
        EXPECT_EQ(line->lineNumber, ++number);
    }
    EXPECT_EQ(number, 4);
    const ProgramStruct* statement = p.PreProcessHead;
    ASSERT_NE(statement, nullptr);
    EXPECT_EQ(statement->statementType, IF_STATEMENT);
    EXPECT_EQ(statement->next->statementType, THEN_STATEMENT);
    EXPECT_EQ(statement->next->next->statementType, WEIGHT_STATEMENT);
    EXPECT_EQ(statement->nextFalse->statementType, ENDIF_STATEMENT) << "the program is linked";
    EXPECT_STREQ(p.PostProcessProgramTextHead->text, "if (class==5) class=6");
    ASSERT_NE(p.PostProcessHead, nullptr);
    EXPECT_EQ(p.PostProcessHead->statementType, IF_STATEMENT);
}

TEST(MaskFile, WeightsAreDroppedFromThePostProcessingProgramOnly)
{
    MaskRecord record = fullMask();
    record.preProgram = record.postProgram = {"weightclasses 3:1"};
    ReadMask mask(build(record).bytes);
    EXPECT_FALSE(mask.outcome.ended);
    EXPECT_EQ(mask.outcome.out, "weightclasses found in postprocess... ignored\n");
    EXPECT_NE(mask.rules().PreProcessHead, nullptr);
    EXPECT_EQ(mask.rules().PostProcessHead, nullptr);
    EXPECT_STREQ(mask.rules().PostProcessProgramTextHead->text, "weightclasses 3:1");
}

TEST(MaskFile, OfAProgramThatDoesNotCompileTheTextRemains)
{
    MaskRecord record = fullMask();
    record.preProgram = {"Ch1=1", "if Ch1 then"};
    ReadMask mask(build(record).bytes);
    EXPECT_FALSE(mask.outcome.ended);
    EXPECT_EQ(mask.outcome.err,
              "line 2: if Ch1 then\nparse error: Missing start Parenthesis in if condition\n");
    EXPECT_EQ(mask.rules().PreProcessHead, nullptr);
    EXPECT_STREQ(mask.rules().PreProcessProgramTextHead->next->text, "if Ch1 then");
    EXPECT_NE(mask.rules().PostProcessHead, nullptr);
    EXPECT_EQ(mask->numClassifiers, 2);
}

TEST(MaskFile, AnEmptyMaskHasEmptyLists)
{
    ReadMask mask(build(MaskRecord{}).bytes);
    ASSERT_FALSE(mask.outcome.ended) << mask.outcome.err;
    EXPECT_EQ(mask->numClassifiers, 1);
    ASSERT_NE(mask.rules().FilterConditions, nullptr);
    EXPECT_EQ(mask.rules().FilterConditions->num, 0);
    EXPECT_EQ(mask.rules().PreProcessProgramTextHead, nullptr);
    EXPECT_EQ(mask.rules().PreProcessHead, nullptr);
    EXPECT_EQ(mask->ClassifierListHead->ClassifierByteCount, 0);
    EXPECT_EQ(mask->ClassifierListHead->Classifier, nullptr);
    const Bytes bytes = written(mask.mask.get());
    EXPECT_EQ(bytes, asWritten(mask.mask.get(), MaskRecord{}));
}

TEST(MaskFile, LaterFiltersMayUseEarlierOnesWhereNothingIsDefined)
{
    MaskRecord record = fullMask();
    record.conditions = {};
    record.preFilters = {{"low", "sz > 80", "3"}, {{}, "low", "4"}};
    record.postFilters = {{"wet", "Ch1 < 5", "class=2"}, {{}, "wet && Ch2 > 1", "class=1"}};
    record.preProgram = record.postProgram = {};
    ReadMask mask(build(record).bytes);
    ASSERT_FALSE(mask.outcome.ended) << mask.outcome.err;
    float channels[] = {1, 2};
    ZELPixelStruct pixel{};
    pixel.Channels = channels;
    pixel.numChannels = 2;
    pixel.sz = 85;
    ZELFeatureClearClassWeights(&pixel, 1);
    ZELFeaturePreClassificationFilter(&mask.rules(), &pixel);
    EXPECT_EQ(pixel.class_weights[4], 0.0f);
    EXPECT_EQ(pixel.class_weights[5], 1.0f);
    ZELFeaturePostClassificationFilter(&mask.rules(), &pixel);
    EXPECT_EQ(pixel.Class, 1.0f);
}

// ---- Saving ----

TEST(MaskFile, AMaskCanBeAppended)
{
    const zel_test::TempDir dir;
    ReadMask mask(build(fullMask()).bytes);
    zel_test::writeFile(dir.path("two"), std::string("before"));
    FILE* const stream = std::fopen(dir.path("two").c_str(), "ab");
    ASSERT_NE(stream, nullptr);
    const Outcome outcome = runFeature([&] { ZELFeatureWriteMask(mask.mask.get(), stream); });
    std::fclose(stream);
    EXPECT_FALSE(outcome.ended) << outcome.err;
    Bytes expected = {'b', 'e', 'f', 'o', 'r', 'e'};
    const Bytes bytes = asWritten(mask.mask.get(), fullMask());
    expected.insert(expected.end(), bytes.begin(), bytes.end());
    EXPECT_EQ(zel_test::readFile(dir.path("two")), expected);
}

TEST(MaskFile, AClassifierWithoutFeaturesCannotBeWritten)
{
    MaskRecord record = fullMask();
    record.classifiers[1].header.features = {};
    ReadMask mask(build(record).bytes);
    ASSERT_FALSE(mask.outcome.ended) << mask.outcome.err;
    const Stream stream;
    errno = ENOENT;  // of something long before
    const Outcome outcome = runFeature([&] { ZELFeatureWriteMask(mask.mask.get(), stream); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "FileWrite error:");
}

TEST(MaskFile, FeaturesWithoutRangesEndTheProcess)
{
    ReadMask mask(build(fullMask()).bytes);
    ZELParameterStruct& p = *mask->ClassifierListHead->Parameters;
    float* const maxima = std::exchange(p.FeatureInfo.Max, nullptr);
    const Stream stream;
    errno = 0;
    const Outcome outcome = runFeature([&] { ZELFeatureWriteMask(mask.mask.get(), stream); });
    p.FeatureInfo.Max = maxima;
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "ZELFeatureWriteHeader: " + std::to_string(p.Features.num) +
                               " features without ranges\n");
}

TEST(MaskFile, SavingWritesAFileOfItsOwn)
{
    const zel_test::TempDir dir;
    ReadMask mask(build(fullMask()).bytes);
    zel_test::writeFile(dir.path("saved"), std::string(100000, 'x'));
    const Outcome outcome =
        runFeature([&] { ZELFeatureSaveMask(mask.mask.get(), dir.path("saved").c_str()); });
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(zel_test::readFile(dir.path("saved")), asWritten(mask.mask.get(), fullMask()));
}

TEST(MaskFile, AMaskThatCannotBeWrittenCostsNoFile)
{
    const zel_test::TempDir dir;
    zel_test::writeFile(dir.path("saved"), std::string("old"));
    MaskRecord record = fullMask();
    record.classifiers[1].header.features = {};
    ReadMask without_features(build(record).bytes);
    ReadMask without_ranges(build(fullMask()).bytes);
    ZELParameterStruct& p = *without_ranges->ClassifierListHead->Parameters;
    float* const minima = std::exchange(p.FeatureInfo.Min, nullptr);
    for (ReadMask* mask : {&without_features, &without_ranges}) {
        const Outcome outcome =
            runFeature([&] { ZELFeatureSaveMask(mask->mask.get(), dir.path("saved").c_str()); });
        EXPECT_TRUE(outcome.ended);
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.err,
                  "ZELFeatureSaveMask: a classifier has no features, or no ranges of them\n");
        EXPECT_EQ(zel_test::readText(dir.path("saved")), "old");
    }
    p.FeatureInfo.Min = minima;
}

TEST(MaskFile, SavingToAPlaceThatIsNoneEndsTheProcess)
{
    ReadMask mask(build(fullMask()).bytes);
    const Outcome outcome =
        runFeature([&] { ZELFeatureSaveMask(mask.mask.get(), "/nowhere/saved"); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "ZELFeatureSaveMask: cannot open output file /nowhere/saved\n"
                           "system error code:: No such file or directory\n");
}

// The end of the mask is in the stream's buffer until it is closed.
TEST(MaskFile, SavingToAFullDeviceEndsTheProcess)
{
    if (FILE* full = std::fopen("/dev/full", "w"))
        std::fclose(full);
    else
        GTEST_SKIP() << "no /dev/full";
    ReadMask mask(build(fullMask()).bytes);
    const int before = zel_test::openDescriptors();
    const Outcome outcome = runFeature([] { ZELFeatureSaveMask(nullptr, "/dev/full"); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "ZELFeatureSaveMask: write error on file /dev/full\n"
                           "system error code:: No space left on device\n");
    const Outcome large = runFeature([&] { ZELFeatureSaveMask(mask.mask.get(), "/dev/full"); });
    EXPECT_TRUE(large.ended);
    EXPECT_EQ(large.status, -1);
    EXPECT_EQ(large.err, "FileWrite error:system error code:: No space left on device\n");
    EXPECT_EQ(zel_test::openDescriptors(), before);
}

}  // namespace
