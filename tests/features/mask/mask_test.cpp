// Classifier masks: made, copied, freed, listed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "support/mask_bytes.hpp"
#include "support/mask_text.hpp"

namespace {

using zel_test::elements;
using zel_test::entry;
using zel_test::fullMask;
using zel_test::Outcome;
using zel_test::OwnedMask;
using zel_test::runFeature;
using zel_test::text;
using zel_test::textOf;

OwnedMask readMask(const zel_test::MaskRecord& record)
{
    const zel_test::Stream stream(build(record).bytes);
    return OwnedMask(ZELFeatureReadMask(stream));
}

// Whether the text has that line.
bool hasLine(const std::string& text, const std::string& line)
{
    return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
}

// ---- Records ----

TEST(Mask, FieldsAreInTheirOrder)
{
    const std::size_t classifier[] = {offsetof(ZELClassifierList, Parameters),
                                      offsetof(ZELClassifierList, ClassifierByteCount),
                                      offsetof(ZELClassifierList, ClassifierType),
                                      offsetof(ZELClassifierList, ClassifierLevel),
                                      offsetof(ZELClassifierList, ClassifierIndex),
                                      offsetof(ZELClassifierList, Classifier),
                                      offsetof(ZELClassifierList, next)};
    EXPECT_TRUE(std::is_sorted(std::begin(classifier), std::end(classifier)));
    const std::size_t mask[] = {offsetof(ZELFeatureMaskType, Header),
                                offsetof(ZELFeatureMaskType, ClassifierListHead),
                                offsetof(ZELFeatureMaskType, ClassifierList),
                                offsetof(ZELFeatureMaskType, MaskParameters),
                                offsetof(ZELFeatureMaskType, numClassifiers),
                                offsetof(ZELFeatureMaskType, ZELChannelIndex),
                                offsetof(ZELFeatureMaskType, ZELChannelLabel),
                                offsetof(ZELFeatureMaskType, ZELChannelComment),
                                offsetof(ZELFeatureMaskType, next)};
    EXPECT_TRUE(std::is_sorted(std::begin(mask), std::end(mask)));
    const std::size_t rules[] = {offsetof(ZELMaskParameterType, IO),
                                 offsetof(ZELMaskParameterType, FilterConditions),
                                 offsetof(ZELMaskParameterType, PreClassFilters),
                                 offsetof(ZELMaskParameterType, PostClassFilters),
                                 offsetof(ZELMaskParameterType, Comments),
                                 offsetof(ZELMaskParameterType, Title),
                                 offsetof(ZELMaskParameterType, PostProcessProgramTextHead),
                                 offsetof(ZELMaskParameterType, PostProcessHead),
                                 offsetof(ZELMaskParameterType, PreProcessProgramTextHead),
                                 offsetof(ZELMaskParameterType, PreProcessHead),
                                 offsetof(ZELMaskParameterType, MaskType)};
    EXPECT_TRUE(std::is_sorted(std::begin(rules), std::end(rules)));
    const std::size_t list[] = {
        offsetof(ZELFeatureMaskListType, Conditions), offsetof(ZELFeatureMaskListType, MaskHead),
        offsetof(ZELFeatureMaskListType, Mask), offsetof(ZELFeatureMaskListType, NumMasks)};
    EXPECT_TRUE(std::is_sorted(std::begin(list), std::end(list)));
}

// ---- Life ----

TEST(Mask, ANewMaskIsEmptyAndForItsChannel)
{
    const OwnedMask mask(ZELFeatureAllocateNewMask(17));
    EXPECT_EQ(mask->ZELChannelIndex, 17);
    EXPECT_EQ(mask->numClassifiers, 0);
    EXPECT_EQ(mask->ClassifierListHead, nullptr);
    EXPECT_EQ(mask->ClassifierList, nullptr);
    EXPECT_EQ(mask->next, nullptr);
    EXPECT_EQ(mask->ZELChannelLabel, nullptr);
    EXPECT_EQ(mask->ZELChannelComment, nullptr);
    EXPECT_EQ(mask->Header.IdentifierString, nullptr);
    EXPECT_EQ(mask->MaskParameters.FilterConditions, nullptr);
    EXPECT_EQ(mask->MaskParameters.PreClassFilters.num, 0);
    EXPECT_EQ(mask->MaskParameters.MaskType, 0);
}

TEST(Mask, MaskTypesHaveTheirCodes)
{
    EXPECT_EQ(ZEL_MASK_CASE, 0);
    EXPECT_EQ(ZEL_MASK_HIERARCHICAL, 1);
    EXPECT_EQ(ZEL_MASK_NUM_LEVELS, 100);
}

TEST(Mask, ClassifiersAreAppendedCountedAndNumbered)
{
    const OwnedMask mask(ZELFeatureAllocateNewMask(0));
    ZELClassifierList* const first = ZELFeatureNewClassifierListEntry(mask.get());
    EXPECT_EQ(mask->ClassifierListHead, first);
    EXPECT_EQ(mask->ClassifierList, first);
    EXPECT_EQ(mask->numClassifiers, 1);
    ZELClassifierList* const second = ZELFeatureNewClassifierListEntry(mask.get());
    ZELClassifierList* const third = ZELFeatureNewClassifierListEntry(mask.get());
    EXPECT_EQ(mask->ClassifierListHead, first);
    EXPECT_EQ(first->next, second);
    EXPECT_EQ(second->next, third);
    EXPECT_EQ(third->next, nullptr);
    EXPECT_EQ(mask->ClassifierList, third);
    EXPECT_EQ(mask->numClassifiers, 3);
    EXPECT_EQ(first->ClassifierIndex, 0);
    EXPECT_EQ(third->ClassifierIndex, 2);
    ASSERT_NE(third->Parameters, nullptr);
    EXPECT_NE(third->Parameters, first->Parameters);
    EXPECT_EQ(third->Parameters->Features.num, 0);
    EXPECT_EQ(third->ClassifierByteCount, 0);
    EXPECT_EQ(third->ClassifierType, 0);
    EXPECT_EQ(third->ClassifierLevel, 0);
    EXPECT_EQ(third->Classifier, nullptr);
}

TEST(Mask, InitialisedParametersAreEmptyWhateverTheyHeld)
{
    ZELMaskParameterType parameters;
    std::memset(&parameters, 0xA5, sizeof parameters);
    initializeMaskParameterStruct(&parameters);
    EXPECT_EQ(parameters.FilterConditions, nullptr);
    for (const CommandStruct* list : {&parameters.PreClassFilters, &parameters.PostClassFilters,
                                      &parameters.Comments, &parameters.Title}) {
        EXPECT_EQ(list->num, 0);
        EXPECT_EQ(list->ListHead, nullptr);
        EXPECT_EQ(list->List, nullptr);
    }
    EXPECT_EQ(parameters.PreProcessProgramTextHead, nullptr);
    EXPECT_EQ(parameters.PreProcessHead, nullptr);
    EXPECT_EQ(parameters.PostProcessProgramTextHead, nullptr);
    EXPECT_EQ(parameters.PostProcessHead, nullptr);
    EXPECT_EQ(parameters.IO.outputFilename, nullptr);
    EXPECT_EQ(parameters.IO.inputListHead, nullptr);
    EXPECT_EQ(parameters.IO.numInputFiles, 0);
    EXPECT_EQ(parameters.MaskType, 0);
}

TEST(Mask, FreeingNoneIsAllowed)
{
    EXPECT_FALSE(runFeature([] { ZELFeatureFreeMask(nullptr); }).ended);
}

TEST(Mask, AListKeepsItsMasksInOrder)
{
    ZELFeatureMaskListType list;
    std::memset(&list, 0xA5, sizeof list);
    ZELFeatureInitializeMaskList(&list);
    EXPECT_EQ(list.NumMasks, 0);
    EXPECT_EQ(list.MaskHead, nullptr);
    EXPECT_EQ(list.Mask, nullptr);
    EXPECT_EQ(list.Conditions.num, 0);
    EXPECT_EQ(list.Conditions.ListHead, nullptr);
    ZELFeatureMaskType* masks[3];
    for (int i = 0; i < 3; ++i) {
        masks[i] = ZELFeatureAllocateNewMask(10 + i);
        ZELFeatureAddMaskToList(&list, masks[i]);
        EXPECT_EQ(list.NumMasks, i + 1);
        EXPECT_EQ(list.Mask, masks[i]);
    }
    EXPECT_EQ(list.MaskHead, masks[0]);
    EXPECT_EQ(masks[0]->next, masks[1]);
    EXPECT_EQ(masks[1]->next, masks[2]);
    EXPECT_EQ(masks[2]->next, nullptr);
    allocateNewCommand(&list.Conditions);
    ZELFeatureFreeMaskList(&list);
    EXPECT_EQ(list.NumMasks, 0);
    EXPECT_EQ(list.MaskHead, nullptr);
    EXPECT_EQ(list.Mask, nullptr);
    EXPECT_EQ(list.Conditions.ListHead, nullptr);
}

// ---- Copies ----

TEST(Mask, ACopyOfNoneIsNone)
{
    EXPECT_EQ(ZELFeatureDuplicateMask(nullptr), nullptr);
}

TEST(Mask, ACopyIsEqualFieldForField)
{
    const OwnedMask mask = readMask(fullMask());
    mask->MaskParameters.IO.outputFilename = strdup("saved.mask");
    allocateNewInput(&mask->MaskParameters.IO)->Filename = strdup("first.cls");
    mask->ClassifierList->Parameters->IgnoreRequirementFlag = 1;
    const OwnedMask copy(ZELFeatureDuplicateMask(mask.get()));
    const std::string original = textOf(mask.get());
    EXPECT_EQ(textOf(copy.get()), original);
    EXPECT_STREQ(copy->Header.DateTimeString, mask->Header.DateTimeString);
    for (const char* line :
         {"channel = 2", "label = cloud mask", "type = 1", "classifiers = 2", "output = saved.mask",
          "input = first.cls", "pre-class filters 1.label = night", "conditions = 2",
          "classifier 0.class 3 = water 0 10 255 258", "classifier 0.feature 0 = sum 1.5 -2",
          "classifier 1.level = 42", "classifier 1.data = 0 255 90 69 76 0 ",
          "classifier 1.ignore requirements = 1", "preprocess 3.classes elements = 1:8 1:9 0:1"})
        EXPECT_TRUE(hasLine(original, line)) << line;
}

// What each owns is freed with it; the sanitizers see to the rest.
TEST(Mask, ACopySharesNothingWithTheOriginal)
{
    OwnedMask mask = readMask(fullMask());
    const OwnedMask copy(ZELFeatureDuplicateMask(mask.get()));
    const std::string before = textOf(copy.get());
    mask->ZELChannelLabel[0] = '?';
    mask->ClassifierListHead->Classifier[1] = 99;
    mask->ClassifierListHead->Parameters->ClassInfo.name[3][0] = '?';
    mask->MaskParameters.Title.ListHead->Label[0] = '?';
    mask->MaskParameters.PreProcessProgramTextHead->text[0] = '?';
    EXPECT_NE(textOf(mask.get()), before);
    mask.reset();
    EXPECT_EQ(textOf(copy.get()), before);
}

// Where nothing is defined, a feature of a file may use the names of those before it.
TEST(Mask, ACopyHasTheFeaturesThatUseEarlierOnes)
{
    zel_test::MaskRecord record = fullMask();
    record.classifiers[1].header.features = {{"one", "Ch2", {}}, {"two", "one+1", {}}};
    record.classifiers[1].header.maxima = record.classifiers[1].header.minima = {1, 2};
    const OwnedMask mask = readMask(record);
    ASSERT_NE(mask, nullptr);
    const OwnedMask copy(ZELFeatureDuplicateMask(mask.get()));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(textOf(copy.get()), textOf(mask.get()));
    const CommandStruct& features = copy->ClassifierList->Parameters->Features;
    EXPECT_EQ(zel_test::elements(features.List->Condition), "2:2 1:1 0:12");
}

TEST(Mask, ACopyInAListStandsAlone)
{
    ZELFeatureMaskListType list;
    ZELFeatureInitializeMaskList(&list);
    ZELFeatureAddMaskToList(&list, readMask(fullMask()).release());
    ZELFeatureAddMaskToList(&list, readMask(fullMask()).release());
    const OwnedMask copy(ZELFeatureDuplicateMask(list.MaskHead));
    EXPECT_EQ(copy->next, nullptr);
    ZELFeatureFreeMaskList(&list);
}

// The flow of the copy stays in the copy; a skipped pixel shows where it went.
TEST(Mask, TheProgramsOfACopyRun)
{
    OwnedMask mask = readMask(fullMask());
    const OwnedMask copy(ZELFeatureDuplicateMask(mask.get()));
    mask.reset();
    float channels[3] = {101, 20, 0};
    ZELPixelStruct pixel{};
    pixel.Channels = channels;
    pixel.numChannels = 3;
    ZELBindPixel(&pixel);
    for (const float channel : {100.0f, 101.0f}) {
        channels[0] = channel;
        ZELFeatureClearClassWeights(&pixel, 1.0f);
        pixel.Registers[0] = 0;
        EXPECT_EQ(ZELPreProcessPixel(&copy->MaskParameters, &pixel), 0);
        const float weight = channel > 100.0f ? 0.5f : 1.0f;
        EXPECT_EQ(pixel.class_weights[8], weight) << channel;
        EXPECT_EQ(pixel.class_weights[9], weight) << channel;
        EXPECT_EQ(pixel.class_weights[7], 1.0f);
        EXPECT_EQ(pixel.Registers[0], 20.0f) << channel;
    }
    pixel.Class = 5;
    EXPECT_EQ(ZELPostProcessPixel(&copy->MaskParameters, &pixel), 0);
    EXPECT_EQ(pixel.Class, 6.0f);
    EXPECT_EQ(pixel.Registers[1], 1.0f);
    ZELBindPixel(nullptr);
}

// The warnings of a program are printed when it is compiled.
TEST(Mask, CopyingSaysNothing)
{
    zel_test::MaskRecord record = fullMask();
    record.postProgram = {"weightclasses 3:1", "if (Ch1) then", "class=1", "else",
                          "class=2",           "endif"};
    OwnedMask mask;
    const Outcome read = runFeature([&] { mask = readMask(record); });
    EXPECT_EQ(read.out, "weightclasses found in postprocess... ignored\n");
    EXPECT_NE(read.err.find("a value other than 0 goes on into the else block"), std::string::npos);
    OwnedMask copy;
    const Outcome outcome = runFeature([&] { copy.reset(ZELFeatureDuplicateMask(mask.get())); });
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_EQ(textOf(copy.get()), textOf(mask.get()));
}

TEST(Mask, ParametersAreCopiedByThemselves)
{
    const OwnedMask mask = readMask(fullMask());
    ZELMaskParameterType copy;
    std::memset(&copy, 0xA5, sizeof copy);
    ZELFeatureCopyMaskParameters(&copy, &mask->MaskParameters);
    ASSERT_NE(copy.FilterConditions, nullptr);
    EXPECT_NE(copy.FilterConditions, mask->MaskParameters.FilterConditions);
    EXPECT_EQ(elements(entry(*copy.FilterConditions, 1).Condition),
              "2:1 1:100 0:9 2:2 1:250 0:10 0:4");
    EXPECT_EQ(copy.PreClassFilters.num, 2);
    EXPECT_EQ(elements(entry(copy.PreClassFilters).Action), "1:3 1:4 0:1");
    EXPECT_EQ(text(entry(copy.PreClassFilters).Action), "3,4");
    EXPECT_EQ(elements(entry(copy.PostClassFilters).Action), "4:0 1:5 0:2");
    EXPECT_EQ(text(entry(copy.Title).Label), "the title");
    EXPECT_EQ(copy.Comments.num, 2);
    EXPECT_EQ(copy.MaskType, 1);
    EXPECT_STREQ(copy.PreProcessProgramTextHead->text, "if (bright) then");
    EXPECT_STREQ(copy.PostProcessProgramTextHead->next->text, "register2=1");
    ASSERT_NE(copy.PreProcessHead, nullptr);
    EXPECT_EQ(copy.PreProcessHead->statementType, IF_STATEMENT);
    ASSERT_NE(copy.PostProcessHead, nullptr);
    const OwnedMask owner(ZELFeatureAllocateNewMask(0));
    owner->MaskParameters = copy;  // frees it
}

TEST(Mask, ParametersWithoutDefinitionsAreCopied)
{
    const OwnedMask mask(ZELFeatureAllocateNewMask(0)), owner(ZELFeatureAllocateNewMask(0));
    mask->MaskParameters.MaskType = ZEL_MASK_HIERARCHICAL;
    ZELFeatureCopyMaskParameters(&owner->MaskParameters, &mask->MaskParameters);
    EXPECT_EQ(owner->MaskParameters.FilterConditions, nullptr);
    EXPECT_EQ(owner->MaskParameters.PreProcessHead, nullptr);
    EXPECT_EQ(owner->MaskParameters.MaskType, ZEL_MASK_HIERARCHICAL);
}

}  // namespace
