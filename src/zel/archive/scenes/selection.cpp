#include "archive/scenes/selection.hpp"

#include <algorithm>
#include <chrono>

#include "base/clock.hpp"
#include "base/failure.hpp"
#include "base/text.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

constexpr int sensorCodes = 13;

void requireDay(const std::string& text)
{
    const std::vector<std::string> parts = split(text, '-');
    long long year = 0;
    long long month = 0;
    long long day = 0;
    const bool isDate = text.size() == 10 && parts.size() == 3 && parts[0].size() == 4 &&
                        parts[1].size() == 2 && parseInteger(parts[0], year) &&
                        parseInteger(parts[1], month) && parseInteger(parts[2], day);
    if (!isDate || month < 0 || day < 0 ||
        !std::chrono::year_month_day(std::chrono::year(static_cast<int>(year)),
                                     std::chrono::month(static_cast<unsigned>(month)),
                                     std::chrono::day(static_cast<unsigned>(day)))
             .ok())
        throw Misuse("--where: '" + printable(text) + "' is not a date such as 2024-05-31");
}

int sensorCode(const std::string& text)
{
    long long code = 0;
    if (parseInteger(text, code) && code >= INT16_MIN && code <= INT16_MAX)
        return static_cast<int>(code);
    std::vector<std::string> names;
    for (int i = 0; i < sensorCodes; ++i) {
        if (equalIgnoringCase(sensorName(i), text)) return i;
        names.push_back(sensorName(i));
    }
    throw Misuse("--where: unknown sensor '" + printable(text) + "'; there are " +
                 join(names, ", "));
}

int satelliteNumber(const std::string& text)
{
    long long number = 0;
    if (!parseInteger(text, number) || number < INT16_MIN || number > INT16_MAX)
        throw Misuse("--where: '" + printable(text) + "' is not the number of a satellite");
    return static_cast<int>(number);
}

bool isBox(const Box& b)
{
    return b.west >= -180.0 && b.west <= 180.0 && b.east >= -180.0 && b.east <= 180.0 &&
           b.south >= -90.0 && b.north <= 90.0 && b.south <= b.north;
}

Box boxIn(const std::string& text)
{
    const std::vector<std::string> parts = split(text, ',');
    Box box{};
    double* const edges[] = {&box.west, &box.south, &box.east, &box.north};
    bool isWhole = parts.size() == std::size(edges);
    for (std::size_t i = 0; isWhole && i < std::size(edges); ++i)
        isWhole = parseNumber(parts[i], *edges[i]);
    if (!isWhole || !isBox(box))
        throw Misuse("--where: '" + printable(text) +
                     "' is not a box WEST,SOUTH,EAST,NORTH in degrees");
    return box;
}

}  // namespace

Selection::Selection(const std::vector<std::string>& rules)
{
    for (const std::string& rule : rules) {
        const auto equals = rule.find('=');
        if (equals == std::string::npos)
            throw Misuse("--where: '" + printable(rule) + "' is not of the form KEY=VALUE");
        add(rule.substr(0, equals), rule.substr(equals + 1));
    }
}

void Selection::add(const std::string& key, const std::string& value)
{
    if (key == "date") {
        const auto dots = value.find("..");
        const bool isRange = dots != std::string::npos;
        const Days days{value.substr(0, dots), isRange ? value.substr(dots + 2) : value};
        if (!isRange || !days.first.empty()) requireDay(days.first);
        if (!isRange || !days.last.empty()) requireDay(days.last);
        days_.push_back(days);
    } else if (key == "sensor") {
        sensors_.push_back(sensorCode(value));
    } else if (key == "satellite") {
        satellites_.push_back(satelliteNumber(value));
    } else if (key == "bbox") {
        boxes_.push_back(boxIn(value));
    } else {
        throw Misuse("--where: unknown key '" + printable(key) +
                     "'; there are date, sensor, satellite, bbox");
    }
}

// A scene across midnight is of both days.
bool Selection::takesDay(const SceneGroup& scene) const
{
    return std::all_of(days_.begin(), days_.end(), [&](const Days& days) {
        return std::any_of(scene.files.begin(), scene.files.end(), [&](const FileFacts& file) {
            const auto date = isoDate(file.baseGrid().year, file.baseGrid().julian);
            return date && (days.first.empty() || *date >= days.first) &&
                   (days.last.empty() || *date <= days.last);
        });
    });
}

bool Selection::takes(const SceneGroup& scene, const std::optional<Box>& box) const
{
    const GridFacts& first = scene.first();
    const auto all = [](const auto& list, const auto& holds) {
        return std::all_of(list.begin(), list.end(), holds);
    };
    return takesDay(scene) && all(sensors_, [&](int code) { return code == first.sensor; }) &&
           all(satellites_, [&](int number) { return number == first.satellite; }) &&
           all(boxes_, [&](const Box& wanted) { return box && meet(*box, wanted); });
}

}  // namespace zel_tool
