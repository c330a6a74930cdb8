#include "formula/pixel_rows.hpp"

#include <algorithm>
#include <limits>

#include "base/failure.hpp"
#include "scene/library.hpp"

namespace zel_tool {
namespace {

constexpr Variable allVariables[] = {
    Variable::pixelClass, Variable::solarZenith,  Variable::viewZenith, Variable::azimuth,
    Variable::sunGlint,   Variable::latitude,     Variable::longitude,  Variable::olson,
    Variable::igbp,       Variable::percentWater, Variable::terrain,    Variable::julianDay,
    Variable::year};

std::vector<float*> movedBy(const std::vector<float*>& rows, int x)
{
    std::vector<float*> moved;
    moved.reserve(rows.size());
    for (float* row : rows) moved.push_back(row ? row + x : nullptr);
    return moved;
}

}  // namespace

PixelRows::PixelRows(ZELType& record, const Uses& uses, int firstNew, int newChannels)
    : record_(record),
      pixels_(record.ZELHeader.NPixelPerLine),
      firstNew_(firstNew),
      channels_(indexOf(firstNew + newChannels)),
      needsPosition_(uses.any({Variable::latitude, Variable::longitude, Variable::olson,
                               Variable::igbp, Variable::percentWater, Variable::terrain})),
      needsAngles_(uses.any(
          {Variable::solarZenith, Variable::viewZenith, Variable::azimuth, Variable::sunGlint})),
      pixel_(std::make_unique<ZELPixelStruct>())
{
    for (int slot = 0; slot < firstNew - 1; ++slot) {
        const bool isWritten = uses.writtenChannels.contains(slot + 1);
        if (!record.Channels[slot].ChannelPresentFlag) continue;
        channels_[static_cast<std::size_t>(slot)] =
            isWritten ? newRow() : record.Channels[slot].ChannelData;
        if (isWritten) copied_.push_back(slot);
    }
    for (int i = 0; i < newChannels; ++i) channels_[indexOf(firstNew + i)] = newRow();
    registers_.resize(ZEL_FEATURE_NUM_REGISTERS);
    for (const int number : uses.registers)
        if (number >= 1 && number <= ZEL_FEATURE_NUM_REGISTERS)
            registers_[indexOf(number)] = newRow();
    line_.numPixels = pixels_;
    line_.numChannels = static_cast<int>(channels_.size());
    line_.Channels = channels_.data();
    line_.Registers = registers_.data();
    pixel_->jday = static_cast<float>(record.ZELHeader.julian);
    pixel_->year = static_cast<float>(record.ZELHeader.year);
    for (const Variable variable : uses.variables) {
        const bool isDate = variable == Variable::julianDay || variable == Variable::year;
        if (!isDate || uses.writtenVariables.contains(variable)) addVariable(variable);
    }
}

float* PixelRows::newRow()
{
    return rows_.emplace_back(static_cast<std::size_t>(pixels_)).data();
}

float** PixelRows::memberFor(ZELLineStruct& line, Variable variable) const
{
    switch (variable) {
    case Variable::pixelClass:
        return &line.Class;
    case Variable::solarZenith:
        return &line.sz;
    case Variable::viewZenith:
        return &line.vz;
    case Variable::azimuth:
        return &line.az;
    case Variable::sunGlint:
        return &line.sg;
    case Variable::latitude:
        return &line.lat;
    case Variable::longitude:
        return &line.lon;
    case Variable::olson:
        return &line.olsonEco;
    case Variable::igbp:
        return &line.igbpEco;
    case Variable::percentWater:
        return &line.percentWater;
    case Variable::terrain:
        return &line.terrain;
    case Variable::julianDay:
        return &line.jday;
    case Variable::year:
        break;
    }
    return &line.year;
}

void PixelRows::addVariable(Variable variable)
{
    float* row = newRow();
    *memberFor(line_, variable) = row;
    variables_.push_back({variable, row});
}

void PixelRows::fillFrom(float* row, const float* values)
{
    std::copy_n(values, pixels_, row);
}

template <class Value>
void PixelRows::fillWith(float* row, Value value)
{
    for (int x = 0; x < pixels_; ++x) row[x] = static_cast<float>(value(x));
}

// By the number that the library gives a grid.
void PixelRows::fillFromGrid(float* row, int number)
{
    static constexpr const char* needs[] = {
        "olson_eco needs the grid owe14d.img", "percent_water needs the grid fnocwat.img",
        "igbp_eco needs the grid global_18.map", "terrain needs the grid fnocpt.img"};
    try {
        guarded([&] {
            fillWith(row, [&](int x) { return FetchAncillary(number, lat_[x], lon_[x]); });
        });
    } catch (const Failure&) {
        throw Failure(std::string(needs[number]) + ", which was not found: set ZEL_DATA_DIR");
    }
}

void PixelRows::fill(const VariableRow& v)
{
    const auto grid = [&](int number) { fillFromGrid(v.row, number); };
    switch (v.variable) {
    case Variable::pixelClass:
        return fillWith(v.row, [](int) { return 0; });
    case Variable::solarZenith:
        return fillFrom(v.row, sz_);
    case Variable::viewZenith:
        return fillFrom(v.row, vz_);
    case Variable::azimuth:
        return fillFrom(v.row, az_);
    case Variable::sunGlint:
        return fillWith(v.row, [&](int x) { return ComputeSunglint(sz_[x], vz_[x], az_[x]); });
    case Variable::latitude:
        return fillFrom(v.row, lat_);
    case Variable::longitude:
        return fillFrom(v.row, lon_);
    case Variable::olson:
        return grid(0);
    case Variable::percentWater:
        return grid(1);
    case Variable::igbp:
        return grid(2);
    case Variable::terrain:
        return grid(3);
    case Variable::julianDay:
        return fillWith(v.row, [&](int) { return pixel_->jday; });
    case Variable::year:
        return fillWith(v.row, [&](int) { return pixel_->year; });
    }
}

void PixelRows::begin()
{
    guarded([&] {
        if (needsPosition_) ZELFetchNavigation(&record_, &lat_, &lon_);
        if (needsAngles_) ZELFetchSolar(&record_, &sz_, &vz_, &az_);
    });
    for (const VariableRow& row : variables_) fill(row);
    for (const int slot : copied_)
        fillFrom(channels_[static_cast<std::size_t>(slot)], record_.Channels[slot].ChannelData);
    for (std::size_t i = indexOf(firstNew_); i < channels_.size(); ++i)
        std::fill_n(channels_[i], pixels_, std::numeric_limits<float>::quiet_NaN());
    for (float* row : registers_)
        if (row) std::fill_n(row, pixels_, 0.0F);
}

ZELLineStruct PixelRows::pixelAt(int x)
{
    ZELLineStruct one = line_;
    one.numPixels = 1;
    channelsAt_ = movedBy(channels_, x);
    registersAt_ = movedBy(registers_, x);
    one.Channels = channelsAt_.data();
    one.Registers = registersAt_.data();
    for (const Variable variable : allVariables)
        if (float** row = memberFor(one, variable); *row) *row += x;
    return one;
}

}  // namespace zel_tool
