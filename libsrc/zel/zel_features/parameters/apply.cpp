#include "zel_features/parameters/apply.hpp"

#include "zel_features/language/truncate.hpp"
#include "zel_features/zel_evaluate.h"
#include "zel_features/zel_parameter.h"

namespace {

// An entry of a feature header may have no condition or no action.
double valueOf(const ZELStackStruct* stack, ZELPixelStruct& pixel)
{
    return stack ? ZELEvaluateStack(stack, &pixel) : 0.0;
}

bool holdForAll(const CommandStruct& list, ZELPixelStruct& pixel)
{
    for (const CommandListStruct* entry = list.ListHead; entry; entry = entry->next)
        if (zel::truncatesToZero(valueOf(entry->Condition, pixel) + 0.5)) return false;
    return true;
}

}  // namespace

int ZELFeatureCheckRequirements(const ZELParameterStruct* Parameters, ZELPixelStruct* pixel)
{
    return holdForAll(Parameters->Requirements, *pixel) ? 1 : 0;
}

int ZELFeatureCheckOptions(const ZELParameterStruct* Parameters, ZELPixelStruct* pixel)
{
    return holdForAll(Parameters->Options, *pixel) ? 1 : 0;
}

void ZELFeatureApplyFilters(const ZELParameterStruct* Parameters, ZELPixelStruct* pixel)
{
    zel::RecordPixel record(*pixel);
    zel::applyFilters(Parameters->Filters, record);
}
