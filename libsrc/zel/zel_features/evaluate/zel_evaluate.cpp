#include "zel_features/zel_evaluate.h"

#include "zel_features/evaluate/zel_evaluate.hpp"

namespace {

// Variables are those of the record that the table is bound to; everything else is the caller's.
class BoundPixel {
public:
    explicit BoundPixel(ZELPixelStruct& pixel)
        : pixel_(pixel), variables_(zel::variableState().table)
    {
    }
    int numChannels() const { return pixel_.numChannels; }
    float* channel(int index) { return pixel_.Channels + index; }
    float* variable(int index) { return variables_[index].varPtr; }
    float& reg(int index) { return pixel_.Registers[index]; }

private:
    ZELPixelStruct& pixel_;
    const VariableStruct* variables_;
};

}  // namespace

float ZELEvaluateStack(const ZELStackStruct* stack, ZELPixelStruct* pixel)
{
    initializeVariablePointers(pixel);
    pixel->skipPixelFlag = 0;
    BoundPixel bound(*pixel);
    return zel::evaluate(stack->stackHead, bound, pixel->skipPixelFlag);
}

void initializeVariablePointers(ZELPixelStruct* pixel)
{
    zel::bindVariables(*pixel);
}

void ZELBindPixel(ZELPixelStruct* pixel)
{
    zel::variableState().bound = false;
    if (pixel) zel::bindVariables(*pixel);
}
