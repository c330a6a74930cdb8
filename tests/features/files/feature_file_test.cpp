// Sample files: opened, read in order and at random, closed.
#include <gtest/gtest.h>

#include <cmath>

#include "support/feature_file.hpp"

namespace {

using zel_test::Bytes;
using zel_test::FeatureFile;
using zel_test::FeatureHeader;
using zel_test::Outcome;
using zel_test::runFeature;
using zel_test::sampleFile;
using zel_test::TempDir;

int headerSize(int features)
{
    return static_cast<int>(sampleFile(features, 0).size());
}

class Samples : public testing::Test {
protected:
    void open(const Bytes& bytes)
    {
        zel_test::writeFile(dir.path("f"), bytes);
        const Outcome outcome = file.open(dir.path("f"));
        ASSERT_FALSE(outcome.ended) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.out, "");
    }
    // The class of the sample read, or -1 at the end.
    int next()
    {
        return ZELFeatureReadSampleFromFile(file.get()) ? ZELFeatureFetchClass(file.get()) : -1;
    }

    TempDir dir;
    FeatureFile file;
};

// ---- Opening ----

TEST_F(Samples, AnOpenFileKnowsItsSamples)
{
    open(sampleFile(3, 5));
    EXPECT_EQ(file->AccessFlag, 1);
    EXPECT_EQ(file->HeaderOffset, headerSize(3));
    EXPECT_EQ(file->SampleLength, 56);
    EXPECT_EQ(file->NumberOfSamples, 5);
    EXPECT_EQ(file->CurrentSample, 0);
    EXPECT_EQ(file->PreviousSample, 0);
    EXPECT_NE(file->Features, nullptr);
    EXPECT_EQ(std::ftell(file->fptr), headerSize(3));
}

// 170 bytes are three records of 56 and 2 bytes of another.
TEST_F(Samples, APartOfASampleAtTheEndIsNone)
{
    Bytes bytes = sampleFile(3, 4);
    bytes.resize(static_cast<std::size_t>(headerSize(3)) + 170);
    open(bytes);
    EXPECT_EQ(file->NumberOfSamples, 3);
}

TEST_F(Samples, AFileWithoutSamplesCanBeOpened)
{
    open(sampleFile(1, 0));
    EXPECT_EQ(file->NumberOfSamples, 0);
    EXPECT_EQ(file->SampleLength, 48);
    EXPECT_EQ(next(), -1);
}

TEST_F(Samples, AFileWithoutFeaturesHasSamplesAllTheSame)
{
    open(sampleFile(0, 2));
    EXPECT_EQ(file->SampleLength, 44);
    EXPECT_EQ(file->NumberOfSamples, 2);
    EXPECT_EQ(next(), 0);
    EXPECT_EQ(next(), 1);
    EXPECT_EQ(next(), -1);
}

TEST_F(Samples, AFileThatDoesNotOpenEndsTheProcess)
{
    const Outcome outcome = file.open("/nowhere/f");
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "ZELFeatureOpenFile: cannot open file /nowhere/f\n"
                           "system error code:: No such file or directory\n");
}

TEST_F(Samples, AFailedOpenLeavesNothingOpen)
{
    zel_test::writeFile(dir.path("f"), std::string("no header"));
    const int before = zel_test::openDescriptors();
    {
        FeatureFile other;
        const Outcome outcome = other.open(dir.path("f"));
        EXPECT_TRUE(outcome.ended);
        EXPECT_EQ(outcome.err, "Error: file does not contain ZEL Feature header\n");
    }
    EXPECT_EQ(zel_test::openDescriptors(), before);
}

// ---- Reading ----

TEST_F(Samples, EveryFieldOfASampleIsRead)
{
    open(sampleFile(3, 6));
    for (int n = 0; n < 6; ++n) ASSERT_EQ(next(), n);
    const ZELPixelStruct& pixel = file->Pixel;
    EXPECT_EQ(pixel.Class, 5.0f);
    EXPECT_EQ(pixel.ElementaryClass, 105);
    EXPECT_EQ(pixel.lat, 5.25f);
    EXPECT_EQ(pixel.lon, -5.0f);
    EXPECT_EQ(pixel.sz, 35.0f);
    EXPECT_EQ(pixel.vz, 36.0f);
    EXPECT_EQ(pixel.az, 37.0f);
    EXPECT_EQ(pixel.BoxIndex, 205);
    EXPECT_EQ(pixel.Priority, 0xF0000005u);
    EXPECT_EQ(pixel.jday, 125.6f);
    EXPECT_EQ(pixel.year, 2001.4f);
    EXPECT_EQ(file->Features[0], 50.0f);
    EXPECT_EQ(file->Features[1], 51.0f);
    EXPECT_EQ(file->Features[2], 52.0f);
}

TEST_F(Samples, ReadingCountsAndEndsWithTheFile)
{
    open(sampleFile(2, 2));
    EXPECT_EQ(next(), 0);
    EXPECT_EQ(file->CurrentSample, 1);
    EXPECT_EQ(file->PreviousSample, 0);
    EXPECT_EQ(next(), 1);
    EXPECT_EQ(file->CurrentSample, 2);
    EXPECT_EQ(file->PreviousSample, 1);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(next(), -1);
        EXPECT_EQ(file->CurrentSample, 2);
        EXPECT_EQ(file->PreviousSample, 1);
    }
    EXPECT_EQ(file->Pixel.Class, 1.0f);
}

// A field is taken over when all of it is there; what comes after stays.
TEST_F(Samples, ASampleThatIsCutShortLeavesTheFieldsBeforeTheEndInPlace)
{
    const Bytes whole = sampleFile(2, 2);
    const std::size_t second = static_cast<std::size_t>(headerSize(2)) + 52;
    for (std::size_t size = 0; size < 52; ++size) {
        TempDir own;
        zel_test::writeFile(own.path("f"),
                            Bytes(whole.begin(), whole.begin() + static_cast<long>(second + size)));
        FeatureFile cut;
        ASSERT_FALSE(cut.open(own.path("f")).ended);
        cut->Pixel.Class = 2.5f;
        EXPECT_EQ(ZELFeatureReadSampleFromFile(cut.get()), 1);
        cut->Pixel.Class = 2.5f;
        EXPECT_EQ(ZELFeatureReadSampleFromFile(cut.get()), 0);
        EXPECT_EQ(cut->Pixel.Class, size >= 4 ? 1.0f : 2.5f) << size;
        EXPECT_EQ(cut->Pixel.ElementaryClass, size >= 8 ? 101 : 100) << size;
        EXPECT_EQ(cut->Pixel.lat, size >= 12 ? 1.25f : 0.25f) << size;
        EXPECT_EQ(cut->Pixel.Priority, size >= 36 ? 0xF0000001u : 0xF0000000u) << size;
        EXPECT_EQ(cut->Features[0], size >= 48 ? 10.0f : 0.0f) << size;
        EXPECT_EQ(cut->Features[1], 1.0f) << size;
        EXPECT_EQ(cut->CurrentSample, 1);
        EXPECT_EQ(cut->PreviousSample, 0);
    }
}

// ---- Positioning ----

TEST_F(Samples, ASampleCanBeSoughtAndRead)
{
    open(sampleFile(3, 5));
    for (int n = 0; n < 3; ++n) EXPECT_EQ(next(), n);
    ZELFeatureSeekSample(file.get(), 1);
    EXPECT_EQ(file->CurrentSample, 1);
    EXPECT_EQ(next(), 1);
    EXPECT_EQ(next(), 2);
    ZELFeatureSeekSample(file.get(), 4);
    EXPECT_EQ(next(), 4);
    ZELFeatureRewindFile(file.get());
    EXPECT_EQ(next(), 0);
}

// The first read seeks, although the indices look as if sample 0 had been read.
TEST_F(Samples, SampleOneCanBeSoughtRightAfterTheOpen)
{
    open(sampleFile(1, 3));
    ZELFeatureSeekSample(file.get(), 1);
    EXPECT_EQ(next(), 1);
    EXPECT_EQ(next(), 2);
}

TEST_F(Samples, SampleOneCanBeSkippedToRightAfterTheOpen)
{
    open(sampleFile(1, 3));
    ZELFeatureSkipSamples(file.get(), 1);
    EXPECT_EQ(next(), 1);
}

// The stream is moved without the library's knowledge to see whether it is moved again.
TEST_F(Samples, OnlyAReadOutOfOrderSeeks)
{
    open(sampleFile(1, 6));
    const auto moveTo = [this](int sample) {
        std::fseek(file->fptr, headerSize(1) + 48 * sample, SEEK_SET);
    };
    moveTo(3);
    EXPECT_EQ(next(), 0);  // the first read seeks
    moveTo(3);
    EXPECT_EQ(next(), 3);  // the next sample: none
    moveTo(5);
    ZELFeatureSeekSample(file.get(), 2);
    EXPECT_EQ(next(), 5);  // sought the sample that would have come anyway
    moveTo(5);
    ZELFeatureSeekSample(file.get(), 1);
    EXPECT_EQ(next(), 1);
}

TEST_F(Samples, SamplesCanBeSkippedBothWays)
{
    open(sampleFile(1, 6));
    EXPECT_EQ(next(), 0);
    ZELFeatureSkipSamples(file.get(), 3);
    EXPECT_EQ(next(), 4);
    ZELFeatureSkipSamples(file.get(), -2);
    EXPECT_EQ(next(), 3);
    ZELFeatureSkipSamples(file.get(), 0);
    EXPECT_EQ(next(), 4);
}

TEST_F(Samples, ASeekForgetsTheEndOfTheFileAndASkipDoesNot)
{
    open(sampleFile(1, 3));
    for (int n = 0; n < 3; ++n) next();
    EXPECT_EQ(next(), -1);
    EXPECT_NE(std::feof(file->fptr), 0);
    ZELFeatureSkipSamples(file.get(), -1);
    EXPECT_NE(std::feof(file->fptr), 0);
    ZELFeatureSeekSample(file.get(), 2);
    EXPECT_EQ(std::feof(file->fptr), 0);
    EXPECT_EQ(next(), 2);
}

TEST_F(Samples, ASampleThatIsNotThereEndsTheProcess)
{
    open(sampleFile(1, 3));
    EXPECT_EQ(next(), 0);
    for (const int sample : {3, 4, -1, INT32_MAX, INT32_MIN}) {
        const Outcome outcome = runFeature([&] { ZELFeatureSeekSample(file.get(), sample); });
        EXPECT_TRUE(outcome.ended) << sample;
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.err, "ZELFeatureSeekSample: Error, sample index " +
                                   std::to_string(sample) + " out of range\n");
    }
    for (const int count : {2, -2, INT32_MAX, INT32_MIN}) {
        const Outcome outcome = runFeature([&] { ZELFeatureSkipSamples(file.get(), count); });
        EXPECT_TRUE(outcome.ended) << count;
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.err,
                  "ZELFeatureSkipSamples: Error, sample index 1 out of range: Count = " +
                      std::to_string(count) + "\n");
    }
    EXPECT_EQ(next(), 1);
}

TEST_F(Samples, AFileWithoutSamplesCannotBeRewound)
{
    open(sampleFile(1, 0));
    const Outcome outcome = runFeature([&] { ZELFeatureRewindFile(file.get()); });
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "ZELFeatureSeekSample: Error, sample index 0 out of range\n");
}

TEST_F(Samples, AFileOpenedForReadingCannotBeWritten)
{
    open(sampleFile(1, 1));
    const Outcome outcome = runFeature([&] { ZELFeatureWriteSampleToFile(file.get()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -2);
    EXPECT_EQ(outcome.err,
              "ZELFeatureWriteSampletoFile:  error, attempted to write to read only file\n");
}

// ---- Accessors and summaries ----

TEST_F(Samples, TheFieldsOfAFileCanBeFetched)
{
    FeatureHeader header;
    header.randomSeed = 11;
    header.subSampling = -4;
    header.classType = 1;
    header.dataType = 7;
    header.counts = {{3, 9}};
    header.classes = {{3, {"water", 1, 2, 3}}};
    open(sampleFile(2, 4, header));
    ZELFeatureFileStruct* f = file.get();
    ZELFeatureSeekSample(f, 3);
    EXPECT_EQ(next(), 3);
    EXPECT_EQ(ZELFeatureFetchRandomSeed(f), 11);
    EXPECT_EQ(ZELFeatureFetchFeatures(f), f->Features);
    EXPECT_EQ(ZELFeatureFetchNumberOfFeatures(f), 2);
    EXPECT_EQ(ZELFeatureFetchNumberOfSamples(f), 4);
    EXPECT_STREQ(ZELFeatureFetchOutputFilename(f), "out.feat");
    EXPECT_EQ(ZELFeatureFetchPixel(f), &f->Pixel);
    EXPECT_EQ(ZELFeatureFetchClass(f), 3);
    EXPECT_EQ(ZELFeatureFetchElementaryClass(f), 103);
    EXPECT_EQ(ZELFeatureFetchBoxIndex(f), 203);
    EXPECT_EQ(ZELFeatureFetchJulianDay(f), 124);  // 123.6
    EXPECT_EQ(ZELFeatureFetchYear(f), 2001);      // 2001.4
    EXPECT_EQ(ZELFeatureFetchPriority(f), 0xF0000003u);
    EXPECT_EQ(ZELFeatureFetchFeatureMax(f), f->Parameters.FeatureInfo.Max);
    EXPECT_EQ(ZELFeatureFetchFeatureMin(f), f->Parameters.FeatureInfo.Min);
    EXPECT_STREQ(ZELFeatureFetchClassNames(f)[3], "water");
    EXPECT_EQ(ZELFeatureFetchClassCount(f)[3], 9);
    EXPECT_EQ(ZELFeatureFetchSubsamplingMethod(f), -4);
    EXPECT_EQ(ZELFeatureFetchClassType(f), 1);
    EXPECT_EQ(ZELFeatureFetchDataType(f), 7);
    EXPECT_STREQ(ZELFeatureFetchLabels(f)[1], "Ch2");
}

TEST_F(Samples, ClassesAreTruncatedAndDaysRounded)
{
    file->Pixel.Class = 2.9f;
    file->Pixel.jday = 120.6f;
    file->Pixel.year = 1999.5f;
    EXPECT_EQ(ZELFeatureFetchClass(file.get()), 2);
    EXPECT_EQ(ZELFeatureFetchJulianDay(file.get()), 121);
    EXPECT_EQ(ZELFeatureFetchYear(file.get()), 2000);
    file->Pixel.jday = file->Pixel.year = 0.49999997f;  // in a float, 0.5 more would be 1
    EXPECT_EQ(ZELFeatureFetchJulianDay(file.get()), 0);
    EXPECT_EQ(ZELFeatureFetchYear(file.get()), 0);
    file->Pixel.Class = -2.9f;
    EXPECT_EQ(ZELFeatureFetchClass(file.get()), -2);
    file->Pixel.Class = 1e20f;
    EXPECT_EQ(ZELFeatureFetchClass(file.get()), INT32_MAX);
    file->Pixel.Class = std::nanf("");
    EXPECT_EQ(ZELFeatureFetchClass(file.get()), INT32_MIN);
}

TEST_F(Samples, ClassesWithSamplesArePrinted)
{
    FeatureHeader header;
    header.counts = {{0, 2}, {3, 258}, {999, -1}};
    header.classes = {{3, {"water", 0, 10, 255}}, {4, {"land", 1, 1, 1}}};
    open(sampleFile(1, 0, header));
    const Outcome outcome = runFeature([&] { ZELFeaturePrintClassInfo(file.get()); });
    EXPECT_EQ(outcome.out, "Class 0 ->     count = 2  - R 0 G 0 B 0\n"
                           "Class 3 -> water    count = 258  - R 0 G 10 B 255\n"
                           "Class 999 ->     count = -1  - R 0 G 0 B 0\n");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(Samples, TheRangesOfTheFeaturesArePrinted)
{
    open(sampleFile(2, 0));
    file->Parameters.FeatureInfo.Max[0] = 1.5f;
    file->Parameters.FeatureInfo.Min[1] = -0.25f;
    const Outcome outcome = runFeature([&] { ZELFeaturePrintFeatureInfo(file.get()); });
    EXPECT_EQ(outcome.out, "Feature 1 -> Ch1 max = 1.500000, min = 0.000000\n"
                           "Feature 2 -> Ch2 max = 0.000000, min = -0.250000\n");
}

// ---- Closing ----

TEST_F(Samples, ClosingAFileThatWasReadChangesNothing)
{
    const Bytes bytes = sampleFile(2, 2);
    open(bytes);
    file->Parameters.ClassInfo.Count[1] = 77;
    next();
    ZELFeatureCloseFile(file.get());
    EXPECT_EQ(file->fptr, nullptr);
    EXPECT_EQ(file->Features, nullptr);
    EXPECT_EQ(file->Parameters.FeatureInfo.Label, nullptr);
    EXPECT_EQ(file->Parameters.FeatureInfo.Max, nullptr);
    EXPECT_EQ(file->Parameters.FeatureInfo.Min, nullptr);
    EXPECT_EQ(file->Parameters.Features.num, 2);
    EXPECT_TRUE(zel_test::readFile(dir.path("f")) == bytes);
}

}  // namespace
