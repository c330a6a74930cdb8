#include "zel_features/evaluate/plan.hpp"

#include <algorithm>

#include "zel_features/evaluate/zel_evaluate.hpp"

namespace {

using zel::Argument;
using zel::RowPlace;
using zel::Target;

constexpr RowPlace noRow = {nullptr, false};

// Values that are carried from pixel to pixel in the record: registers, and variables that have no
// row in the line.
constexpr int numCells = ZEL_FEATURE_NUM_REGISTERS + ZEL_FEATURE_NUM_VARIABLES;

struct Cell {
    bool readFirst = false;  // shows a pixel what the one before it left there
    int kept = -1;           // the plan's entry, once it is assigned to
};

// Follows the postfix list once, with the pending values as rows instead of numbers.
class Planner {
public:
    Planner(zel::Plan& plan, ZELPixelStruct& record, const ZELLineStruct& line)
        : plan_(plan), record_(record), line_(line)
    {
        plan.numSteps = plan.numKept = 0;
        plan.skips = false;
    }

    // False when the element cannot be laid out.
    bool take(const StackElementStruct& element)
    {
        const int n = element.op.int_t;
        switch (element.type) {
        case CON:
            return push(element.op.float_t);
        case CHAN:
            return isChannel(n) && push({channelPlace(n - 1), 0.0f});
        case VAR:
            return zel::isVariable(n) && pushVariable(n);
        case LVALUE:
            return push(static_cast<float>(n));
        case CHAN_LVALUE:
            return isChannel(n) && push(static_cast<float>(n - 1 + ZEL_TARGET_CHANNEL));
        case REG:
            return isRegister(n) && pushCell(n - 1, record_.Registers[n - 1]);
        case REG_LVALUE:
            return isRegister(n) && push(static_cast<float>(n - 1 + ZEL_TARGET_REGISTER));
        default:
            if (element.type != OPER || n < 0 || n >= ZEL_NUM_OPERATORS) return false;
            return n == COMMA || (n == SET_VARIABLE ? takeAssignment() : takeOperator(n));
        }
    }

    // Sends the bottom value to the caller's row: straight from the last step where that makes it.
    bool finish(float* values)
    {
        const RowPlace destination = {values, true};
        if (plan_.skips || size_ == 0) return addCopy({noRow, 0.0f}, destination);
        const RowPlace bottom = pending_[0].place;
        if (bottom.start == plan_.results[0] && plan_.numSteps > 0 &&
            plan_.steps[plan_.numSteps - 1].result.start == bottom.start) {
            plan_.steps[plan_.numSteps - 1].result = destination;
            return true;
        }
        return addCopy(pending_[0], destination);
    }

private:
    bool isChannel(int n) const { return n >= 1 && n - 1 <= line_.numChannels; }
    static bool isRegister(int n) { return n >= 1 && n <= ZEL_FEATURE_NUM_REGISTERS; }

    // One channel more than there are has no row.
    RowPlace channelPlace(int index) const
    {
        return {index < line_.numChannels ? line_.Channels[index] : nullptr, true};
    }
    RowPlace variablePlace(int index) const { return {line_.*zel::variableRows[index].row, true}; }
    // Where the result of the pending value next pushed may be computed.
    RowPlace resultPlace() { return {plan_.results[size_], false}; }

    bool push(Argument argument)
    {
        if (size_ == zel::maxPendingRows) return false;
        pending_[size_++] = argument;
        return true;
    }
    bool push(float value) { return push(Argument{noRow, value}); }

    bool pushVariable(int index)
    {
        const RowPlace place = variablePlace(index);
        if (place.start) return push({place, 0.0f});
        return pushCell(variableCell(index), record_.*zel::variableRows[index].field);
    }

    static int variableCell(int index)
    {
        return ZEL_FEATURE_NUM_REGISTERS + zel::firstNameOf(index);
    }

    bool pushCell(int cell, float value)
    {
        Cell& c = cells_[cell];
        if (c.kept >= 0) return push(plan_.kept[c.kept].value);
        c.readFirst = true;
        return push(value);
    }

    bool addStep(zel::Kernel kernel, const Argument* arguments, int numArguments, RowPlace result)
    {
        if (plan_.numSteps == zel::maxSteps) return false;
        zel::Step& step = plan_.steps[plan_.numSteps++];
        step.kernel = kernel;
        step.result = result;
        step.numArguments = numArguments;
        std::copy_n(arguments, numArguments, step.arguments);
        return true;
    }
    bool addCopy(const Argument& argument, RowPlace result)
    {
        return addStep(zel::copyRow, &argument, 1, result);
    }

    bool takeOperator(int index)
    {
        const int operands = zel::operatorRows[index].operands;
        if (size_ < operands) return false;
        size_ -= operands;
        const Argument* arguments = pending_ + size_;
        if (std::any_of(arguments, arguments + operands,
                        [](const Argument& argument) { return argument.place.start; }))
            return addStep(zel::kernelOf(index), arguments, operands, resultPlace()) &&
                   push({resultPlace(), 0.0f});
        zel::Operand values[3] = {};
        for (int i = 0; i < operands; ++i) values[i] = {nullptr, arguments[i].value};
        return push(zel::computeValue(index, values));
    }

    // The target must be known before any pixel is seen.
    bool takeAssignment()
    {
        if (size_ < 2 || pending_[size_ - 2].place.start) return false;
        const Argument value = pending_[--size_];
        const Target target = zel::targetOf(pending_[--size_].value, line_.numChannels);
        switch (target.kind) {
        case Target::reg:
            return assignCell(target.index, record_.Registers[target.index], value);
        case Target::channel:
            return assignRow(channelPlace(target.index), value);
        case Target::variable:
            if (const RowPlace place = variablePlace(target.index); place.start)
                return assignRow(place, value);
            return assignCell(variableCell(target.index),
                              record_.*zel::variableRows[target.index].field, value);
        default:
            return pushAgain(value);
        }
    }

    // The value of an assignment, which stood one place higher.
    bool pushAgain(const Argument& value)
    {
        if (value.place.start != plan_.results[size_ + 1]) return push(value);
        return addCopy(value, resultPlace()) && push({resultPlace(), 0.0f});
    }

    bool assignRow(RowPlace row, const Argument& value)
    {
        if (!row.start) return pushAgain(value);
        if (value.place.start == row.start) return push(value);
        return keepPending(row) && addCopy(value, row) &&
               push(value.place.start ? Argument{row, 0.0f} : value);
    }

    bool assignCell(int cell, float& target, const Argument& value)
    {
        Cell& c = cells_[cell];
        if (c.readFirst) return false;
        if (c.kept < 0) {
            if (plan_.numKept == zel::maxKept) return false;
            c.kept = plan_.numKept++;
            plan_.kept[c.kept].target = &target;
        }
        Argument& kept = plan_.kept[c.kept].value;
        const RowPlace row = {plan_.keptRows[c.kept], false};
        if (value.place.start == row.start) return push(value);
        if (!keepPending(row)) return false;
        kept = value.place.start ? Argument{row, 0.0f} : value;
        if (value.place.start && !addCopy(value, row)) return false;
        return push(kept);
    }

    // Pending values that stand in a row about to change move to rows of their own.
    bool keepPending(RowPlace row)
    {
        for (int i = 0; i < size_; ++i) {
            if (pending_[i].place.start != row.start) continue;
            const RowPlace own = {plan_.results[i], false};
            if (!addCopy(pending_[i], own)) return false;
            pending_[i].place = own;
        }
        return true;
    }

    zel::Plan& plan_;
    ZELPixelStruct& record_;
    const ZELLineStruct& line_;
    Argument pending_[zel::maxPendingRows];
    int size_ = 0;
    Cell cells_[numCells];
};

}  // namespace

namespace zel {

bool makePlan(Plan& plan, const StackElementStruct* head, ZELPixelStruct& record,
              const ZELLineStruct& line, float* values)
{
    Planner planner(plan, record, line);
    for (const StackElementStruct* element = head; element; element = element->nextElement) {
        if (element->type == OPER && element->op.int_t == SKIP_PIXEL) {
            plan.skips = true;
            break;
        }
        if (!planner.take(*element)) return false;
    }
    return planner.finish(values);
}

void runPlan(const Plan& plan, int numPixels)
{
    for (int start = 0; start < numPixels; start += rowSize) {
        const int n = std::min(rowSize, numPixels - start);
        for (const Step* step = plan.steps; step != plan.steps + plan.numSteps; ++step) {
            Operand operands[3];
            for (int i = 0; i < step->numArguments; ++i)
                operands[i] = {step->arguments[i].place.at(start), step->arguments[i].value};
            step->kernel(operands, step->result.at(start), n);
        }
    }
    const int last = (numPixels - 1) % rowSize;
    for (int i = 0; i < plan.numKept; ++i) {
        const Argument& value = plan.kept[i].value;
        *plan.kept[i].target = value.place.start ? value.place.start[last] : value.value;
    }
}

}  // namespace zel
