// Memory that cannot be allocated: what masks, containers, views, new files and histograms say then.
#include <gtest/gtest.h>

#include <cerrno>

#include "records/scaling_table.hpp"
#include "support/allocation_failure.hpp"
#include "support/counter.hpp"
#include "support/file_builder.hpp"
#include "support/mask_parameters.hpp"
#include "support/program.hpp"
#include "support/writer.hpp"

#ifndef ZEL_TEST_OWN_ALLOCATOR

namespace {

using zel_test::build;
using zel_test::endings;
using zel_test::Outcome;
using zel_test::OwnedMask;
using zel_test::run;
using zel_test::Stream;
using zel_test::withMemory;

using Endings = std::map<std::string, int>;

testing::AssertionResult endsWith(const Endings& all, const std::string& message, int status = -1)
{
    const auto found = all.find(message);
    if (found == all.end()) return testing::AssertionFailure() << "no ending with " << message;
    if (found->second != status)
        return testing::AssertionFailure() << message << " has status " << found->second;
    return testing::AssertionSuccess();
}

zel_test::MaskRecord maskOfOneClassifier()
{
    zel_test::MaskRecord record = zel_test::fullMask();
    record.classifiers.resize(1);
    return record;
}

TEST(MemoryMessages, ReadingAHeaderFromAStream)
{
    const Stream stream(build(zel_test::smallScene()).bytes);
    const auto record = zel_test::zeroRecord();
    const Endings all = endings([&] {
        withMemory([&] { ZELFreeData(record.get()); });
        ZELReadStreamHeader(record.get(), stream, "scene.zel", 0, 0);
    });
    EXPECT_TRUE(endsWith(all, "ZELReadStreamHeader: cannot allocate memory\n"));
    EXPECT_EQ(record->NumLines, 2) << "with all its memory it is read";
    ZELFreeData(record.get());
}

TEST(MemoryMessages, ReadingAMask)
{
    const Stream stream(build(maskOfOneClassifier()).bytes);
    OwnedMask mask;
    const Endings all = endings([&] {
        withMemory([&] { mask.reset(); });
        std::rewind(stream);
        errno = 0;
        mask.reset(ZELFeatureReadMask(stream));
    });
    EXPECT_TRUE(endsWith(all, "ZELFeatureAllocateNewMask: cannot allocate memory\n"));
    EXPECT_TRUE(endsWith(all, "ZELFeatureReadMask: cannot allocate memory for FilterConditions\n"));
    EXPECT_TRUE(endsWith(all, "ZELFeatureReadMask: calloc error 1\n"));
    EXPECT_TRUE(endsWith(all, "ClassifierByteCount = 700 ClassifierType = 3\n"));
    EXPECT_TRUE(endsWith(all, "cannot allocate memory for a program line\n"));
    EXPECT_TRUE(endsWith(all, "addProgamStatement: cannot allocate Program\n"));
    EXPECT_TRUE(endsWith(all, "ReadString: cannot allocate memory\n"));
    ASSERT_NE(mask, nullptr) << "with all its memory it is read";
    EXPECT_EQ(mask->ClassifierListHead->ClassifierByteCount, 700);
}

// The last allocation of all is that of the classifier's bytes.
TEST(MemoryMessages, TheBytesOfAClassifier)
{
    const Stream stream(build(maskOfOneClassifier()).bytes);
    const auto read = [&] {
        std::rewind(stream);
        errno = 0;
        ZELFeatureFreeMask(ZELFeatureReadMask(stream));
    };
    run(read);  // makes what is made once in a process
    constexpr long many = 1000000;
    zel_test::allocationsUntilFailure = many;
    run(read);
    const long allocations = many - zel_test::allocationsUntilFailure;
    zel_test::allocationsUntilFailure = allocations;
    const Outcome outcome = run(read);
    zel_test::allocationsUntilFailure = 0;
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "ZELFeatureReadMask: calloc error 2\n"
                           "ClassifierByteCount = 700 ClassifierType = 3\n");
}

TEST(MemoryMessages, CopyingAMask)
{
    const Stream stream(build(maskOfOneClassifier()).bytes);
    const OwnedMask mask(ZELFeatureReadMask(stream));
    const Endings all = endings([&] { ZELFeatureFreeMask(ZELFeatureDuplicateMask(mask.get())); });
    EXPECT_TRUE(endsWith(all, "ZELFeatureAllocateNewMask: cannot allocate memory\n"));
    EXPECT_TRUE(endsWith(all, "ZELFeatureDuplicateMask: cannot allocate memory\n"));
    EXPECT_TRUE(endsWith(all, "ZELFeatureCopyMaskParameters: cannot allocate memory\n"));
    EXPECT_TRUE(endsWith(all, "ZELFeatureReadMask: calloc error 1\n"));
}

TEST(MemoryMessages, ReadingAMaskParameterFile)
{
    zel_test::MaskParameters file(
        "beginmask\nbeginpreprocess\nCh1=1\nendpreprocess\nbeginpostprocess\nCh1=1\n"
        "endpostprocess\nclassifiername @/one\nendmask\n");
    ASSERT_TRUE(file.succeeded());
    const std::string path = file.dir.path("m.par");
    const Endings all = endings([&] {
        withMemory([&] { ZELFeatureFreeMaskList(&file.list); });
        errno = 0;
        ZELParseMaskParameterFile(path.c_str(), &file.list);
    });
    EXPECT_TRUE(endsWith(all, "ZELParseMaskParameterFile: cannot allocate PreProcessProgramPtr\n"));
    EXPECT_TRUE(
        endsWith(all, "ZELParseMaskParameterFile: cannot allocate PostProcessProgramPtr\n"));
    EXPECT_TRUE(endsWith(all, "ZELParseMaskParameterFile: cannot allocate FilterConditions\n"));
    EXPECT_TRUE(endsWith(all, "ClassifierByteCount = 3 ClassifierType = 0\n"));
}

TEST(MemoryMessages, CopyingAProgramText)
{
    const zel_test::ProgramText text("Ch1=1\n");
    const Endings expected = {{"cannot allocate memory for a program line\n", -1},
                              {"cannot allocate memory for a text\n", -1}};
    EXPECT_EQ(endings([&] {
                  errno = 0;
                  ZELFeatureFreeProgramText(ZELFeatureDuplicateProgramText(text.first()));
              }),
              expected);
}

// More room is allocated for a write that is larger than all before it.
TEST(MemoryMessages, WritingInTheOtherByteOrder)
{
    const Stream stream;
    std::vector<std::int32_t> numbers(1000000);
    const Endings expected = {{"FileWrite: cannot allocate memory\n", -1}};
    EXPECT_EQ(endings([&] {
                  errno = 0;
                  withMemory([&] { numbers.resize(numbers.size() + 1); });
                  FileWrite(numbers.data(), 4, static_cast<int>(numbers.size()), stream);
              }),
              expected);
}

// Two files of one scene.
class TwoFiles : public testing::Test {
protected:
    TwoFiles()
    {
        for (const std::string& name : names) zel_test::writeFile(name, build(scene()).bytes);
    }
    static zel_test::Scene scene()
    {
        zel_test::Scene scene = zel_test::smallScene();
        scene.slots[0] = zel_test::channel(1, "scaled", 10.0f, 0.0f);
        return scene;
    }

    const zel_test::TempDir dir;
    const std::string names[2] = {dir.path("a"), dir.path("b")};
    const char* inputs[2] = {names[0].c_str(), names[1].c_str()};
};

using MemoryMessagesOfTwo = TwoFiles;

TEST_F(MemoryMessagesOfTwo, MakingAContainer)
{
    const std::string output = dir.path("out");
    const int before = zel_test::openDescriptors();
    const Endings all =
        endings([&] { EXPECT_EQ(ZELCreateCompositeFile(inputs, 2, 0, 0, output.c_str(), 0), 0); });
    EXPECT_TRUE(endsWith(all, "ZELCreateCompositeFile: Error: cannot allocate ZELdata\n"));
    EXPECT_EQ(zel_test::openDescriptors(), before);
}

TEST_F(MemoryMessagesOfTwo, OpeningAView)
{
    auto view = zel_test::zeroRecord();
    bool opened = false;
    const Endings all = endings([&] {
        if (opened) withMemory([&] { run([&] { ZELFinishReadingFile(view.get()); }); });
        opened = true;
        zel::dropKeptTables();
        EXPECT_EQ(ZELOpenCompositeReadOnlyFile(view.get(), inputs, 2, 0), 0);
    });
    run([&] { ZELFinishReadingFile(view.get()); });
    EXPECT_TRUE(endsWith(all, "cannot allocate memory for ZELComponents\n"));
    EXPECT_TRUE(
        endsWith(all, "ZELOpenCompositeReadOnlyFile: cannot allocate memory for channel 1\n", -3));
    EXPECT_TRUE(
        endsWith(all, "ZELOpenCompositeReadOnlyFile: cannot allocate memory for channel 2\n", -3))
        << "the number is that of the file";
    EXPECT_TRUE(endsWith(all, "ZELOpenCompositeReadOnlyFile: cannot allocate pixel buffer\n"));
    EXPECT_TRUE(endsWith(all, "malloc error: ChannelLUT\n"));
}

TEST(MemoryMessages, OpeningANewFile)
{
    const zel_test::TempDir dir;
    const std::string path = dir.path("new");
    const auto record = zel_test::zeroRecord();
    constexpr int navigationPoints = 2;
    const auto open = [&] {
        withMemory([&] {
            if (record->FileOpened) run([&] { ZELFinishWritingFile(record.get()); });
            ZELInitNewWriteOnlyFile(record.get(), 5, "", 2001, 123, 7, 4, navigationPoints, 0, 1,
                                    705, 30);
            ZELAddChannel(record.get(), 7, 1, 0, 3, 8, "channel", "");
            ZELSetOverwritePromptOff(record.get());
            ZELSetHistogramFlag(record.get(), 0);
        });
        EXPECT_EQ(ZELOpenWriteOnlyFile(record.get(), path.c_str()), 0);
    };
    run(open);  // makes what is made once in a process
    const Endings all = endings(open);
    run([&] { ZELFinishWritingFile(record.get()); });
    EXPECT_TRUE(endsWith(all, "ZELOpenWriteOnlyFile: cannot allocate memory for channel 7\n", -3));
    EXPECT_TRUE(endsWith(all, "ZELOpenWriteOnlyFile: cannot allocate memory for PixBuf\n", -8));
    for (const char* message : {
             "ZELOpenWriteOnlyFileHist: cannot allocate latitude buffer\n",
             "ZELOpenWriteOnlyFileHist: cannot allocate longitude buffer\n",
             "ZELOpenWriteOnlyFile: cannot allocate solar zenith buffer\n",
             "ZELOpenWriteOnlyFile: cannot allocate viewing zenith buffer\n",
             "ZELOpenWriteOnlyFile: cannot allocate solar azimuth buffer\n",
             "ZELOpenWriteOnlyFile: cannot allocate latitude buffer\n",
             "ZELOpenWriteOnlyFile: cannot allocate longitude buffer\n",
             "ZELOpenWriteOnlyFile: cannot allocate Sunglint buffer\n",
             "ZELOpenWriteOnlyFile: cannot allocate Olson Ecosystem buffer\n",
             "ZELOpenWriteOnlyFile: cannot allocate Percent Water buffer\n",
             "ZELOpenWriteOnlyFile: cannot allocate IGBP Ecosystem buffer\n",
             "ZELOpenWriteOnlyFile: cannot allocate Terrain buffer\n",
         })
        EXPECT_TRUE(endsWith(all, message));
}

// The first line needs room for its values, the second one for wider bins too.
TEST(MemoryMessages, CountingALine)
{
    zel_test::Counter counter(4);
    const auto count = [&](float largest) {
        withMemory([&] { counter.writer().load(0, {1, 2, largest, 0}); });
        ZELIncrementHistogram(counter.writer().get(), 0);
    };
    const Endings first = {{"ZELIncrementHistogram: cannot allocate memory for a line\n", -1}};
    EXPECT_EQ(endings([&] { count(3); }), first);
    float largest = 10;
    const Endings second = {
        {"ZELIncrementHistogram: cannot allocate memory for a line\n", -1},
        {"ZELRescaleHistogram: Cannot allocate memory for new histogram\n", -1}};
    EXPECT_EQ(endings([&] { count(largest += 10); }), second);
}

}  // namespace

#endif
