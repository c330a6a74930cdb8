#include "combine/choices.hpp"

#include <fnmatch.h>

#include <algorithm>
#include <bit>
#include <cctype>
#include <cmath>
#include <limits>

#include "base/failure.hpp"
#include "base/text.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

struct Choice {
    std::string channel;
    std::string value;
};

Choice choiceOf(const std::string& text, const char* option)
{
    const auto equals = text.rfind('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size())
        throw Misuse(std::string(option) + " takes CHANNEL=VALUE, not " + printable(text));
    return {text.substr(0, equals), text.substr(equals + 1)};
}

bool isPattern(const std::string& name)
{
    return name.find_first_of("*?") != std::string::npos;
}

std::string lowered(std::string text)
{
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::vector<int> slotsFor(const ZELType& view, const std::string& name)
{
    if (!isPattern(name)) return {findChannel(view, name)};
    std::vector<int> slots;
    const std::string pattern = lowered(name);
    for (const int slot : presentSlots(view))
        if (fnmatch(pattern.c_str(), lowered(labelOf(view.Channels[slot])).c_str(), 0) == 0)
            slots.push_back(slot);
    if (slots.empty()) throw Failure("no channel fits '" + printable(name) + "'");
    return slots;
}

Method methodNamed(const std::string& name)
{
    const auto& names = methodNames();
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end())
        throw Misuse("unknown method '" + printable(name) + "'; there are " + join(names, ", "));
    return static_cast<Method>(found - names.begin());
}

long long largestStored(const ZELChannelType& channel)
{
    return channel.DataByteSize == 1 ? 255 : 65535;
}

// The stored numbers of a channel of integers that have a value.
std::vector<std::uint32_t> storedOf(const ZELChannelType& channel, double value)
{
    std::vector<std::uint32_t> stored;
    for (long long k = 0; k <= largestStored(channel); ++k) {
        const float own = channel.ChannelLUT ? channel.ChannelLUT[k] : static_cast<float>(k);
        if (own == static_cast<float>(value)) stored.push_back(static_cast<std::uint32_t>(k));
    }
    return stored;
}

// "raw:N", or a value.
struct MissingValue {
    bool raw = false;
    long long number = 0;
    double value = 0.0;
};

MissingValue missingValueOf(const std::string& text)
{
    MissingValue parsed{text.starts_with("raw:")};
    if (parsed.raw && !parseInteger(text.substr(4), parsed.number))
        throw Misuse("raw: takes a stored number, not " + printable(text.substr(4)));
    if (!parsed.raw && !parseNumber(text, parsed.value))
        throw Misuse("--missing takes a number, nan or raw:NUMBER, not " + printable(text));
    return parsed;
}

std::vector<std::uint32_t> storedOf(const ZELChannelType& channel, const std::string& text)
{
    const auto [raw, number, value] = missingValueOf(text);
    if (channel.Type == ZEL_STORED_FLOAT) {
        if (raw) return {};
        return {std::bit_cast<std::uint32_t>(static_cast<float>(value))};
    }
    if (!raw) return storedOf(channel, value);
    if (number < 0 || number > largestStored(channel)) return {};
    return {static_cast<std::uint32_t>(number)};
}

void addMissing(Missing& missing, const ZELType& view, int slot, const Choice& choice)
{
    const ZELChannelType& channel = view.Channels[slot];
    const bool isFloat = channel.Type == ZEL_STORED_FLOAT;
    const bool nan = equalIgnoringCase(choice.value, "nan");
    if (nan && !isFloat && isPattern(choice.channel)) return;
    const auto stored = nan ? std::vector<std::uint32_t>() : storedOf(channel, choice.value);
    if (stored.empty() && !(nan && isFloat))
        throw Failure(format("no pixel of channel #%d ", slot) + printable(channel.ChannelLabel) +
                      " can have the missing value " + printable(choice.value));
    missing.notANumber = missing.notANumber || nan;
    missing.stored.insert(missing.stored.end(), stored.begin(), stored.end());
    missing.texts.push_back(choice.value);
}

}  // namespace

const std::vector<std::string>& methodNames()
{
    static const std::vector<std::string> names = {"mean", "nearest", "mode", "min", "max", "sum"};
    return names;
}

std::string methodName(Method method)
{
    return methodNames()[static_cast<std::size_t>(method)];
}

std::uint32_t Missing::fill() const
{
    if (!stored.empty()) return stored.front();
    return notANumber ? std::bit_cast<std::uint32_t>(std::numeric_limits<float>::quiet_NaN()) : 0;
}

std::vector<std::optional<Method>> methodsOf(const ZELType& view,
                                             const std::vector<std::string>& choices)
{
    std::vector<std::optional<Method>> methods(ZEL_MAX_CHANNELS);
    for (const std::string& text : choices) {
        const Choice choice = choiceOf(text, "--method");
        const Method method = methodNamed(choice.value);
        for (const int slot : slotsFor(view, choice.channel))
            methods[static_cast<std::size_t>(slot)] = method;
    }
    return methods;
}

std::vector<Missing> missingOf(const ZELType& view, const std::vector<std::string>& choices)
{
    std::vector<Missing> all(ZEL_MAX_CHANNELS);
    for (const std::string& text : choices) {
        const Choice choice = choiceOf(text, "--missing");
        for (const int slot : slotsFor(view, choice.channel))
            addMissing(all[static_cast<std::size_t>(slot)], view, slot, choice);
    }
    return all;
}

void checkChoices(const std::vector<std::string>& methods, const std::vector<std::string>& missing,
                  const std::string& minValid)
{
    for (const std::string& text : methods) methodNamed(choiceOf(text, "--method").value);
    for (const std::string& text : missing)
        if (const Choice choice = choiceOf(text, "--missing");
            !equalIgnoringCase(choice.value, "nan"))
            missingValueOf(choice.value);
    if (const MinValid valid(minValid); !minValid.empty() && missing.empty())
        throw Misuse("--min-valid needs --missing");
}

MinValid::MinValid(const std::string& text)
{
    if (text.empty()) return;
    percent_ = text.back() == '%';
    const std::string number = percent_ ? text.substr(0, text.size() - 1) : text;
    const bool isNumber = parseNumber(number, number_) && number_ >= 0.0;
    const bool fits = percent_ ? number_ <= 100.0 : number_ == std::floor(number_);
    if (!isNumber || !fits)
        throw Misuse("--min-valid takes a number of pixels or a percentage, not " +
                     printable(text));
}

// One at least: a block without a value has none to give.
long long MinValid::of(long long blockPixels) const
{
    const auto all = static_cast<double>(blockPixels);
    const double wanted = percent_ ? std::ceil(number_ * all / 100.0) : number_;
    return static_cast<long long>(std::clamp(wanted, 1.0, all));
}

}  // namespace zel_tool
