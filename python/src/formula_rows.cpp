#include "formula_rows.hpp"

#include <algorithm>
#include <iterator>
#include <limits>

#include "formula.hpp"

namespace zel_python {
namespace {

constexpr int pixelsAtATime = 1 << 16;

struct VariableRow {
    zel_tool::Variable variable;
    const char* name;
    float* ZELLineStruct::*row;
};
using zel_tool::Variable;
constexpr VariableRow variableRows[] = {
    {Variable::pixelClass, "class", &ZELLineStruct::Class},
    {Variable::solarZenith, "sz", &ZELLineStruct::sz},
    {Variable::viewZenith, "vz", &ZELLineStruct::vz},
    {Variable::azimuth, "az", &ZELLineStruct::az},
    {Variable::sunGlint, "sg", &ZELLineStruct::sg},
    {Variable::latitude, "lat", &ZELLineStruct::lat},
    {Variable::longitude, "lon", &ZELLineStruct::lon},
    {Variable::olson, "olson_eco", &ZELLineStruct::olsonEco},
    {Variable::igbp, "igbp_eco", &ZELLineStruct::igbpEco},
    {Variable::percentWater, "percent_water", &ZELLineStruct::percentWater},
    {Variable::terrain, "terrain", &ZELLineStruct::terrain},
    {Variable::julianDay, "julian_day", &ZELLineStruct::jday},
    {Variable::year, "year", &ZELLineStruct::year}};

std::size_t indexOf(int number)
{
    return static_cast<std::size_t>(number) - 1;
}

Array<float> filled(py::ssize_t count, float value)
{
    Array<float> values(count);
    std::fill_n(values.mutable_data(), count, value);
    return values;
}

float* movedBy(float* row, py::ssize_t begin)
{
    return row ? row + begin : nullptr;
}

}  // namespace

std::vector<std::string> namesOf(const std::set<Variable>& variables)
{
    std::vector<std::string> names;
    for (const VariableRow& row : variableRows)
        if (variables.contains(row.variable)) names.emplace_back(row.name);
    return names;
}

void requirePlaces(const zel_tool::Uses& uses)
{
    const bool isChannel = uses.channels.empty() || (*uses.channels.begin() >= 1 &&
                                                     *uses.channels.rbegin() <= ZEL_MAX_CHANNELS);
    if (!isChannel) throw FormulaError("channels have numbers from 1 to 1000");
    const bool isRegister =
        uses.registers.empty() ||
        (*uses.registers.begin() >= 1 && *uses.registers.rbegin() <= ZEL_FEATURE_NUM_REGISTERS);
    if (!isRegister) throw FormulaError("registers have numbers from 1 to 20");
}

// Each pixel begins with registers and class 0.
FormulaRows::FormulaRows(const zel_tool::Uses& uses, bool isProgram, int firstNew,
                         py::ssize_t count)
    : uses_(uses),
      firstNew_(firstNew),
      count_(count),
      channels_(uses.channels.empty() ? 0 : static_cast<std::size_t>(*uses.channels.rbegin())),
      variables_(std::size(variableRows)),
      registers_(ZEL_FEATURE_NUM_REGISTERS),
      values_(isProgram ? 0 : count),
      skipped_(isProgram ? count : 0),
      valuesAt_(values_.mutable_data()),
      skippedAt_(skipped_.mutable_data()),
      pixel_(std::make_unique<ZELPixelStruct>()),
      channelsAt_(channels_.size()),
      registersAt_(registers_.size()),
      flags_(static_cast<std::size_t>(std::min<py::ssize_t>(count, pixelsAtATime)))
{
    std::fill_n(skippedAt_, skipped_.size(), false);
    for (const int number : uses.registers)
        keep(registers_[indexOf(number)], filled(count, 0.0F), false);
    for (const Variable variable : uses.variables)
        keep(variables_[static_cast<std::size_t>(variable)], filled(count, 0.0F), false);
}

void FormulaRows::keep(Row& row, const Floats& values, bool isWritten)
{
    if (values.size() != count_) throw py::value_error("arrays of different sizes");
    row.array = values;
    if (isWritten) row.array = Floats(count_, values.data());
    row.values = const_cast<float*>(row.array.data());
}

void FormulaRows::takeChannel(int number, const Floats& values)
{
    if (uses_.channels.contains(number))
        keep(channels_[indexOf(number)], values, uses_.writtenChannels.contains(number));
}

void FormulaRows::takeVariable(const std::string& name, const Floats& values)
{
    for (const VariableRow& row : variableRows)
        if (name == row.name && uses_.variables.contains(row.variable))
            keep(variables_[static_cast<std::size_t>(row.variable)], values,
                 uses_.writtenVariables.contains(row.variable));
}

// A new channel is not a number where nothing is written to it.
void FormulaRows::addMade(int count)
{
    channels_.resize(std::max(channels_.size(), indexOf(firstNew_ + count)));
    channelsAt_.resize(channels_.size());
    for (int i = 0; i < count; ++i)
        keep(channels_[indexOf(firstNew_ + i)],
             filled(count_, std::numeric_limits<float>::quiet_NaN()), false);
}

void FormulaRows::fillLine(ZELLineStruct& line, py::ssize_t begin, int size)
{
    line.numPixels = size;
    line.numChannels = static_cast<int>(channels_.size());
    const auto move = [begin](const Row& row) { return movedBy(row.values, begin); };
    std::transform(channels_.begin(), channels_.end(), channelsAt_.begin(), move);
    std::transform(registers_.begin(), registers_.end(), registersAt_.begin(), move);
    line.Channels = channelsAt_.data();
    line.Registers = registersAt_.data();
    for (const VariableRow& row : variableRows)
        line.*row.row = move(variables_[static_cast<std::size_t>(row.variable)]);
}

void FormulaRows::runProgram(const ZELLineStruct& line, bool* skipped)
{
    ZELExecuteProgramLine(program_, pixel_.get(), &line, nullptr, flags_.data());
    for (int x = 0; x < line.numPixels; ++x) {
        const int result = flags_[static_cast<std::size_t>(x)];
        if (result == ZEL_PROGRAM_ERROR) hasFailed_ = true;
        skipped[x] = result == ZEL_PROGRAM_SKIPPED;
    }
}

void FormulaRows::runPart(py::ssize_t begin, int size)
{
    ZELLineStruct line{};
    fillLine(line, begin, size);
    if (program_)
        runProgram(line, skippedAt_ + begin);
    else
        ZELEvaluateLine(stack_, pixel_.get(), &line, valuesAt_ + begin, nullptr);
}

void FormulaRows::blankSkipped()
{
    for (std::size_t i = indexOf(firstNew_); i < channels_.size(); ++i)
        for (py::ssize_t x = 0; x < count_; ++x)
            if (skippedAt_[x]) channels_[i].values[x] = std::numeric_limits<float>::quiet_NaN();
}

ZELDeferredType* FormulaRows::run(const ZELStackStruct* stack, const ProgramStruct* program)
{
    stack_ = stack;
    program_ = program;
    const auto runAll = [](void* data) {
        auto& rows = *static_cast<FormulaRows*>(data);
        for (py::ssize_t begin = 0; begin < rows.count_; begin += pixelsAtATime)
            rows.runPart(
                begin, static_cast<int>(std::min<py::ssize_t>(pixelsAtATime, rows.count_ - begin)));
        rows.blankSkipped();
    };
    return ZELDefer(runAll, this);
}

py::dict FormulaRows::results()
{
    using namespace py::literals;
    py::dict channels, variables;
    for (const int number : uses_.writtenChannels)
        channels[py::int_(number)] = channels_[indexOf(number)].array;
    for (const VariableRow& row : variableRows)
        if (uses_.writtenVariables.contains(row.variable))
            variables[row.name] = variables_[static_cast<std::size_t>(row.variable)].array;
    return py::dict("values"_a = values_, "skipped"_a = skipped_, "channels"_a = channels,
                    "variables"_a = variables);
}

}  // namespace zel_python
