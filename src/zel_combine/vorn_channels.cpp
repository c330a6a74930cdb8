#include "vorn_channels.hpp"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string>

#include "color_cube.hpp"
#include "lut_file.hpp"
#include "messages.hpp"
#include "text_header.hpp"

namespace zel_combine {
namespace {

constexpr int lastSlot = ZEL_MAX_CHANNELS - 1;

// The label of channel c without the text that goes before it.
std::string plainLabel(const CommandLineStruct& info, int c, int channels)
{
    const std::string label = info.vornLabel ? info.vornLabel : info.vornFileName;
    return channels == 1 ? label : label + " channel " + std::to_string(c + 1);
}

std::optional<std::string> makeLabel(const CommandLineStruct& info, TextHeader& header, int c,
                                     int channels)
{
    const std::string start = info.vornPrepend ? info.vornPrepend : "";
    if (!header) return start + plainLabel(info, c, channels);
    const std::optional<std::string> read = header.nextLabel();
    if (!read) return std::nullopt;
    std::string label = start + *read;
    // Normally the newline of the header's line.
    if (!label.empty()) label.pop_back();
    return label;
}

// Gives a file with fewer slots those that the channel needs.
void makeRoom(ZELType* out, int channel)
{
    std::int16_t& slots = out->ZELHeader.MaxNumChan;
    slots = std::max(slots, static_cast<std::int16_t>(channel + 1));
}

// Every channel has a LUT of its own. Null, after a message, when it cannot be added.
ZELDisplayLUTType* addLUT(const CommandLineStruct& info, ZELType* out)
{
    return info.vornColorcubeFlag ? AppendColorCubeLUT(out) : ReadLUT(info.vornLUT, out);
}

// Header offsets have 31 bits; channel records follow the LUTs.
bool lutsFit(ZELType* out)
{
    constexpr std::int64_t limit = 2'000'000'000;
    std::int64_t size = 0;
    for (ZELDisplayLUTType* lut = ZELFetchFirstLut(out); lut; lut = ZELFetchNextLut(lut))
        size += ZELFetchLUTRecordSize(lut);
    return size <= limit;
}

bool hasLUT(const CommandLineStruct& info)
{
    return info.vornLUT || info.vornColorcubeFlag;
}

void warnOfNoTable(const CommandLineStruct& info)
{
    sayError("warning: feature header %s %s: classes are not translated\n", info.ZELFeatureHeader,
             hasLUT(info) ? "holds no table of classes" : "is not read without a LUT");
}

}  // namespace

int VornChannels::open(const CommandLineStruct& info, ZELType* in)
{
    return file_.open(info.vornFileName, ZELFetchNumberOfPixels(in), ZELFetchNumberOfLines(in));
}

std::vector<const char*> VornChannels::filesRead(const CommandLineStruct& info) const
{
    const bool readsLUT = hasLUT(info) && file_.channels() > 0;
    const char* lut = readsLUT && !info.vornColorcubeFlag ? info.vornLUT : nullptr;
    const char* classes = readsLUT ? info.ZELFeatureHeader : nullptr;
    std::vector<const char*> names;
    for (const char* name :
         std::initializer_list<const char*>{info.vornFileName, info.vornHeader, lut, classes})
        if (name) names.push_back(name);
    return names;
}

bool VornChannels::declare(const CommandLineStruct& info, ZELType* in, ZELType* out)
{
    translated_ = info.ZELFeatureHeader != nullptr;
    if (!findFreeChannels(in) || !declareChannels(info, out)) return false;
    if (translated_ && file_.channels() > 0 && !classes_.hasTable()) warnOfNoTable(info);
    return true;
}

// The channels after the last one in use; slot 0 is not examined.
bool VornChannels::findFreeChannels(ZELType* in)
{
    int last = lastSlot;
    while (last > 0 && !ZELIsChannelPresent(in, last)) --last;
    if (last == 0 || lastSlot - last < file_.channels()) {
        say("Could not find enough unused ZEL channels in file\n");
        return false;
    }
    firstChannel_ = last + 1;
    return true;
}

bool VornChannels::declareChannels(const CommandLineStruct& info, ZELType* out)
{
    TextHeader header;
    if (info.vornHeader && !header.open(info.vornHeader)) return false;
    for (int c = 0; c < file_.channels(); ++c) {
        const std::optional<std::string> label = makeLabel(info, header, c, file_.channels());
        if (!label) return false;
        makeRoom(out, firstChannel_ + c);
        if (hasLUT(info)) {
            if (!addLUTChannel(info, out, c, label->c_str())) return false;
        } else {
            ZELAddSpecialChannel(out, firstChannel_ + c, 0.0f, 0.0f, ZEL_STORED_FLOAT, 32,
                                 label->c_str(), "Vorn processed imagery");
        }
    }
    return true;
}

// Declares channel c as indices of a LUT, and reads the table of classes. Reading a table moves c
// to its length: the next channel to be set up is the one after that, which may come before c.
bool VornChannels::addLUTChannel(const CommandLineStruct& info, ZELType* out, int& c,
                                 const char* label)
{
    const ZELDisplayLUTType* lut = addLUT(info, out);
    if (!lut) return false;
    if (!lutsFit(out)) {
        say("zel_combine: Error: too many LUT entries for one file\n");
        return false;
    }
    ZELAddLUTChannel(out, firstChannel_ + c, 0.0f, 0.0f, ZEL_STORED_UINT16, 16, label,
                     lut->DisplayLUTLabel);
    std::optional<int> numClasses;
    if (info.ZELFeatureHeader && !classes_.read(info.ZELFeatureHeader, numClasses)) return false;
    c = numClasses.value_or(c);
    return true;
}

bool VornChannels::loadLine(ZELType* out)
{
    for (int c = 0; c < file_.channels(); ++c) {
        std::vector<float>* row = file_.readRow(c);
        if (!row) return false;
        if (translated_) classes_.translate(*row);
        ZELLoadChannel(out, firstChannel_ + c, row->data());
    }
    return true;
}

}  // namespace zel_combine
