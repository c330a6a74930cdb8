// Evaluating a postfix list on one pixel, wherever its values are kept.
#ifndef ZEL_FEATURES_EVALUATE_EVALUATE_HPP
#define ZEL_FEATURES_EVALUATE_EVALUATE_HPP

#include <type_traits>

#include "zel_features/evaluate/arithmetic.hpp"
#include "zel_features/language/operators.hpp"
#include "zel_features/language/variables.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/zel_evaluate.h"
#include "zel_features/zel_expression.h"

namespace zel {

// Ends the process unless the channel or register may be named. One channel more than there are
// is let through.
inline void requireChannel(int channel, int numChannels)
{
    if (static_cast<long long>(channel) - 1 > numChannels)
        failWithError("ZELEvaluateStack: error channel index %d > numChannels %d\n", channel,
                      numChannels);
    if (channel < 1) failWithError("ZELEvaluateStack: error channel index %d < 1\n", channel);
}

inline void requireRegister(int number)
{
    if (number > ZEL_FEATURE_NUM_REGISTERS)
        failWithError("ZELEvaluateStack: error register index %d > ZEL_FEATURE_NUM_REGISTERS %d\n",
                      number, ZEL_FEATURE_NUM_REGISTERS);
    if (number < 1) failWithError("ZELEvaluateStack: error register index %d < 1\n", number);
}

// The compiler makes no others; a list may have come together in another way.
inline void requireVariable(int index)
{
    if (!isVariable(index)) failWithError("ZELEvaluateStack: error variable index %d\n", index);
}

[[noreturn]] inline void failStack(int error)
{
    printInfo(message("stack processing error %d\n", error));
    terminate(-1);
}

// The pending values. Not zeroed: one is made for every pixel.
class ValueStack {
public:
    void push(float value)
    {
        if (size_ == ZEL_FEATURE_STACK_SIZE) failStack(2);
        values_[size_++] = value;
    }
    float pop()
    {
        if (size_ == 0) failStack(1);
        return values_[--size_];
    }
    float bottom() const { return size_ > 0 ? values_[0] : 0.0f; }

private:
    float values_[ZEL_FEATURE_STACK_SIZE];
    int size_ = 0;
};

// Where an assignment goes. Codes that name nothing are ignored.
struct Target {
    enum Kind { nothing, variable, channel, reg } kind = nothing;
    int index = 0;  // from 0
};

inline Target targetOf(float code, int numChannels)
{
    if (!(code > -1.0f && code < 1.0e9f)) return {};
    const int t = static_cast<int>(code);
    if (t >= ZEL_TARGET_REGISTER) {
        const int index = t - ZEL_TARGET_REGISTER;
        if (index < ZEL_FEATURE_NUM_REGISTERS) return {Target::reg, index};
    } else if (t >= ZEL_TARGET_CHANNEL) {
        const int index = t - ZEL_TARGET_CHANNEL;
        if (index < numChannels) return {Target::channel, index};
    } else if (isVariable(t)) {
        return {Target::variable, t};
    }
    return {};
}

// Pixel says where the values are: numChannels(), channel(i) and variable(i), which give an address
// (null for a channel that is not there), and reg(i).
template <class Pixel>
void assign(Pixel& pixel, float code, float value)
{
    const Target target = targetOf(code, pixel.numChannels());
    if (target.kind == Target::variable) *pixel.variable(target.index) = value;
    if (target.kind == Target::reg) pixel.reg(target.index) = value;
    if (target.kind != Target::channel) return;
    if (float* channel = pixel.channel(target.index)) *channel = value;
}

template <class Pixel>
float channelValue(Pixel& pixel, int index)
{
    const float* channel = index < pixel.numChannels() ? pixel.channel(index) : nullptr;
    return channel ? *channel : 0.0f;
}

// Pops the arguments of an operator from OR on, the last one first, and pushes its result.
template <class Pixel>
void applyOperator(int operatorIndex, ValueStack& values, Pixel& pixel)
{
    if (operatorIndex == SET_VARIABLE) {
        const float value = values.pop();
        assign(pixel, values.pop(), value);
        values.push(value);
        return;
    }
    arithmetic::withOperator(operatorIndex, [&values](auto compute) {
        using Compute = decltype(compute);
        if constexpr (std::is_invocable_v<Compute, float>) {
            values.push(compute(values.pop()));
        } else if constexpr (std::is_invocable_v<Compute, float, float>) {
            const float b = values.pop();
            values.push(compute(values.pop(), b));
        } else {
            const float c = values.pop();
            const float b = values.pop();
            values.push(compute(values.pop(), b, c));
        }
    });
}

// The value of the list for the pixel. skipped is set when skip_pixel was reached.
template <class Pixel>
float evaluate(const StackElementStruct* element, Pixel& pixel, int& skipped)
{
    ValueStack values;
    for (; element; element = element->nextElement) {
        const int n = element->op.int_t;
        switch (element->type) {
        case CON:
            values.push(element->op.float_t);
            break;
        case CHAN:
            requireChannel(n, pixel.numChannels());
            values.push(channelValue(pixel, n - 1));
            break;
        case VAR:
            requireVariable(n);
            values.push(*pixel.variable(n));
            break;
        case LVALUE:
            values.push(static_cast<float>(n));
            break;
        case CHAN_LVALUE:
            requireChannel(n, pixel.numChannels());
            values.push(static_cast<float>(n - 1 + ZEL_TARGET_CHANNEL));
            break;
        case REG:
            requireRegister(n);
            values.push(pixel.reg(n - 1));
            break;
        case REG_LVALUE:
            requireRegister(n);
            values.push(static_cast<float>(n - 1 + ZEL_TARGET_REGISTER));
            break;
        default:
            if (element->type != OPER || n < 0 || n >= ZEL_NUM_OPERATORS)
                failWithError("ZELEvaluateStack: illegal operator or function\n");
            if (n == SKIP_PIXEL) {
                skipped = 1;
                return 0.0f;
            }
            if (n != COMMA) applyOperator(n, values, pixel);
        }
    }
    return values.bottom();
}

}  // namespace zel

#endif
