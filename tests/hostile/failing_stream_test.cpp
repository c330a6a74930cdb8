// Streams that fail while they are read or written, files that cannot be read at all, and outputs
// that would take the place of an input.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>
#include <filesystem>

#include "blocks/zel_ancillary.hpp"
#include "blocks/zel_lut.hpp"
#include "support/failing_stream.hpp"
#include "support/feature_file.hpp"
#include "support/file_builder.hpp"
#include "support/mask_parameters.hpp"
#include "support/program.hpp"
#include "support/writer.hpp"

namespace {

using zel_test::build;
using zel_test::Outcome;
using zel_test::run;
using zel_test::runFeature;
using zel_test::TempDir;

#ifdef __GLIBC__

using zel_test::Failing;
using zel_test::failingStream;

const std::string ioError = std::strerror(EIO);

// A scene that no stream holds whole, read through a stream that can fail.
class FailingRead : public testing::Test {
protected:
    FailingRead() : file(build(scene()).bytes)
    {
        std::fclose(file->fptr);
        file->fptr = failingStream(failing, file.path(), "rb");
    }
    static zel_test::Scene scene()
    {
        zel_test::Scene scene = zel_test::smallScene();
        scene.pixels = 5000;
        scene.slots = {zel_test::channel(3, "n"), zel_test::channel(3, "m")};
        scene.lines.resize(1);
        for (auto& pixels : scene.lines[0].pixels) pixels.second = zel_test::Bytes(5000, 7);
        scene.lines[0].pixels[0] = scene.lines[0].pixels[1] = zel_test::Bytes(5000, 7);
        while (scene.lines.size() < 8) scene.lines.push_back(scene.lines[0]);
        return scene;
    }
    std::string message(int line) const
    {
        return "ZELReadLine: read error on file " + file.path() + ", line " + std::to_string(line) +
               ": " + ioError + "\n";
    }

    Failing failing;
    zel_test::OpenedFile file;
};

TEST_F(FailingRead, IsNoEndOfTheFile)
{
    for (int line = 0; line < 3; ++line) ASSERT_EQ(ZELReadLine(file.get()), 5000);
    failing.reads = true;
    const Outcome outcome = run([&] {
        while (ZELReadLine(file.get()) > 0) continue;
    });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, message(file->CurrentLine));
    EXPECT_LT(file->CurrentLine, 8);
}

TEST_F(FailingRead, OfTheFirstByteOfALine)
{
    failing.reads = true;
    const Outcome outcome = run([&] { ZELReadLineNoScale(file.get()); });
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, message(0));
}

TEST_F(FailingRead, OfALineThatCannotBeGoneTo)
{
    ASSERT_EQ(ZELReadLine(file.get()), 5000);
    failing.seeks = true;
    ASSERT_EQ(ZELSetCurrentLine(file.get(), 6), 6);
    const Outcome outcome = run([&] { ZELReadLine(file.get()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, message(6));
}

TEST_F(FailingRead, OfABlock)
{
    failing.reads = true;
    for (const auto& call :
         {std::function<void()>([&] { ZELReadHistogram(file.get()); }), std::function<void()>([&] {
              file->ZELHeader.NumDisplayLUTs = 1;
              ZELReadLUTs(file.get());
          })}) {
        const Outcome outcome = run(call);
        EXPECT_TRUE(outcome.ended);
        EXPECT_EQ(outcome.status, -1);
        EXPECT_NE(outcome.out.find("corrupt block: cannot read "), std::string::npos)
            << outcome.out;
        EXPECT_NE(outcome.out.find(ioError), std::string::npos) << outcome.out;
        std::clearerr(file->fptr);
    }
    failing.reads = false;
    failing.seeks = true;
    const Outcome outcome = run([&] { ZELReadHistogram(file.get()); });
    EXPECT_NE(outcome.out.find("corrupt block: cannot go on reading: " + ioError),
              std::string::npos)
        << outcome.out;
}

TEST(FailingFeatureRead, OfASampleIsNoEndOfTheFile)
{
    const TempDir dir;
    zel_test::writeFile(dir.path("f"), zel_test::sampleFile(2, 2000));
    zel_test::FeatureFile file;
    ASSERT_FALSE(file.open(dir.path("f")).ended);
    std::fclose(file->fptr);
    Failing failing;
    file->fptr = failingStream(failing, dir.path("f"), "rb");
    ASSERT_EQ(ZELFeatureReadSampleFromFile(file.get()), 1);
    failing.reads = true;
    Outcome outcome = runFeature([&] {
        while (ZELFeatureReadSampleFromFile(file.get()) == 1) continue;
    });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "ZELFeatureReadSampleFromFile: read error on sample " +
                               std::to_string(file->CurrentSample) +
                               "\nsystem error code:: " + ioError + "\n");
    EXPECT_LT(file->CurrentSample, 2000);
    failing.seeks = true;
    outcome = runFeature([&] {
        ZELFeatureSeekSample(file.get(), 1500);
        ZELFeatureReadSampleFromFile(file.get());
    });
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err.substr(0, 54), "ZELFeatureReadSampleFromFile: read error on sample 150");
}

TEST(FailingFeatureRead, OfAHeaderAndAMask)
{
    const TempDir dir;
    zel_test::writeFile(dir.path("f"), zel_test::sampleFile(2, 2));
    Failing failing;
    failing.reads = true;
    FILE* stream = failingStream(failing, dir.path("f"), "rb");
    auto parameters = std::make_unique<ZELParameterStruct>();
    const std::string reported = "corrupt feature file: cannot read ";
    Outcome outcome = runFeature([&] { ZELFeatureReadHeader(stream, parameters.get()); });
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err.substr(0, reported.size()), reported);
    EXPECT_NE(outcome.err.find(": " + ioError + " at offset 0\n"), std::string::npos)
        << outcome.err;
    ZELFeatureFreeParameters(parameters.get());
    outcome = runFeature([&] { ZELFeatureReadMask(stream); });
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err.substr(0, reported.size()), reported);
    failing.seeks = true;
    outcome = runFeature([&] { ZELFeatureReadMask(stream); });
    EXPECT_EQ(outcome.err.substr(0, 34), "corrupt feature file: cannot go on");
    std::fclose(stream);
}

TEST(FailingFeatureWrite, AClose)
{
    ZELFeatureSetOverwritePromptOff();
    const zel_test::CompleteParameters parameters("define a:Ch1\n");
    zel_test::FeatureFile file;
    ASSERT_FALSE(file.create(parameters.dir.path("f.par")).ended);
    const std::string path = file->Parameters.IO.outputFilename;
    std::fclose(file->fptr);
    Failing failing;
    failing.closes = true;
    file->fptr = failingStream(failing, path, "w+b");
    const Outcome outcome = runFeature([&] { ZELFeatureCloseFile(file.get()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "ZELFeatureCloseFile: write error on file " + path +
                               "\nsystem error code:: " + std::strerror(EDQUOT) + "\n");
    ZELFeatureSetOverwritePromptOn();
}

// ---- Writing ----

class FailingWrite : public testing::Test {
protected:
    explicit FailingWrite() : writer(100, 0, 2)
    {
        writer.add(0, 3, 0, 0);
        ZELAddTable(&writer->ZELHeader.TableList, 1, 3, "table");
        ZELAddLUT(writer.get(), 1, 2, "lut");
        zel::lutBlockWritten() = false;
        writer.open();
        std::fflush(writer->fptr);
        const long end = std::ftell(writer->fptr);
        std::fclose(writer->fptr);
        writer->fptr = failingStream(failing, writer.path(), "w+b");
        std::fseek(writer->fptr, end, SEEK_SET);
    }
    std::string message(const char* function, int error) const
    {
        return std::string(function) + ": write error on file " + writer.path() + ": " +
               std::strerror(error) + "\n";
    }
    void expectFinishTells(int error)
    {
        const Outcome outcome = run([&] { ZELFinishWritingFile(writer.get()); });
        EXPECT_TRUE(outcome.ended);
        EXPECT_EQ(outcome.status, -1);
        EXPECT_EQ(outcome.out, message("ZELFinishWritingFile", error));
    }
    void expectUpdatesTell()
    {
        const std::pair<std::function<void()>, std::string> rows[] = {
            {[&] { ZELUpdateLUTs(writer.get()); },
             "ZELUpdateLUTs: write error on file " + writer.path() + ": " + ioError + "\n"},
            {[&] { ZELUpdateAllHistograms(writer.get()); }, message("ZELUpdateAllHistograms", EIO)},
            {[&] { ZELUpdateHistogram(writer.get(), writer.slot(0).ChannelHistogram); },
             message("ZELUpdateHistogram", EIO)},
            {[&] { ZELUpdateTables(writer->fptr, &writer->ZELHeader.TableList); },
             "ZELUpdateTables: write error: " + ioError + "\n"}};
        for (const auto& [call, message] : rows) {
            failing.seeks = !failing.seeksAfterAWrite;
            const Outcome outcome = run(call);
            EXPECT_TRUE(outcome.ended) << message;
            EXPECT_EQ(outcome.status, -1) << message;
            EXPECT_TRUE(outcome.out.ends_with(message)) << outcome.out;
        }
        run([&] { ZELFinishWritingFile(writer.get()); });
    }

    Failing failing;
    zel_test::Writer writer;
};

// What waits in the stream is a line of 132 bytes; the histograms are not even reached.
TEST_F(FailingWrite, OfWhatWaitsForTheClose)
{
    ASSERT_FALSE(writer.write().ended);
    failing.writes = true;
    expectFinishTells(ENOSPC);
}

TEST_F(FailingWrite, OfALine)
{
    failing.writes = true;
    const Outcome outcome = run([&] {
        for (int line = 0; line < 1000; ++line) ZELWriteLine(writer.get());
    });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, message("ZELWriteLine", ENOSPC));
    failing.writes = false;  // there is room again, but a line is missing
    const Outcome finish = run([&] { ZELFinishWritingFile(writer.get()); });
    EXPECT_TRUE(finish.ended);
    EXPECT_EQ(finish.out.substr(0, 34), "ZELFinishWritingFile: write error ");
}

TEST_F(FailingWrite, ASeekAtTheEndLeavesTheLinesAlone)
{
    ASSERT_FALSE(writer.write().ended);
    failing.seeks = true;
    const auto size = static_cast<std::size_t>(writer->HeaderOffset + writer->LineOffset);
    expectFinishTells(EIO);
    EXPECT_EQ(zel_test::readFile(writer.path()).size(), size);
}

TEST_F(FailingWrite, AClose)
{
    ASSERT_FALSE(writer.write().ended);
    failing.closes = true;
    expectFinishTells(EDQUOT);
}

TEST_F(FailingWrite, SeeksOfBlocksThatAreUpdated)
{
    expectUpdatesTell();
}

// What follows would be written over the block.
TEST_F(FailingWrite, SeeksBackFromBlocksThatAreUpdated)
{
    failing.seeksAfterAWrite = true;
    expectUpdatesTell();
}

#endif

// ---- What cannot be read at all ----

TEST(UnreadableFile, ADirectoryIsNoEmptyFile)
{
    const TempDir dir;
    const std::string d = dir.path();
    const std::string reason = std::strerror(EISDIR);
    auto record = zel_test::zeroRecord();
    int result = 0;
    Outcome outcome = run([&] { result = ZELOpenReadOnlyFile(record.get(), d.c_str()); });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(outcome.out, "ZELReadCompositeInfo: cannot read file " + d + ": " + reason + "\n");
    EXPECT_EQ(ZELIsFileComposite(d.c_str()), -1);
    outcome = run([&] { result = ZELLoadMetadata(record.get(), d.c_str(), 1); });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(outcome.out, "ZELLoadMetadata:  read error on file " + d + ": " + reason + "\n");
    EXPECT_EQ(record->ZELHeader.MetaDataSize, 0);
    auto parameters = std::make_unique<ZELParameterStruct>();
    outcome = runFeature([&] { ZELParseParameterFile(d.c_str(), parameters.get()); });
    ZELFeatureFreeParameters(parameters.get());
    const std::string parameterError =
        "read error on parameter file " + d + "\nsystem error code:: " + reason + "\n";
    EXPECT_EQ(outcome.err, parameterError);
    EXPECT_EQ(outcome.status, -1);
    ZELFeatureMaskListType list;
    outcome = runFeature([&] { ZELParseMaskParameterFile(d.c_str(), &list); });
    EXPECT_EQ(outcome.err, parameterError);
    outcome = runFeature([&] { ZELInitializeOlsonEcosystem(d.c_str()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err, "ZELInitializeOlsonEcosystem: error: cannot read Olson Ecosystem file " +
                               d + "\nsystem error code:: " + reason + "\n");
    zel_test::FeatureFile file;
    EXPECT_EQ(file.open(d).status, -1);
}

// A grid that cannot be read would show class 0 everywhere.
TEST(UnreadableFile, AGridIsNotRead)
{
    const TempDir dir;
    std::filesystem::create_directories(dir.path("epa/owe14d.img"));
    setenv("ZEL_DATA_DIR", dir.path().c_str(), 1);
    zel::gridsWereSought() = false;
    const Outcome outcome = run([] { ZELAncillaryReadFiles(); });
    unsetenv("ZEL_DATA_DIR");
    EXPECT_NE(outcome.out.find("ZELReadAncillaryFiles: read error on file " +
                               dir.path("epa/owe14d.img") + ": " + std::strerror(EISDIR) + "\n"),
              std::string::npos)
        << outcome.out;
    EXPECT_EQ(SuccessfullyRead[0], 0);
    EXPECT_TRUE(run([] { ZELAncillaryFetchPixelOlsonEcosystem(1.0f, 1.0f); }).ended);
}

// An input that becomes a container after its directory was read, while the tool says something.
TEST(ChangingFile, IsNotTakenForWhatItWas)
{
    const TempDir dir;
    const std::string names[] = {dir.path("a"), dir.path("b"), dir.path("out")};
    zel_test::Scene scene = zel_test::smallScene();
    const zel_test::Bytes both = zel_test::buildComposite({scene, scene});
    zel_test::writeFile(names[0], both);
    zel_test::writeFile(names[1], build(scene).bytes);
    struct Change {
        std::string name, said;
        const zel_test::Bytes& content;
    } change{names[1], "", both};
    const auto look = [](void* data, FILE*, const char* text) {
        Change& c = *static_cast<Change*>(data);
        c.said += text;
        if (std::strstr(text, "UserBaseComponentIndex -1 invalid"))
            zel_test::writeFile(c.name, c.content);
    };
    const char* inputs[] = {names[0].c_str(), names[1].c_str()};
    ZELSetMessageSink(look, &change);
    const int result = ZELCreateCompositeFile(inputs, 2, 0, -1, names[2].c_str(), 0);
    ZELSetMessageSink(nullptr, nullptr);
    EXPECT_EQ(result, -1);
    EXPECT_TRUE(change.said.ends_with("ZELCreateCompositeFile: Error: file " + names[1] +
                                      " changes while it is read\n"))
        << change.said;
    EXPECT_FALSE(std::filesystem::exists(names[2]));
}

// ---- Outputs that are inputs ----

class OutputIsInput : public testing::Test {
protected:
    OutputIsInput()
    {
        ZELFeatureSetOverwritePromptOff();
        zel_test::writeFile(scene, std::string("a scene"));
        zel_test::writeFile(source, zel_test::sampleFile(1, 3));
        EXPECT_EQ(symlink(source.c_str(), dir.path("soft").c_str()), 0);
        EXPECT_EQ(link(source.c_str(), dir.path("hard").c_str()), 0);
    }
    ~OutputIsInput() override { ZELFeatureSetOverwritePromptOn(); }

    static void expectRefused(const Outcome& outcome, const std::string& name)
    {
        EXPECT_TRUE(outcome.ended);
        EXPECT_EQ(outcome.status, -1);
        EXPECT_TRUE(
            outcome.err.ends_with("error: output file " + name + " is one of the input files\n"))
            << outcome.err;
    }

    const TempDir dir;
    const std::string scene = dir.path("scene"), source = dir.path("source");
};

TEST_F(OutputIsInput, OfAFeatureFile)
{
    const std::string path = dir.path("f.par");
    const std::string text =
        "inputfilename " + scene + "\noutputfilename " + scene + "\nfeature Ch1:\"first\"\n";
    zel_test::writeFile(path, text);
    for (const char* given : {static_cast<const char*>(nullptr), path.c_str()}) {
        zel_test::FeatureFile file;
        expectRefused(file.create(path, given), given ? path : scene);
        EXPECT_EQ(zel_test::readText(scene), "a scene");
        EXPECT_EQ(zel_test::readText(path), text);
    }
}

TEST_F(OutputIsInput, OfACopy)
{
    const zel_test::Bytes before = zel_test::readFile(source);
    zel_test::FeatureFile from;
    ASSERT_FALSE(from.open(source).ended);
    for (const char* name : {"source", "soft", "hard", "./source"}) {
        zel_test::FeatureFile to;
        const std::string path = dir.path(name);
        expectRefused(
            runFeature([&] { ZELFeatureCreateCopiedFile(to.get(), from.get(), path.c_str()); }),
            path);
        EXPECT_EQ(zel_test::readFile(source), before);
    }
}

TEST_F(OutputIsInput, OfAMask)
{
    const zel_test::Block block("");
    ASSERT_TRUE(block.succeeded());
    const std::string one = block.dir.path("one");
    const zel_test::Bytes before = zel_test::readFile(one);
    const Outcome outcome =
        runFeature([&] { ZELFeatureSaveMask(block.list.MaskHead, one.c_str()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.err,
              "ZELFeatureSaveMask: error: output file " + one + " is one of the input files\n");
    EXPECT_EQ(zel_test::readFile(one), before);
}

}  // namespace
