#include "picture/panel.hpp"

#include <algorithm>

#include "scene/names.hpp"

namespace zel_tool {
namespace {

constexpr Size box{320, 480};
constexpr std::size_t atOnce = 32;  // channels whose pictures are held while lines are read

// The values of one channel while its lines come.
class Counter {
public:
    Counter(ZELType& record, int slot, const Statistics& statistics)
        : record_(record), lut_(lutOf(record, slot))
    {
        panel_.slot = slot;
        panel_.statistics = statistics;
        panel_.lut = lut_;
        if (lut_)
            counts_.resize(static_cast<std::size_t>(std::max<int>(lut_->NumLUTValues, 0)));
        else
            panel_.distribution = emptyDistribution(record.Channels[slot], statistics);
    }

    void add()
    {
        const float* values = record_.Channels[panel_.slot].ChannelData;
        const int pixels = record_.ZELHeader.NPixelPerLine;
        if (!lut_) return panel_.distribution.add(values, pixels);
        for (int x = 0; x < pixels; ++x)
            if (isClass(*lut_, values[x])) ++counts_[static_cast<std::size_t>(values[x])];
    }

    Panel finish()
    {
        panel_.classes = sortedClasses(counts_);
        return std::move(panel_);
    }

private:
    ZELType& record_;
    const ZELDisplayLUTType* lut_;
    std::vector<long long> counts_;
    Panel panel_{};
};

Choice choiceOf(ZELType& record, int slot)
{
    return {lutOf(record, slot) ? Style::classes : Style::mapped, {slot}};
}

// The channels from the first on, as many as are read together.
std::vector<Panel> readTogether(ZELType& record, const std::vector<int>& slots, Size size,
                                const std::vector<Statistics>& statistics, const std::string& file,
                                std::size_t first)
{
    const std::size_t end = std::min(first + atOnce, slots.size());
    std::vector<Counter> counters;
    std::vector<Wanted> wanted;
    counters.reserve(end - first);
    wanted.reserve(end - first);
    for (std::size_t i = first; i < end; ++i) {
        counters.emplace_back(record, slots[i], statistics[i]);
        wanted.push_back(wantedOf(choiceOf(record, slots[i]))[0]);
    }
    std::vector<Plane> planes = readPlanes(record, wanted, size, file, [&] {
        for (Counter& counter : counters) counter.add();
    });
    std::vector<Panel> panels;
    panels.reserve(counters.size());
    for (std::size_t i = 0; i < counters.size(); ++i) {
        panels.push_back(counters[i].finish());
        Panel& panel = panels.back();
        const Picture p =
            painted({&record, choiceOf(record, panel.slot)}, Look{}, {std::move(planes[i])});
        panel.stretch = p.ranges[0];
        panel.image = p.image;
    }
    return panels;
}

}  // namespace

Panels panelsOf(ZELType& record, const std::string& file)
{
    Panels all;
    const std::vector<int> slots = presentSlots(record);
    if (slots.empty() || record.NumLines < 1) return all;
    const Size size = sizeWithin(record, box);
    const std::vector<Statistics> statistics = measure(record, slots, file);
    for (std::size_t first = 0; first < slots.size(); first += atOnce)
        for (Panel& panel : readTogether(record, slots, size, statistics, file, first))
            all.channels.push_back(std::move(panel));
    const Subject whole{&record, choiceIn(record, Look{})};
    all.image =
        painted(whole, Look{}, readPlanes(record, wantedOf(whole.choice), size, file)).image;
    return all;
}

}  // namespace zel_tool
