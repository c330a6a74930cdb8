#include "archive/merge/merged_statistics.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <utility>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

// More pixels than a file can have, and few enough that a sum of them fits.
constexpr std::int64_t mostPixels = std::int64_t{1} << 46;

// What is wrong with a document; its file is named by whoever catches it.
struct Damaged {
    std::string what;
};

const Json& member(const Json& object, const char* key)
{
    static const Json null;
    const auto found = object.find(key);
    return found != object.end() ? *found : null;
}

std::int64_t pixelsAt(const Json& stats, const char* key)
{
    const Json& value = member(stats, key);
    const std::int64_t count = value.is_number_integer() ? value.get<std::int64_t>() : -1;
    if (count < 0 || count > mostPixels)
        throw Damaged{std::string(key) + " is no number of pixels"};
    return count;
}

double numberAt(const Json& stats, const char* key)
{
    const Json& value = member(stats, key);
    const double number = value.is_number() ? value.get<double>() : NAN;
    if (!std::isfinite(number)) throw Damaged{std::string(key) + " is no number"};
    return number;
}

// Of a channel of "zel info" or of a line.
Json channelRow(const Json& channel)
{
    if (!channel.is_object()) throw Damaged{"a channel is no object"};
    const Json& own = member(channel, "stats");
    const Json& stats = own.is_object() ? own : channel;
    if (!stats.contains("valid")) throw Damaged{"no statistics; zel info --json --stats has them"};
    const std::int64_t pixels = pixelsAt(stats, "pixels");
    const std::int64_t valid = pixelsAt(stats, "valid");
    if (valid > pixels) throw Damaged{"more valid pixels than pixels"};
    Json row = {{"label", textAt(channel, "label")},
                {"units", textAt(channel, "units")},
                {"pixels", pixels},
                {"valid", valid}};
    for (const char* key : {"min", "max", "mean", "sigma"})
        row[key] = valid > 0 ? Json(numberAt(stats, key)) : Json(nullptr);
    if (valid > 0 && row["min"] > row["max"]) throw Damaged{"min is above max"};
    if (valid > 0 && row["sigma"] < 0.0) throw Damaged{"sigma is negative"};
    return row;
}

Json sceneRow(const Json& document)
{
    const Json& scene = member(document, "scene");
    const Json& facts = scene.is_object() ? scene : document;
    const Json& satellite = member(facts, "satellite");
    const Json& start = member(document, "start");
    Json channels = Json::array();
    for (const Json& channel : member(document, "channels"))
        channels.push_back(channelRow(channel));
    return {{"file", textAt(document, "file")},
            {"sensor", textAt(facts, "sensor")},
            {"satellite", satellite.is_number_integer() ? satellite : Json(nullptr)},
            {"start", start.is_string() ? start : Json(nullptr)},
            {"channels", channels}};
}

// Of one label and unit over all scenes.
struct Total {
    std::int64_t scenes = 0, pixels = 0, valid = 0;
    double min = 0.0, max = 0.0, mean = 0.0;
    double squares = 0.0;  // sum of squared differences from the mean

    // As the moments of two sets of pixels give those of both.
    void add(const Json& row)
    {
        const auto n = row["valid"].get<std::int64_t>();
        pixels += row["pixels"].get<std::int64_t>();
        if (pixels > std::numeric_limits<std::int64_t>::max() - mostPixels)
            throw Failure("more pixels than can be counted");
        if (n == 0) return;
        const auto low = row["min"].get<double>();
        const auto high = row["max"].get<double>();
        const auto sigma = row["sigma"].get<double>();
        min = valid == 0 ? low : std::min(min, low);
        max = valid == 0 ? high : std::max(max, high);
        const auto before = static_cast<double>(valid);
        const auto added = static_cast<double>(n);
        const double share = added / (before + added);
        const double difference = row["mean"].get<double>() - mean;
        mean += difference * share;
        squares += sigma * sigma * (added - 1.0) + difference * difference * before * share;
        valid += n;
    }

    Json json() const
    {
        const auto shown = [&](double value) { return valid > 0 ? Json(value) : Json(nullptr); };
        const double sigma =
            valid > 1 ? std::sqrt(squares / (static_cast<double>(valid) - 1.0)) : 0.0;
        return {{"scenes", scenes},          {"pixels", pixels},     {"valid", valid},
                {"missing", pixels - valid}, {"min", shown(min)},    {"max", shown(max)},
                {"mean", shown(mean)},       {"sigma", shown(sigma)}};
    }
};

using Name = std::pair<std::string, std::string>;  // label and unit

void addTotals(std::map<Name, Total>& totals, const std::string& line)
{
    std::set<Name> seen;
    const Json row = Json::parse(line);
    for (const Json& channel : row["channels"]) {
        const Name name = {channel["label"], channel["units"]};
        Total& total = totals[name];
        total.add(channel);
        total.scenes += seen.insert(name).second ? 1 : 0;
    }
}

}  // namespace

void MergedStatistics::addRow(const MergeInput& input, const Json& value)
{
    std::string file;
    std::string line;
    try {
        file = textAt(value, "file");
        line = sceneRow(value).dump();
    } catch (const Damaged& damaged) {
        input.fail((file.empty() ? "" : printable(file) + ": ") + damaged.what);
    }
    const auto [place, isNew] = rows_.try_emplace(file, Row{line, input.file()});
    if (isNew || place->second.line == line) return;
    throw Failure(printable(place->second.from) + " and " + printable(input.file()) +
                  " have different statistics of " + printable(file));
}

void MergedStatistics::addDocument(const MergeInput& input, const Json& value)
{
    if (isMerged(value, "statistics")) return;  // its totals come again from its lines
    if (!value.is_object() || textAt(value, "file").empty() ||
        !member(value, "channels").is_array())
        input.fail("holds JSON that is no statistics of a scene");
    addRow(input, value);
}

void MergedStatistics::add(MergeInput& input)
{
    input.forEachValue([&](const Json& value) {
        if (!value.is_array()) return addDocument(input, value);
        for (const Json& element : value) addDocument(input, element);
    });
}

std::string MergedStatistics::totalsLine() const
{
    std::map<Name, Total> totals;
    for (const auto& [file, row] : rows_) addTotals(totals, row.line);
    Json channels = Json::array();
    for (const auto& [name, total] : totals) {
        channels.push_back({{"label", name.first}, {"units", name.second}});
        channels.back().update(total.json());
    }
    const Json line = {{"merged", "statistics"}, {"scenes", scenes()}, {"channels", channels}};
    return line.dump() + "\n";
}

}  // namespace zel_tool
