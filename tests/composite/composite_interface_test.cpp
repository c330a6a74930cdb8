// Composites through the functions themselves, where the tool's command line does not reach.
#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

#include "support/file_builder.hpp"
#include "support/outcome.hpp"
#include "zel/zel.h"

namespace {

using zel_test::Outcome;
using zel_test::run;
using zel_test::Scene;

Scene sceneOf(float resolution, int pixels, int lines)
{
    Scene scene = zel_test::smallScene();
    scene.resolution = resolution;
    scene.pixels = pixels;
    scene.startNav = 0;
    scene.navInterval = 1;
    scene.slots = {zel_test::channel(3, "bytes")};
    const zel_test::Line line = scene.lines[0];
    scene.lines.assign(static_cast<std::size_t>(lines), line);
    return scene;
}

// A plain file each of 1000 and 250 m, and a composite of both.
struct Files {
    zel_test::TempDir dir;
    std::string coarse = dir.path("coarse.zel");
    std::string fine = dir.path("fine.zel");
    std::string both = dir.path("both.zel");
    std::string output = dir.path("output.zel");

    Files()
    {
        const Scene a = sceneOf(1000, 4, 2);
        const Scene b = sceneOf(250, 16, 8);
        zel_test::writeFile(coarse, zel_test::build(a).bytes);
        zel_test::writeFile(fine, zel_test::build(b).bytes);
        zel_test::writeFile(both, zel_test::buildComposite({a, b}, 1));
    }
};

struct Info {
    int result = 99, base = 99, count = 99;
    int offsets[100], sizes[100];
    float resolutions[100];
};

Info infoOf(const std::string& path)
{
    Info info;
    run([&] {
        info.result = ZELReadCompositeInfo(path.c_str(), &info.base, &info.count, info.offsets,
                                           info.resolutions, info.sizes);
    });
    return info;
}

int baseWritten(const std::string& path)
{
    const zel_test::Bytes bytes = zel_test::readFile(path);
    return bytes[13] | bytes[14] << 8 | bytes[15] << 16 | bytes[16] << 24;
}

// An open view over the two plain files, finished at the end.
class View {
public:
    View(const Files& files, int base)
    {
        const char* names[] = {files.coarse.c_str(), files.fine.c_str()};
        run([&] { result = ZELOpenCompositeReadOnlyFile(record.get(), names, 2, base); });
    }
    ~View()
    {
        run([&] { ZELFinishReadingFile(record.get()); });
    }
    std::unique_ptr<ZELType> record = zel_test::junkRecord();
    int result = 99;
};

TEST(CompositeInfo, OfACompositeIsItsDirectory)
{
    const Files files;
    const Info info = infoOf(files.both);
    const int first = static_cast<int>(zel_test::readFile(files.coarse).size());
    EXPECT_EQ(info.result, 1);
    EXPECT_EQ(info.base, 1);
    EXPECT_EQ(info.count, 2);
    EXPECT_EQ(info.offsets[0], 0);
    EXPECT_EQ(info.offsets[1], first);
    EXPECT_EQ(info.sizes[0], first);
    EXPECT_EQ(info.resolutions[0], 1000.0f);
    EXPECT_EQ(info.resolutions[1], 250.0f);
    EXPECT_EQ(info.sizes[2], 0);
}

TEST(CompositeInfo, OfAPlainFileIsOneComponentAndBaseZero)
{
    const Files files;
    const Info info = infoOf(files.fine);
    EXPECT_EQ(info.result, 0);
    EXPECT_EQ(info.base, 0);
    EXPECT_EQ(info.count, 1);
}

TEST(CompositeInfo, OfAFileWithoutPrefixIsOneComponentAndBaseZero)
{
    const Files files;
    zel_test::writeFile(files.output, zel_test::build(zel_test::smallScene(141)).bytes);
    const Info info = infoOf(files.output);
    EXPECT_EQ(info.result, 0);
    EXPECT_EQ(info.base, 0);
    EXPECT_EQ(info.count, 1);
}

TEST(CompositeInfo, OfAMissingFileIsMinusOneWithAMessage)
{
    int composite = 99;
    const Outcome outcome = run([&] { composite = ZELIsFileComposite("/nowhere/a.zel"); });
    EXPECT_EQ(composite, -1);
    EXPECT_EQ(outcome.out, "ZELReadCompositeInfo: cannot open file /nowhere/a.zel\n");
}

TEST(CompositeInfo, TheTwoShortFormsSayTheSame)
{
    const Files files;
    int base = 99;
    run([&] {
        EXPECT_EQ(ZELReadCompositeBaseFileIndex(files.both.c_str(), &base), 1);
        EXPECT_EQ(ZELIsFileComposite(files.both.c_str()), 1);
        EXPECT_EQ(ZELIsFileComposite(files.coarse.c_str()), 0);
    });
    EXPECT_EQ(base, 1);
}

struct Created {
    int result = 99;
    Outcome outcome;
};

Created create(const Files& files, int baseFile, int baseComponent)
{
    const char* names[] = {files.coarse.c_str(), files.fine.c_str()};
    Created created;
    created.outcome = run([&] {
        created.result =
            ZELCreateCompositeFile(names, 2, baseFile, baseComponent, files.output.c_str(), 0);
    });
    created.outcome.out = zel_test::withoutGridNotes(created.outcome.out);
    return created;
}

TEST(CompositeCreate, ABaseIndexAboveTheNumberOfFilesIsReplacedByTheFirst)
{
    const Files files;
    const Created created = create(files, 3, -1);
    EXPECT_EQ(created.result, 0);
    EXPECT_EQ(created.outcome.out,
              "Warning: specified BaseFileIndex 3 invalid... using first file\n");
    EXPECT_EQ(baseWritten(files.output), 0);
}

TEST(CompositeCreate, ANegativeBaseIndexIsReplacedByTheFirst)
{
    const Files files;
    const Created created = create(files, -1, -1);
    EXPECT_EQ(created.outcome.out,
              "Warning: specified BaseFileIndex -1 invalid... using first file\n");
    EXPECT_EQ(baseWritten(files.output), 0);
}

TEST(CompositeCreate, ABaseIndexEqualToTheNumberOfFilesPassesWithAWarningOnStandardError)
{
    const Files files;
    const Created created = create(files, 2, -1);
    EXPECT_EQ(created.result, 0);
    EXPECT_EQ(created.outcome.out, "");
    EXPECT_NE(created.outcome.err, "");
    EXPECT_EQ(baseWritten(files.output), 2);
}

TEST(CompositeOpen, APlainFileAloneIsRefused)
{
    const Files files;
    const char* names[] = {files.fine.c_str()};
    auto record = zel_test::junkRecord();
    int result = 99;
    const Outcome outcome =
        run([&] { result = ZELOpenCompositeReadOnlyFile(record.get(), names, 1, 0); });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(outcome.out, "OpenCompositeReadOnlyFile: Error: file " + files.fine +
                               " is not a composite ZEL file\n");
}

TEST(CompositeOpen, AMissingFileAloneIsMinusOne)
{
    const char* names[] = {"/nowhere/a.zel"};
    auto record = zel_test::junkRecord();
    int result = 99;
    run([&] { result = ZELOpenCompositeReadOnlyFile(record.get(), names, 1, 0); });
    EXPECT_EQ(result, -1);
}

TEST(CompositeOpen, AgainstTheCoarseComponentTheFineOneIsAveragedByFour)
{
    const Files files;
    const View view(files, 0);
    ASSERT_EQ(view.result, 0);
    const ZELType* components = view.record->ZELComponent;
    EXPECT_EQ(components[0].samplingFlag, 0);
    EXPECT_EQ(components[0].samplingFactor, 0);
    EXPECT_EQ(components[1].samplingFlag, 1);
    EXPECT_EQ(components[1].samplingFactor, 4);
    EXPECT_EQ(components[0].isComponent, 1);
    EXPECT_EQ(view.record->NumTotalChans, 2);
    EXPECT_EQ(view.record->ReadWriteFlag, 1);
}

TEST(CompositeOpen, AgainstTheFineComponentTheCoarseOneIsRepeatedFourTimes)
{
    const Files files;
    const View view(files, 1);
    ASSERT_EQ(view.result, 0);
    const ZELType* components = view.record->ZELComponent;
    EXPECT_EQ(components[0].samplingFlag, 2);
    EXPECT_EQ(components[0].samplingFactor, 4);
    EXPECT_EQ(components[1].samplingFlag, 0);
}

TEST(CompositeOpen, TheViewLooksAtTheLineOfTheReference)
{
    const Files files;
    const View view(files, 1);
    ASSERT_EQ(view.result, 0);
    const ZELType& reference = view.record->ZELComponent[1];
    EXPECT_NE(reference.Lat, nullptr);
    EXPECT_EQ(view.record->LatBuffer, reference.LatBuffer);
    EXPECT_EQ(view.record->LonBuffer, reference.LonBuffer);
    EXPECT_EQ(view.record->Lat, reference.Lat);
    EXPECT_EQ(view.record->Lon, reference.Lon);
    EXPECT_EQ(view.record->SolarZenith, reference.SolarZenith);
    EXPECT_EQ(view.record->ViewZenith, reference.ViewZenith);
    EXPECT_EQ(view.record->Azimuth, reference.Azimuth);
    EXPECT_EQ(view.record->Sunglint, reference.Sunglint);
    EXPECT_EQ(view.record->OlsonEcosystem, reference.OlsonEcosystem);
    EXPECT_EQ(view.record->PercentWater, reference.PercentWater);
    EXPECT_EQ(view.record->IGBPEcosystem, reference.IGBPEcosystem);
    EXPECT_EQ(view.record->Terrain, reference.Terrain);
}

TEST(CompositeOpen, AHistogramComesWithItsCountsAndWithoutItsStatistics)
{
    const Files files;
    Scene scene = sceneOf(1000, 4, 2);
    scene.slots[0].histogram = zel_test::Histogram{9.0f, 1.0f, {0, 3, 5}};
    scene.slots[0].standardHistogram = zel_test::Histogram{7.0f, 2.0f, {4, 6}};
    zel_test::writeFile(files.coarse, zel_test::build(scene).bytes);
    const View view(files, 0);
    ASSERT_EQ(view.result, 0);
    const ZELChannelType& own = view.record->ZELComponent[0].Channels[0];
    const ZELChannelType& channel = view.record->Channels[0];
    EXPECT_GT(own.ChannelHistogram->Mean, 1.0f);
    ASSERT_NE(channel.ChannelHistogram, own.ChannelHistogram);
    for (const auto& [copy, numPixels, last] :
         {std::tuple(channel.ChannelHistogram, 8.0f, 5),
          std::tuple(channel.ChannelStandardHistogram, 10.0f, 6)}) {
        ASSERT_NE(copy, nullptr);
        EXPECT_EQ(copy->NumPixels, numPixels);
        EXPECT_EQ(copy->Histogram[copy->NumHistogramBins - 1], last);
        EXPECT_EQ(copy->Mean, 0.0f);
        EXPECT_EQ(copy->Sigma, 0.0f);
        EXPECT_EQ(copy->fileOffset, 0);
    }
    EXPECT_EQ(channel.UpdateChannelHistogramFlag, 0);
}

TEST(CompositeRead, ALineForgetsPositionsAndAnglesOfTheLineBefore)
{
    const Files files;
    const View view(files, 0);
    view.record->LatLonInterpolated = 1;
    view.record->SolarAnglesCalculated = 1;
    run([&] { EXPECT_EQ(ZELReadLine(view.record.get()), 4); });
    EXPECT_EQ(view.record->LatLonInterpolated, 0);
    EXPECT_EQ(view.record->SolarAnglesCalculated, 0);
}

TEST(CompositeRead, AnUnknownSamplingEndsTheProcess)
{
    const Files files;
    const View view(files, 0);
    view.record->ZELComponent[0].samplingFlag = 3;
    const Outcome outcome = run([&] { ZELReadLine(view.record.get()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "ZELReadCompositeLine: invalid subsampling \n");
}

TEST(CompositeRead, AComponentInAContainerEndsWithItsOwnLastLine)
{
    const Files files;
    auto record = zel_test::junkRecord();
    int lines = 0;
    run([&] {
        ASSERT_EQ(OpenReadOnlyFile(record.get(), files.both.c_str(), 0,
                                   static_cast<int>(zel_test::readFile(files.coarse).size())),
                  0);
        while (ZELReadLine(record.get())) ++lines;
        ZELFinishReadingFile(record.get());
    });
    EXPECT_EQ(lines, 2);
}

TEST(CompositeRead, ARecordThatIsNoViewEndsTheProcess)
{
    zel_test::OpenedFile file(zel_test::build(zel_test::smallScene()).bytes);
    const Outcome outcome = run([&] { ZELReadCompositeLine(file.get(), 1); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
}

// ---- Misuse that must not harm a file or the process ----

TEST(HistogramPlace, AStandardHistogramLoadedAfterTheHeaderDoesNotOverwriteTheFile)
{
    const zel_test::TempDir dir;
    const std::string path = dir.path("a.zel");
    auto record = zel_test::writeOnlyRecord();
    const Outcome outcome = run([&] {
        ZELAddChannel(record.get(), 0, 0, 0, 3, 8, "a", "");
        ZELOpenWriteOnlyFile(record.get(), path.c_str());
        const int counts[] = {1, 2, 3};
        ZELLoadStandardHistogram(record.get(), 0, 3, 9, 1, counts);
        ZELFinishWritingFile(record.get());
    });
    EXPECT_NE(outcome.err, "");
    EXPECT_EQ(zel_test::readText(path).substr(0, 6), "ZEL2.3");
}

TEST(LutLists, AListAppendedToItselfIsDoubled)
{
    auto record = zel_test::writeOnlyRecord();
    run([&] {
        ZELAddLUT(record.get(), 1, 2, "a");
        ZELAppendFileLUTs(record.get(), record.get());
        EXPECT_EQ(ZELFetchNumLuts(record.get()), 2);
        ASSERT_NE(ZELFetchNextLut(ZELFetchFirstLut(record.get())), nullptr);
        ZELFreeLUTs(record.get());
    });
}

TEST(Open, AMissingFileLeavesARecordThatCanBeFinished)
{
    auto record = zel_test::junkRecord();
    const Outcome outcome = run([&] {
        EXPECT_EQ(ZELOpenReadOnlyFile(record.get(), "/nowhere/a.zel"), -1);
        ZELFinishReadingFile(record.get());
    });
    EXPECT_FALSE(outcome.ended);
}

TEST(DeleteChannel, OnAReaderLeavesTheOtherChannelsInTheirPlace)
{
    zel_test::Scene scene = zel_test::smallScene();
    zel_test::OpenedFile file(zel_test::build(scene).bytes);
    run([&] {
        ZELDeleteChannel(file.get(), 0);
        ASSERT_NE(ZELReadLine(file.get()), 0);
        ASSERT_NE(ZELReadLine(file.get()), 0);
    });
    EXPECT_EQ(file->ScanTime, scene.lines[1].scanTime);
    const zel_test::Bytes& stored = scene.lines[1].pixels.at(2);
    EXPECT_EQ(zel_test::Bytes(file->PixBuf[2], file->PixBuf[2] + stored.size()), stored);
}

TEST(MetadataBytes, ZeroBytesArePrintedAsTheyAre)
{
    auto record = zel_test::writeOnlyRecord();
    record->ZELHeader.MetaDataSize = 3;
    record->ZELHeader.MetaDataText[0] = 'a';
    record->ZELHeader.MetaDataText[2] = 'b';
    testing::internal::CaptureStdout();
    ZELPrintMetadata(record.get());
    fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              std::string("Metadata size 3, type NONE\na\0b\n", 31));
}

// The order is that of the library from the start on, whatever another file has left.
TEST(Container, IsMadeInTheByteOrderOfTheLibrary)
{
    const Files files;
    int orderWhenWarned = -1;
    const auto look = [](void* data, FILE*, const char* text) {
        if (std::strstr(text, "BaseFileIndex 7 invalid"))
            *static_cast<int*>(data) = SwapByteOrdering;
    };
    const char* inputs[] = {files.coarse.c_str(), files.fine.c_str()};
    SwapByteOrdering = 1;
    ZELSetMessageSink(look, &orderWhenWarned);
    const int result = ZELCreateCompositeFile(inputs, 2, 7, 0, files.output.c_str(), 0);
    ZELSetMessageSink(nullptr, nullptr);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(orderWhenWarned, 0);
    EXPECT_EQ(infoOf(files.output).count, 2);
}

}  // namespace
