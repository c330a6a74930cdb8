// Copies of parameters, file objects and samples.
#include <gtest/gtest.h>

#include <ctime>

#include "support/feature_file.hpp"

namespace {

using zel_test::build;
using zel_test::Bytes;
using zel_test::elements;
using zel_test::entry;
using zel_test::FeatureBytes;
using zel_test::FeatureFile;
using zel_test::FeatureHeader;
using zel_test::fullHeader;
using zel_test::Outcome;
using zel_test::runFeature;
using zel_test::runWithInput;
using zel_test::sampleFile;
using zel_test::TempDir;
using zel_test::text;

class Copying : public testing::Test {
protected:
    Copying() { ZELFeatureSetOverwritePromptOff(); }
    ~Copying() override { ZELFeatureSetOverwritePromptOn(); }
    void open(const Bytes& bytes)
    {
        zel_test::writeFile(dir.path("source"), bytes);
        const Outcome outcome = source.open(dir.path("source"));
        ASSERT_FALSE(outcome.ended) << outcome.err;
    }
    Outcome copyParameters()
    {
        return runFeature([this] { ZELFeatureCopyFileParameters(copy.get(), source.get()); });
    }

    TempDir dir;
    FeatureFile source, copy;
};

// ---- Parameters ----

TEST_F(Copying, ParametersAreCopiedWithoutCountsAndRanges)
{
    FeatureHeader h = fullHeader();
    h.version = "1.11";
    open(build(h).bytes);
    ZELParameterStruct to;
    std::memset(&to, 0xA5, sizeof to);
    source->Parameters.IgnoreRequirementFlag = 1;
    const Outcome outcome = runFeature([&] { ZELFeatureCopyParameter(&to, &source->Parameters); });
    ASSERT_FALSE(outcome.ended) << outcome.err;
    EXPECT_EQ(outcome.err + outcome.out, "");
    EXPECT_STREQ(to.Header.IdentifierString, "ZEL_FEATURE_HEADER");
    EXPECT_STREQ(to.Header.VersionNumber, "1.2");
    EXPECT_EQ(to.RandomSeed, 7);
    EXPECT_EQ(to.SubSamplingMethod, -4);
    EXPECT_EQ(to.ClassType, 2);
    EXPECT_EQ(to.DataType, 5);
    EXPECT_EQ(to.IgnoreRequirementFlag, 0);
    EXPECT_STREQ(to.IO.outputFilename, "out.feat");
    EXPECT_EQ(to.IO.numInputFiles, 2);
    EXPECT_STREQ(to.IO.inputListHead->Filename, "a.zel");
    EXPECT_STREQ(to.IO.inputList->Filename, "b.zel");
    EXPECT_STREQ(to.ClassInfo.name[3], "water");
    EXPECT_NE(to.ClassInfo.name[3], source->Parameters.ClassInfo.name[3]);
    EXPECT_EQ(to.ClassInfo.Green[3], 10);
    EXPECT_EQ(to.ClassInfo.Blue[3], 255);
    EXPECT_EQ(to.ClassInfo.Count[3], 0);
    EXPECT_STREQ(to.FeatureInfo.Label[0], "sum");
    EXPECT_STREQ(to.FeatureInfo.Label[1], "Ch3");
    EXPECT_EQ(to.FeatureInfo.Max[0], 0.0f);
    EXPECT_EQ(to.FeatureInfo.Min[0], 0.0f);
    ZELFeatureFreeParameters(&to);
}

TEST_F(Copying, TheListsAreCompiledAnew)
{
    open(build(fullHeader()).bytes);
    ASSERT_FALSE(copyParameters().ended);
    const ZELParameterStruct& to = copy->Parameters;
    EXPECT_EQ(to.Conditions.num, 2);
    EXPECT_EQ(text(entry(to.Conditions, 0).Label), "bright");
    EXPECT_EQ(elements(entry(to.Conditions, 1).Condition), "2:1 1:50 0:9 2:2 0:4");
    EXPECT_NE(to.Conditions.ListHead->Condition, source->Parameters.Conditions.ListHead->Condition);
    EXPECT_EQ(to.Features.num, 3);
    EXPECT_EQ(elements(entry(to.Features, 2).Condition), "2:1 1:50 0:9 2:2 0:4");
    EXPECT_EQ(elements(entry(to.Requirements).Condition), "2:1 1:50 0:9");
    EXPECT_EQ(elements(entry(to.Filters).Action), "4:0 1:3 0:2");
    EXPECT_EQ(entry(to.Filters, 1).Label, nullptr);
    EXPECT_EQ(text(entry(to.Comments, 1).Label), "another");
    EXPECT_EQ(entry(to.Comments).Condition, nullptr);
    EXPECT_EQ(text(entry(to.Title).Label), "the title");
    EXPECT_EQ(text(entry(to.Options).Condition), "Ch2 < 9");
}

TEST_F(Copying, TheCopyIsDatedNow)
{
    open(sampleFile(1, 0));
    const std::time_t before = std::time(nullptr);
    copyParameters();
    const std::time_t after = std::time(nullptr);
    std::tm read{};
    ASSERT_NE(strptime(copy->Parameters.Header.DateTimeString, "%T  %A %b %d %Y", &read), nullptr)
        << copy->Parameters.Header.DateTimeString;
    read.tm_isdst = -1;
    EXPECT_GE(std::mktime(&read), before);
    EXPECT_LE(std::mktime(&read), after);
}

TEST_F(Copying, AFileObjectIsPreparedForWriting)
{
    open(sampleFile(1, 4));
    ZELFeatureReadSampleFromFile(source.get());
    std::memset(copy.get(), 0xA5, sizeof(ZELFeatureFileStruct));
    ASSERT_FALSE(copyParameters().ended);
    EXPECT_EQ(copy->AccessFlag, 2);
    EXPECT_EQ(copy->SampleLength, 0);
    EXPECT_EQ(copy->CurrentSample, 0);
    EXPECT_EQ(copy->PreviousSample, 0);
    EXPECT_EQ(copy->NumberOfSamples, 0);
    EXPECT_EQ(copy->fptr, nullptr);
}

// Made by hand: no reader lets such an expression through.
void breakExpression(ZELStackStruct* stack)
{
    std::free(stack->expression);
    stack->expression = strdup("(Ch1");
}

TEST_F(Copying, AConditionThatDoesNotCompileIsAnErrorAndAnActionAReport)
{
    open(build(fullHeader()).bytes);
    const char* const message = "expression: (Ch1\nparse error: missing right parenthesis\n";
    breakExpression(source->Parameters.Filters.ListHead->Action);
    const Outcome action = copyParameters();
    EXPECT_TRUE(action.ended);
    EXPECT_EQ(action.status, -1);
    EXPECT_EQ(action.out, message);
    EXPECT_EQ(action.err, "");
    ZELFeatureFreeParameters(&copy->Parameters);
    breakExpression(source->Parameters.Requirements.ListHead->Condition);
    const Outcome condition = copyParameters();
    EXPECT_TRUE(condition.ended);
    EXPECT_EQ(condition.status, -1);
    EXPECT_EQ(condition.err, message);
    EXPECT_EQ(condition.out, "");
}

// Unlike in a file, a feature cannot use the one before it.
TEST_F(Copying, WithoutDefinitionsThereAreNoNames)
{
    FeatureHeader h;
    h.features = {{"double", "Ch1*2", {}}, {"more", "double+1", {}}};
    h.maxima = h.minima = {0, 0};
    open(build(h).bytes);
    const Outcome outcome = copyParameters();
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.err, "expression: double+1\n"
                           "parse error: illegal character in constant or unknown variable\n");
}

// Copying takes what the check of a file would refuse.
TEST_F(Copying, CopiesAreCompiledWithoutTheCheck)
{
    open(build(fullHeader()).bytes);
    ZELStackStruct* stack = source->Parameters.Requirements.ListHead->Condition;
    std::free(stack->expression);
    stack->expression = strdup("1,2");
    EXPECT_FALSE(copyParameters().ended);
    EXPECT_EQ(elements(entry(copy->Parameters.Requirements).Condition), "1:1 1:2 0:1");
}

// ---- Files ----

TEST_F(Copying, ACopiedFileIsWrittenWithItsOwnHeader)
{
    FeatureHeader h = fullHeader();
    open(build(h).bytes);
    const std::string output = dir.path("copy");
    const Outcome outcome =
        runFeature([&] { ZELFeatureCreateCopiedFile(copy.get(), source.get(), output.c_str()); });
    ASSERT_FALSE(outcome.ended) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    h.date = text(copy->Parameters.Header.DateTimeString);
    h.output = output;
    h.counts.clear();
    h.maxima = h.minima = {0, 0, 0};
    const Bytes expected = build(h).bytes;
    std::fflush(copy->fptr);
    EXPECT_TRUE(zel_test::readFile(output) == expected);
    EXPECT_EQ(copy->HeaderOffset, static_cast<int>(expected.size()));
    EXPECT_EQ(copy->AccessFlag, 2);
    EXPECT_EQ(copy->CurrentSample, 0);
}

TEST_F(Copying, WithoutANameTheCopiedOneStays)
{
    const std::string output = dir.path("copied name");
    FeatureHeader h;
    h.output = output;
    open(build(h).bytes);
    copyParameters();
    EXPECT_FALSE(runFeature([&] { ZELFeatureOpenCopiedFile(copy.get(), nullptr); }).ended);
    std::fflush(copy->fptr);
    EXPECT_GT(zel_test::readFile(output).size(), 100u);
}

TEST_F(Copying, TheOutputOfACopyIsReplacedAfterAYesOnly)
{
    ZELFeatureSetOverwritePromptOn();
    open(sampleFile(1, 0));
    copyParameters();
    const std::string output = dir.path("copy");
    zel_test::writeFile(output, std::string("old"));
    const Outcome outcome =
        runWithInput("n\n", [&] { ZELFeatureOpenCopiedFile(copy.get(), output.c_str()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "output file " + output + " exists!  overwrite?\n(y/n) ");
    EXPECT_EQ(zel_test::readText(output), "old");
    const Outcome yes =
        runWithInput("y\n", [&] { ZELFeatureOpenCopiedFile(copy.get(), output.c_str()); });
    EXPECT_FALSE(yes.ended);
}

TEST_F(Copying, AnOutputThatCannotBeCreatedEndsTheProcess)
{
    open(sampleFile(1, 0));
    copyParameters();
    const Outcome outcome =
        runFeature([&] { ZELFeatureOpenCopiedFile(copy.get(), "/nowhere/copy"); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "cannot create output file /nowhere/copy\n"
                           "system error code:: No such file or directory\n");
}

// ---- Samples ----

TEST_F(Copying, EverySampleOfAFileCanBeCopied)
{
    const Bytes bytes = sampleFile(3, 4);
    open(bytes);
    ZELFeatureCreateCopiedFile(copy.get(), source.get(), dir.path("copy").c_str());
    while (ZELFeatureReadSampleFromFile(source.get())) {
        ZELFeatureCopySample(copy.get(), source.get());
        ZELFeatureWriteSampleToFile(copy.get());
    }
    const auto begin = static_cast<long>(copy->HeaderOffset);
    ZELFeatureCloseFile(copy.get());
    const Bytes copied = zel_test::readFile(dir.path("copy"));
    const auto samples = static_cast<long>(source->HeaderOffset);
    EXPECT_TRUE(Bytes(copied.begin() + begin, copied.end()) ==
                Bytes(bytes.begin() + samples, bytes.end()));
}

TEST_F(Copying, ASampleIsItsRecordAndNothingElseOfThePixel)
{
    open(sampleFile(2, 1));
    ZELFeatureCreateCopiedFile(copy.get(), source.get(), dir.path("copy").c_str());
    float channels[] = {1};
    source->Pixel.Channels = channels;
    source->Pixel.terrain = 9;
    source->Pixel.Registers[0] = 9;
    ZELFeatureReadSampleFromFile(source.get());
    ZELFeatureCopySample(copy.get(), source.get());
    EXPECT_EQ(copy->Pixel.lat, 0.25f);
    EXPECT_EQ(copy->Pixel.Priority, 0xF0000000u);
    EXPECT_EQ(copy->Features[1], 1.0f);
    EXPECT_EQ(copy->Pixel.Channels, nullptr);
    EXPECT_EQ(copy->Pixel.terrain, 0.0f);
    EXPECT_EQ(copy->Pixel.Registers[0], 0.0f);
}

}  // namespace
