#include "zel_init.h"

#include <cerrno>
#include <cstring>

#include "ground/same_file.hpp"
#include "ground/text.hpp"
#include "ground/zel_door.hpp"
#include "lines/channel_records.hpp"
#include "lines/file_writer.hpp"
#include "lines/zel_navigate.hpp"
#include "records/buffers.hpp"
#include "records/file_state.hpp"
#include "records/mask_seam.hpp"
#include "records/name_keeper.hpp"
#include "records/records.hpp"
#include "records/release_seam.hpp"
#include "records/slot.hpp"
#include "zel_ancillary.h"
#include "zel_histogram.h"
#include "zel_io.h"

namespace {

using zel::fail;

// The arguments of the two initialisers.
struct Scene {
    int dataType;
    const char* comment;
    int year, julian, satellite;
    int pixels;
    int navPoints, startNavPoint, navPointInterval;
    float altitude, resolution;
};

void checkScene(const Scene& scene, const char* function)
{
    if (scene.pixels < 1 || scene.pixels > INT16_MAX)
        fail("%s: invalid number of pixels per line %d\n", function, scene.pixels);
    if (scene.navPoints < 0 || scene.navPoints > INT16_MAX)
        fail("%s: invalid number of navigation points %d\n", function, scene.navPoints);
}

void initHeader(ZELHeaderType& h, const Scene& scene)
{
    h.VersionNumber = ZEL_LIBRARY_VERSION;
    h.MaxNumChan = ZEL_MAX_CHANNELS;
    h.DataType = static_cast<int16_t>(scene.dataType);
    zel::copyText(h.DataComment, scene.comment);
    h.NumNavPoints = scene.navPoints;
    h.StartNavPoint = scene.startNavPoint;
    h.NavPointInterval = scene.navPointInterval;
    h.year = static_cast<int16_t>(scene.year <= 99 ? scene.year + 1900 : scene.year);
    h.julian = static_cast<int16_t>(scene.julian);
    h.sat_no = static_cast<int16_t>(scene.satellite);
    h.NPixelPerLine = static_cast<int16_t>(scene.pixels);
    h.SatelliteAltitude = scene.altitude;
    h.SpatialResolution = scene.resolution;
    h.SZChannelIndex = h.VZChannelIndex = h.AZChannelIndex = -1;
}

// Every field that is not set here is 0. The comment may be the record's own, which is cleared.
void initRecord(ZELType& file, Scene scene, int mode)
{
    char comment[ZEL_COMMENT_SIZE + 1];
    zel::copyText(comment, scene.comment);
    scene.comment = comment;
    zel::clearRecord(file);
    file.ReadWriteFlag = mode;
    initHeader(file.ZELHeader, scene);
    file.PreviousLine = -2;
    file.NavOffset = zel::navOffset(file);
    file.WritePrompt = 1;
    file.HistogramFlag = 1;
    file.RightPixel = scene.pixels - 1;
    file.NadirPixel = scene.pixels / 2 - 1;
    file.NadirLat = file.NadirLon = -999.0f;
    for (ZELChannelType& channel : file.Channels) channel.UpdateChannelHistogramFlag = 1;
}

// Whether a reader takes the navigation points.
bool hasReadableNavigation(const ZELHeaderType& h)
{
    bool readable = true;
    zel::checkNavigation(h, [&](bool ok, const char*, int) { readable = readable && ok; });
    return readable;
}

void allocateBuffers(ZELType& file)
{
    static constexpr const char* function = "ZELOpenWriteOnlyFile";
    for (const auto [slot, channel] : zel::presentChannels(file))
        zel::allocateChannel(file, slot, {function, slot, "memory for PixBuf", -8});
    zel::allocateNavigation(file, "ZELOpenWriteOnlyFileHist");
    zel::allocateLineBuffers(file, {function, true, true, true});
}

void reportWriteError(const char* filename, const char* reason)
{
    zel::report("ZELOpenWriteOnlyFile: write error on file %s: %s\n", filename, reason);
}

// Why the header did not reach the file, or null when it did.
const char* writeError(ZELType& file)
{
    if (std::fflush(file.fptr) == 0 && !std::ferror(file.fptr)) return nullptr;
    return std::strerror(errno != 0 ? errno : EIO);
}

}  // namespace

void ZELInitNewWriteOnlyFile(ZELType* ZELdata, int DataType, const char* DataComment, int Year,
                             int JulianDay, int SatNumber, int NumPix, int NumNavPts,
                             int StartNavPoint, int NavPointInterval, float SatelliteAltitude,
                             float SpatialResolution)
{
    const Scene scene = {DataType,          DataComment,      Year,
                         JulianDay,         SatNumber,        NumPix,
                         NumNavPts,         StartNavPoint,    NavPointInterval,
                         SatelliteAltitude, SpatialResolution};
    checkScene(scene, "ZELInitNewWriteOnlyFile");
    initRecord(*ZELdata, scene, ZEL_WRITE_ONLY);
    ZELdata->numZELComponents = 1;
}

void ZELInitNewCompositeFile(ZELType* ZELdata, int DataType, const char* DataComment, int Year,
                             int JulianDay, int SatNumber, int NumPix, int NumNavPts,
                             int StartNavPoint, int NavPointInterval, float SatelliteAltitude,
                             float SpatialResolution)
{
    const Scene scene = {DataType,          DataComment,      Year,
                         JulianDay,         SatNumber,        NumPix,
                         NumNavPts,         StartNavPoint,    NavPointInterval,
                         SatelliteAltitude, SpatialResolution};
    checkScene(scene, "ZELInitNewCompositeFile");
    const int32_t lutStart = ZELdata->LUTStartOffset;
    const int32_t lines = ZELdata->NumLines;
    const int32_t components = ZELdata->numZELComponents;
    ZELType* component = ZELdata->ZELComponent;
    initRecord(*ZELdata, scene, ZEL_READ_ONLY);
    ZELdata->LUTStartOffset = lutStart;
    ZELdata->NumLines = lines;
    ZELdata->numZELComponents = components;
    ZELdata->ZELComponent = component;
}

void ZELInitNewAVHRRLACFile(ZELType* ZELdata, int Year, int JulianDay, int SatNumber,
                            const char* DataComment)
{
    ZELInitNewWriteOnlyFile(ZELdata, ZEL_SENSOR_AVHRR_LAC, DataComment, Year, JulianDay, SatNumber,
                            2048, 51, 24, 40, zel::altitudeOfSatellite(SatNumber), 1100.0f);
}

void ZELInitNewAVHRRGACFile(ZELType* ZELdata, int Year, int JulianDay, int SatNumber,
                            const char* DataComment)
{
    ZELInitNewWriteOnlyFile(ZELdata, ZEL_SENSOR_AVHRR_GAC, DataComment, Year, JulianDay, SatNumber,
                            409, 51, 4, 8, zel::altitudeOfSatellite(SatNumber), 4000.0f);
}

void ZELInitNewMASFile(ZELType* ZELdata, int Year, int JulianDay, const char* DataComment)
{
    ZELInitNewWriteOnlyFile(ZELdata, ZEL_SENSOR_MAS, DataComment, Year, JulianDay, 0, 716, 73, 0,
                            10, 20.0f, 50.0f);
}

void ZELInitNewVIRSFile(ZELType* ZELdata, int Year, int JulianDay, const char* DataComment)
{
    ZELInitNewWriteOnlyFile(ZELdata, ZEL_SENSOR_VIRS, DataComment, Year, JulianDay, 0, 261, 261, 0,
                            1, 355.0f, 2000.0f);
}

int ZELOpenWriteOnlyFile(ZELType* ZELdata, const char* RawFileName)
{
    zel::requireWriteOnly(*ZELdata,
                          "ZELOpenWriteOnlyFileHist can only be used on a write only ZEL file "
                          "initialized with ZELInitNewWriteOnlyFile\n");
    const ZELHeaderType& h = ZELdata->ZELHeader;
    if (!hasReadableNavigation(h)) {
        zel::report("ZELOpenWriteOnlyFile: invalid navigation points: %d from pixel %d, interval "
                    "%d\n",
                    h.NumNavPoints, h.StartNavPoint, h.NavPointInterval);
        return -1;
    }
    for (int slot = 0; slot < h.MaxNumChan; ++slot)
        if (!zel::isCompleteMask(ZELdata->Channels[slot].Mask)) {
            zel::report(
                "ZELOpenWriteOnlyFile: a classifier of channel %d has no features, or no ranges "
                "of them\n",
                slot);
            return -1;
        }
    const zel::NameKeeper kept(*ZELdata);
    const char* name = kept(RawFileName);
    CheckByteOrder();
    ZELdata->CurrentLine = 0;
    ZELdata->PreviousLine = -2;
    ZELdata->FileOpened = 1;
    ZELdata->LatLonInterpolated = 0;
    zel::copyText(ZELdata->ImageFilename, name);
    constexpr int answerSize = 10;
    if (ZELdata->WritePrompt && zel::isReadable(name)) zel::confirmOverwrite(name, answerSize);
    ZELdata->fptr = std::fopen(name, "w+b");
    if (!ZELdata->fptr) {
        zel::report("ZELOpenWriteOnlyFile: cannot open file %s\n", name);
        return -1;
    }
    // A pipe has no positions, and could not be patched when the file is finished.
    if (ftello(ZELdata->fptr) < 0) {
        reportWriteError(name, std::strerror(errno));
        zel::closeStream(*ZELdata);
        return -1;
    }
    ZELdata->fileOffset = 0;
    errno = 0;  // from here on only a write error sets it
    if (ZELdata->HistogramFlag) ZELCreateChannelHistograms(ZELdata);
    zel::writeFile(*ZELdata);
    if (const char* reason = writeError(*ZELdata)) {
        reportWriteError(name, reason);
        zel::closeStream(*ZELdata);
        zel::releaseData(*ZELdata);
        return -1;
    }
    ZELdata->HeaderOffset = static_cast<int32_t>(ftello(ZELdata->fptr));
    zel::placeChannels(*ZELdata);
    allocateBuffers(*ZELdata);
    zel::stateOf(*ZELdata)->order.note();
    ZELAncillaryReadFiles();
    ZELClearBadLatLonCount();
    return 0;
}

void ZELSetOverwritePromptOff(ZELType* ZELdata)
{
    ZELdata->WritePrompt = 0;
}

void ZELSetOverwritePromptOn(ZELType* ZELdata)
{
    ZELdata->WritePrompt = 1;
}
