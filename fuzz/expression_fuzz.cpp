// Compiling a text and evaluating it: pixel by pixel and for the line at once, to the bit.
//
// The last line of the input is the expression, each line before it the definition of a name:
// "name:expression".
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <zel/zel_features/zel_features.h>

#include "fuzz_definitions.hpp"
#include "fuzz_support.hpp"

namespace {

using Row = std::vector<float>;

struct Field {
    float ZELPixelStruct::*value;
    float* ZELLineStruct::*row;
};

constexpr Field fields[] = {{&ZELPixelStruct::olsonEco, &ZELLineStruct::olsonEco},
                            {&ZELPixelStruct::igbpEco, &ZELLineStruct::igbpEco},
                            {&ZELPixelStruct::percentWater, &ZELLineStruct::percentWater},
                            {&ZELPixelStruct::terrain, &ZELLineStruct::terrain},
                            {&ZELPixelStruct::sz, &ZELLineStruct::sz},
                            {&ZELPixelStruct::vz, &ZELLineStruct::vz},
                            {&ZELPixelStruct::az, &ZELLineStruct::az},
                            {&ZELPixelStruct::sg, &ZELLineStruct::sg},
                            {&ZELPixelStruct::lat, &ZELLineStruct::lat},
                            {&ZELPixelStruct::lon, &ZELLineStruct::lon},
                            {&ZELPixelStruct::jday, &ZELLineStruct::jday},
                            {&ZELPixelStruct::year, &ZELLineStruct::year},
                            {&ZELPixelStruct::Class, &ZELLineStruct::Class}};
constexpr std::size_t numFields = std::size(fields);
constexpr std::size_t numChannels = 5;

// The sign and payload of a NaN are not promised.
bool same(float a, float b)
{
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

bool sameRow(const Row& a, const Row& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), same);
}

bool assignsSomething(const ZELStackStruct& stack)
{
    const StackElementStruct* element = stack.stackHead;
    while (element && !(element->type == OPER && element->op.int_t == SET_VARIABLE))
        element = element->nextElement;
    return element;
}

// A line of awkward values with its pixel record. Every rowless-th row is missing: a channel of
// zeros, or a variable that all pixels share. 0 misses none. A missing channel ignores what is
// assigned to it, which the channels of a record do not: then all of them are there.
struct Line {
    Line(std::size_t pixels, std::size_t rowless, bool assigned)
        : values(pixels, -77.0F), skips(pixels, -77)
    {
        std::size_t next = 0;
        const auto fill = [&](Row& row, bool needed) {
            ++next;
            if (!needed && rowless != 0 && next % rowless == 0) return;
            row.resize(pixels);
            for (std::size_t i = 0; i < pixels; ++i) row[i] = zel_fuzz::awkwardValue(next * 5 + i);
        };
        for (Row& row : channels) fill(row, assigned);
        for (Row& row : variables) fill(row, false);
        std::memset(&record, 0, sizeof record);
        for (const Field& field : fields) record.*field.value = zel_fuzz::awkwardValue(next++);
        for (float& value : record.Registers) value = zel_fuzz::awkwardValue(next++);
    }

    bool evaluateAtOnce(const ZELStackStruct& stack)
    {
        ZELLineStruct line{};
        float* rows[numChannels];
        for (std::size_t c = 0; c < numChannels; ++c) rows[c] = start(channels[c]);
        for (std::size_t f = 0; f < numFields; ++f) line.*fields[f].row = start(variables[f]);
        line.Channels = rows;
        line.numChannels = static_cast<int>(numChannels);
        line.numPixels = static_cast<int>(values.size());
        return zel_fuzz::guarded(
            [&] { ZELEvaluateLine(&stack, &record, &line, values.data(), skips.data()); }, said);
    }

    // The record filled from the rows, evaluated, and written back, for each pixel in turn.
    bool evaluateByPixels(const ZELStackStruct& stack)
    {
        ZELPixelStruct& pixel = record;
        ZELPixelStruct before = record;
        float values5[numChannels] = {};
        pixel.Channels = values5;
        pixel.numChannels = static_cast<int>(numChannels);
        ZELBindPixel(&pixel);
        bool well = true;
        for (std::size_t i = 0; well && i < values.size(); ++i) {
            for (std::size_t f = 0; f < numFields; ++f)
                if (!variables[f].empty()) pixel.*fields[f].value = variables[f][i];
            for (std::size_t c = 0; c < numChannels; ++c)
                values5[c] = channels[c].empty() ? 0.0F : channels[c][i];
            well = zel_fuzz::guarded([&] { values[i] = ZELEvaluateStack(&stack, &pixel); }, said);
            skips[i] = pixel.skipPixelFlag;
            for (std::size_t f = 0; f < numFields; ++f)
                if (!variables[f].empty()) variables[f][i] = pixel.*fields[f].value;
            for (std::size_t c = 0; c < numChannels; ++c)
                if (!channels[c].empty()) channels[c][i] = values5[c];
        }
        ZELBindPixel(nullptr);
        // A line leaves these fields as they are.
        for (std::size_t f = 0; f < numFields; ++f)
            if (!variables[f].empty()) pixel.*fields[f].value = before.*fields[f].value;
        pixel.Channels = nullptr;
        pixel.numChannels = 0;
        return well;
    }

    static float* start(Row& row) { return row.empty() ? nullptr : row.data(); }

    std::array<Row, numChannels> channels;  // an empty one is missing
    std::array<Row, numFields> variables;
    ZELPixelStruct record;
    Row values;
    std::vector<int> skips;
    std::string said;
};

void requireSame(const Line& a, const Line& b)
{
    bool equal =
        sameRow(a.values, b.values) && a.skips == b.skips &&
        a.record.skipPixelFlag == b.record.skipPixelFlag &&
        std::equal(a.channels.begin(), a.channels.end(), b.channels.begin(), sameRow) &&
        std::equal(a.variables.begin(), a.variables.end(), b.variables.begin(), sameRow) &&
        std::equal(a.record.Registers, std::end(a.record.Registers), b.record.Registers, same);
    for (const Field& field : fields)
        equal = equal && same(a.record.*field.value, b.record.*field.value);
    zel_fuzz::require(equal, "a line differs from its pixels");
}

void evaluateBothWays(const ZELStackStruct& stack, std::size_t pixels, std::size_t rowless)
{
    const bool assigned = assignsSomething(stack);
    Line byPixels(pixels, rowless, assigned), atOnce(pixels, rowless, assigned);
    const bool well = byPixels.evaluateByPixels(stack);
    zel_fuzz::require(atOnce.evaluateAtOnce(stack) == well, "only one of them failed");
    zel_fuzz::require(atOnce.said == byPixels.said, "they say different things");
    if (well) requireSame(byPixels, atOnce);
}

void compileAndEvaluate(const std::string& text, int check, const CommandListStruct* definitions)
{
    constexpr int largest = 20000;  // elements: larger ones only take time
    constexpr std::size_t pixels = 37;
    constexpr std::size_t severalGroups = 1030;  // lines are evaluated 512 pixels at a time
    ZELStackStruct stack{};
    int status = -1;
    zel_fuzz::guarded(
        [&] { status = ZELParseExpression(text.c_str(), &stack, check, definitions); });
    if (status == ZEL_PARSE_OK && stack.numStackElements <= largest) {
        for (const std::size_t rowless : {0U, 1U, 3U}) evaluateBothWays(stack, pixels, rowless);
        if (stack.numStackElements < 40) evaluateBothWays(stack, severalGroups, 4);
    }
    ZELFreeStackElements(&stack);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t longest = 1500;
    if (size > longest) return 0;
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::size_t last = input.rfind('\n') + 1;  // npos + 1 is 0
    const zel_fuzz::Definitions definitions(input.substr(0, last));
    for (const int check : {1, 0})
        compileAndEvaluate(input.substr(last), check, definitions.first());
    return 0;
}
