#include "scene/names.hpp"

#include <algorithm>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

template <std::size_t N>
std::string nameIn(const char* const (&names)[N], int code, const char* other)
{
    return code >= 0 && code < static_cast<int>(N) ? names[code] : other;
}

// The slot that "Ch6" or "#5" means, or -1.
int slotNumbered(const ZELType& record, const std::string& name)
{
    long long number = 0;
    int slot = -1;
    if (name.size() > 1 && name[0] == '#' && parseInteger(name.substr(1), number))
        slot = number < ZEL_MAX_CHANNELS ? static_cast<int>(number) : -1;
    else if (name.size() > 2 && equalIgnoringCase(name.substr(0, 2), "ch") &&
             parseInteger(name.substr(2), number))
        slot = number <= ZEL_MAX_CHANNELS ? static_cast<int>(number) - 1 : -1;
    return slot >= 0 && record.Channels[slot].ChannelPresentFlag ? slot : -1;
}

template <class Same>
std::vector<int> slotsLabelled(const ZELType& record, const std::string& name, Same same)
{
    std::vector<int> slots;
    for (const int slot : presentSlots(record))
        if (same(labelOf(record.Channels[slot]), name)) slots.push_back(slot);
    return slots;
}

std::string listed(const ZELType& record, const std::vector<int>& slots)
{
    std::vector<std::string> names;
    for (const int slot : slots) {
        std::string label = printable(record.Channels[slot].ChannelLabel);
        names.push_back(format("#%d", slot) + (label.empty() ? "" : " " + label));
    }
    return join(names, ", ");
}

}  // namespace

std::string unitsName(int code)
{
    static constexpr const char* names[] = {"None",           "Degree Kelvin",
                                            "Percent Albedo", "Reflectance",
                                            "Degree Celcius", "None (Look up Table)",
                                            "None (Daytime)", "Radiance(W/m^2/micron/steradian)"};
    return nameIn(names, code, "Unknown");
}

std::string unitsSymbol(int code)
{
    static constexpr const char* symbols[] = {"", "K", "%", "", "\u00B0C", "", "", "W/m2/um/sr"};
    return nameIn(symbols, code, "");
}

std::string sensorName(int code)
{
    static constexpr const char* names[] = {
        "Generic",        "AVHRR LAC",   "AVHRR GAC", "MAS",   "VIRS",
        "LANDSAT TM",     "GOES",        "MODIS",     "ASTER", "Cirrovue VIRS",
        "Cirrovue MODIS", "Landsat MSS", "IKONOS"};
    return nameIn(names, code, "Unsupported");
}

std::string storageName(int code)
{
    static constexpr const char* names[] = {"unknown", "scaled byte", "scaled 16-bit",
                                            "byte",    "float",       "16-bit"};
    return nameIn(names, code, "unknown");
}

bool isScaled(int storageCode)
{
    return storageCode == ZEL_STORED_BYTE_SCALED || storageCode == ZEL_STORED_UINT16_SCALED;
}

std::string labelOf(const ZELChannelType& channel)
{
    return utf8(channel.ChannelLabel);
}

std::vector<int> presentSlots(const ZELType& record)
{
    std::vector<int> slots;
    for (int slot = 0; slot < record.ZELHeader.MaxNumChan; ++slot)
        if (record.Channels[slot].ChannelPresentFlag) slots.push_back(slot);
    return slots;
}

std::vector<int> slotsNamed(const ZELType& record, const std::string& name)
{
    std::vector<int> slots = slotsLabelled(record, name, std::equal_to<>());
    if (slots.empty()) slots = slotsLabelled(record, name, equalIgnoringCase);
    const int numbered = slotNumbered(record, name);
    if (numbered >= 0 && std::find(slots.begin(), slots.end(), numbered) == slots.end())
        slots.push_back(numbered);
    return slots;
}

int findChannel(const ZELType& record, const std::string& name)
{
    const std::vector<int> slots = slotsNamed(record, name);
    if (slots.size() == 1) return slots[0];
    const std::string shown = printable(name);
    if (slots.empty())
        throw Failure("no channel '" + shown + "'; there are " +
                      listed(record, presentSlots(record)));
    throw Failure("channel '" + shown + "' is ambiguous: " + listed(record, slots));
}

std::vector<int> findChannels(const ZELType& record, const std::vector<std::string>& names)
{
    if (names.empty()) return presentSlots(record);
    std::vector<int> slots;
    for (const std::string& list : names)
        for (const std::string& name : split(list, ',')) slots.push_back(findChannel(record, name));
    return slots;
}

const ZELDisplayLUTType* lutOf(ZELType& record, int slot)
{
    const ZELChannelType& channel = record.Channels[slot];
    if (channel.ChannelComment[0] == '\0') return nullptr;
    return ZELFetchLUTByLabel(&record, channel.ChannelComment);
}

bool holdsClasses(ZELType& record, int slot)
{
    return record.Channels[slot].Units == ZEL_UNITS_LUT || lutOf(record, slot) != nullptr;
}

std::string className(const ZELDisplayLUTType* lut, double value)
{
    if (!lut || !(value >= 0.0) || value >= lut->NumLUTValues) return {};
    return utf8(lut->DisplayLUT[static_cast<int>(value)].LUTEntryLabel);
}

}  // namespace zel_tool
