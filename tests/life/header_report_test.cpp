// Reports of a file's header, and its metadata text.
#include <gtest/gtest.h>

#include <cstring>

#include "support/file_builder.hpp"
#include "support/outcome.hpp"

namespace {

using zel_test::Outcome;
using zel_test::run;
using zel_test::TempDir;
using zel_test::writeFile;

class Report : public testing::Test {
protected:
    void SetUp() override
    {
        describe(*record, 2001, 30.0f);
        ZELHeaderType& h = record->ZELHeader;
        h.MaxNumChan = 6;
        record->numZELComponents = 1;
        describeChannel(1, "red", "the red band", 3, 255.0f, 0.0f, 0.65f, 3);
        describeChannel(4, "heat", "", 2, 340.5f, 180.25f, 11.0f, 1);
    }

    static void describe(ZELType& record, int year, float resolution)
    {
        ZELHeaderType& h = record.ZELHeader;
        h.VersionNumber = 2.3f;
        h.year = static_cast<int16_t>(year);
        h.julian = 123;
        h.sat_no = 7;
        h.NPixelPerLine = 716;
        h.DataType = 5;
        std::strcpy(h.DataComment, "Gulf coast");
        h.SpatialResolution = resolution;
        h.NumNavPoints = 73;
        h.StartNavPoint = 2;
        h.NavPointInterval = 10;
        h.SatelliteAltitude = 705.25f;
        record.NumLines = 500;
        record.HistogramFlag = 1;
    }

    void describeChannel(int slot, const char* label, const char* comment, int type, float max,
                         float min, float wavelength, int units)
    {
        ZELChannelType& c = record->Channels[slot];
        c.ChannelPresentFlag = 1;
        std::strcpy(c.ChannelLabel, label);
        std::strcpy(c.ChannelComment, comment);
        c.Type = type;
        c.MaxValue = max;
        c.MinValue = min;
        c.ChannelWaveLength = wavelength;
        c.Units = units;
    }

    void makeComposite()
    {
        components = std::vector<ZELType>(2);
        describe(components[0], 2001, 15.0f);
        describe(components[1], 2001, 60.0f);
        for (ZELType& component : components) component.numZELComponents = 1;
        components[0].ZELHeader.MaxNumChan = 2;
        components[1].ZELHeader.MaxNumChan = 2;
        components[1].Channels[0] = record->Channels[1];
        record->numZELComponents = 2;
        record->baseZELComponent = 1;
        record->ZELComponent = components.data();
    }

    // What a printer writes to the stream it is given.
    std::string printed(void (*printer)(ZELType*, FILE*))
    {
        FILE* stream = tmpfile();
        const Outcome outcome = run([&] { printer(record.get(), stream); });
        EXPECT_FALSE(outcome.ended);
        EXPECT_EQ(outcome.out, "") << "all of it goes to the stream";
        const std::string text = zel_test::contentOf(stream);
        fclose(stream);
        return text;
    }

    static std::string headerBlock(const std::string& resolution)
    {
        return "\nyear: 2001\nJulian day 123\nSatellite Number 7\nPixels per line 716\n"
               "Number of lines 500\n"
               "DataType 5\n"
               "DataComment Gulf coast\n"
               "SpatialResolution (meters) " +
               resolution +
               "\n"
               "NumNavPoints 73\nStartNavPoint 2\nNavPointInterval 10\n"
               "DataType 5\n"
               "SatelliteAltitude 705.250000\n"
               "SpatialResolution " +
               resolution +
               "\n"
               "DataComment Gulf coast\n"
               "Histogram flag 1\n";
    }

    static inline const std::string redBlock =
        "\nZEL Channel Index: %d\nChannel Label: red\nChannel Comment: the red band\n"
        "Scale range Max: 255.000000 Min: 0.000000\nStored as one byte unscaled values\n"
        "Wavelength (microns): 0.650000\nUnits: Reflectance\n";

    static std::string red(int index)
    {
        std::string text = redBlock;
        return text.replace(text.find("%d"), 2, std::to_string(index));
    }

    static inline const std::string heat =
        "\nZEL Channel Index: 4\nChannel Label: heat\nChannel Comment: \n"
        "Scale range Max: 340.500000 Min: 180.250000\nStored as two byte values\n"
        "Wavelength (microns): 11.000000\nUnits: Degree Kelvin\n";

    std::unique_ptr<ZELType> record = zel_test::zeroRecord();
    std::vector<ZELType> components;
};

// Data type, comment and resolution appear twice.
TEST_F(Report, TheHeaderBlockHasItsLinesInOrder)
{
    EXPECT_EQ(printed(PrintHeader), headerBlock("30.000000"));
}

TEST_F(Report, TheHeaderOfAPlainFile)
{
    EXPECT_EQ(printed(ZELPrintHeader), "ZEL lib version 2.3000\nMaximum allowed channels 6\n"
                                       "\nZEL data header:\n" +
                                           headerBlock("30.000000"));
}

TEST_F(Report, TheHeaderOfACompositeShowsEachComponentFirst)
{
    makeComposite();
    EXPECT_EQ(printed(ZELPrintHeader),
              "ZEL lib version 2.3000\nMaximum allowed channels 6\n"
              "File is a ZEL composite with 2 components\n"
              "Component 2 is the default base resolution component\n"
              "\nZEL Component 1 data header:\n" +
                  headerBlock("15.000000") + "\nZEL Component 2 data header:\n" +
                  headerBlock("60.000000") + "\nZEL Composite data header:\n" +
                  headerBlock("30.000000"));
}

TEST_F(Report, ChannelBlocksAreThoseOfPresentSlotsInOrder)
{
    EXPECT_EQ(printed(ZELPrintChannelInfo), red(1) + heat);
}

TEST_F(Report, ASlotAtMaxNumChanIsNotShown)
{
    describeChannel(6, "beyond", "", 3, 1.0f, 0.0f, 0.0f, 0);
    EXPECT_EQ(printed(ZELPrintChannelInfo), red(1) + heat);
}

TEST_F(Report, EachStorageCodeHasItsWords)
{
    const struct {
        int code;
        const char* words;
    } cases[] = {{1, "Stored as one byte values\n"},
                 {2, "Stored as two byte values\n"},
                 {3, "Stored as one byte unscaled values\n"},
                 {4, "Stored as float values\n"},
                 {5, "Stored as two byte unscaled values\n"},
                 {0, ""},
                 {6, ""}};
    record->Channels[4].ChannelPresentFlag = 0;
    for (const auto& c : cases) {
        record->Channels[1].Type = c.code;
        EXPECT_EQ(printed(ZELPrintChannelInfo),
                  std::string("\nZEL Channel Index: 1\nChannel Label: red\n"
                              "Channel Comment: the red band\n"
                              "Scale range Max: 255.000000 Min: 0.000000\n") +
                      c.words + "Wavelength (microns): 0.650000\nUnits: Reflectance\n")
            << c.code;
    }
}

TEST_F(Report, EachUnitsCodeHasItsWordsAndAnyOtherIsUnknown)
{
    const struct {
        int code;
        const char* words;
    } cases[] = {{0, "None"},           {1, "Degree Kelvin"},
                 {2, "Percent Albedo"}, {3, "Reflectance"},
                 {4, "Degree Celcius"}, {5, "None (Look up Table)"},
                 {6, "None (Daytime)"}, {7, "Radiance(W/m^2/micron/steradian)"},
                 {8, "Unknown"},        {9, "Unknown"},
                 {-1, "Unknown"}};
    for (const auto& c : cases) {
        record->Channels[4].Units = c.code;
        const std::string text = printed(ZELPrintChannelInfo);
        const std::string line = std::string("\nUnits: ") + c.words + "\n";
        ASSERT_GE(text.size(), line.size());
        EXPECT_EQ(text.substr(text.size() - line.size()), line) << c.code;
    }
}

TEST_F(Report, HeaderAndChannelsOfAPlainFileTogether)
{
    EXPECT_EQ(printed(ZELPrintHeaderInfo), "ZEL lib version 2.3000\nMaximum allowed channels 6\n"
                                           "\nZEL data header:\n" +
                                               headerBlock("30.000000") +
                                               "\nChannels defined in zel file:\n" + red(1) + heat);
}

TEST_F(Report, HeadersAndChannelsOfACompositeTogether)
{
    makeComposite();
    EXPECT_EQ(printed(ZELPrintHeaderInfo),
              "ZEL lib version 2.3000\nMaximum allowed channels 6\n"
              "File is a ZEL composite with 2 components\n"
              "Component 2 is the default base resolution component\n"
              "\nZEL Component 1 data header:\n" +
                  headerBlock("15.000000") + "\nChannels defined in Component 1:\n" +
                  "\nZEL Component 2 data header:\n" + headerBlock("60.000000") +
                  "\nChannels defined in Component 2:\n" + red(0) +
                  "\nZEL Composite data header:\n" + headerBlock("30.000000") +
                  "\nAll Channels defined in ZEL composite file:\n" + red(1) + heat);
}

TEST_F(Report, TheVersionShownIsTheFilesOwn)
{
    record->ZELHeader.VersionNumber = 1.41f;
    EXPECT_EQ(printed(ZELPrintHeader).rfind("ZEL lib version 1.4100\n", 0), 0u);
    EXPECT_EQ(printed(ZELPrintHeaderInfo).rfind("ZEL lib version 1.4100\n", 0), 0u);
}

TEST_F(Report, AnOpenedFileReportsItsHeader)
{
    zel_test::OpenedFile file(zel_test::build(zel_test::smallScene()).bytes);
    ASSERT_EQ(file.result, 0);
    FILE* stream = tmpfile();
    run([&] { ZELPrintHeader(file.get(), stream); });
    EXPECT_EQ(zel_test::contentOf(stream),
              "ZEL lib version 2.3000\nMaximum allowed channels 3\n\nZEL data header:\n"
              "\nyear: 2001\nJulian day 123\nSatellite Number 7\nPixels per line 4\n"
              "Number of lines 2\nDataType 5\nDataComment a scene\n"
              "SpatialResolution (meters) 30.000000\nNumNavPoints 2\nStartNavPoint 0\n"
              "NavPointInterval 3\nDataType 5\nSatelliteAltitude 705.000000\n"
              "SpatialResolution 30.000000\nDataComment a scene\nHistogram flag 0\n");
    fclose(stream);
}

class Metadata : public testing::Test {
protected:
    int load(std::size_t bytes, int type)
    {
        text.resize(bytes);
        for (std::size_t i = 0; i < bytes; ++i) text[i] = static_cast<char>('a' + i % 23);
        writeFile(dir.path("meta"), text);
        return loadNamed("meta", type);
    }
    int loadNamed(const std::string& name, int type)
    {
        int size = -9;
        outcome = run([&] { size = ZELLoadMetadata(record.get(), dir.path(name).c_str(), type); });
        EXPECT_FALSE(outcome.ended);
        return size;
    }
    std::string loaded() const
    {
        const ZELHeaderType& h = record->ZELHeader;
        return {h.MetaDataText, h.MetaDataText + h.MetaDataSize};
    }

    TempDir dir;
    std::string text;
    Outcome outcome;
    std::unique_ptr<ZELType> record = zel_test::writeOnlyRecord();
};

TEST_F(Metadata, LoadsTheWholeFileAndReturnsItsSize)
{
    for (std::size_t size : {1u, 79u, 80u, 81u, 160u, 19999u}) {
        EXPECT_EQ(load(size, 1), static_cast<int>(size));
        EXPECT_EQ(record->ZELHeader.MetaDataSize, static_cast<int>(size));
        EXPECT_EQ(record->ZELHeader.MetaDataType, 1);
        EXPECT_EQ(loaded(), text);
        EXPECT_EQ(outcome.out, "");
    }
}

TEST_F(Metadata, AFileOfExactly20000BytesLoads)
{
    EXPECT_EQ(load(20000, 1), 20000);
    EXPECT_EQ(loaded(), text);
}

TEST_F(Metadata, AFileOf20001BytesIsRefused)
{
    load(10, 1);
    EXPECT_EQ(load(20001, 1), -1);
    EXPECT_EQ(outcome.out, "ZELLoadMetadata:  metadata file too large\n");
    EXPECT_EQ(record->ZELHeader.MetaDataType, 0);
    EXPECT_EQ(record->ZELHeader.MetaDataSize, 0);
}

TEST_F(Metadata, AMuchLargerFileIsRefusedToo)
{
    const int before = zel_test::openDescriptors();
    EXPECT_EQ(load(1000000, 1), -1);
    EXPECT_EQ(zel_test::openDescriptors(), before);
}

TEST_F(Metadata, AMissingFileClearsTheMetadataSilently)
{
    load(10, 1);
    EXPECT_EQ(loadNamed("nowhere", 1), 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(record->ZELHeader.MetaDataType, 0);
    EXPECT_EQ(record->ZELHeader.MetaDataSize, 0);
}

TEST_F(Metadata, AnEmptyFileHasItsTypeAndNoText)
{
    EXPECT_EQ(load(0, 1), 0);
    EXPECT_EQ(record->ZELHeader.MetaDataType, 1);
    EXPECT_EQ(record->ZELHeader.MetaDataSize, 0);
}

TEST_F(Metadata, PrintingNamesTheTypesNoneAndNlapsOnly)
{
    const struct {
        int type;
        const char* name;
    } cases[] = {{0, "NONE\n"}, {1, "NLAPS\n"}, {2, ""}, {-1, ""}};
    for (const auto& c : cases) {
        load(5, c.type);
        const Outcome printed = run([&] { ZELPrintMetadata(record.get()); });
        EXPECT_EQ(printed.out, std::string("Metadata size 5, type ") + c.name + "abcde\n")
            << c.type;
    }
}

TEST_F(Metadata, PrintingShowsExactlyMetaDataSizeCharacters)
{
    load(20000, 1);
    const Outcome printed = run([&] { ZELPrintMetadata(record.get()); });
    EXPECT_EQ(printed.out, "Metadata size 20000, type NLAPS\n" + text + "\n");
    record->ZELHeader.MetaDataSize = 3;
    EXPECT_EQ(run([&] { ZELPrintMetadata(record.get()); }).out,
              "Metadata size 3, type NLAPS\nabc\n");
}

TEST_F(Metadata, PrintingSwitchesTheOverwritePromptOff)
{
    ASSERT_EQ(record->WritePrompt, 1);
    run([&] { ZELPrintMetadata(record.get()); });
    EXPECT_EQ(record->WritePrompt, 0);
}

}  // namespace
