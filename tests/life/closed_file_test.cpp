// Records of files that were never opened, or are finished: what needs the file says so.
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

#include "blocks/zel_lut.hpp"
#include "support/feature_file.hpp"
#include "support/file_builder.hpp"
#include "support/writer.hpp"

namespace {

using zel_test::Outcome;
using zel_test::run;
using zel_test::runFeature;

// Function by function, what it does on a record that is not open.
template <class Record>
struct Row {
    const char* message;
    std::function<void(Record*)> call;
};

template <class Record, std::size_t N>
void expectEndings(const Row<Record> (&rows)[N], Record* record)
{
    for (const Row<Record>& row : rows) {
        const Outcome outcome = run([&] {
            errno = 0;
            row.call(record);
        });
        EXPECT_TRUE(outcome.ended) << row.message;
        EXPECT_EQ(outcome.status, -1) << row.message;
        EXPECT_EQ(outcome.out + outcome.err, row.message);
    }
}

const Row<ZELType> readingRows[] = {
    {"ZELReadLine: the file is not open\n", ZELReadLine},
    {"ZELReadLine: the file is not open\n", ZELReadLineNoScale},
    {"ZELReadLine: the file is not open\n", [](ZELType* file) { ReadLine(file, 1); }},
};

const Row<ZELType> blockRows[] = {
    {"ZELReadHistogram: the file is not open\n", ZELReadHistogram},
    {"ZELUpdateAllHistograms: the file is not open\n",
     [](ZELType* file) {
         file->HistogramFlag = 1;
         ZELUpdateAllHistograms(file);
     }},
    {"ZELReadLUTs: the file is not open\n",
     [](ZELType* file) {
         file->ZELHeader.NumDisplayLUTs = 1;
         ZELReadLUTs(file);
     }},
    {"ZELReadTables: the file is not open\n",
     [](ZELType* file) {
         TableListType list{};
         list.NumTables = 1;
         ZELReadTables(file->fptr, &list);
     }},
};

TEST(ClosedFile, ThatIsFinishedHasNoMoreToRead)
{
    zel_test::OpenedFile file(build(zel_test::smallScene()).bytes);
    run([&] {
        ZELReadLine(file.get());
        ZELFinishReadingFile(file.get());
    });
    expectEndings(readingRows, file.get());
    expectEndings(blockRows, file.get());
}

TEST(ClosedFile, ThatWasReadToItsEndHasNoMoreToRead)
{
    zel_test::OpenedFile file(build(zel_test::smallScene()).bytes);
    run([&] {
        while (ZELReadLine(file.get()) > 0) continue;
        ZELFinishReadingFile(file.get());
    });
    expectEndings(readingRows, file.get());
}

TEST(ClosedFile, ThatWasNeverOpenedHasNothingToRead)
{
    const auto record = zel_test::zeroRecord();
    expectEndings(readingRows, record.get());
    expectEndings(blockRows, record.get());
}

// Its stream is still there.
TEST(ClosedFile, WhoseMemoryIsFreedHasNoMoreToRead)
{
    zel_test::OpenedFile file(build(zel_test::smallScene()).bytes);
    run([&] {
        ZELReadLine(file.get());
        ZELFreeData(file.get());
    });
    expectEndings(readingRows, file.get());
    ASSERT_NE(file->fptr, nullptr);
}

TEST(ClosedFile, WhoseViewIsFreedHasNoMoreToRead)
{
    const zel_test::TempDir dir;
    zel_test::writeFile(dir.path("a"), build(zel_test::smallScene()).bytes);
    const std::string path = dir.path("a");
    const char* names[] = {path.c_str(), path.c_str()};
    const auto view = zel_test::zeroRecord();
    run([&] { ASSERT_EQ(ZELOpenCompositeReadOnlyFile(view.get(), names, 2, 0), 0); });
    ASSERT_EQ(ZELReadLine(view.get()), 4);
    run([&] { ZELFreeData(view.get()); });
    const Row<ZELType> rows[] = {
        {"ZELReadLine: the file is not open\n", ZELReadLine},
        {"ZELReadLineNoScale: the file is not open\n", ZELReadLineNoScale},
    };
    expectEndings(rows, view.get());
    run([&] { ZELFinishReadingFile(view.get()); });
}

TEST(ClosedFile, ThatIsNotOpenYetHasNoBlocksToWrite)
{
    const auto record = zel_test::writeOnlyRecord();
    run([&] { ZELAddLUT(record.get(), 1, 1, "lut"); });
    ZELHistogramType* histogram = ZELCreateHistogram(2);
    TableListType list{};
    ZELAddTable(&list, 1, 1, "table");
    const Row<ZELType> rows[] = {
        {"ZELWriteHistogram: the file is not open\n",
         [&](ZELType* file) { ZELWriteHistogram(file, histogram); }},
        {"ZELUpdateHistogram: the file is not open\n",
         [&](ZELType* file) { ZELUpdateHistogram(file, histogram); }},
        {"ZELWriteLUTs: the file is not open\n",
         [](ZELType* file) {
             zel::lutBlockWritten() = false;
             ZELWriteLUTs(file);
         }},
        {"ZELUpdateLUTs: the file is not open\n", ZELUpdateLUTs},
        {"ZELWriteTables: the file is not open\n",
         [&](ZELType* file) { ZELWriteTables(file->fptr, &list); }},
        {"ZELUpdateTables: the file is not open\n",
         [&](ZELType* file) { ZELUpdateTables(file->fptr, &list); }},
    };
    expectEndings(rows, record.get());
    ZELFreeHistogram(histogram);
    ZELFreeTables(&list);
    ZELFreeLUTs(record.get());
}

// ---- Sample files ----

const Row<ZELFeatureFileStruct> sampleRows[] = {
    {"ZELFeatureReadSampleFromFile: the file is not open\n", ZELFeatureReadSampleFromFile},
    {"ZELFeatureSeekSample: the file is not open\n",
     [](ZELFeatureFileStruct* file) { ZELFeatureSeekSample(file, 0); }},
    {"ZELFeatureSkipSamples: the file is not open\n",
     [](ZELFeatureFileStruct* file) { ZELFeatureSkipSamples(file, 0); }},
    {"ZELFeatureRewindFile: the file is not open\n", ZELFeatureRewindFile},
};

const Row<ZELFeatureFileStruct> featureRows[] = {
    {"ZELFeatureCompute: the file is not open\n", ZELFeatureCompute},
    {"ZELFeaturePrintFeatureInfo: the file is not open\n", ZELFeaturePrintFeatureInfo},
    {"ZELFeatureCopySample: the file is not open\n",
     [](ZELFeatureFileStruct* file) { ZELFeatureCopySample(file, file); }},
};

TEST(ClosedSampleFile, ThatWasReadSaysSo)
{
    const zel_test::TempDir dir;
    zel_test::writeFile(dir.path("f"), zel_test::sampleFile(2, 3));
    zel_test::FeatureFile file;
    ASSERT_FALSE(file.open(dir.path("f")).ended);
    ASSERT_EQ(ZELFeatureReadSampleFromFile(file.get()), 1);
    ZELFeatureCloseFile(file.get());
    expectEndings(sampleRows, file.get());
    expectEndings(featureRows, file.get());
}

TEST(ClosedSampleFile, ThatWasNeverOpenedSaysSo)
{
    zel_test::FeatureFile file;
    expectEndings(sampleRows, file.get());
    const Outcome outcome = runFeature([&] { ZELFeaturePrintFeatureInfo(file.get()); });
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(outcome.out, "") << "it has no features";
}

TEST(ClosedSampleFile, ThatWasWrittenSaysSo)
{
    const zel_test::TempDir dir;
    zel_test::writeFile(dir.path("f.par"), "inputfilename " + dir.path() + "\noutputfilename " +
                                               dir.path("f") +
                                               "\nfeature Ch1\nclass 2:\"l\":1 2 3\n");
    zel_test::FeatureFile file;
    ASSERT_FALSE(file.create(dir.path("f.par")).ended);
    ZELFeatureWriteSampleToFile(file.get());
    ZELFeatureCloseFile(file.get());
    const Row<ZELFeatureFileStruct> rows[] = {
        {"ZELFeatureWriteSampleToFile: the file is not open\n", ZELFeatureWriteSampleToFile},
    };
    expectEndings(rows, file.get());
    expectEndings(featureRows, file.get());
}

}  // namespace
