#include "scene/made_channel.hpp"

#include <algorithm>
#include <cmath>
#include <functional>

#include "base/failure.hpp"
#include "base/text.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

struct UnitName {
    const char* name;
    int code;
};
constexpr UnitName unitNames[] = {{"none", ZEL_UNITS_NONE},
                                  {"kelvin", ZEL_UNITS_KELVIN},
                                  {"albedo", ZEL_UNITS_PERCENT_ALBEDO},
                                  {"reflectance", ZEL_UNITS_REFLECTANCE},
                                  {"celsius", ZEL_UNITS_CELSIUS},
                                  {"lut", ZEL_UNITS_LUT},
                                  {"daytime", ZEL_UNITS_DAYTIME},
                                  {"radiance", ZEL_UNITS_RADIANCE}};

float number(const std::string& text, const std::string& whole)
{
    double value = 0.0;
    if (!parseNumber(text, value))
        throw Misuse("no number '" + printable(text) + "' in '" + printable(whole) + "'");
    return static_cast<float>(value);
}

Storage parseStorage(const std::string& text)
{
    const std::vector<std::string> parts = split(text, ':');
    const std::string kind = parts.empty() ? "" : parts[0];
    Storage storage;
    const bool isRanged = parts.size() == 3;
    if (kind == "float")
        storage.code = ZEL_STORED_FLOAT;
    else if (kind == "u8")
        storage.code = isRanged ? ZEL_STORED_BYTE_SCALED : ZEL_STORED_BYTE;
    else if (kind == "u16")
        storage.code = isRanged ? ZEL_STORED_UINT16_SCALED : ZEL_STORED_UINT16;
    else
        throw Misuse("no storage '" + printable(text) +
                     "'; there are float, u8, u16 and, with a range, u16:-1:1");
    if (parts.size() == 1) return storage;
    if (!isRanged) throw Misuse("'" + printable(text) + "' has no range such as :-1:1");
    storage.min = number(parts[1], text);
    storage.max = number(parts[2], text);
    if (!std::isfinite(storage.max - storage.min) || !storage.hasRange())
        throw Misuse("the range of '" + printable(text) + "' is empty");
    return storage;
}

int parseUnits(const std::string& text)
{
    std::vector<std::string> names;
    for (const UnitName& unit : unitNames) {
        if (equalIgnoringCase(unit.name, text)) return unit.code;
        names.emplace_back(unit.name);
    }
    throw Misuse("no unit '" + printable(text) + "'; there are " + join(names, ", "));
}

std::vector<std::string> labelsOf(const std::vector<MadeChannel>& channels)
{
    std::vector<std::string> labels;
    labels.reserve(channels.size());
    for (const MadeChannel& channel : channels) labels.push_back(printable(channel.label));
    return labels;
}

using Set = std::function<void(MadeChannel& channel, const std::string& value)>;

void setNamed(const std::string& name, const std::string& value, std::vector<MadeChannel>& channels,
              const Set& set)
{
    const auto found = std::find_if(channels.begin(), channels.end(),
                                    [&](const MadeChannel& c) { return c.label == name; });
    if (found == channels.end())
        throw Misuse("no new channel '" + printable(name) + "'; there are " +
                     join(labelsOf(channels), ", "));
    set(*found, value);
}

// What is for all comes first, wherever it stands.
void apply(const std::vector<std::string>& options, std::vector<MadeChannel>& channels,
           const Set& set)
{
    for (const std::string& option : options)
        if (option.find('=') == std::string::npos)
            for (MadeChannel& channel : channels) set(channel, option);
    for (const std::string& option : options)
        if (const auto at = option.find('='); at != std::string::npos)
            setNamed(option.substr(0, at), option.substr(at + 1), channels, set);
}

struct Limits {
    float min, max;
};

Limits limitsOf(const Storage& storage)
{
    if (storage.code == ZEL_STORED_BYTE) return {0.0F, 255.0F};
    if (storage.code == ZEL_STORED_UINT16) return {0.0F, 65535.0F};
    return {storage.min, storage.max};
}

bool isLimited(const Storage& storage)
{
    return storage.code != ZEL_STORED_FLOAT || storage.hasRange();
}

void requireStorable(const MadeChannel& channel)
{
    const Limits limits = limitsOf(channel.storage);
    if (!isLimited(channel.storage)) return;
    if (!(*channel.missing >= limits.min && *channel.missing <= limits.max))
        throw Misuse(printable(channel.label) + ", " + channel.storage.text() +
                     ", has no room for the missing value " + shortest(*channel.missing));
}

float missingValue(const MadeChannel& channel)
{
    if (channel.missing) return *channel.missing;
    return channel.storage.code == ZEL_STORED_FLOAT ? NAN : limitsOf(channel.storage).min;
}

// What is added so that a number is rounded by encoding, which cuts.
float halfStep(const Storage& storage)
{
    if (!isScaled(storage.code)) return 0.0F;
    const float steps = storage.code == ZEL_STORED_BYTE_SCALED ? 255.0F : 65535.0F;
    return (storage.max - storage.min) / steps / 2.0F;
}

void countFinite(MadeChannel& channel, float value)
{
    channel.lowest = channel.finiteCount == 0 ? value : std::min(channel.lowest, value);
    channel.highest = channel.finiteCount == 0 ? value : std::max(channel.highest, value);
    ++channel.finiteCount;
}

}  // namespace

int Storage::bits() const
{
    if (code == ZEL_STORED_FLOAT) return 32;
    return code == ZEL_STORED_BYTE || code == ZEL_STORED_BYTE_SCALED ? 8 : 16;
}

std::string Storage::text() const
{
    const std::string kind = code == ZEL_STORED_FLOAT ? "float" : bits() == 8 ? "u8" : "u16";
    return hasRange() ? kind + ":" + shortest(min) + ":" + shortest(max) : kind;
}

void applyOptions(const ChannelOptions& options, std::vector<MadeChannel>& channels)
{
    apply(options.storage, channels, [](MadeChannel& channel, const std::string& value) {
        channel.storage = parseStorage(value);
    });
    apply(options.units, channels, [](MadeChannel& channel, const std::string& value) {
        channel.units = parseUnits(value);
    });
    apply(options.comments, channels,
          [](MadeChannel& channel, const std::string& value) { channel.comment = value; });
    apply(options.missing, channels, [](MadeChannel& channel, const std::string& value) {
        channel.missing = number(value, value);
        requireStorable(channel);
    });
}

void prepare(MadeChannel& channel, const float* values, int count, float* out)
{
    const Storage& storage = channel.storage;
    const bool limited = isLimited(storage);
    const bool isInteger = storage.code == ZEL_STORED_BYTE || storage.code == ZEL_STORED_UINT16;
    const Limits limits = limitsOf(storage);
    const float missing = missingValue(channel);
    const float half = halfStep(storage);
    for (int x = 0; x < count; ++x) {
        float value = values[x];
        if (std::isnan(value)) {
            ++channel.missingCount;
            value = missing;
        } else if (std::isinf(value)) {
            ++channel.infiniteCount;
        } else {
            countFinite(channel, value);
        }
        if (isInteger) value = std::nearbyint(value);
        if (limited && !std::isnan(value)) {
            if (value < limits.min || value > limits.max) ++channel.outsideCount;
            value = std::clamp(value, limits.min, limits.max);
        }
        out[x] = half > 0.0F ? std::min(value + half, limits.max) : value;
    }
}

}  // namespace zel_tool
