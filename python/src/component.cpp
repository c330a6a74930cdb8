#include "component.hpp"

#include <algorithm>
#include <cstring>

#include "library.hpp"
#include "mask.hpp"

namespace zel_python {
namespace {

constexpr int linesAtATime = 64;  // others may use the library in between

template <class T>
void reverseBytes(T* values, int count)
{
    for (int i = 0; i < count; ++i) {
        auto* bytes = reinterpret_cast<char*>(values + i);
        std::reverse(bytes, bytes + sizeof(T));
    }
}

std::int64_t placeOfLine(const ZELType& record, int line)
{
    return std::int64_t{record.fileOffset} + record.HeaderOffset +
           std::int64_t{line} * record.LineOffset;
}

Header readHeader(const Descriptor& file, const std::string& name, int offset, int size)
{
    Header header(new ZELType());
    const Stream stream(file);
    const int result = ZELReadStreamHeader(header.get(), stream.get(), name.c_str(), offset, size);
    return result == 0 ? std::move(header) : nullptr;
}

// What was attached to a record for the time of a call is not its own.
class Attached {
public:
    explicit Attached(ZELType& record) : record_(record) {}
    ~Attached()
    {
        record_.Lat = record_.Lon = record_.LatBuffer = record_.LonBuffer = nullptr;
        record_.SolarZenith = record_.ViewZenith = record_.Azimuth = nullptr;
    }
    Attached(const Attached&) = delete;
    Attached& operator=(const Attached&) = delete;

private:
    ZELType& record_;
};

}  // namespace

void FreeHeader::operator()(ZELType* record) const
{
    ZELFreeData(record);
    delete record;
}

Component::Component(std::shared_ptr<File> file, int offset, int size)
    : file_(std::move(file)), offset_(offset), size_(size)
{
}

py::dict Component::facts()
{
    const Open open = file_->open();
    Header header;
    std::vector<int> luts;
    callLibrary([&] {
        header = readHeader(*open, file_->name(), offset_, size_);
        if (!header) return -1;
        luts = lutsOf(*header);
        return 0;
    });
    struct Release {
        Header& header;
        ~Release()
        {
            callQuietly([&] { header.reset(); });
        }
    };
    const Release release{header};
    return factsOf(*header, luts);
}

// To be called inside of a call of the library, like all that follow.
void Component::requireHeader()
{
    if (header_) return;
    header_ = readHeader(*file_->open(), file_->name(), offset_, size_);
    if (!header_) throw LibraryError(file_->name() + ": cannot be read again");
    ZELType& r = *header_;
    const auto place = [&](const char* field) { return ZELFetchPlaceInLine(&r, field); };
    places_ = {place("ScanTime"),   place("ScanAltitude"), place("LeftPixel"),
               place("RightPixel"), place("NadirPixel"),   place("NadirLat"),
               place("NadirLon"),   place("LatBuffer"),    place("LonBuffer")};
    isSwapped_ = ZELIsByteSwapped(&r) != 0;
    line_.resize(static_cast<std::size_t>(r.NavOffset));
    lat_.resize(static_cast<std::size_t>(std::max(r.ZELHeader.NumNavPoints, 0)));
    lon_.resize(lat_.size());
    requireDefaults();
}

// The library says what holds where a line of an old layout says nothing.
void Component::requireDefaults()
{
    const bool isOld = places_.altitude < 0 || places_.left < 0 || places_.nadirLat < 0;
    if (isOld && header_->NumLines > 0) readDefaults();
}

void Component::readDefaults()
{
    const std::unique_ptr<ZELType> opened(new ZELType());
    const int order = SwapByteOrdering;
    if (OpenReadOnlyFile(opened.get(), file_->name().c_str(), offset_, size_) != 0)
        throw LibraryError(file_->name() + ": cannot be opened again");
    ZELReadLineNoScale(opened.get());
    defaults_ = {opened->ScanTime,   opened->ScanAltitude, opened->LeftPixel, opened->RightPixel,
                 opened->NadirPixel, opened->NadirLat,     opened->NadirLon};
    ZELFinishReadingFile(opened.get());
    SwapByteOrdering = order;
}

template <class T>
void Component::take(std::int64_t place, T* values, int count) const
{
    if (place < 0 || count < 1) return;
    std::memcpy(values, line_.data() + place, static_cast<std::size_t>(count) * sizeof(T));
    if (isSwapped_) reverseBytes(values, count);
}

// What the library holds of a line that it has read, but for the pixels.
void Component::loadLine(int line)
{
    ZELType& r = *header_;
    if (!file_->open()->read(placeOfLine(r, line), line_.data(), line_.size()))
        throw LibraryError(file_->name() + ": line " + std::to_string(line) + " is cut short");
    Scan scan = defaults_;
    take(places_.time, &scan.time, 1);
    take(places_.altitude, &scan.altitude, 1);
    take(places_.left, &scan.left, 1);
    take(places_.right, &scan.right, 1);
    take(places_.nadir, &scan.nadir, 1);
    take(places_.nadirLat, &scan.nadirLat, 1);
    take(places_.nadirLon, &scan.nadirLon, 1);
    take(places_.lat, lat_.data(), static_cast<int>(lat_.size()));
    take(places_.lon, lon_.data(), static_cast<int>(lon_.size()));
    r.ScanTime = scan.time;
    r.ScanAltitude = scan.altitude;
    r.LeftPixel = scan.left;
    r.RightPixel = scan.right;
    r.NadirPixel = scan.nadir;
    r.NadirLat = scan.nadirLat;
    r.NadirLon = scan.nadirLon;
    r.LatBuffer = lat_.empty() ? nullptr : lat_.data();
    r.LonBuffer = lon_.empty() ? nullptr : lon_.data();
    r.LatLonInterpolated = 0;
    r.SolarAnglesCalculated = 0;
}

void Component::checkLines(int first, int step, int count)
{
    const int lines = header_->NumLines;
    if (first < 0 || count < 0 || step < 1 ||
        (count > 0 && (count - 1) > (lines - 1 - first) / step))
        throw LibraryError(file_->name() + ": the file is cut short after it was opened");
}

// use(number in the result) for each line that is loaded.
template <class UseLine>
void Component::forLines(int first, int step, int count, UseLine use)
{
    const Open keepsOpen = file_->open();
    for (int begin = 0; begin < count; begin += linesAtATime)
        callLibrary([&] {
            requireHeader();
            const Attached attached(*header_);
            const int end = std::min(begin + linesAtATime, count);
            for (int n = begin; n < end; ++n) {
                loadLine(first + n * step);
                use(n);
            }
            return 0;
        });
}

Array<float> Component::scalingTable(int slot)
{
    std::vector<float> values(65536);
    const Open keepsOpen = file_->open();
    callLibrary([&] {
        requireHeader();
        const int count = ZELFetchScalingTable(header_.get(), slot, values.data());
        values.resize(static_cast<std::size_t>(count));
        return 0;
    });
    return Array<float>(static_cast<py::ssize_t>(values.size()), values.data());
}

py::bytes Component::maskOf(int slot)
{
    std::string bytes;
    const Open keepsOpen = file_->open();
    callLibrary([&] {
        requireHeader();
        if (ZELIsChannelPresent(header_.get(), slot)) bytes = bytesOf(header_->Channels[slot].Mask);
        return 0;
    });
    return bytes;
}

py::dict Component::scans(int first, int step, int count)
{
    const Open keepsOpen = file_->open();
    callLibrary([&] { return requireHeader(), 0; });
    checkLines(first, step, count);
    Array<double> time(count);
    Array<float> altitude(count), nadirLat(count), nadirLon(count);
    Array<std::int32_t> left(count), right(count), nadir(count);
    const struct {
        double* time;
        float *altitude, *nadirLat, *nadirLon;
        std::int32_t *left, *right, *nadir;
    } out = {time.mutable_data(),     altitude.mutable_data(), nadirLat.mutable_data(),
             nadirLon.mutable_data(), left.mutable_data(),     right.mutable_data(),
             nadir.mutable_data()};
    forLines(first, step, count, [&](int n) {
        const ZELType& r = *header_;
        out.time[n] = r.ScanTime;
        out.altitude[n] = r.ScanAltitude;
        out.left[n] = r.LeftPixel;
        out.right[n] = r.RightPixel;
        out.nadir[n] = r.NadirPixel;
        out.nadirLat[n] = r.NadirLat;
        out.nadirLon[n] = r.NadirLon;
    });
    using namespace py::literals;
    return py::dict("hours"_a = time, "altitude"_a = altitude, "left"_a = left, "right"_a = right,
                    "nadir_pixel"_a = nadir, "nadir_latitude"_a = nadirLat,
                    "nadir_longitude"_a = nadirLon);
}

py::tuple Component::points(int first, int step, int count)
{
    const Open keepsOpen = file_->open();
    callLibrary([&] { return requireHeader(), 0; });
    checkLines(first, step, count);
    const auto points = static_cast<py::ssize_t>(lat_.size());
    Array<float> lat({py::ssize_t{count}, points}), lon({py::ssize_t{count}, points});
    float* lats = lat.mutable_data();
    float* lons = lon.mutable_data();
    forLines(first, step, count, [&](int n) {
        std::copy(lat_.begin(), lat_.end(), lats + n * points);
        std::copy(lon_.begin(), lon_.end(), lons + n * points);
    });
    return py::make_tuple(lat, lon);
}

py::tuple Component::positions(int first, int step, int count)
{
    const Open keepsOpen = file_->open();
    callLibrary([&] { return requireHeader(), 0; });
    checkLines(first, step, count);
    const py::ssize_t pixels = header_->ZELHeader.NPixelPerLine;
    Array<float> lat({py::ssize_t{count}, pixels}), lon({py::ssize_t{count}, pixels});
    float* lats = lat.mutable_data();
    float* lons = lon.mutable_data();
    // With a point for each pixel, those after the last point stay as they are.
    std::fill_n(lats, count * pixels, 0.0F);
    std::fill_n(lons, count * pixels, 0.0F);
    forLines(first, step, count, [&](int n) {
        header_->Lat = lats + n * pixels;
        header_->Lon = lons + n * pixels;
        ZELInterpolateLatLong(header_.get());
    });
    return py::make_tuple(lat, lon);
}

// Where channels hold the angles, their values are these; this is for all other files.
py::tuple Component::angles(int first, int step, int count)
{
    const Open keepsOpen = file_->open();
    callLibrary([&] { return requireHeader(), 0; });
    checkLines(first, step, count);
    const py::ssize_t pixels = header_->ZELHeader.NPixelPerLine;
    const std::vector<py::ssize_t> shape = {py::ssize_t{count}, pixels};
    Array<float> sz(shape), vz(shape), az(shape);
    float* outs[] = {sz.mutable_data(), vz.mutable_data(), az.mutable_data()};
    std::vector<float> lat(static_cast<std::size_t>(pixels)), lon(lat);
    forLines(first, step, count, [&](int n) {
        header_->Lat = lat.data();
        header_->Lon = lon.data();
        header_->SolarZenith = outs[0] + n * pixels;
        header_->ViewZenith = outs[1] + n * pixels;
        header_->Azimuth = outs[2] + n * pixels;
        ZELCalculateAngles(header_.get());
    });
    return py::make_tuple(sz, vz, az);
}

}  // namespace zel_python
