#include "combine/raster.hpp"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "../zel_combine/messages.hpp"
#include "../zel_combine/vorn_channels.hpp"
#include "base/failure.hpp"
#include "base/report.hpp"
#include "base/settings.hpp"
#include "base/text.hpp"
#include "picture/paint.hpp"
#include "scene/library.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

constexpr long long headerBytes = 16;

// What the parts of zel_combine have said.
std::string& said()
{
    static std::string text;
    return text;
}

[[gnu::format(printf, 1, 0)]] std::string formatted(const char* format, va_list values)
{
    va_list again;
    va_copy(again, values);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(static_cast<std::size_t>(std::max(length, 0)), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, values);
    return text;
}

std::string without(std::string text, std::string_view start)
{
    if (text.starts_with(start)) text.erase(0, start.size());
    text.erase(0, text.find_first_not_of(' '));
    return text;
}

// The first line says most; those that follow repeat that it failed.
std::string reason()
{
    const std::string line = split(said(), '\n').front();
    return printable(without(without(line, "zel_combine: "), "Error:"));
}

// A private copy, as the record of a command line has them; null for none.
char* given(std::string& text)
{
    return text.empty() ? nullptr : text.data();
}

std::string pathOf(const Recipe& recipe, const std::string& name)
{
    return name.empty() ? name : recipe.pathOf(name);
}

// A pipe would be waited for.
void requireRegular(const std::string& path)
{
    try {
        if (!path.empty()) requireFile(path);
    } catch (const Failure& failure) {
        throw Failure(printable(path) + ": " + failure.what());
    }
}

}  // namespace

struct Raster::Channels {
    zel_combine::VornChannels vorn;
};

Raster::Raster(const Recipe& recipe, ZELType& view, ZELType& out)
    : path_(recipe.pathOf(recipe.raster.file)),
      planeBytes_(4LL * view.ZELHeader.NPixelPerLine * view.NumLines),
      channels_(std::make_unique<Channels>())
{
    std::string label = recipe.raster.label.empty() ? recipe.raster.file : recipe.raster.label;
    std::string prefix = recipe.raster.prefix;
    std::string header = pathOf(recipe, recipe.raster.header);
    std::string lut = pathOf(recipe, recipe.raster.lut);
    std::string classes = pathOf(recipe, recipe.raster.classes);
    for (const std::string& path : {path_, header, lut, classes}) requireRegular(path);
    zel_combine::CommandLineStruct info{};
    info.vornFileName = path_.data();
    info.vornLabel = given(label);
    info.vornPrepend = given(prefix);
    info.vornHeader = given(header);
    info.vornLUT = given(lut);
    info.vornColorcubeFlag = recipe.raster.cube ? 1 : 0;
    info.ZELFeatureHeader = given(classes);
    const std::vector<int> before = presentSlots(out);
    said().clear();
    bool declared = false;
    zel_combine::VornChannels& vorn = channels_->vorn;
    guarded([&] { declared = vorn.open(info, &view) == 0 && vorn.declare(info, &view, &out); });
    if (!declared) throw Failure(printable(path_) + ": " + reason());
    for (const int slot : presentSlots(out))
        if (!std::binary_search(before.begin(), before.end(), slot)) slots_.push_back(slot);
}

Raster::~Raster() = default;

long long Raster::missingBytes() const
{
    const long long whole = headerBytes + planeBytes_ * static_cast<long long>(slots_.size());
    return std::max(0LL, whole - requireFile(path_));
}

void Raster::loadLine(ZELType& out)
{
    said().clear();
    bool loaded = false;
    guarded([&] { loaded = channels_->vorn.loadLine(&out); });
    if (!loaded) throw Failure(printable(path_) + ": " + reason());
    warnOfClasses(out);
}

void Raster::warnOfClasses(ZELType& out)
{
    for (const int slot : slots_) {
        const ZELChannelType& channel = out.Channels[slot];
        const ZELDisplayLUTType* lut = lutOf(out, slot);
        if (!lut || warned_.contains(slot)) continue;
        const float* end = channel.ChannelData + out.ZELHeader.NPixelPerLine;
        const float* found = std::find_if(static_cast<const float*>(channel.ChannelData), end,
                                          [&](float value) { return !isClass(*lut, value); });
        if (found == end) continue;
        warn("", format("channel #%d ", slot) + printable(channel.ChannelLabel) + " has class " +
                     shortest(*found) + ", but its LUT has " + std::to_string(lut->NumLUTValues) +
                     " entries");
        warned_.insert(slot);
    }
}

}  // namespace zel_tool

namespace zel_combine {

void say(const char* format, ...)
{
    va_list values;
    va_start(values, format);
    const std::string text = zel_tool::formatted(format, values);
    va_end(values);
    zel_tool::said() += text;
}

void sayError(const char* format, ...)
{
    va_list values;
    va_start(values, format);
    std::string text = zel_tool::formatted(format, values);
    va_end(values);
    while (text.ends_with('\n')) text.pop_back();
    if (text.starts_with("warning: "))
        zel_tool::warn("", zel_tool::printable(text.substr(9)));
    else
        zel_tool::said() += text + "\n";
}

}  // namespace zel_combine
