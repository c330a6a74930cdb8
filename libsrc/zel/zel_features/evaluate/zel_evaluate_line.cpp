// Evaluating an expression for a line of pixels: by rows where pixels do not depend on each other,
// else pixel after pixel.
#include <algorithm>

#include "zel_features/evaluate/plan.hpp"
#include "zel_features/evaluate/zel_evaluate.hpp"
#include "zel_features/zel_evaluate.h"

namespace {

// One pixel of a line.
class LinePixel {
public:
    LinePixel(const ZELLineStruct& line, ZELPixelStruct& record, int place)
        : line_(line), record_(record), place_(place)
    {
    }
    int numChannels() const { return line_.numChannels; }
    float* channel(int index) { return at(line_.Channels[index]); }
    float* variable(int index)
    {
        float* value = at(line_.*zel::variableRows[index].row);
        return value ? value : &(record_.*zel::variableRows[index].field);
    }
    float& reg(int index) { return record_.Registers[index]; }

private:
    float* at(float* row) const { return row ? row + place_ : nullptr; }

    const ZELLineStruct& line_;
    ZELPixelStruct& record_;
    int place_;
};

void evaluateByPixels(const StackElementStruct* head, ZELPixelStruct& record,
                      const ZELLineStruct& line, float* values, int* skipFlags)
{
    for (int i = 0; i < line.numPixels; ++i) {
        record.skipPixelFlag = 0;
        LinePixel pixel(line, record, i);
        values[i] = zel::evaluate(head, pixel, record.skipPixelFlag);
        if (skipFlags) skipFlags[i] = record.skipPixelFlag;
    }
}

}  // namespace

void ZELEvaluateLine(const ZELStackStruct* stack, ZELPixelStruct* pixel, const ZELLineStruct* line,
                     float* values, int* skipFlags)
{
    if (line->numPixels <= 0) return;
    zel::Plan plan;
    if (!zel::makePlan(plan, stack->stackHead, *pixel, *line, values))
        return evaluateByPixels(stack->stackHead, *pixel, *line, values, skipFlags);
    zel::runPlan(plan, line->numPixels);
    pixel->skipPixelFlag = plan.skips ? 1 : 0;
    if (skipFlags) std::fill_n(skipFlags, line->numPixels, pixel->skipPixelFlag);
}
