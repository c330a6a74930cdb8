// Every allocation of the public operations fails once, one run for each: what is said, what is
// left over, and that the next try works.
#include <gtest/gtest.h>

#include <cstring>

#include "records/scaling_table.hpp"
#include "support/allocation_failure.hpp"
#include "support/feature_file.hpp"
#include "support/file_builder.hpp"
#include "support/mask_parameters.hpp"
#include "support/program.hpp"
#include "support/writer.hpp"

#ifndef ZEL_TEST_OWN_ALLOCATOR

namespace {

using zel_test::build;
using zel_test::everyFailure;
using zel_test::TempDir;

// Two scenes of one place and time, with blocks of every kind.
class EveryAllocation : public testing::Test {
protected:
    EveryAllocation()
    {
        zel_test::Scene scene = zel_test::smallScene();
        scene.luts = {{1, "lut", {{1, 2, 3, "entry"}}}};
        scene.tables = {{1, "table", {1.0f}}};
        scene.slots[0] = zel_test::channel(1, "scaled bytes", 10.0f, 0.0f);
        scene.slots[0].histogram = zel_test::Histogram{9.0f, 1.0f, {1, 2, 3}};
        scene.slots[1] = zel_test::channel(2, "scaled words", 10.0f, 0.0f);
        zel_test::writeFile(a, build(scene).bytes);
        zel_test::writeFile(b, build(scene).bytes);
        zel_test::writeFile(features, zel_test::sampleFile(2, 3));
    }
    void finishReading()
    {
        ZELFinishReadingFile(record.get());
        std::memset(static_cast<void*>(record.get()), 0, sizeof(ZELType));
        record->ReadWriteFlag = ZEL_READ_ONLY;
    }
    void finishWriting()
    {
        if (output->ReadWriteFlag == ZEL_WRITE_ONLY) ZELFinishWritingFile(output.get());
        std::memset(static_cast<void*>(output.get()), 0, sizeof(ZELType));
    }
    // The size of a file, which is asked without memory of this process.
    static long sizeOf(const std::string& path)
    {
        long size = -1;
        zel_test::withMemory([&] { size = static_cast<long>(zel_test::readFile(path).size()); });
        return size;
    }

    const TempDir dir;
    const std::string a = dir.path("a"), b = dir.path("b"), out = dir.path("out");
    const std::string features = dir.path("features");
    const char* names[2] = {a.c_str(), b.c_str()};
    std::unique_ptr<ZELType> record = zel_test::zeroRecord();
    std::unique_ptr<ZELType> output = zel_test::zeroRecord();
};

TEST_F(EveryAllocation, OfOpeningAFileAndReadingIt)
{
    const auto open = [&] {
        zel::dropKeptTables();
        if (ZELOpenReadOnlyFile(record.get(), a.c_str()) != 0) return false;
        int lines = 0;
        while (ZELReadLine(record.get()) > 0) ++lines;
        return lines == record->NumLines && lines > 0;
    };
    EXPECT_GT(everyFailure(open, [&] { finishReading(); }), 28);
}

// The mask has a table of a thousand class names.
TEST_F(EveryAllocation, OfOpeningAFileWithAMask)
{
    zel_test::Scene scene = zel_test::smallScene();
    zel_test::MaskRecord mask = zel_test::fullMask();
    mask.classifiers.pop_back();
    scene.slots[0].mask = build(mask).bytes;
    zel_test::writeFile(a, build(scene).bytes);
    const auto open = [&] {
        return ZELOpenReadOnlyFile(record.get(), a.c_str()) == 0 && record->Channels[0].Mask &&
               ZELReadLine(record.get()) > 0;
    };
    EXPECT_GT(everyFailure(open, [&] { finishReading(); }), 1000);
}

TEST_F(EveryAllocation, OfOpeningSeveralFilesAndReadingThem)
{
    const auto open = [&] {
        return ZELOpenCompositeReadOnlyFile(record.get(), names, 2, 0) == 0 &&
               ZELReadLine(record.get()) > 0 && record->NumTotalChans == 6;
    };
    EXPECT_GT(everyFailure(open, [&] { finishReading(); }), 60);
}

TEST_F(EveryAllocation, OfOpeningAContainerAndReadingIt)
{
    zel_test::run([&] { ZELCreateCompositeFile(names, 2, 0, 0, out.c_str(), 0); });
    const auto open = [&] {
        return ZELOpenReadOnlyFile(record.get(), out.c_str()) == 0 &&
               record->numZELComponents == 2 && ZELReadLineNoScale(record.get()) > 0;
    };
    EXPECT_GT(everyFailure(open, [&] { finishReading(); }), 60);
}

TEST_F(EveryAllocation, OfMakingAContainer)
{
    const long size = 2 * sizeOf(a);
    const auto create = [&] {
        return ZELCreateCompositeFile(names, 2, 0, 0, out.c_str(), 0) == 0 && sizeOf(out) == size;
    };
    EXPECT_GT(everyFailure(create, [] {}), 60);
}

TEST_F(EveryAllocation, OfWritingAFile)
{
    const auto write = [&] {
        ZELInitNewWriteOnlyFile(output.get(), 5, "", 2001, 123, 7, 4, 2, 0, 3, 705, 30);
        ZELSetOverwritePromptOff(output.get());
        ZELAddChannel(output.get(), 0, 10, 0, 1, 8, "channel", "");
        ZELAddTable(&output->ZELHeader.TableList, 1, 3, "table");
        const float values[4] = {1, 2, 3, 4};
        if (ZELOpenWriteOnlyFile(output.get(), out.c_str()) != 0) return false;
        for (int line = 0; line < 3; ++line) {
            ZELLoadChannel(output.get(), 0, values);
            ZELWriteLine(output.get());
        }
        ZELFinishWritingFile(output.get());
        output->ReadWriteFlag = 0;
        return true;
    };
    EXPECT_GT(everyFailure(write, [&] { finishWriting(); }), 20);
}

TEST_F(EveryAllocation, OfCopyingHeaders)
{
    zel_test::run([&] { ZELOpenReadOnlyFile(record.get(), a.c_str()); });
    const auto copy = [&] {
        ZELCopyFileHeaders(output.get(), record.get());
        return output->ZELHeader.NumDisplayLUTs == 1 && output->ZELHeader.TableList.NumTables == 1;
    };
    EXPECT_GT(everyFailure(copy, [&] { finishWriting(); }), 3);
    finishReading();
}

TEST_F(EveryAllocation, OfCompilingAnExpression)
{
    ZELStackStruct* stack = nullptr;
    const auto compile = [&] {
        int status = 0;
        stack = parseCondition("(Ch1+2)*lat > 3 && sqrt(Ch2) < 1", &status, 1, nullptr);
        return stack && status == ZEL_PARSE_OK;
    };
    const auto finish = [&] { ZELFreeStack(std::exchange(stack, nullptr)); };
    EXPECT_GT(everyFailure(compile, finish), 8);
}

TEST_F(EveryAllocation, OfCompilingAProgram)
{
    const zel_test::ProgramText text(
        "if (Ch1 > 3) then\nclass=1\nelse if (Ch2) then\nclass=2\nreturn\nendif\nclass=3\n");
    ProgramStruct* program = nullptr;
    const auto compile = [&] {
        program = compileProgramText(text.first(), 0, nullptr);
        return program != nullptr;
    };
    const auto finish = [&] { ZELFeatureFreeProgram(std::exchange(program, nullptr)); };
    EXPECT_GT(everyFailure(compile, finish), 10);
}

TEST_F(EveryAllocation, OfAParameterFile)
{
    const std::string path = dir.path("a parameter file with a long name that takes memory.par");
    zel_test::writeFile(path, "define bright:Ch1 > 5\ninputfilename " + a + "\ninputdirstr " +
                                  dir.path() + ":par\noutputfilename " + out +
                                  "\nfeature bright:\"a label that takes memory\"\n");
    auto parameters = std::make_unique<ZELParameterStruct>();
    const auto parse = [&] {
        ZELParseParameterFile(path.c_str(), parameters.get());
        return parameters->Features.num == 1 && parameters->IO.numInputFiles == 2;
    };
    const auto finish = [&] { ZELFeatureFreeParameters(parameters.get()); };
    EXPECT_GT(everyFailure(parse, finish), 20);
}

TEST_F(EveryAllocation, OfMakingASampleFile)
{
    ZELFeatureSetOverwritePromptOff();
    const std::string path = dir.path("f.par");
    zel_test::writeFile(
        path, "inputfilename " + a + "\noutputfilename " + out + "\nfeature Ch1:\"first\"\n");
    zel_test::FeatureFile file;
    const auto create = [&] {
        ZELFeatureCreateFile(path.c_str(), file.get(), out.c_str());
        ZELFeatureWriteSampleToFile(file.get());
        ZELFeatureCloseFile(file.get());
        return true;
    };
    const auto finish = [&] {
        zel_test::run([&] { ZELFeatureCloseFile(file.get()); });
        ZELFeatureFreeParameters(&file->Parameters);
    };
    EXPECT_GT(everyFailure(create, finish), 20);
    ZELFeatureSetOverwritePromptOn();
}

TEST_F(EveryAllocation, OfASampleFileThatIsRead)
{
    zel_test::FeatureFile file;
    const auto open = [&] {
        ZELFeatureOpenFile(features.c_str(), file.get());
        int samples = 0;
        while (ZELFeatureReadSampleFromFile(file.get()) == 1) ++samples;
        return samples == 3;
    };
    const auto finish = [&] {
        ZELFeatureCloseFile(file.get());
        ZELFeatureFreeParameters(&file->Parameters);
    };
    EXPECT_GT(everyFailure(open, finish), 1000) << "there are 1000 names of classes";
}

zel_test::MaskRecord maskOfOneClassifier()
{
    zel_test::MaskRecord record = zel_test::fullMask();
    record.classifiers.resize(1);
    return record;
}

TEST_F(EveryAllocation, OfAMaskThatIsReadCopiedAndSaved)
{
    const zel_test::Stream stream(build(maskOfOneClassifier()).bytes);
    ZELFeatureMaskType* mask = nullptr;
    ZELFeatureMaskType* copy = nullptr;
    const auto read = [&] {
        std::rewind(stream);
        mask = ZELFeatureReadMask(stream);
        copy = ZELFeatureDuplicateMask(mask);
        ZELFeatureSaveMask(copy, out.c_str());
        return mask && copy;
    };
    const auto finish = [&] {
        ZELFeatureFreeMask(std::exchange(mask, nullptr));
        ZELFeatureFreeMask(std::exchange(copy, nullptr));
    };
    EXPECT_GT(everyFailure(read, finish), 2000);
}

TEST_F(EveryAllocation, OfAMaskParameterFile)
{
    const zel_test::MaskParameters file(
        "beginmask\nbeginpreprocess\nCh1=1\nendpreprocess\nbeginpostprocess\nCh1=1\n"
        "endpostprocess\npreclassfilter Ch1 > 1:1,2:\"label\"\nclassifiername @/one\nendmask\n");
    ASSERT_TRUE(file.succeeded());
    const std::string path = file.dir.path("m.par");
    ZELFeatureMaskListType list{};
    const auto parse = [&] {
        ZELParseMaskParameterFile(path.c_str(), &list);
        return list.NumMasks == 1;
    };
    EXPECT_GT(everyFailure(parse, [&] { ZELFeatureFreeMaskList(&list); }), 1000);
}

}  // namespace

#endif
