// Running a flow over a line of pixels: by its plan, or pixel after pixel without one.
#ifndef ZEL_FEATURES_PROGRAM_FLOW_LINE_HPP
#define ZEL_FEATURES_PROGRAM_FLOW_LINE_HPP

#include <new>

#include "zel_features/evaluate/line_pixel.hpp"
#include "zel_features/evaluate/plan_cache.hpp"
#include "zel_features/program/flow.hpp"

namespace zel {

// The plan of a flow. Null when there is no plan, or no memory for one: pixel after pixel works
// without. makeFlow(flow) is false when a flow cannot be made.
template <class Describe, class MakeFlow>
const Plan* flowPlanFor(const void* origin, Describe describeOrigin, MakeFlow makeFlow,
                        const Run& run)
{
    const bool mayPassOver = run.passedOver != nullptr;
    const auto describe = [&](auto& describer) {
        describer.add(mayPassOver ? 1 : 0);
        describeOrigin(describer);
    };
    const auto make = [&](Plan& plan) {
        Flow flow;
        return makeFlow(flow) && planFlow(plan, flow, mayPassOver, run.line, run.record);
    };
    try {
        return planFor(origin, describe, make, run.line, run.record);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// Calls runOne(pixel, i) for each pixel that is not passed over; the others have what they
// are passed over for as their result.
template <class RunOne>
void runByPixels(const Run& run, RunOne runOne)
{
    for (int i = 0; i < run.line.numPixels; ++i) {
        if (run.passedOver && run.passedOver[i] != 0) {
            if (run.results) run.results[i] = run.passedOver[i];
            continue;
        }
        LinePixel pixel(run.line, run.record, i);
        runOne(pixel, i);
    }
}

}  // namespace zel

#endif
