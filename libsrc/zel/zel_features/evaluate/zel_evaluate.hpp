// Evaluating a postfix list on one pixel, wherever its values are kept.
#ifndef ZEL_FEATURES_EVALUATE_EVALUATE_HPP
#define ZEL_FEATURES_EVALUATE_EVALUATE_HPP

#include "zel_features/evaluate/arithmetic.hpp"
#include "zel_features/evaluate/follow.hpp"
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
    // The last count values, the first of them first. They stay in place until the next push.
    const float* pop(int count)
    {
        if (size_ < count) failStack(1);
        size_ -= count;
        return values_ + size_;
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

// The evaluation of a postfix list on one pixel, for follow(). Pixel says where the values are:
// numChannels(), channel(i) and variable(i), which give an address (null for a channel without
// values), and reg(i). What a list may not name ends the process.
template <class Pixel>
class PixelEvaluation {
public:
    explicit PixelEvaluation(Pixel& pixel) : pixel_(pixel) {}
    float result() const { return values_.bottom(); }

    bool allowsChannel(int channel) const
    {
        requireChannel(channel, pixel_.numChannels());
        return true;
    }
    bool allowsRegister(int number) const
    {
        requireRegister(number);
        return true;
    }
    bool allowsVariable(int index) const
    {
        requireVariable(index);
        return true;
    }
    bool allowsOperator(bool known) const
    {
        if (!known) failWithError("ZELEvaluateStack: illegal operator or function\n");
        return true;
    }

    bool push(float value)
    {
        values_.push(value);
        return true;
    }
    bool pushChannel(int index)
    {
        const float* channel = index < pixel_.numChannels() ? pixel_.channel(index) : nullptr;
        return push(channel ? *channel : 0.0f);
    }
    bool pushVariable(int index) { return push(*pixel_.variable(index)); }
    bool pushRegister(int index) { return push(pixel_.reg(index)); }

    bool apply(int operatorIndex)
    {
        arithmetic::withOperator(operatorIndex, [this](auto compute) {
            const float* arguments = values_.pop(arithmetic::arity<decltype(compute)>);
            push(arithmetic::applied(compute, [arguments](int k) { return arguments[k]; }));
        });
        return true;
    }
    bool assign()
    {
        const float* arguments = values_.pop(2);
        const float value = arguments[1];
        const Target target = targetOf(arguments[0], pixel_.numChannels());
        if (target.kind == Target::variable) *pixel_.variable(target.index) = value;
        if (target.kind == Target::reg) pixel_.reg(target.index) = value;
        float* channel = target.kind == Target::channel ? pixel_.channel(target.index) : nullptr;
        if (channel) *channel = value;
        return push(value);
    }

private:
    Pixel& pixel_;
    ValueStack values_;
};

// The value of the list for the pixel. skipped is set when skip_pixel was reached.
template <class Pixel>
float evaluate(const StackElementStruct* head, Pixel& pixel, int& skipped)
{
    PixelEvaluation evaluation(pixel);
    if (follow(head, evaluation) != Followed::skipped) return evaluation.result();
    skipped = 1;
    return 0.0f;
}

}  // namespace zel

#endif
