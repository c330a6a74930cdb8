#include "zel_util.h"

#include <cerrno>
#include <cstring>

#include "ground/zel_door.hpp"
#include "records/slot.hpp"

namespace {

using zel::print;

// By storage code; nothing for an unknown code.
constexpr const char* storageTexts[] = {nullptr,
                                        "Stored as one byte values",
                                        "Stored as two byte values",
                                        "Stored as one byte unscaled values",
                                        "Stored as float values",
                                        "Stored as two byte unscaled values"};

constexpr const char* unitsTexts[] = {
    "None",           "Degree Kelvin",        "Percent Albedo", "Reflectance",
    "Degree Celcius", "None (Look up Table)", "None (Daytime)", "Radiance(W/m^2/micron/steradian)"};

template <std::size_t N>
const char* textOf(const char* const (&texts)[N], int code, const char* otherwise)
{
    return code >= 0 && code < static_cast<int>(N) ? texts[code] : otherwise;
}

bool isComposite(const ZELType& file)
{
    return file.numZELComponents >= 2 && file.ZELComponent;
}

void printVersion(const ZELType& file, FILE* stream)
{
    print(stream, "ZEL lib version %2.4f\n", static_cast<double>(file.ZELHeader.VersionNumber));
    print(stream, "Maximum allowed channels %d\n", file.ZELHeader.MaxNumChan);
}

void printCompositeLines(const ZELType& file, FILE* stream)
{
    print(stream, "File is a ZEL composite with %d components\n", file.numZELComponents);
    print(stream, "Component %d is the default base resolution component\n",
          file.baseZELComponent + 1);
}

void printChannel(const ZELChannelType& channel, int index, FILE* stream)
{
    print(stream, "\n");
    print(stream, "ZEL Channel Index: %d\n", index);
    print(stream, "Channel Label: %s\n", channel.ChannelLabel);
    print(stream, "Channel Comment: %s\n", channel.ChannelComment);
    print(stream, "Scale range Max: %f Min: %f\n", static_cast<double>(channel.MaxValue),
          static_cast<double>(channel.MinValue));
    if (const char* storage = textOf(storageTexts, channel.Type, nullptr))
        print(stream, "%s\n", storage);
    print(stream, "Wavelength (microns): %f\n", static_cast<double>(channel.ChannelWaveLength));
    print(stream, "Units: %s\n", textOf(unitsTexts, channel.Units, "Unknown"));
}

void printComponents(ZELType& file, FILE* stream, bool withChannels)
{
    for (int i = 0; i < file.numZELComponents; ++i) {
        print(stream, "\nZEL Component %d data header:\n", i + 1);
        PrintHeader(&file.ZELComponent[i], stream);
        if (!withChannels) continue;
        print(stream, "\nChannels defined in Component %d:\n", i + 1);
        ZELPrintChannelInfo(&file.ZELComponent[i], stream);
    }
}

}  // namespace

// Data type, comment and resolution are printed twice, as readers of the report expect.
void PrintHeader(ZELType* ZELdata, FILE* fptr)
{
    const ZELHeaderType& h = ZELdata->ZELHeader;
    print(
        fptr,
        "\nyear: %d\nJulian day %d\nSatellite Number %d\nPixels per line %d\nNumber of lines %d\n",
        h.year, h.julian, h.sat_no, h.NPixelPerLine, ZELdata->NumLines);
    print(fptr, "DataType %d\n", h.DataType);
    print(fptr, "DataComment %s\n", h.DataComment);
    print(fptr, "SpatialResolution (meters) %f\n", static_cast<double>(h.SpatialResolution));
    print(fptr, "NumNavPoints %d\n", h.NumNavPoints);
    print(fptr, "StartNavPoint %d\n", h.StartNavPoint);
    print(fptr, "NavPointInterval %d\n", h.NavPointInterval);
    print(fptr, "DataType %d\n", h.DataType);
    print(fptr, "SatelliteAltitude %f\n", static_cast<double>(h.SatelliteAltitude));
    print(fptr, "SpatialResolution %f\n", static_cast<double>(h.SpatialResolution));
    print(fptr, "DataComment %s\n", h.DataComment);
    print(fptr, "Histogram flag %d\n", ZELdata->HistogramFlag);
}

void ZELPrintHeader(ZELType* ZELdata, FILE* fptr)
{
    printVersion(*ZELdata, fptr);
    if (isComposite(*ZELdata)) {
        printCompositeLines(*ZELdata, fptr);
        printComponents(*ZELdata, fptr, false);
        print(fptr, "\nZEL Composite data header:\n");
    } else {
        print(fptr, "\nZEL data header:\n");
    }
    PrintHeader(ZELdata, fptr);
}

void ZELPrintChannelInfo(ZELType* ZELdata, FILE* fptr)
{
    for (const auto [slot, channel] : zel::presentChannels(*ZELdata))
        printChannel(channel, slot, fptr);
}

void ZELPrintHeaderInfo(ZELType* ZELdata, FILE* fptr)
{
    printVersion(*ZELdata, fptr);
    const bool composite = isComposite(*ZELdata);
    if (composite) {
        printCompositeLines(*ZELdata, fptr);
        printComponents(*ZELdata, fptr, true);
    }
    print(fptr, composite ? "\nZEL Composite data header:\n" : "\nZEL data header:\n");
    PrintHeader(ZELdata, fptr);
    print(fptr, composite ? "\nAll Channels defined in ZEL composite file:\n"
                          : "\nChannels defined in zel file:\n");
    ZELPrintChannelInfo(ZELdata, fptr);
}

int ZELLoadMetadata(ZELType* ZELdata, const char* FileName, int type)
{
    ZELHeaderType& h = ZELdata->ZELHeader;
    h.MetaDataType = 0;
    h.MetaDataSize = 0;
    FILE* stream = std::fopen(FileName, "rb");
    if (!stream) return 0;
    constexpr std::size_t chunkSize = 80;
    char chunk[chunkSize];
    std::size_t total = 0;
    while (const std::size_t got = std::fread(chunk, 1, chunkSize, stream)) {
        if (total + got > ZEL_METADATA_SIZE) {
            std::fclose(stream);
            zel::report("ZELLoadMetadata:  metadata file too large\n");
            return -1;
        }
        std::memcpy(h.MetaDataText + total, chunk, got);
        total += got;
    }
    const bool failed = std::ferror(stream) != 0;
    if (failed)
        zel::report("ZELLoadMetadata:  read error on file %s: %s\n", FileName,
                    std::strerror(errno));
    std::fclose(stream);
    if (failed) return -1;
    h.MetaDataType = type;
    h.MetaDataSize = static_cast<int32_t>(total);
    return h.MetaDataSize;
}

void ZELPrintMetadata(ZELType* ZELdata)
{
    const ZELHeaderType& h = ZELdata->ZELHeader;
    zel::report("Metadata size %d, type ", h.MetaDataSize);
    if (h.MetaDataType == 0) zel::report("NONE\n");
    if (h.MetaDataType == 1) zel::report("NLAPS\n");
    for (int i = 0; i < h.MetaDataSize && i < ZEL_METADATA_SIZE; ++i)
        zel::reportCharacter(h.MetaDataText[i]);
    zel::report("\n");
    ZELdata->WritePrompt = 0;
}
