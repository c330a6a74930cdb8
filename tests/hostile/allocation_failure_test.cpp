// Memory that cannot be allocated: each allocation of an open is made to fail in turn.
#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <utility>

#include "support/allocation_failure.hpp"
#include "support/feature_file.hpp"
#include "support/file_builder.hpp"
#include "support/outcome.hpp"
#include "support/program.hpp"
#include "zel_features/language/variables.hpp"
#include "zel_features/zel_features.h"

#ifndef ZEL_TEST_OWN_ALLOCATOR

namespace {

using zel_test::allocationsUntilFailure;
using zel_test::endings;
using zel_test::run;

TEST(AllocationFailure, EveryAllocationOfAnOpenEndsTheProcessWithItsMessage)
{
    zel_test::Scene scene = zel_test::smallScene();
    scene.luts = {{1, "lut", {{1, 2, 3, "entry"}}}};
    scene.tables = {{1, "table", {1.0f}}};
    scene.slots[0] = zel_test::channel(1, "scaled bytes", 10.0f, 0.0f);
    scene.slots[0].histogram = zel_test::Histogram{9.0f, 1.0f, {1, 2, 3}};
    scene.slots[1] = zel_test::channel(2, "scaled words", 10.0f, 0.0f);
    zel_test::TempDir dir;
    zel_test::writeFile(dir.path("f"), zel_test::build(scene).bytes);
    auto record = zel_test::junkRecord();
    const int before = zel_test::openDescriptors();
    bool opened = false;
    const auto finish = [&] {
        const long armed = std::exchange(allocationsUntilFailure, 0);
        ZELFinishReadingFile(record.get());
        allocationsUntilFailure = armed;
    };
    const auto all = endings([&] {
        if (opened) run(finish);
        opened = true;
        ZELOpenReadOnlyFile(record.get(), dir.path("f").c_str());
    });
    run(finish);
    EXPECT_EQ(zel_test::openDescriptors(), before);
    const std::map<std::string, int> expected = {
        {"ZELAllocateLUT: cannot allocate LUT\n", -1},
        {"ZELAllocateLUT: cannot allocate LUT entries\n", -1},
        {"ZELAllocateTable: cannot allocate Table\n", -1},
        {"ZELAllocateTable: cannot allocate Table entries\n", -1},
        {"ZELCreateHistogram: error: cannot allocate memory for histogram\n", -1},
        {"ZELCreateHistogram: error: cannot allocate memory for histogram bins\n", -1},
        {"OpenReadOnlyFile: cannot allocate memory for channel 1\n", -3},
        {"OpenReadOnlyFile: cannot allocate memory for channel 2\n", -3},
        {"OpenReadOnlyFile: cannot allocate memory for channel 3\n", -3},
        {"OpenReadOnlyFile: cannot allocate pixel buffer\n", -1},
        {"malloc error: ChannelLUT\n", -1},
        {"OpenReadOnlyFile: cannot allocate latitude buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate longitude buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate solar zenith buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate viewing zenith buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate solar azimuth buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate Sunglint buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate Olson Ecosystem buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate Percent Water buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate IGBP Ecosystem buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate Terrain buffer\n", -1},
    };
    EXPECT_EQ(all, expected);
}

// What a file has no bytes for takes no memory: the record that a count belongs to is allocated,
// what it counts is not.
TEST(AllocationFailure, CountsAreHeldAgainstTheFileBeforeThereIsMemoryForThem)
{
    zel_test::Scene luts = zel_test::smallScene();
    zel_test::Scene tables = luts, histograms = luts;
    luts.luts = {{1, "lut", {{1, 2, 3, "entry"}}}};
    tables.tables = {{1, "table", {1.0f}}};
    histograms.slots[0].histogram = zel_test::Histogram{9.0f, 1.0f, {1, 2, 3}};
    const struct {
        const zel_test::Scene& scene;
        std::string count, first, words, noMemory;
    } rows[] = {
        {luts, "lut[0].NumLUTValues", "lut[0].entry[0].R", "display LUT entries",
         "ZELAllocateLUT: cannot allocate LUT\n"},
        {tables, "table[0].NumTableValues", "table[0].value[0]", "table values",
         "ZELAllocateTable: cannot allocate Table\n"},
        {histograms, "channel[0].histogram.NumHistogramBins", "channel[0].histogram.count[0]",
         "histogram counts", "ZELCreateHistogram: error: cannot allocate memory for histogram\n"}};
    const zel_test::TempDir dir;
    const std::string path = dir.path("f");
    auto record = zel_test::junkRecord();
    for (const auto& [scene, count, first, words, noMemory] : rows) {
        zel_test::BuiltFile file = zel_test::build(scene);
        file.putInt(count, 32767);
        zel_test::writeFile(path, file.bytes);
        const auto open = [&] { EXPECT_EQ(ZELOpenReadOnlyFile(record.get(), path.c_str()), -2); };
        EXPECT_EQ(endings(open), (std::map<std::string, int>{{noMemory, -1}}));
        const std::string out = run(open).out;
        EXPECT_TRUE(out.ends_with("corrupt file " + path + ": cut short in " + words +
                                  " at offset " + std::to_string(file.offset(first)) + "\n"))
            << out;
    }
}

TEST(AllocationFailure, DetachedLutsAndTables)
{
    const std::map<std::string, int> luts = {{"ZELAllocateLUT: cannot allocate LUT\n", -1},
                                             {"ZELAllocateLUT: cannot allocate LUT entries\n", -1}};
    EXPECT_EQ(endings([] { ZELDeAllocateLUT(ZELAllocateLUT(3)); }), luts);
    EXPECT_EQ(endings([] { ZELDeAllocateLUT(ZELCreateFullStandardLUT()); }), luts);
    EXPECT_EQ(endings([] { ZELDeAllocateLUT(ZELCreateCollapsedStandardLUT()); }), luts);
    const std::map<std::string, int> tables = {
        {"ZELAllocateTable: cannot allocate Table\n", -1},
        {"ZELAllocateTable: cannot allocate Table entries\n", -1}};
    EXPECT_EQ(endings([] { ZELDeAllocateTable(ZELAllocateTable(3)); }), tables);
}

TEST(AllocationFailure, CompilingAnExpression)
{
    const std::map<std::string, int> expected = {
        {"parseCondition: cannot allocate memory for ZELStackStruct\n", -1},
        {"ZELParseExpression: cannot allocate memory for expression\n", -1},
        {"defineVariables: calloc error\n", -1},
        {"allocateNewStackElement: cannot allocate memory for StackElement\n", -1}};
    EXPECT_EQ(endings([] {
                  zel::resetVariables();
                  errno = 0;
                  int status = 0;
                  ZELFreeStack(parseCondition("Ch1+2", &status, 1, nullptr));
              }),
              expected);
}

// Messages that name what the feature layer's records consist of. Whether the room for reversed
// bytes has to grow depends on what was written before.
std::map<std::string, int> withoutCommonMessages(std::map<std::string, int> all)
{
    for (const char* message :
         {"parseCondition: cannot allocate memory for ZELStackStruct\n",
          "ZELParseExpression: cannot allocate memory for expression\n",
          "allocateNewStackElement: cannot allocate memory for StackElement\n",
          "allocateNewCommand: cannot allocate memory\n",
          "allocateNewInput: cannot allocate memory\n", "cannot allocate memory for a text\n"})
        EXPECT_EQ(all.erase(message), 1u) << message;
    for (const char* message :
         {"defineVariables: calloc error\n", "FileWrite: cannot allocate memory\n"})
        all.erase(message);
    return all;
}

// The endings of a call that fills a file object; what the call before left is released first.
std::map<std::string, int> featureEndings(zel_test::FeatureFile& file,
                                          const std::function<void()>& call)
{
    return withoutCommonMessages(endings([&] {
        const long armed = std::exchange(allocationsUntilFailure, 0);
        run([&] { ZELFeatureCloseFile(file.get()); });
        ZELFeatureFreeParameters(&file->Parameters);
        errno = 0;
        allocationsUntilFailure = armed;
        call();
    }));
}

TEST(AllocationFailure, OpeningAFeatureFile)
{
    const zel_test::TempDir dir;
    zel_test::writeFile(dir.path("f"), zel_test::build(zel_test::fullHeader()).bytes);
    zel_test::FeatureFile file;
    const std::map<std::string, int> expected = {
        {"ReadString: cannot allocate memory\n", -1},
        {"CreateLabels: cannot allocate memory\n", -1},
        {"ZELFeatureReadHeader: Parameters->FeatureInfo.Max calloc error\n", -1},
        {"ZELFeatureReadHeader: Parameters->FeatureInfo.Min calloc error\n", -1},
        {"ZELFeatureOpenFile: calloc error in features\n", -1}};
    EXPECT_EQ(featureEndings(file, [&] { ZELFeatureOpenFile(dir.path("f").c_str(), file.get()); }),
              expected);
}

TEST(AllocationFailure, CreatingAFeatureFile)
{
    ZELFeatureSetOverwritePromptOff();
    const zel_test::CompleteParameters parameters("define a:Ch1\n");
    zel_test::FeatureFile file;
    const std::map<std::string, int> expected = {
        {"ZELFeatureCreateFile: calloc error in features\n", -1},
        {"CreateLabels: cannot allocate memory\n", -1},
        {"ZELFeatureCreateFile: FeatureFile->Parameters.FeatureInfo.Max calloc error 1\n", -1},
        {"ZELFeatureCreateFile: FeatureFile->Parameters.FeatureInfo.Min calloc error 1\n", -1}};
    EXPECT_EQ(featureEndings(file,
                             [&] {
                                 ZELFeatureCreateFile(parameters.dir.path("f.par").c_str(),
                                                      file.get(), nullptr);
                             }),
              expected);
    ZELFeatureSetOverwritePromptOn();
}

TEST(AllocationFailure, CopyingAFeatureFile)
{
    ZELFeatureSetOverwritePromptOff();
    const zel_test::TempDir dir;
    zel_test::writeFile(dir.path("f"), zel_test::build(zel_test::fullHeader()).bytes);
    zel_test::FeatureFile source, copy;
    ASSERT_FALSE(source.open(dir.path("f")).ended);
    const std::map<std::string, int> expected = {
        {"CreateLabels: cannot allocate memory\n", -1},
        {"ZELFeatureCopyHeader: DestParameter->FeatureInfo.Max calloc error\n", -1},
        {"ZELFeatureCopyHeader: DestParameter->FeatureInfo.Min calloc error\n", -1},
        {"ZELFeatureOpenCopiedFile: calloc error in features\n", -1}};
    EXPECT_EQ(featureEndings(copy,
                             [&] {
                                 ZELFeatureCreateCopiedFile(copy.get(), source.get(),
                                                            dir.path("copy").c_str());
                             }),
              expected);
    ZELFeatureSetOverwritePromptOn();
}

TEST(AllocationFailure, CompilingAProgram)
{
    const zel_test::ProgramText text("if (Ch1) class=1\nreturn\n");
    const auto all = endings([&] {
        errno = 0;
        ZELFeatureFreeProgram(compileProgramText(text.first(), 0, nullptr));
    });
    EXPECT_EQ(all.count("addProgamStatement: cannot allocate Program\n"), 1u);
    EXPECT_EQ(all.at("addProgamStatement: cannot allocate Program\n"), -1);
}

}  // namespace

#endif
