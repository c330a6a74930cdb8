#include "archive/scenes/scene_groups.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <tuple>

#include "base/clock.hpp"
#include "base/text.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

constexpr double longestHours = 7 * 24.0;
constexpr double hoursPerDay = 24.0;
constexpr long long tenthsPerDay = 240;
constexpr double longestGap = 36.0;  // seconds
constexpr double secondsPerHour = 3600.0;

long long tenthOfDay(double hours)
{
    return static_cast<long long>(std::floor(hours * 10.0));
}

struct Timed {
    FileFacts file;
    When when;
};

// Files without a time are gathered by the date that they give.
bool isBefore(const Timed& a, const Timed& b)
{
    const auto key = [](const Timed& t) {
        const GridFacts& g = t.file.baseGrid();
        const bool known = t.when.isKnown;
        return std::make_tuple(g.sensor, g.satellite, known, known ? 0 : g.year,
                               known ? 0 : g.julian, t.when.hours);
    };
    const auto x = key(a);
    const auto y = key(b);
    return x != y ? x < y : a.file.path < b.file.path;
}

bool isSameDay(const GridFacts& a, const GridFacts& b)
{
    return a.year == b.year && a.julian == b.julian;
}

// Of neighbours in that order.
bool belongTogether(const Timed& a, const Timed& b)
{
    const GridFacts& x = a.file.baseGrid();
    const GridFacts& y = b.file.baseGrid();
    if (x.sensor != y.sensor || x.satellite != y.satellite) return false;
    if (a.when.isKnown != b.when.isKnown) return false;
    if (!a.when.isKnown) return isSameDay(x, y);
    if (a.when.tenth == b.when.tenth) return true;
    // A time of 0 often means unknown, and says nothing about the evening before.
    if (y.time == 0.0 && !isSameDay(x, y)) return false;
    const double gap = (b.when.hours - a.when.hours) * secondsPerHour;
    return std::round(gap * 1000.0) <= longestGap * 1000.0;
}

// "LANDSAT TM" as part of a file name.
std::string sensorWord(int code)
{
    const std::string name = sensorName(code);
    if (name == "Unsupported") return format("sensor%d", code);
    std::string word;
    for (const char c : name)
        word += c == ' ' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return word;
}

std::string idOf(const GridFacts& first)
{
    const std::string time =
        whenOf(first).isKnown
            ? format("%04.1fh", static_cast<double>(tenthOfDay(first.time)) / 10.0)
            : "unknown";
    return sensorWord(first.sensor) +
           format("-%d-%04d%03d-", first.satellite, first.year, first.julian) + time;
}

}  // namespace

When whenOf(const GridFacts& grid)
{
    const auto day = dayNumber(grid.year, grid.julian);
    if (!day || !(std::fabs(grid.time) <= longestHours)) return {};
    return {true, static_cast<double>(*day) * hoursPerDay + grid.time,
            *day * tenthsPerDay + tenthOfDay(grid.time)};
}

std::vector<SceneGroup> groupScenes(std::vector<FileFacts> files)
{
    std::vector<Timed> all;
    all.reserve(files.size());
    for (FileFacts& file : files) {
        const When when = whenOf(file.baseGrid());
        all.push_back({std::move(file), when});
    }
    std::sort(all.begin(), all.end(), isBefore);
    std::vector<SceneGroup> groups;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const bool joins = i > 0 && belongTogether(all[i - 1], all[i]);
        if (!joins) groups.push_back({{}, idOf(all[i].file.baseGrid())});
        groups.back().files.push_back(all[i].file);
    }
    return groups;
}

}  // namespace zel_tool
