// A pixel of a line for the evaluator: its rows, and the record for what has no row.
#ifndef ZEL_FEATURES_EVALUATE_LINE_PIXEL_HPP
#define ZEL_FEATURES_EVALUATE_LINE_PIXEL_HPP

#include "zel_features/evaluate/plan.hpp"
#include "zel_features/evaluate/zel_evaluate.hpp"

namespace zel {

class LinePixel {
public:
    LinePixel(const ZELLineStruct& line, ZELPixelStruct& record, int place)
        : line_(line), record_(record), place_(place)
    {
    }
    int numChannels() const { return line_.numChannels; }
    float* channel(int index) { return inRow(line_.Channels[index]); }
    float* variable(int index) { return placeOf({Name::variable, index}); }
    float& reg(int index) { return *placeOf({Name::reg, index}); }

    // Null is an expression of value 0, which is not evaluated.
    float evaluate(const ZELStackStruct* stack)
    {
        if (!stack) return 0.0f;
        record_.skipPixelFlag = 0;
        return zel::evaluate(stack->stackHead, *this, record_.skipPixelFlag);
    }
    bool skipped() const { return record_.skipPixelFlag != 0; }
    void setClass(float value) { *variable(0) = value; }
    void setWeight(int classIndex, float value)
    {
        if (classIndex >= 0 && classIndex < ZEL_FEATURE_NUM_CLASSES)
            *placeOf({Name::weight, classIndex}) = value;
    }

private:
    float* inRow(float* row) const { return row ? row + place_ : nullptr; }
    float* placeOf(Name name)
    {
        float* value = inRow(rowOf(line_, name));
        return value ? value : &fieldOf(record_, name);
    }

    const ZELLineStruct& line_;
    ZELPixelStruct& record_;
    int place_;
};

}  // namespace zel

#endif
