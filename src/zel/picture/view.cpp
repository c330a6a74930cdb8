#include "picture/view.hpp"

#include <cmath>

#include "base/failure.hpp"
#include "base/text.hpp"
#include "picture/paint.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

// The channel nearest to a wavelength, within 0.05 microns of it; -1 for none.
int slotNear(const ZELType& record, float microns)
{
    int found = -1;
    float nearest = 0.05F;
    for (const int slot : presentSlots(record)) {
        const float away = std::fabs(record.Channels[slot].ChannelWaveLength - microns);
        if (away >= nearest) continue;
        nearest = away;
        found = slot;
    }
    return found;
}

Choice naturalColors(const ZELType& record)
{
    const int red = slotNear(record, 0.66F);
    const int green = slotNear(record, 0.56F);
    const int blue = slotNear(record, 0.48F);
    if (red < 0 || green < 0 || blue < 0 || red == green || green == blue)
        return {Style::mapped, {}};
    return {Style::rgb, {red, green, blue}};
}

Choice single(ZELType& record, int slot, const Look& look)
{
    const bool classes = look.map.empty() && lutOf(record, slot) != nullptr;
    return {classes ? Style::classes : Style::mapped, {slot}};
}

Range rangeOf(const ZELType& record, int slot, const Plane& plane, const Look& look)
{
    if (!look.range.empty())
        return {static_cast<float>(look.range[0]), static_cast<float>(look.range[1])};
    return stretchOf(record.Channels[slot], plane, look.low, look.high);
}

Image paint(const Picture& p, const Look& look)
{
    if (p.choice.style == Style::rgb) return paintRgb(p.planes, p.ranges);
    if (p.choice.style == Style::classes && p.lut) return paintClasses(p.planes[0], *p.lut);
    return paintMapped(p.planes[0], p.ranges[0], look.map.empty() ? "grey" : look.map);
}

}  // namespace

Choice choiceIn(ZELType& record, const Look& look)
{
    if (!look.rgb.empty()) {
        const std::vector<int> slots = findChannels(record, look.rgb);
        if (slots.size() != 3) throw Misuse("--rgb takes three channels, as in B4,B3,B2");
        return {Style::rgb, slots};
    }
    if (!look.channel.empty()) return single(record, findChannel(record, look.channel), look);
    const std::vector<int> present = presentSlots(record);
    if (present.empty()) throw Failure("has no channels");
    const Choice natural = naturalColors(record);
    return natural.slots.empty() || !look.map.empty() ? single(record, present[0], look) : natural;
}

Subject subjectOf(Scene& scene, int part, const Look& look)
{
    ZELType& record = scene.part(part);
    Subject subject{&record, choiceIn(record, look)};
    if (part != -1 || !scene.isContainer()) return subject;
    Subject own{nullptr, {subject.choice.style, {}}};
    for (const int slot : subject.choice.slots) {
        const Scene::Origin origin = scene.origin(slot);
        if (own.record && own.record != origin.record) return subject;
        own.record = origin.record;
        own.choice.slots.push_back(origin.slot);
    }
    return own;
}

std::vector<Wanted> wantedOf(const Choice& choice)
{
    const Sampling sampling = choice.style == Style::classes ? Sampling::nearest : Sampling::mean;
    std::vector<Wanted> wanted;
    for (const int slot : choice.slots) wanted.push_back({slot, sampling});
    return wanted;
}

Picture painted(const Subject& subject, const Look& look, std::vector<Plane> planes)
{
    ZELType& record = *subject.record;
    const Choice& choice = subject.choice;
    Picture made{choice, std::move(planes), {}, Image(1, 1), nullptr};
    for (std::size_t i = 0; i < choice.slots.size(); ++i)
        made.ranges.push_back(rangeOf(record, choice.slots[i], made.planes[i], look));
    if (choice.style == Style::classes) made.lut = lutOf(record, choice.slots[0]);
    made.image = paint(made, look);
    return made;
}

Picture picture(const Subject& subject, const Look& look, Size size, const std::string& file)
{
    return painted(subject, look,
                   readPlanes(*subject.record, wantedOf(subject.choice), size, file));
}

std::string captionOf(const Picture& p, const ZELType& record)
{
    std::vector<std::string> parts;
    for (std::size_t i = 0; i < p.choice.slots.size(); ++i) {
        std::string part = printable(record.Channels[p.choice.slots[i]].ChannelLabel);
        if (p.choice.style != Style::classes)
            part += format(" %.6g .. %.6g", static_cast<double>(p.ranges[i].low),
                           static_cast<double>(p.ranges[i].high));
        parts.push_back(part);
    }
    return join(parts, ", ");
}

}  // namespace zel_tool
