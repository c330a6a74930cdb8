#include "view.hpp"

#include <algorithm>

#include "component.hpp"
#include "library.hpp"

namespace zel_python {
namespace {

constexpr int linesAtATime = 16;  // others may use the library in between

py::dtype storedType(const ZELChannelType& channel)
{
    if (channel.DataByteSize == 1) return py::dtype::of<std::uint8_t>();
    if (channel.DataByteSize == 2) return py::dtype::of<std::uint16_t>();
    return py::dtype::of<float>();
}

struct Target {
    int slot;
    char* at;
    std::size_t rowBytes;
};

}  // namespace

View::View(std::string name) : name_(std::move(name)), record_(new ZELType())
{
    callLibrary([&] {
        const int result = ZELOpenReadOnlyFileNoTables(record_.get(), name_.c_str());
        byteOrder_ = SwapByteOrdering;
        isOpen_ = result == 0;
        if (isOpen_) cache_ = std::make_unique<LineCache>(*record_);
        return result;
    });
}

View::~View()
{
    close();
}

void View::close()
{
    callQuietly([&] {
        if (!isOpen_) return;
        isOpen_ = false;
        cache_.reset();
        ZELFinishReadingFile(record_.get());
    });
}

py::dict View::facts()
{
    std::vector<int> luts;
    callLibrary([&] { return luts = lutsOf(*record_), 0; });
    return factsOf(*record_, luts);
}

// The line that was made last is not made again.
void View::makeLine(int line)
{
    if (ZELSetCurrentLine(record_.get(), line) != line || ZELReadLine(record_.get()) == 0)
        throw LibraryError(name_ + ": line " + std::to_string(line) + " is missing");
    ++linesMade_;
}

template <class UseLine>
void View::forLines(int first, int step, int count, UseLine use)
{
    for (int begin = 0; begin < count; begin += linesAtATime)
        callLibrary([&] {
            if (!isOpen_) throw py::value_error("the view is closed");
            SwapByteOrdering = byteOrder_;
            const int end = std::min(begin + linesAtATime, count);
            for (int n = begin; n < end; ++n) use(n, first + n * step);
            return 0;
        });
}

py::list View::read(const std::vector<int>& slots, int first, int step, int count, bool decode)
{
    const py::ssize_t pixels = record_->ZELHeader.NPixelPerLine;
    py::list planes;
    std::vector<Target> targets;
    for (const int slot : slots) {
        if (!ZELIsChannelPresent(record_.get(), slot)) throw py::index_error("no such channel");
        const py::dtype type =
            decode ? py::dtype::of<float>() : storedType(record_->Channels[slot]);
        py::array plane(type, {py::ssize_t{count}, pixels});
        targets.push_back({slot, static_cast<char*>(plane.mutable_data()),
                           static_cast<std::size_t>(pixels * type.itemsize())});
        planes.append(plane);
    }
    forLines(first, step, count, [&](int n, int line) {
        if (!cache_->has(line)) {
            makeLine(line);
            cache_->keep(*record_, line);
        }
        for (const Target& t : targets)
            std::copy_n(cache_->row(line, t.slot, decode), t.rowBytes,
                        t.at + static_cast<std::size_t>(n) * t.rowBytes);
    });
    return planes;
}

py::tuple View::positions(int first, int step, int count)
{
    const py::ssize_t pixels = record_->ZELHeader.NPixelPerLine;
    Array<float> lat({py::ssize_t{count}, pixels}), lon({py::ssize_t{count}, pixels});
    float* lats = lat.mutable_data();
    float* lons = lon.mutable_data();
    forLines(first, step, count, [&](int n, int line) {
        makeLine(line);
        float *from = nullptr, *fromLon = nullptr;
        ZELFetchNavigation(record_.get(), &from, &fromLon);
        std::copy_n(from, pixels, lats + n * pixels);
        std::copy_n(fromLon, pixels, lons + n * pixels);
    });
    return py::make_tuple(lat, lon);
}

py::tuple View::angles(int first, int step, int count)
{
    const py::ssize_t pixels = record_->ZELHeader.NPixelPerLine;
    const std::vector<py::ssize_t> shape = {py::ssize_t{count}, pixels};
    Array<float> sz(shape), vz(shape), az(shape);
    float* outs[] = {sz.mutable_data(), vz.mutable_data(), az.mutable_data()};
    forLines(first, step, count, [&](int n, int line) {
        makeLine(line);
        float* rows[3] = {};
        ZELFetchSolar(record_.get(), &rows[0], &rows[1], &rows[2]);
        for (int k = 0; k < 3; ++k) std::copy_n(rows[k], pixels, outs[k] + n * pixels);
    });
    return py::make_tuple(sz, vz, az);
}

}  // namespace zel_python
