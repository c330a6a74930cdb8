#include "scene/scene_key.hpp"

#include <algorithm>
#include <cmath>

#include "base/failure.hpp"
#include "base/text.hpp"
#include "scene/library.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

// A start time counts in tenths of an hour.
long long tenths(double hours)
{
    return std::isnan(hours) ? 0 : static_cast<long long>(std::clamp(hours, -1.0e9, 1.0e9) * 10.0);
}

}  // namespace

SceneKey keyOf(const std::string& file, ZELType& record)
{
    if (record.NumLines < 1) throw Failure("has no lines");
    // Decoded: whoever reads the lines later finds this one held as they need it.
    readLine(record, 0, Decode::yes);
    const ZELHeaderType& h = record.ZELHeader;
    return {file, h.DataType, h.year, h.julian, h.sat_no, record.ScanTime};
}

std::vector<std::string> differences(const SceneKey& a, const SceneKey& b)
{
    std::vector<std::string> list;
    const auto compare = [&](const char* what, int own, int other) {
        if (own != other) list.push_back(format("%s %d, not %d", what, own, other));
    };
    if (a.dataType != b.dataType)
        list.push_back(format("sensor %d (%s), not %d (%s)", b.dataType,
                              sensorName(b.dataType).c_str(), a.dataType,
                              sensorName(a.dataType).c_str()));
    compare("year", b.year, a.year);
    compare("day", b.julian, a.julian);
    compare("satellite", b.satellite, a.satellite);
    if (tenths(a.time) != tenths(b.time))
        list.push_back(format("first scan time %.4f h, not %.4f h", b.time, a.time));
    return list;
}

}  // namespace zel_tool
