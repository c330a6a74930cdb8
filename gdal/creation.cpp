#include "creation.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>

#include "names.hpp"

namespace zel_gdal {
namespace {

constexpr double metresOfDegree = 111195;
constexpr std::size_t longestText = ZEL_CHANNEL_TEXT_SIZE - 1;

// A creation option, or the first of some items of the source's metadata ("NAME" or "DOMAIN:NAME").
class Words {
public:
    Words(GDALDataset& source, CSLConstList options) : source_(source), options_(options) {}

    std::string find(const char* option, std::initializer_list<const char*> items) const
    {
        if (const char* value = CSLFetchNameValue(options_, option)) return value;
        for (const char* item : items) {
            const char* colon = std::strchr(item, ':');
            const std::string domain = colon ? std::string(item, colon) : "";
            const char* value = source_.GetMetadataItem(colon ? colon + 1 : item, domain.c_str());
            if (value && *value) return value;
        }
        return "";
    }

private:
    GDALDataset& source_;
    CSLConstList options_;
};

// False after a CPLError.
bool takeNumber(const std::string& text, const char* name, double min, double max, double& number)
{
    if (text.empty()) return true;
    char* end = nullptr;
    const double value = CPLStrtod(text.c_str(), &end);
    if (*end == '\0' && value >= min && value <= max) {
        number = value;
        return true;
    }
    CPLError(CE_Failure, CPLE_IllegalArg, "%s=%s: not a number from %.15g to %.15g", name,
             text.c_str(), min, max);
    return false;
}

template <class T>
bool takeNumber(const std::string& text, const char* name, double min, double max, T& number)
{
    auto value = static_cast<double>(number);
    if (!takeNumber(text, name, min, max, value)) return false;
    number = static_cast<T>(value);
    return true;
}

int dayOfYear(int year, int month, int day)
{
    static constexpr int before[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const bool isLeap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return before[month - 1] + day + (isLeap && month > 2 ? 1 : 0);
}

struct Moment {
    int year = 0;
    int day = 0;
    double hours = 0;
};

// "2020-02-29T23:30:00.000Z", or the date of it alone.
std::optional<Moment> moment(const std::string& text)
{
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    double second = 0;
    const int found = std::sscanf(text.c_str(), "%4d-%2d-%2d%*1[T ]%2d:%2d:%lf", &year, &month,
                                  &day, &hour, &minute, &second);
    if (found < 3 || year < 1 || month < 1 || month > 12 || day < 1 || day > 31)
        return std::nullopt;
    return Moment{year, dayOfYear(year, month, day), hour + minute / 60.0 + second / 3600};
}

double hoursBetween(const Moment& begin, const Moment& end)
{
    const int days = begin.year == end.year ? end.day - begin.day : 1;  // on New Year's night
    return end.hours - begin.hours + 24 * days;
}

bool takeTimes(const Words& words, int lines, SceneFacts& facts)
{
    const auto begin = moment(
        words.find("", {"START_TIME", "IMAGERY:ACQUISITIONDATETIME", "DATE", "DATE_ACQUIRED"}));
    const auto end = moment(words.find("", {"END_TIME"}));
    if (begin) {
        facts.year = begin->year;
        facts.day = begin->day;
        facts.beginHours = begin->hours;
    }
    if (begin && end && lines > 1)
        facts.lineHours = std::max(0.0, hoursBetween(*begin, *end)) / (lines - 1);
    const std::string year = words.find("YEAR", {});
    const std::string day = words.find("JULIAN", {});
    const std::string hours = words.find("SCANTIME", {});
    const std::string seconds = words.find("LINE_TIME", {});
    if (!begin && year.empty())
        CPLError(
            CE_Warning, CPLE_AppDefined,
            "The source has no date: the file gets 1 January 1900. Options YEAR and JULIAN set it");
    double lineSeconds = hours.empty() ? facts.lineHours * 3600 : 0;
    if (!takeNumber(year, "YEAR", 100, 32767, facts.year) ||
        !takeNumber(day, "JULIAN", 1, 366, facts.day) ||
        !takeNumber(hours, "SCANTIME", 0, 48, facts.beginHours) ||
        !takeNumber(seconds, "LINE_TIME", 0, 86400, lineSeconds))
        return false;
    facts.lineHours = lineSeconds / 3600;
    return true;
}

bool takeSensor(const Words& words, SceneFacts& facts)
{
    const std::string given = words.find("DATATYPE", {});
    const std::string text = words.find("DATATYPE", {"SENSOR"});
    const int code = sensorCode(text);
    if (code < 0 && !given.empty()) {
        CPLError(CE_Failure, CPLE_IllegalArg, "DATATYPE=%s: not a sensor", text.c_str());
        return false;
    }
    facts.sensor = std::max(code, 0);
    return true;
}

// Metres, of a pixel's width.
float resolutionOf(GDALDataset& source)
{
    double transform[6];
    if (source.GetGeoTransform(transform) != CE_None) return 0;
    const double width = std::hypot(transform[1], transform[4]);
    const OGRSpatialReference* system = source.GetSpatialRef();
    if (!system) return 0;
    return static_cast<float>(system->IsGeographic() ? width * metresOfDegree
                                                     : width * system->GetLinearUnits());
}

// "nodata 0", or for each band where they differ. The format has no place of its own for it.
std::string nodataNote(GDALDataset& source)
{
    std::vector<std::string> values;
    std::string list;
    for (int b = 1; b <= source.GetRasterCount(); ++b) {
        int isKnown = FALSE;
        const double nodata = source.GetRasterBand(b)->GetNoDataValue(&isKnown);
        if (!isKnown) continue;
        values.push_back(std::isnan(nodata) ? "nan" : shown(nodata));
        list += (list.empty() ? "" : ", ") + values.back() + " in band " + std::to_string(b);
    }
    if (values.empty()) return "";
    const bool areEqual = static_cast<int>(values.size()) == source.GetRasterCount() &&
                          std::set<std::string>(values.begin(), values.end()).size() == 1;
    return "nodata " + (areEqual ? values[0] : list);
}

// A text that fits into its place, after a warning when it has to be cut. No character is halved.
std::string cutTo(std::string text, std::size_t size, const std::string& what)
{
    if (text.size() <= size) return text;
    while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) --size;
    CPLError(CE_Warning, CPLE_AppDefined, "%s: only the first %d bytes are stored", what.c_str(),
             static_cast<int>(size));
    text.resize(size);
    return text;
}

// The note on nodata has to be whole.
void takeTexts(const Words& words, GDALDataset& source, SceneFacts& facts)
{
    const std::string note = nodataNote(source);
    const std::size_t reserved = note.empty() ? 0 : std::min<std::size_t>(note.size() + 2, 1000);
    facts.comment = cutTo(words.find("COMMENT", {"COMMENT", "TIFFTAG_IMAGEDESCRIPTION"}),
                          ZEL_COMMENT_SIZE - reserved, "COMMENT");
    facts.metadata =
        cutTo(words.find("METADATA", {"ZEL_METADATA:TEXT"}), ZEL_METADATA_SIZE, "METADATA");
    if (note.empty()) return;
    CPLError(CE_Warning, CPLE_AppDefined,
             "Files of this format have no nodata value: \"%s\" goes into the comment",
             note.c_str());
    facts.comment += (facts.comment.empty() ? "" : "; ") + note;
}

std::string itemOf(GDALRasterBand& band, const char* name, const char* domain = "")
{
    const char* value = band.GetMetadataItem(name, domain);
    return value ? value : "";
}

// The slots that the bands come from, when they have such items and go upwards.
bool takeSlots(GDALDataset& source, std::vector<ChannelFacts>& channels)
{
    int last = -1;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const std::string text = itemOf(*source.GetRasterBand(static_cast<int>(i) + 1), "SLOT");
        const int slot = text.empty() ? -1 : std::atoi(text.c_str());
        if (slot <= last || slot >= ZEL_MAX_CHANNELS) return false;
        channels[i].slot = last = slot;
    }
    return true;
}

ChannelFacts factsOf(GDALRasterBand& band, int number)
{
    ChannelFacts facts;
    facts.storage = storageOf(band);
    facts.label = band.GetDescription();
    if (facts.label.empty()) facts.label = "Band " + std::to_string(number);
    const std::string what = "Band " + std::to_string(number);
    facts.label = cutTo(facts.label, longestText, what + ", description");
    facts.lut = lutEntries(band);
    const std::string comment = itemOf(band, "COMMENT");
    const bool needsName = comment.empty() && !facts.lut.empty();
    facts.comment =
        cutTo(needsName ? facts.label + " classes" : comment, longestText, what + ", comment");
    facts.units = unitsCode(band.GetUnitType());
    if (!facts.lut.empty()) facts.units = ZEL_UNITS_LUT;
    const std::string micrometres = itemOf(band, "WAVELENGTH_UM");
    const std::string central = itemOf(band, "CENTRAL_WAVELENGTH_UM", "IMAGERY");
    facts.wavelength =
        static_cast<float>(CPLAtof(micrometres.empty() ? central.c_str() : micrometres.c_str()));
    facts.isBase = itemOf(band, "BASE_CHANNEL") == "YES" || facts.wavelength > 0.0F;
    return facts;
}

}  // namespace

std::optional<SceneFacts> sceneFacts(GDALDataset& source, CSLConstList options)
{
    const Words words(source, options);
    SceneFacts facts;
    facts.resolution = resolutionOf(source);
    facts.keepsHistograms = CPLFetchBool(options, "HISTOGRAMS", true);
    facts.metadataType = std::atoi(words.find("", {"ZEL_METADATA:TYPE"}).c_str());
    if (!takeSensor(words, facts) || !takeTimes(words, source.GetRasterYSize(), facts) ||
        !takeNumber(words.find("SATELLITE", {"SATELLITE_NUMBER"}), "SATELLITE", -32768, 32767,
                    facts.satellite) ||
        !takeNumber(words.find("ALTITUDE", {"SATELLITE_ALTITUDE_KM"}), "ALTITUDE", 0, 1e9,
                    facts.altitude) ||
        !takeNumber(words.find("RESOLUTION", {"RESOLUTION_M"}), "RESOLUTION", 0, 1e9,
                    facts.resolution) ||
        !takeNumber(words.find("NAV_INTERVAL", {}), "NAV_INTERVAL", 1, 32767,
                    facts.navigationInterval))
        return std::nullopt;
    takeTexts(words, source, facts);
    return facts;
}

bool channelFacts(GDALDataset& source, bool isStrict, std::vector<ChannelFacts>& channels)
{
    for (int b = 1; b <= source.GetRasterCount(); ++b) {
        GDALRasterBand& band = *source.GetRasterBand(b);
        if (GDALDataTypeIsComplex(band.GetRasterDataType())) {
            CPLError(CE_Failure, CPLE_NotSupported,
                     "Band %d has complex numbers, which channels have not", b);
            return false;
        }
        channels.push_back(factsOf(band, b));
        channels.back().slot = b - 1;
        const std::string& loss = channels.back().storage.loss;
        if (loss.empty()) continue;
        CPLError(isStrict ? CE_Failure : CE_Warning, CPLE_NotSupported, "Band %d: %s", b,
                 loss.c_str());
        if (isStrict) return false;
    }
    std::vector<ChannelFacts> placed = channels;
    if (takeSlots(source, placed)) channels = std::move(placed);
    return true;
}

void angleSlots(GDALDataset& source, const std::vector<ChannelFacts>& channels, int (&slots)[3])
{
    static constexpr const char* names[] = {"SOLAR_ZENITH_BAND", "VIEW_ZENITH_BAND",
                                            "RELATIVE_AZIMUTH_BAND"};
    for (int i = 0; i < 3; ++i) {
        const char* text = source.GetMetadataItem(names[i], "ZEL_ANGLES");
        const int band = text ? std::atoi(text) : 0;
        const bool isBand = band >= 1 && band <= static_cast<int>(channels.size());
        slots[i] = isBand ? channels[static_cast<std::size_t>(band - 1)].slot : -1;
    }
}

}  // namespace zel_gdal
