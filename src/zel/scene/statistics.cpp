#include "scene/statistics.hpp"

#include <algorithm>
#include <cfloat>

#include "base/progress.hpp"
#include "scene/library.hpp"

namespace zel_tool {

bool isValue(float v)
{
    return std::isfinite(v) && v != FLT_MAX;
}

// The moments of a line are joined to those so far, which stays exact where one long sum would not.
void Statistics::add(const float* values, int n)
{
    long long lineCount = 0;
    double sum = 0.0;
    for (int x = 0; x < n; ++x) {
        const float v = values[x];
        if (!isValue(v)) continue;
        min = count + lineCount == 0 ? v : std::min(min, v);
        max = count + lineCount == 0 ? v : std::max(max, v);
        sum += static_cast<double>(v);
        ++lineCount;
    }
    pixels += n;
    if (lineCount == 0) return;
    const double lineMean = sum / static_cast<double>(lineCount);
    double lineSquares = 0.0;
    for (int x = 0; x < n; ++x) {
        const double d = static_cast<double>(values[x]) - lineMean;
        if (isValue(values[x])) lineSquares += d * d;
    }
    const double difference = lineMean - mean;
    const auto before = static_cast<double>(count);
    const auto added = static_cast<double>(lineCount);
    mean += difference * added / (before + added);
    squares += lineSquares + difference * difference * before * added / (before + added);
    count += lineCount;
}

std::vector<Statistics> measure(ZELType& record, const std::vector<int>& slots,
                                const std::string& file)
{
    std::vector<Statistics> all(slots.size());
    Progress progress(file, record.NumLines);
    for (int line = 0; line < record.NumLines; ++line) {
        readLine(record, line, Decode::yes);
        for (std::size_t i = 0; i < slots.size(); ++i)
            all[i].add(record.Channels[slots[i]].ChannelData, record.ZELHeader.NPixelPerLine);
        progress.update(line + 1);
    }
    return all;
}

}  // namespace zel_tool
