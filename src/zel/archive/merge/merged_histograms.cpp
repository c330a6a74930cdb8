#include "archive/merge/merged_histograms.hpp"

#include <cmath>
#include <memory>
#include <numeric>
#include <set>

#include "archive/scenes/header_facts.hpp"
#include "base/failure.hpp"
#include "base/text.hpp"
#include "scene/library.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

// A sum that a run of all archives does not reach.
constexpr std::int64_t mostCounts = std::int64_t{1} << 60;

std::int64_t integerAt(const Json& object, const char* key)
{
    const auto found = object.find(key);
    return found != object.end() && found->is_number_integer() ? found->get<std::int64_t>() : -1;
}

float floatAt(const Json& object, const char* key)
{
    const auto found = object.find(key);
    return found != object.end() && found->is_number() ? static_cast<float>(found->get<double>())
                                                       : NAN;
}

// Empty when it is no list of counts.
std::vector<std::int64_t> countsAt(const Json& object, const char* key)
{
    std::vector<std::int64_t> counts;
    const auto found = object.find(key);
    if (found == object.end() || !found->is_array()) return {};
    for (const Json& count : *found) {
        if (!count.is_number_integer()) return {};
        counts.push_back(count.get<std::int64_t>());
    }
    return counts;
}

}  // namespace

void MergedHistograms::addName(const MergeInput& input, const std::string& file)
{
    const auto [place, isNew] = scenes_.try_emplace(file, input.file());
    if (isNew) return;
    if (place->second == input.file()) input.fail("is given twice: its pixels would count twice");
    throw Failure(printable(place->second) + " and " + printable(input.file()) + " both have " +
                  printable(file) + ": its pixels would count twice");
}

void MergedHistograms::addCounts(const MergeInput& input, const Key& key, const Sum& sum)
{
    Sum& total = sums_[key];
    total.counts.resize(sum.counts.size());
    total.scenes += sum.scenes;
    for (std::size_t i = 0; i < sum.counts.size(); ++i) {
        if (sum.counts[i] < 0)
            input.fail("a histogram of " + printable(key.label) + " has a negative count");
        total.counts[i] += sum.counts[i];
        if (total.counts[i] > mostCounts) throw Failure("more pixels than can be counted");
    }
}

// Whether a channel has a histogram. One that has seen no value has no range.
bool MergedHistograms::addChannels(const MergeInput& input, const ZELType& record)
{
    std::set<Key> seen;
    bool any = false;
    for (const int slot : presentSlots(record)) {
        const ZELChannelType& c = record.Channels[slot];
        const ZELHistogramType* h = c.ChannelHistogram;
        if (!h || !h->Histogram || !(h->Min <= h->Max)) continue;
        const Key key{labelOf(c), unitsName(c.Units), h->Min, h->Max, h->NumHistogramBins};
        const std::int64_t isFirst = seen.insert(key).second ? 1 : 0;
        addCounts(input, key, {isFirst, {h->Histogram, h->Histogram + h->NumHistogramBins}});
        any = true;
    }
    return any;
}

void MergedHistograms::addScene(const MergeInput& input)
{
    addName(input, utf8(input.file()));
    std::unique_ptr<Scene> scene;
    try {
        scene = std::make_unique<Scene>(input.file());
    } catch (const Failure& failure) {
        input.fail(failure.what());
    }
    bool any = false;
    for (int i = 0; i < scene->componentCount(); ++i)
        any = addChannels(input, scene->component(i)) || any;
    without_ += any ? 0 : 1;
}

// A line of merged histograms.
void MergedHistograms::addLine(const MergeInput& input, const Json& value)
{
    if (isMerged(value, "histograms")) return;
    if (!value.is_object()) input.failAtLine("is no line of merged histograms");
    if (const std::string file = textAt(value, "file"); !file.empty()) return addName(input, file);
    const Key key{textAt(value, "label"), textAt(value, "units"), floatAt(value, "min"),
                  floatAt(value, "max"), integerAt(value, "bins")};
    const Sum sum{integerAt(value, "scenes"), countsAt(value, "counts")};
    const bool isWhole = key.min <= key.max && sum.scenes >= 0 && sum.scenes < mostCounts &&
                         key.bins == static_cast<std::int64_t>(sum.counts.size()) && key.bins > 0;
    if (!isWhole) input.failAtLine("is no line of merged histograms");
    addCounts(input, key, sum);
}

void MergedHistograms::add(MergeInput& input)
{
    if (beginsLikeScene(input.file())) return addScene(input);
    std::string line;
    while (input.nextLine(line)) {
        const Json value = Json::parse(line, nullptr, false);
        if (value.is_discarded()) input.failAtLine("is damaged or cut");
        addLine(input, value);
    }
}

std::string MergedHistograms::firstLine() const
{
    const Json line = {
        {"merged", "histograms"}, {"scenes", scenes_.size()}, {"histograms", sums_.size()}};
    return line.dump() + "\n";
}

std::string MergedHistograms::lineOf(const Key& key, const Sum& sum)
{
    const Json line = {
        {"label", key.label},
        {"units", key.units},
        {"min", jsonNumber(key.min)},
        {"max", jsonNumber(key.max)},
        {"bins", key.bins},
        {"scenes", sum.scenes},
        {"pixels", std::accumulate(sum.counts.begin(), sum.counts.end(), std::int64_t{0})},
        {"counts", sum.counts}};
    return line.dump() + "\n";
}

}  // namespace zel_tool
