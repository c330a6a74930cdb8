#include "scene.hpp"

#include <cmath>

#include "names.hpp"
#include "times.hpp"

namespace zel_gdal {

LinePlaces linePlaces(ZELType& record)
{
    LinePlaces places;
    places.firstLine = static_cast<vsi_l_offset>(record.fileOffset) +
                       static_cast<vsi_l_offset>(record.HeaderOffset);
    places.lineSize = record.LineOffset;
    places.lines = record.NumLines;
    places.isSwapped = ZELIsByteSwapped(&record) != 0;
    return places;
}

bool hasLines(const ZELType& record, const std::string& file)
{
    if (record.NumLines > 0) return true;
    CPLError(CE_Failure, CPLE_AppDefined, "%s: is cut short before the end of its first line",
             file.c_str());
    return false;
}

bool storesAngles(const ZELType& record)
{
    const ZELHeaderType& h = record.ZELHeader;
    for (const int slot : {h.SZChannelIndex, h.VZChannelIndex, h.AZChannelIndex})
        if (slot < 0 || slot >= ZEL_MAX_CHANNELS || !record.Channels[slot].ChannelPresentFlag)
            return false;
    return true;
}

bool hasAngles(const ZELType& record)
{
    const ZELHeaderType& h = record.ZELHeader;
    const bool isDay = h.julian >= 1 && h.julian <= 366;
    return storesAngles(record) ||
           (isDay && h.NumNavPoints > 0 && std::abs(h.SatelliteAltitude) >= 1.0F);
}

char** sceneFiles(char** list, const std::string& file)
{
    CPLStringList files(list);
    if (files.FindString(file.c_str()) < 0) files.InsertString(0, file.c_str());
    return files.StealList();
}

SceneDataset::SceneDataset(OpenedVsi file, const Source& source)
    : source_(source), file_(std::move(file))
{
    wgs84_.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    wgs84_.SetFromUserInput("EPSG:4326");
}

SceneDataset::~SceneDataset()
{
    GDALDeinitGCPs(static_cast<int>(controlPoints_.size()), controlPoints_.data());
}

bool SceneDataset::describe(ZELType& record, const std::string& positionPart)
{
    nRasterXSize = record.ZELHeader.NPixelPerLine;
    nRasterYSize = record.NumLines;
    if (!hasLines(record, source_.file)) return false;
    if (!GDALCheckDatasetDimensions(nRasterXSize, nRasterYSize)) return false;
    places_ = linePlaces(record);
    places_.isLocal = VSIIsLocal(source_.file.c_str());
    navigation_ = Navigation(record, places_);
    describeHeader(record);
    describeTimes(record);
    const std::string name = "ZEL:\"" + source_.file + "\"" + positionPart;
    describeNadir(record);
    set("LINES_DATASET", name + ":lines", "ZEL_SCAN");
    describeAngles(record);
    if (hasAngles(record)) set("ANGLES_DATASET", name + ":angles", "ZEL_ANGLES");
    describePositions(name);
    if (source_.options.controlPoints) takeControlPoints();
    return true;
}

// Not as items of this file's own: they would be written into a file beside it.
void SceneDataset::set(const char* name, const std::string& value, const char* domain)
{
    if (value.empty()) return;
    // NOLINTNEXTLINE(bugprone-parent-virtual-call): the override would mark it as the user's own
    GDALMajorObject::SetMetadataItem(name, value.c_str(), domain);
}

void SceneDataset::describeHeader(ZELType& record)
{
    const ZELHeaderType& h = record.ZELHeader;
    set("SENSOR", sensorName(h.DataType));
    set("SATELLITE_NUMBER", std::to_string(h.sat_no));
    set("SATELLITE_ALTITUDE_KM", shown(h.SatelliteAltitude));
    set("RESOLUTION_M", shown(h.SpatialResolution));
    set("COMMENT", utf8(h.DataComment));
    set("VERSION", CPLSPrintf("%.2f", static_cast<double>(h.VersionNumber)));
    set("SATELLITEID", sensorName(h.DataType) + " " + std::to_string(h.sat_no), "IMAGERY");
    set("INTERLEAVE", "LINE", "IMAGE_STRUCTURE");
    set("TYPE", h.MetaDataSize > 0 ? std::to_string(h.MetaDataType) : "", "ZEL_METADATA");
    set("TEXT", h.MetaDataSize > 0 ? utf8(h.MetaDataText) : "", "ZEL_METADATA");
}

template <class T>
bool SceneDataset::readOfLine(ZELType& record, const char* field, int line, T& value) const
{
    const std::int64_t place = ZELFetchPlaceInLine(&record, field);
    if (place < 0) return false;
    const vsi_l_offset begin = places_.firstLine + static_cast<vsi_l_offset>(line) *
                                                       static_cast<vsi_l_offset>(places_.lineSize);
    if (VSIFSeekL(file(), begin + static_cast<vsi_l_offset>(place), SEEK_SET) != 0 ||
        VSIFReadL(&value, sizeof value, 1, file()) != 1)
        return false;
    if (places_.isSwapped) GDALSwapWords(&value, sizeof value, 1, sizeof value);
    return true;
}

// Two times of 0 are times that are not set.
void SceneDataset::describeTimes(ZELType& record)
{
    const int year = record.ZELHeader.year;
    const int day = record.ZELHeader.julian;
    set("YEAR", std::to_string(year));
    set("JULIAN_DAY", std::to_string(day));
    if (!isDate(year, day)) return;
    set("DATE", isoDate(year, day));
    double begin = 0;
    double end = 0;
    if (!readOfLine(record, "ScanTime", 0, begin)) return;
    if (!readOfLine(record, "ScanTime", nRasterYSize - 1, end)) return;
    if ((begin == 0 && end == 0) || !(begin >= 0 && begin < 48) || !(end >= 0 && end < 48)) return;
    set("START_TIME", isoTime(year, day, begin));
    set("END_TIME", isoTime(year, day, end));
    std::string gdalTime = isoTime(year, day, begin);  // "2001-05-03 12:30:15"
    gdalTime.resize(gdalTime.find('.'));
    gdalTime[gdalTime.find('T')] = ' ';
    set("ACQUISITIONDATETIME", gdalTime, "IMAGERY");
}

void SceneDataset::describeNadir(ZELType& record)
{
    const struct {
        const char* name;
        int line;
    } ends[] = {{"FIRST_LINE", 0}, {"LAST_LINE", nRasterYSize - 1}};
    for (const auto& end : ends) {
        const std::string name = std::string("NADIR_") + end.name;
        std::int32_t pixel = 0;
        float lat = 0;
        float lon = 0;
        if (readOfLine(record, "NadirPixel", end.line, pixel))
            set((name + "_PIXEL").c_str(), std::to_string(pixel), "ZEL_SCAN");
        if (!readOfLine(record, "NadirLat", end.line, lat) ||
            !readOfLine(record, "NadirLon", end.line, lon) ||
            !(std::abs(lat) <= 90.0F && std::abs(lon) <= 180.0F))
            continue;
        set((name + "_LAT").c_str(), shown(lat), "ZEL_SCAN");
        set((name + "_LON").c_str(), shown(lon), "ZEL_SCAN");
    }
    double time = 0;
    if (readOfLine(record, "ScanTime", 0, time)) set("FIRST_LINE_HOURS", shown(time), "ZEL_SCAN");
    if (readOfLine(record, "ScanTime", nRasterYSize - 1, time))
        set("LAST_LINE_HOURS", shown(time), "ZEL_SCAN");
}

// The bands, counted from 1, that hold angles.
void SceneDataset::describeAngles(ZELType& record)
{
    const ZELHeaderType& h = record.ZELHeader;
    const struct {
        const char* name;
        int slot;
    } angles[] = {{"SOLAR_ZENITH_BAND", h.SZChannelIndex},
                  {"VIEW_ZENITH_BAND", h.VZChannelIndex},
                  {"RELATIVE_AZIMUTH_BAND", h.AZChannelIndex}};
    for (const auto& angle : angles) {
        if (angle.slot < 0 || angle.slot >= ZEL_MAX_CHANNELS) continue;
        if (!record.Channels[angle.slot].ChannelPresentFlag) continue;
        int band = 1;
        for (int slot = 0; slot < angle.slot; ++slot)
            band += record.Channels[slot].ChannelPresentFlag != 0;
        set(angle.name, std::to_string(band), "ZEL_ANGLES");
    }
}

void SceneDataset::describePositions(const std::string& name)
{
    if (!navigation_.isGrid()) return;
    char* wkt = nullptr;
    wgs84_.exportToWkt(&wkt);
    set("SRS", wkt ? wkt : "", "GEOLOCATION");
    CPLFree(wkt);
    set("X_DATASET", name + ":lon", "GEOLOCATION");
    set("X_BAND", "1", "GEOLOCATION");
    set("Y_DATASET", name + ":lat", "GEOLOCATION");
    set("Y_BAND", "1", "GEOLOCATION");
    // To GDAL the centre of a point is that of as many pixels as are between two points.
    const double offset = navigation_.firstPixel() + 0.5 - 0.5 * navigation_.pixelStep();
    set("PIXEL_OFFSET", shown(offset), "GEOLOCATION");
    set("PIXEL_STEP", std::to_string(navigation_.pixelStep()), "GEOLOCATION");
    set("LINE_OFFSET", "0", "GEOLOCATION");
    set("LINE_STEP", "1", "GEOLOCATION");
    set("GEOREFERENCING_CONVENTION", "PIXEL_CENTER", "GEOLOCATION");
}

void SceneDataset::takeControlPoints()
{
    if (!navigation_.isGrid()) return;
    const std::vector<ControlPoint> points = navigation_.controlPoints(file());
    controlPoints_.resize(points.size());
    GDALInitGCPs(static_cast<int>(points.size()), controlPoints_.data());
    for (std::size_t i = 0; i < points.size(); ++i) {
        GDAL_GCP& point = controlPoints_[i];
        CPLFree(point.pszId);
        point.pszId = CPLStrdup(std::to_string(i + 1).c_str());
        point.dfGCPPixel = points[i].pixel;
        point.dfGCPLine = points[i].line;
        point.dfGCPX = points[i].at.lon;
        point.dfGCPY = points[i].at.lat;
    }
}

// All positions are looked at, at the first question only: an open is cheap.
CPLErr SceneDataset::GetGeoTransform(double* transform)
{
    if (!hasLookedForGrid_) isNorthUp_ = navigation_.isNorthUp(file(), transform_);
    hasLookedForGrid_ = true;
    if (!isNorthUp_) return GDALPamDataset::GetGeoTransform(transform);
    std::copy(transform_, transform_ + 6, transform);
    return CE_None;
}

const OGRSpatialReference* SceneDataset::GetSpatialRef() const
{
    double transform[6];
    if (const_cast<SceneDataset*>(this)->GetGeoTransform(transform) == CE_None && isNorthUp_)
        return &wgs84_;
    return GDALPamDataset::GetSpatialRef();
}

int SceneDataset::GetGCPCount()
{
    return controlPoints_.empty() ? GDALPamDataset::GetGCPCount()
                                  : static_cast<int>(controlPoints_.size());
}

const GDAL_GCP* SceneDataset::GetGCPs()
{
    return controlPoints_.empty() ? GDALPamDataset::GetGCPs() : controlPoints_.data();
}

const OGRSpatialReference* SceneDataset::GetGCPSpatialRef() const
{
    return controlPoints_.empty() ? GDALPamDataset::GetGCPSpatialRef() : &wgs84_;
}

char** SceneDataset::GetFileList()
{
    return sceneFiles(RawDataset::GetFileList(), source_.file);
}

// What users add, statistics and overviews above all, belongs to a part, and to its numbers or its
// values.
void SceneDataset::finishOpening(GDALOpenInfo* info, const char* name)
{
    SetDescription(name);
    std::string part = source_.part;
    if (source_.options.unscale) part += ":values";
    if (!part.empty()) {
        SetPhysicalFilename(source_.file.c_str());
        SetSubdatasetName(part.c_str() + 1);
    }
    TryLoadXML(info->GetSiblingFiles());
    oOvManager.Initialize(this, part.empty() ? source_.file.c_str() : ":::VIRTUAL:::");
}

PlainDataset::PlainDataset(OpenedVsi file, const Source& source)
    : SceneDataset(std::move(file), source)
{
}

bool PlainDataset::open(ZELType& record)
{
    if (!describe(record, source().part)) return false;
    for (int slot = 0; slot < record.ZELHeader.MaxNumChan; ++slot)
        if (record.Channels[slot].ChannelPresentFlag) addBand(record, slot);
    return true;
}

void PlainDataset::addBand(ZELType& record, int slot)
{
    const ZELChannelType& channel = record.Channels[slot];
    const OpenOptions& options = source().options;
    const int number = nBands + 1;
    const auto place = places().firstLine + static_cast<vsi_l_offset>(channel.DataOffset);
    const bool isRaw = !options.unscale || isClassChannel(record, slot);
    GDALRasterBand* band = nullptr;
    if (isRaw) {
        band = new RawBand(bandFacts(record, slot, options), this, number, file(), place,
                           channel.DataByteSize, places(), storedType(channel));
    } else {
        auto numbers = std::make_unique<WindowReader>(
            this, number, file(), place, channel.DataByteSize, places(), storedType(channel));
        band = new ValueBand(bandFacts(record, slot, options), this, number, std::move(numbers),
                             valuesOf(record, slot));
    }
    describeBand(*band, channel, slot);
    SetBand(number, band);
}

}  // namespace zel_gdal
