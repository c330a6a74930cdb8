// Evaluating an expression for a line of pixels: by rows where pixels do not depend on each other,
// else pixel after pixel.
#include <algorithm>
#include <new>

#include "zel_features/evaluate/line_pixel.hpp"
#include "zel_features/evaluate/plan_cache.hpp"
#include "zel_features/evaluate/planner.hpp"
#include "zel_features/zel_evaluate.h"

namespace {

bool makePlan(zel::Plan& plan, const StackElementStruct* head, ZELPixelStruct& record,
              const ZELLineStruct& line)
{
    zel::Planner planner(plan, record, line);
    const zel::Followed followed = planner.plan(head);
    if (followed == zel::Followed::refused) return false;
    plan.skips = followed == zel::Followed::skipped;
    return planner.sendTo(planner.rowFor({zel::Name::values, 0}),
                          plan.skips ? zel::Source() : planner.value());
}

// Null also when memory for a plan is missing: pixel after pixel works without.
const zel::Plan* planOf(const StackElementStruct* head, ZELPixelStruct& record,
                        const ZELLineStruct& line)
{
    const auto describe = [head](auto& describer) { zel::describe(head, describer); };
    const auto make = [&](zel::Plan& plan) { return makePlan(plan, head, record, line); };
    try {
        return zel::planFor(head, describe, make, line, record);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void evaluateByPixels(const ZELStackStruct& stack, ZELPixelStruct& record,
                      const ZELLineStruct& line, float* values, int* skipFlags)
{
    for (int i = 0; i < line.numPixels; ++i) {
        zel::LinePixel pixel(line, record, i);
        values[i] = pixel.evaluate(&stack);
        if (skipFlags) skipFlags[i] = record.skipPixelFlag;
    }
}

}  // namespace

void ZELEvaluateLine(const ZELStackStruct* stack, ZELPixelStruct* pixel, const ZELLineStruct* line,
                     float* values, int* skipFlags)
{
    if (line->numPixels <= 0) return;
    const zel::Plan* plan = planOf(stack->stackHead, *pixel, *line);
    if (!plan) return evaluateByPixels(*stack, *pixel, *line, values, skipFlags);
    zel::runPlan(*plan, {*line, *pixel, values, nullptr, nullptr});
    pixel->skipPixelFlag = plan->skips ? 1 : 0;
    if (skipFlags) std::fill_n(skipFlags, line->numPixels, pixel->skipPixelFlag);
}
