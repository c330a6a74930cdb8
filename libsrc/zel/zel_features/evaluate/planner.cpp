#include "zel_features/evaluate/planner.hpp"

#include <algorithm>

#include "zel_features/evaluate/pairs.hpp"
#include "zel_features/evaluate/zel_evaluate.hpp"
#include "zel_features/language/operators.hpp"

namespace zel {

namespace {

// Weights have no bit: no expression reads one.
CellSet bitOf(Name name)
{
    if (name.kind == Name::weight) return 0;
    const int first = name.kind == Name::reg ? 0 : ZEL_FEATURE_NUM_REGISTERS;
    return CellSet{1} << (first + name.index);
}

// Aliases are one variable.
Name variableName(int index)
{
    return {Name::variable, firstNameOf(index)};
}

}  // namespace

Planner::Planner(Plan& plan, ZELPixelStruct& record, const ZELLineStruct& line)
    : plan_(plan), record_(record), line_(line)
{
    plan_ = Plan();
    plan_.numChannels = line.numChannels;
    plan_.width = kernelWidth();
}

void Planner::enter(int mask, CellSet written)
{
    mask_ = mask;
    written_ = written;
}

Followed Planner::plan(const StackElementStruct* head)
{
    size_ = 0;
    return follow(head, *this);
}

// ---- Rows and steps ----

int Planner::rowFor(Name name)
{
    const auto found = std::find(plan_.rows.begin(), plan_.rows.end(), name);
    const auto row = static_cast<int>(found - plan_.rows.begin());
    if (found == plan_.rows.end()) plan_.rows.push_back(name);
    return row;
}

int Planner::newBuffer()
{
    plan_.rows.push_back({Name::buffer, plan_.numBuffers++});
    return static_cast<int>(plan_.rows.size()) - 1;
}

// 0 when the line has no such row.
int Planner::lineRow(Name name)
{
    if (rowOf(line_, name)) return rowFor(name);
    if (std::find(plan_.absent.begin(), plan_.absent.end(), name) == plan_.absent.end())
        plan_.absent.push_back(name);
    return 0;
}

int Planner::resultRow(int depth)
{
    if (!resultRows_[depth]) resultRows_[depth] = newBuffer();
    return resultRows_[depth];
}

bool Planner::add(Kernel kernel, int result, std::initializer_list<Source> operands)
{
    Step step = {kernel, result, {}};
    std::copy(operands.begin(), operands.end(), step.operands);
    plan_.steps.push_back(step);
    lastIsTruth_ = false;
    lastOperator_ = -1;
    return plan_.rows.size() <= maxRows;
}

bool Planner::isFromLastStep(Source value) const
{
    const auto* end = resultRows_ + maxPending + 1;
    return value.row && !plan_.steps.empty() && plan_.steps.back().result == value.row &&
           std::find(resultRows_, end, value.row) != end;
}

bool Planner::sendTo(int row, Source value)
{
    if (!isFromLastStep(value)) return add(copyRow, row, {value});
    plan_.steps.back().result = row;
    return true;
}

// ---- Pending values ----

bool Planner::push(Source value)
{
    if (size_ == maxPending) return false;
    pending_[size_++] = value;
    return true;
}

// The value of an assignment, which stood one place higher.
bool Planner::pushAssigned(Source value)
{
    if (!value.row || value.row != resultRows_[size_ + 1]) return push(value);
    const int row = resultRow(size_);
    return sendTo(row, value) && push({row, 0.0f});
}

// Pending values that stand in a row about to change move to rows of their own.
bool Planner::saveFromOverwrite(int row)
{
    for (int i = 0; i < size_; ++i) {
        if (pending_[i].row != row) continue;
        if (!add(copyRow, resultRow(i), {pending_[i]})) return false;
        pending_[i].row = resultRow(i);
    }
    return true;
}

// ---- Operands ----

bool Planner::allowsVariable(int index) const
{
    return isVariable(index);
}

bool Planner::pushChannel(int index)
{
    return push({lineRow({Name::channel, index}), 0.0f});
}

bool Planner::pushVariable(int index)
{
    return pushCell(variableName(index));
}

bool Planner::pushRegister(int index)
{
    return pushCell({Name::reg, index});
}

bool Planner::pushCell(Name name)
{
    if (const int row = lineRow(name)) return push({row, 0.0f});
    const CellSet bit = bitOf(name);
    if (written_ & bit) return push(keptOf(name).value);
    if (everWritten_ & bit) return false;
    readFirst_ |= bit;
    plan_.carried.push_back({name, fieldOf(record_, name)});
    return push(plan_.carried.back().value);
}

// ---- Operators ----

bool Planner::apply(int operatorIndex)
{
    const int operands = operatorRows[operatorIndex].operands;
    if (size_ < operands) return false;
    size_ -= operands;
    const Source* arguments = pending_ + size_;
    if (std::none_of(arguments, arguments + operands, [](Source s) { return s.row != 0; })) {
        float values[3] = {};
        for (int i = 0; i < operands; ++i) values[i] = arguments[i].value;
        return push(computeValue(operatorIndex, values));
    }
    Source three[3];
    std::copy_n(arguments, operands, three);
    const int row = resultRow(size_);
    if (operands == 2 && joinLastStep(operatorIndex, three, row)) return push({row, 0.0f});
    if (!add(kernelOf(operatorIndex), row, {three[0], three[1], three[2]})) return false;
    if (operands == 2) lastOperator_ = operatorIndex;
    lastIsTruth_ = arithmetic::yieldsTruth(operatorIndex);
    return push({row, 0.0f});
}

// Makes one step of the last one and of the operator that takes its result.
bool Planner::joinLastStep(int operatorIndex, const Source* arguments, int row)
{
    if (lastOperator_ < 0) return false;
    const int place = isFromLastStep(arguments[0]) ? 0 : 1;
    if (!isFromLastStep(arguments[place])) return false;
    const Kernel kernel = pairKernelOf(lastOperator_, operatorIndex, place);
    if (!kernel) return false;
    Step& step = plan_.steps.back();
    step.kernel = kernel;
    step.result = row;
    step.operands[2] = arguments[1 - place];
    lastOperator_ = -1;
    lastIsTruth_ = arithmetic::yieldsTruth(operatorIndex);
    return true;
}

// ---- Assignments ----

// The target must be known before any pixel is seen.
bool Planner::assign()
{
    if (size_ < 2 || pending_[size_ - 2].row) return false;
    const Source value = pending_[--size_];
    const Target target = targetOf(pending_[--size_].value, line_.numChannels);
    Name name;
    if (target.kind == Target::variable) name = variableName(target.index);
    if (target.kind == Target::reg) name = {Name::reg, target.index};
    if (target.kind == Target::channel) name = {Name::channel, target.index};
    if (target.kind == Target::nothing) return pushAssigned(value);
    if (const int row = lineRow(name)) return assignRow(row, value);
    return target.kind == Target::channel ? pushAssigned(value) : assignCell(name, value);
}

bool Planner::set(Name name, Source& value)
{
    size_ = 0;
    const int row = lineRow(name);
    if (!(row ? assignRow(row, value) : assignCell(name, value))) return false;
    value = pending_[0];
    return true;
}

// Into a row that belongs to the line or a cell, and not to pending values.
bool Planner::write(int row, Source value)
{
    if (mask_) return add(selectKernel(), row, {{mask_, 0.0f}, value, {row, 0.0f}});
    return sendTo(row, value);
}

bool Planner::assignRow(int row, Source value)
{
    if (value.row == row) return push(value);
    return saveFromOverwrite(row) && write(row, value) &&
           push(value.row ? Source{row, 0.0f} : value);
}

Kept& Planner::keptOf(Name name)
{
    for (Kept& kept : plan_.kept)
        if (kept.name == name) return kept;
    plan_.kept.push_back({name, {}, 0, {}});
    return plan_.kept.back();
}

// Pixels that have not written a cell do not read it: the first write may spoil it for them.
bool Planner::assignCell(Name name, Source value)
{
    const CellSet bit = bitOf(name);
    if (readFirst_ & bit) return false;
    Kept& kept = keptOf(name);
    const bool overwrites = kept.masks.empty() || !mask_;
    if (std::find(kept.masks.begin(), kept.masks.end(), mask_) == kept.masks.end())
        kept.masks.push_back(mask_);
    written_ |= bit;
    everWritten_ |= bit;
    if (overwrites && !value.row) {
        kept.value = value;
        return push(value);
    }
    if (!kept.buffer) kept.buffer = newBuffer();
    const Source row = {kept.buffer, 0.0f};
    if (value.row == row.row && kept.value.row == row.row) return push(value);
    if (!saveFromOverwrite(row.row)) return false;
    const bool written = overwrites
                             ? sendTo(row.row, value)
                             : add(selectKernel(), row.row, {{mask_, 0.0f}, value, kept.value});
    kept.value = row;
    return written && push(row);
}

// ---- Masks ----

bool Planner::makeTruth(Source value, int& truth)
{
    truth = newBuffer();
    if (isFromLastStep(value) && lastIsTruth_) return sendTo(truth, value);
    return add(truncatedTruthKernel(), truth, {value});
}

}  // namespace zel
