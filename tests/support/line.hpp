// A line of pixels with rows of its own and the record that goes with it, and the plain way to work
// on it: pixel after pixel.
#pragma once

#include <cstddef>
#include <cstring>
#include <iterator>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "support/random_expression.hpp"
#include "zel_features/zel_features.h"

namespace zel_test {

using Row = std::vector<float>;

// Each field of a pixel record and its row in a line.
inline const std::pair<float ZELPixelStruct::*, float * ZELLineStruct::*> lineFields[] = {
    {&ZELPixelStruct::olsonEco, &ZELLineStruct::olsonEco},
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
    {&ZELPixelStruct::Class, &ZELLineStruct::Class},
};

struct PixelLine {
    explicit PixelLine(int pixels, int channels = 5) : numPixels(pixels)
    {
        const auto n = static_cast<std::size_t>(pixels);
        for (int c = 0; c < channels; ++c) channelRows.emplace_back(n, static_cast<float>(c + 1));
        fieldRows.resize(std::size(lineFields));
        registerRows.resize(ZEL_FEATURE_NUM_REGISTERS);
        values.assign(n, -77.0f);
        skipFlags.assign(n, -77);
    }

    Row newRow(float value = 0.0f) const { return Row(static_cast<std::size_t>(numPixels), value); }
    void giveRow(std::size_t field, float value = 0.0f) { fieldRows[field] = newRow(value); }

    ZELLineStruct structure()
    {
        ZELLineStruct line = {};
        line.numPixels = numPixels;
        line.numChannels = static_cast<int>(channelRows.size());
        line.Channels = pointersTo(channelRows, channelPointers);
        line.Registers = pointersTo(registerRows, registerPointers);
        weightPointers.assign(ZEL_FEATURE_NUM_CLASSES, nullptr);
        for (auto& [index, row] : weightRows)
            weightPointers[static_cast<std::size_t>(index)] = row.data();
        if (!weightRows.empty()) line.ClassWeights = weightPointers.data();
        for (std::size_t i = 0; i < fieldRows.size(); ++i)
            line.*lineFields[i].second = fieldRows[i].empty() ? nullptr : fieldRows[i].data();
        return line;
    }

    // The record filled, work(record, place) done and the rows written back for each pixel in turn.
    template <class Work>
    void byPixels(Work work)
    {
        ZELPixelStruct pixel = record;
        ZELBindPixel(&pixel);
        std::vector<float> channels(channelRows.size());
        pixel.Channels = channels.data();
        pixel.numChannels = static_cast<int>(channels.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            eachPlace(pixel, [i](Row& row, float& place) { place = row[i]; });
            for (std::size_t c = 0; c < channels.size(); ++c)
                channels[c] = channelRows[c].empty() ? 0.0f : channelRows[c][i];
            work(pixel, i);
            eachPlace(pixel, [i](Row& row, float& place) { row[i] = place; });
            for (std::size_t c = 0; c < channels.size(); ++c)
                if (!channelRows[c].empty()) channelRows[c][i] = channels[c];
        }
        ZELBindPixel(nullptr);
        const ZELPixelStruct before = record;
        record = pixel;
        restoreWhatHasRows(before);
    }

    int numPixels;
    std::vector<Row> channelRows;   // an empty one is a channel without a row
    std::vector<Row> fieldRows;     // an empty one is a field of the record
    std::vector<Row> registerRows;  // likewise
    std::map<int, Row> weightRows;  // of classes; other weights are the record's
    Row values;
    std::vector<int> skipFlags;
    ZELPixelStruct record = {};

private:
    static float** pointersTo(std::vector<Row>& rows, std::vector<float*>& pointers)
    {
        pointers.clear();
        for (Row& row : rows) pointers.push_back(row.empty() ? nullptr : row.data());
        return pointers.data();
    }

    // Calls use with each row and its place in the record, channels excepted.
    template <class Use>
    void eachPlace(ZELPixelStruct& pixel, Use use)
    {
        for (std::size_t f = 0; f < fieldRows.size(); ++f)
            if (!fieldRows[f].empty()) use(fieldRows[f], pixel.*lineFields[f].first);
        for (std::size_t r = 0; r < registerRows.size(); ++r)
            if (!registerRows[r].empty()) use(registerRows[r], pixel.Registers[r]);
        for (auto& [index, row] : weightRows) use(row, pixel.class_weights[index]);
    }

    // It stays as it was in the record.
    void restoreWhatHasRows(const ZELPixelStruct& before)
    {
        record.Channels = before.Channels;
        record.numChannels = before.numChannels;
        for (std::size_t f = 0; f < fieldRows.size(); ++f)
            if (!fieldRows[f].empty()) record.*lineFields[f].first = before.*lineFields[f].first;
        for (std::size_t r = 0; r < registerRows.size(); ++r)
            if (!registerRows[r].empty()) record.Registers[r] = before.Registers[r];
        for (const auto& [index, row] : weightRows)
            record.class_weights[index] = before.class_weights[index];
    }

    std::vector<float*> channelPointers, registerPointers, weightPointers;
};

inline bool sameRow(const Row& a, const Row& b)
{
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!same(a[i], b[i])) return false;
    return a.size() == b.size();
}

// Where two lines differ, in a few words; empty when they do not.
inline std::string difference(const PixelLine& a, const PixelLine& b)
{
    if (!sameRow(a.values, b.values)) return "values";
    if (a.skipFlags != b.skipFlags) return "skip flags";
    for (std::size_t c = 0; c < a.channelRows.size(); ++c)
        if (!sameRow(a.channelRows[c], b.channelRows[c])) return "channel " + std::to_string(c + 1);
    for (std::size_t f = 0; f < a.fieldRows.size(); ++f) {
        if (!sameRow(a.fieldRows[f], b.fieldRows[f])) return "row of field " + std::to_string(f);
        if (!same(a.record.*lineFields[f].first, b.record.*lineFields[f].first))
            return "field " + std::to_string(f);
    }
    for (std::size_t r = 0; r < a.registerRows.size(); ++r) {
        if (!sameRow(a.registerRows[r], b.registerRows[r]))
            return "row of register " + std::to_string(r + 1);
        if (!same(a.record.Registers[r], b.record.Registers[r]))
            return "register " + std::to_string(r + 1);
    }
    for (const auto& [index, row] : a.weightRows)
        if (!sameRow(row, b.weightRows.at(index))) return "row of weight " + std::to_string(index);
    for (int i = 0; i < ZEL_FEATURE_NUM_CLASSES; ++i)
        if (!same(a.record.class_weights[i], b.record.class_weights[i]))
            return "weight " + std::to_string(i);
    return a.record.skipPixelFlag == b.record.skipPixelFlag ? "" : "the record's skip flag";
}

// Values, some of them NaN, infinite or denormal.
inline float roughValue(Random& random)
{
    using Limits = std::numeric_limits<float>;
    static const float odd[] = {Limits::quiet_NaN(),
                                Limits::infinity(),
                                -Limits::infinity(),
                                Limits::denorm_min(),
                                1e-40f,
                                -1e-40f,
                                Limits::max(),
                                -0.0f};
    if (random.oneIn(20)) return odd[random.below(8)];
    return random.oneIn(30) ? random.anyFloat() : random.value();
}

inline PixelLine randomLine(Random& random, int pixels)
{
    PixelLine line(pixels);
    for (Row& row : line.channelRows) {
        if (random.oneIn(8)) row.clear();
        for (float& value : row) value = roughValue(random);
    }
    for (std::size_t f = 0; f < line.fieldRows.size(); ++f) {
        line.record.*lineFields[f].first = random.value();
        if (random.oneIn(3)) continue;
        line.giveRow(f);
        for (float& value : line.fieldRows[f]) value = roughValue(random);
    }
    for (float& value : line.record.Registers) value = random.value();
    return line;
}

}  // namespace zel_test
