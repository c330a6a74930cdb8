#include "picture/plane.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/failure.hpp"
#include "base/progress.hpp"
#include "base/text.hpp"
#include "scene/statistics.hpp"

namespace zel_tool {
namespace {

constexpr long long maxPixels = 100'000'000;
constexpr float missing = std::numeric_limits<float>::quiet_NaN();

// Source places [first, last) that fall on one place of the image; at least one.
struct Span {
    int first;
    int last;
};

Span spanOf(int place, int places, int sources)
{
    const auto edge = [&](int i) {
        return static_cast<int>(static_cast<long long>(i) * sources / places);
    };
    const int first = std::min(edge(place), sources - 1);
    return {first, std::max(edge(place + 1), first + 1)};
}

Span middleOf(Span span)
{
    const int middle = (span.first + span.last - 1) / 2;
    return {middle, middle + 1};
}

// The sums of one row of the image while its lines are read.
class Row {
public:
    Row(const Wanted& wanted, int width) : wanted_(wanted), sums_(width), counts_(width) {}

    void add(const ZELType& record)
    {
        const float* values = record.Channels[wanted_.slot].ChannelData;
        const int width = static_cast<int>(sums_.size());
        for (int x = 0; x < width; ++x) {
            Span span = spanOf(x, width, record.ZELHeader.NPixelPerLine);
            if (wanted_.sampling == Sampling::nearest) span = middleOf(span);
            for (int i = span.first; i < span.last; ++i) add(x, values[i]);
        }
    }

    void finish(std::vector<float>& values)
    {
        for (std::size_t x = 0; x < sums_.size(); ++x)
            values.push_back(counts_[x] > 0 ? static_cast<float>(sums_[x] / counts_[x]) : missing);
        std::fill(sums_.begin(), sums_.end(), 0.0);
        std::fill(counts_.begin(), counts_.end(), 0);
    }

    bool wants(Span lines, int line) const
    {
        return wanted_.sampling == Sampling::mean || line == middleOf(lines).first;
    }

private:
    void add(int x, float value)
    {
        if (!isValue(value)) return;
        sums_[static_cast<std::size_t>(x)] += static_cast<double>(value);
        ++counts_[static_cast<std::size_t>(x)];
    }

    Wanted wanted_;
    std::vector<double> sums_;
    std::vector<int> counts_;
};

// The value below which that part of the counted pixels lies.
float percentile(const ZELHistogramType& h, double part)
{
    const double wanted = part * static_cast<double>(h.NumPixels);
    double below = 0.0;
    for (int i = 0; i < h.NumHistogramBins; ++i) {
        const double count = h.Histogram[i];
        if (below + count >= wanted && count > 0.0) {
            const double within = std::clamp((wanted - below) / count, 0.0, 1.0);
            return static_cast<float>(static_cast<double>(h.Min) +
                                      (i + within) / static_cast<double>(h.BinIncrement));
        }
        below += count;
    }
    return h.Max;
}

bool isUsable(const ZELHistogramType* h)
{
    return h && h->NumPixels > 0.0F && h->BinIncrement > 0.0F && std::isfinite(h->BinIncrement) &&
           std::isfinite(h->Min) && std::isfinite(h->Max);
}

float percentile(std::vector<float>& values, double part)
{
    const auto index = static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + index, values.end());
    return values[static_cast<std::size_t>(index)];
}

}  // namespace

Size imageSize(const ZELType& record, int width, int widest)
{
    const int pixels = record.ZELHeader.NPixelPerLine;
    if (record.NumLines < 1) throw Failure("has no lines");
    if (width == 0) width = std::min(pixels, widest);
    const double height = static_cast<double>(width) * record.NumLines / pixels;
    if (height * width > static_cast<double>(maxPixels))
        throw Failure(format("an image of width %d is too large", width));
    return {width, std::max(1, static_cast<int>(std::lround(height)))};
}

Size sizeWithin(const ZELType& record, Size box)
{
    const Size size = imageSize(record, 0, box.width);
    if (size.height <= box.height) return size;
    const long long width = static_cast<long long>(size.width) * box.height / size.height;
    return {std::max(1, static_cast<int>(width)), box.height};
}

std::vector<Plane> readPlanes(ZELType& record, const std::vector<Wanted>& wanted, Size size,
                              const std::string& file)
{
    return readPlanes(record, wanted, size, file, nullptr);
}

std::vector<Plane> readPlanes(ZELType& record, const std::vector<Wanted>& wanted, Size size,
                              const std::string& file, const std::function<void()>& show)
{
    std::vector<Plane> planes(wanted.size(), Plane{size, {}});
    std::vector<Row> rows;
    rows.reserve(wanted.size());
    for (const Wanted& w : wanted) rows.emplace_back(w, size.width);
    Progress progress(file, size.height);
    for (int y = 0; y < size.height; ++y) {
        const Span lines = spanOf(y, size.height, record.NumLines);
        for (int line = lines.first; line < lines.last; ++line) {
            const auto wants = [&](const Row& row) { return row.wants(lines, line); };
            if (!show && std::none_of(rows.begin(), rows.end(), wants)) continue;
            readLine(record, line, Decode::yes);
            if (show) show();
            for (Row& row : rows)
                if (wants(row)) row.add(record);
        }
        for (std::size_t i = 0; i < rows.size(); ++i) rows[i].finish(planes[i].values);
        progress.update(y + 1);
    }
    return planes;
}

Range stretchOf(const ZELChannelType& channel, const Plane& plane, double low, double high)
{
    if (isUsable(channel.ChannelHistogram))
        return {percentile(*channel.ChannelHistogram, low),
                percentile(*channel.ChannelHistogram, high)};
    std::vector<float> values;
    std::copy_if(plane.values.begin(), plane.values.end(), std::back_inserter(values), isValue);
    if (values.empty()) return {0.0F, 1.0F};
    return {percentile(values, low), percentile(values, high)};
}

}  // namespace zel_tool
