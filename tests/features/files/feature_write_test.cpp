// Sample files: created, written, copied.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <ctime>
#include <filesystem>

#include "support/feature_file.hpp"
#include "support/file_size_limit.hpp"
#include "support/fresh_process.hpp"
#include "support/rest_of_input.hpp"

namespace {

using zel_test::appendSample;
using zel_test::build;
using zel_test::Bytes;
using zel_test::elements;
using zel_test::entry;
using zel_test::FeatureBytes;
using zel_test::FeatureFile;
using zel_test::FeatureHeader;
using zel_test::fullHeader;
using zel_test::ListEntry;
using zel_test::Outcome;
using zel_test::runFeature;
using zel_test::runWithInput;
using zel_test::sampleFile;
using zel_test::TempDir;
using zel_test::text;

class Writing : public testing::Test {
protected:
    Writing()
    {
        ZELFeatureSetOverwritePromptOff();
        zel_test::writeFile(dir.path("f.par"), parameters(dir.path("own.feat")));
    }
    ~Writing() override
    {
        ZELFeatureSetOverwritePromptOn();
        ZELBindPixel(nullptr);
    }
    std::string parameters(const std::string& output) const
    {
        return "inputfilename " + dir.path() + "\noutputfilename " + output +
               "\nfeature Ch1+Ch2:\"sum\"\nfeature Ch3\nclass 2:\"land\":1 2 3\nrandomseed 5\n";
    }
    // The header that these parameters give, dated as the file is.
    FeatureHeader header(const std::string& output)
    {
        FeatureHeader h;
        h.date = text(file->Parameters.Header.DateTimeString);
        h.output = output;
        h.inputs = {dir.path()};
        h.features = {{"sum", "Ch1+Ch2", {}}, {{}, "Ch3", {}}};
        h.classes = {{2, {"land", 1, 2, 3}}};
        h.maxima = h.minima = {0, 0};
        h.randomSeed = 5;
        return h;
    }
    Bytes written(const char* name = "own.feat")
    {
        if (file->fptr) std::fflush(file->fptr);
        return zel_test::readFile(dir.path(name));
    }
    void create()
    {
        const Outcome outcome = file.create(dir.path("f.par"));
        ASSERT_FALSE(outcome.ended) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "");
    }
    // Writes sample n with these feature values.
    void write(float Class, float first, float second)
    {
        file->Pixel.Class = Class;
        file->Features[0] = first;
        file->Features[1] = second;
        ZELFeatureWriteSampleToFile(file.get());
    }

    TempDir dir;
    FeatureFile file;
};

// ---- Creating ----

TEST_F(Writing, ACreatedFileHasItsHeaderAndNoSamples)
{
    create();
    EXPECT_EQ(file->AccessFlag, 2);
    EXPECT_EQ(file->SampleLength, 0);
    EXPECT_EQ(file->CurrentSample, 0);
    EXPECT_EQ(file->PreviousSample, 0);
    EXPECT_EQ(file->NumberOfSamples, 0);
    const Bytes expected = build(header(dir.path("own.feat"))).bytes;
    EXPECT_EQ(file->HeaderOffset, static_cast<int>(expected.size()));
    EXPECT_TRUE(written() == expected);
    EXPECT_STREQ(file->Parameters.FeatureInfo.Label[0], "sum");
    EXPECT_STREQ(file->Parameters.FeatureInfo.Label[1], "Ch3");
}

TEST_F(Writing, AGivenNameReplacesThatOfTheParameterFile)
{
    const Outcome outcome = file.create(dir.path("f.par"), dir.path("given.feat").c_str());
    EXPECT_FALSE(outcome.ended) << outcome.err;
    EXPECT_EQ(outcome.out, "Warning:  Parameter file specified outputfilename is being\n"
                           "overridden by command line specified outputfilename\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_TRUE(written("given.feat") == build(header(dir.path("given.feat"))).bytes);
    struct stat status;
    EXPECT_NE(stat(dir.path("own.feat").c_str(), &status), 0);
}

TEST_F(Writing, WithAGivenNameTheParameterFileNeedsNone)
{
    zel_test::writeFile(dir.path("f.par"), "inputfilename " + dir.path() + "\nfeature Ch1\n");
    EXPECT_TRUE(FeatureFile().create(dir.path("f.par")).ended);
    EXPECT_FALSE(file.create(dir.path("f.par"), dir.path("given.feat").c_str()).ended);
    EXPECT_STREQ(file->Parameters.IO.outputFilename, dir.path("given.feat").c_str());
    // For this file only.
    EXPECT_TRUE(FeatureFile().create(dir.path("f.par")).ended);
}

TEST_F(Writing, ANameSetByTheProgramIsAGivenName)
{
    ZELFeatureSetOutputFilename(dir.path("set.feat").c_str());
    const Outcome outcome = file.create(dir.path("f.par"));
    ZELFeatureSetOutputFilename(nullptr);
    EXPECT_FALSE(outcome.ended);
    EXPECT_NE(outcome.out, "");
    EXPECT_STREQ(file->Parameters.IO.outputFilename, dir.path("set.feat").c_str());
}

TEST_F(Writing, AFaultyParameterFileEndsTheProcess)
{
    const Outcome outcome = file.create("/nowhere/f.par");
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "cannot open parameter filename /nowhere/f.par\n"
                           "system error code:: No such file or directory\n");
}

TEST_F(Writing, AnOutputThatCannotBeCreatedEndsTheProcess)
{
    const Outcome outcome = file.create(dir.path("f.par"), "/nowhere/out.feat");
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "cannot create output file /nowhere/out.feat\n"
                           "system error code:: No such file or directory\n");
}

// ---- Replacing ----

TEST_F(Writing, AnExistingOutputIsReplacedAfterAYes)
{
    ZELFeatureSetOverwritePromptOn();
    for (const char* answer : {"y\n", "Yes\n"}) {
        zel_test::writeFile(dir.path("own.feat"), std::string("old"));
        FeatureFile other;
        const Outcome outcome = runWithInput(
            answer, [&] { ZELFeatureCreateFile(dir.path("f.par").c_str(), other.get(), nullptr); });
        EXPECT_FALSE(outcome.ended);
        EXPECT_EQ(outcome.out,
                  "output file " + dir.path("own.feat") + " exists!  overwrite?\n(y/n) \n");
        std::fflush(other->fptr);
        EXPECT_GT(zel_test::readFile(dir.path("own.feat")).size(), 100u);
    }
}

// It does not open for reading, so that nobody is asked.
TEST_F(Writing, AnExistingOutputThatCannotBeReadStays)
{
    zel_test::writeFile(dir.path("own.feat"), std::string("old"));
    std::filesystem::permissions(dir.path(), std::filesystem::perms::all);
    std::filesystem::permissions(dir.path("own.feat"), std::filesystem::perms::others_write |
                                                           std::filesystem::perms::owner_write);
    zel_test::inFreshProcess([&] {
        constexpr uid_t nobody = 65534;
        ASSERT_TRUE(geteuid() != 0 || setresuid(nobody, nobody, nobody) == 0);
        ZELFeatureSetOverwritePromptOn();
        FeatureFile other;
        const Outcome outcome = other.create(dir.path("f.par"));
        EXPECT_TRUE(outcome.ended);
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.err, "cannot create output file " + dir.path("own.feat") +
                                   "\nsystem error code:: Permission denied\n");
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(std::filesystem::file_size(dir.path("own.feat")), 3u);
    });
}

TEST_F(Writing, AnExistingOutputStaysWithoutAYes)
{
    ZELFeatureSetOverwritePromptOn();
    for (const char* answer : {"n\n", "", "\n", " y\n", "x"}) {
        zel_test::writeFile(dir.path("own.feat"), std::string("old"));
        FeatureFile other;
        const Outcome outcome = runWithInput(
            answer, [&] { ZELFeatureCreateFile(dir.path("f.par").c_str(), other.get(), nullptr); });
        EXPECT_TRUE(outcome.ended) << answer;
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.out,
                  "output file " + dir.path("own.feat") + " exists!  overwrite?\n(y/n) ");
        EXPECT_EQ(zel_test::readText(dir.path("own.feat")), "old");
    }
}

TEST_F(Writing, TheQuestionReadsOneCharacter)
{
    ZELFeatureSetOverwritePromptOn();
    for (const std::string answer : {"y\nnext\n", "no\nnext\n"}) {
        zel_test::writeFile(dir.path("own.feat"), std::string("old"));
        std::string left;
        runWithInput(answer, [&] {
            FeatureFile other;
            other.create(dir.path("f.par"));
            left = zel_test::restOfInput();
        });
        EXPECT_EQ(left, answer.substr(1));
    }
}

TEST_F(Writing, ANewOutputNeedsNoQuestion)
{
    ZELFeatureSetOverwritePromptOn();
    EXPECT_EQ(OverwritePrompt, 1);
    create();
    ZELFeatureSetOverwritePromptOff();
    EXPECT_EQ(OverwritePrompt, 0);
}

// ---- Samples ----

TEST_F(Writing, ASampleIsAppendedAsItIsLaidOut)
{
    create();
    ZELPixelStruct& p = file->Pixel;
    for (const int n : {2, 7}) {
        const auto f = static_cast<float>(n);
        p.Class = f + 0.9f;
        p.ElementaryClass = n + 100;
        p.lat = f + 0.25f;
        p.lon = -f;
        p.sz = f + 30;
        p.vz = f + 31;
        p.az = f + 32;
        p.BoxIndex = n + 200;
        p.Priority = 0xF0000000u + static_cast<unsigned>(n);
        p.jday = f + 120.6f;
        p.year = 2001.4f;
        file->Features[0] = f * 10;
        file->Features[1] = f * 10 + 1;
        ZELFeatureWriteSampleToFile(file.get());
    }
    EXPECT_EQ(file->CurrentSample, 2);
    EXPECT_EQ(file->PreviousSample, 2);
    FeatureBytes expected;
    expected.bytes = build(header(dir.path("own.feat"))).bytes;
    appendSample(expected, 2, 2);
    appendSample(expected, 7, 2);
    EXPECT_TRUE(written() == expected.bytes);
}

TEST_F(Writing, SamplesAreCountedByTheirTruncatedClass)
{
    create();
    for (const float Class : {2.9f, 2.0f, 0.0f, -0.5f, 999.9f}) write(Class, 0, 0);
    const int* counts = ZELFeatureFetchClassCount(file.get());
    EXPECT_EQ(counts[2], 2);
    EXPECT_EQ(counts[0], 2);
    EXPECT_EQ(counts[999], 1);
    EXPECT_EQ(counts[3], 0);
}

TEST_F(Writing, AClassOutsideTheTableIsWrittenAndNotCounted)
{
    create();
    const std::size_t begin = written().size();
    for (const float Class : {1000.0f, -1.0f, 1e20f, std::nanf("")}) write(Class, 0, 0);
    for (int i = 0; i < 1000; ++i) EXPECT_EQ(file->Parameters.ClassInfo.Count[i], 0) << i;
    EXPECT_EQ(file->CurrentSample, 4);
    const Bytes bytes = written();
    ASSERT_EQ(bytes.size(), begin + 4 * 52);
    const auto first = bytes.begin() + static_cast<long>(begin);
    EXPECT_EQ(Bytes(first, first + 4), FeatureBytes().number(1000).bytes);
    EXPECT_EQ(Bytes(first + 52, first + 56), FeatureBytes().number(-1).bytes);
}

TEST_F(Writing, TheRangesAreThoseOfTheSamples)
{
    create();
    file->Parameters.FeatureInfo.Max[0] = 1000;
    file->Parameters.FeatureInfo.Min[0] = -1000;
    write(1, 5, -5);
    EXPECT_EQ(file->Parameters.FeatureInfo.Max[0], 5.0f);
    EXPECT_EQ(file->Parameters.FeatureInfo.Min[0], 5.0f);
    EXPECT_EQ(file->Parameters.FeatureInfo.Max[1], -5.0f);
    EXPECT_EQ(file->Parameters.FeatureInfo.Min[1], -5.0f);
    write(1, 7, -6);
    write(1, 6, -4);
    EXPECT_EQ(file->Parameters.FeatureInfo.Max[0], 7.0f);
    EXPECT_EQ(file->Parameters.FeatureInfo.Min[0], 5.0f);
    EXPECT_EQ(file->Parameters.FeatureInfo.Max[1], -4.0f);
    EXPECT_EQ(file->Parameters.FeatureInfo.Min[1], -6.0f);
}

TEST_F(Writing, ClosingPatchesCountsAndRanges)
{
    create();
    write(2, 1.5f, -2.0f);
    write(3, 0.5f, -1.0f);
    FeatureHeader expected = header(dir.path("own.feat"));
    const Bytes before = written();
    ZELFeatureCloseFile(file.get());
    EXPECT_EQ(file->fptr, nullptr);
    expected.counts = {{2, 1}, {3, 1}};
    expected.maxima = {1.5f, -1.0f};
    expected.minima = {0.5f, -2.0f};
    Bytes patched = build(expected).bytes;
    patched.insert(patched.end(), before.begin() + static_cast<long>(patched.size()), before.end());
    EXPECT_TRUE(zel_test::readFile(dir.path("own.feat")) == patched);
}

TEST_F(Writing, AFileThatWasNeverClosedHasNoCounts)
{
    create();
    write(2, 1, 1);
    std::fflush(file->fptr);
    FeatureFile reader;
    ASSERT_FALSE(reader.open(dir.path("own.feat")).ended);
    EXPECT_EQ(reader->NumberOfSamples, 1);
    EXPECT_EQ(ZELFeatureFetchClassCount(reader.get())[2], 0);
}

TEST_F(Writing, WhatIsWrittenIsReadBack)
{
    create();
    write(2, 1.5f, -2.0f);
    ZELFeatureCloseFile(file.get());
    FeatureFile reader;
    ASSERT_FALSE(reader.open(dir.path("own.feat")).ended);
    EXPECT_EQ(ZELFeatureReadSampleFromFile(reader.get()), 1);
    EXPECT_EQ(reader->Features[0], 1.5f);
    EXPECT_EQ(reader->Features[1], -2.0f);
    EXPECT_EQ(ZELFeatureFetchClass(reader.get()), 2);
    EXPECT_EQ(ZELFeatureFetchClassCount(reader.get())[2], 1);
    EXPECT_EQ(ZELFeatureReadSampleFromFile(reader.get()), 0);
}

TEST_F(Writing, FeaturesAreComputedInTheirOrder)
{
    create();
    float channels[] = {3, 4, 5};
    file->Pixel.Channels = channels;
    file->Pixel.numChannels = 3;
    ZELFeatureCompute(file.get());
    EXPECT_EQ(file->Features[0], 7.0f);
    EXPECT_EQ(file->Features[1], 5.0f);
}

TEST_F(Writing, AWrittenFileCannotBeReadOrPositioned)
{
    create();
    const struct {
        std::function<void()> call;
        const char* message;
    } rows[] = {
        {[this] { ZELFeatureReadSampleFromFile(file.get()); },
         "ZELFeatureReadSampleFromFile:  error, Random access not allowed on this file\n"},
        {[this] { ZELFeatureSeekSample(file.get(), 0); },
         "ZELFeatureSeekSample:  error, random access not allowed on this file\n"},
        {[this] { ZELFeatureSkipSamples(file.get(), 1); },
         "ZELFeatureSkipSamples:  error, random access not allowed on this file\n"},
        {[this] { ZELFeatureRewindFile(file.get()); },
         "ZELFeatureRewindFile:  error, random access not allowed on this file\n"},
    };
    for (const auto& row : rows) {
        const Outcome outcome = runFeature(row.call);
        EXPECT_TRUE(outcome.ended) << row.message;
        EXPECT_EQ(outcome.status, -2);
        EXPECT_EQ(outcome.err, row.message);
    }
}

TEST_F(Writing, AFullDiskEndsTheProcess)
{
    create();
    const int before = zel_test::openDescriptors();
    Outcome outcome;
    {
        const zel_test::FileSizeLimit limit(static_cast<rlim_t>(file->HeaderOffset) + 1000);
        outcome = runFeature([this] {
            for (int i = 0; i < 1000; ++i) write(1, 0, 0);
        });
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.err.substr(0, 16), "FileWrite error:");
    }
    // There is room again, but a sample is missing.
    outcome = runFeature([this] { ZELFeatureCloseFile(file.get()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err,
              "ZELFeatureCloseFile: write error on file " + dir.path("own.feat") + "\n");
    EXPECT_EQ(zel_test::openDescriptors(), before - 1);
}

// Few samples wait in memory until the close.
TEST_F(Writing, AFullDiskAtTheCloseEndsTheProcess)
{
    create();
    std::fflush(file->fptr);
    write(1, 0, 0);
    const zel_test::FileSizeLimit limit(static_cast<rlim_t>(file->HeaderOffset));
    const Outcome outcome = runFeature([this] { ZELFeatureCloseFile(file.get()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err.substr(0, 16), "FileWrite error:");
    EXPECT_EQ(file->fptr, nullptr);
    EXPECT_EQ(file->Features, nullptr);
}

}  // namespace
