// The filters of a mask, and its listings.
#include "zel_features/parameters/apply.hpp"
#include "zel_features/parameters/print.hpp"
#include "zel_features/program/zel_program.hpp"
#include "zel_features/zel_feature_mask.h"

void ZELFeaturePreClassificationFilter(const ZELMaskParameterType* Parameters,
                                       ZELPixelStruct* Pixel)
{
    for (const CommandListStruct* filter = Parameters->PreClassFilters.ListHead; filter;
         filter = filter->next)
        if (filter->Action && zel::filterHolds(*filter, *Pixel))
            zel::setListedWeights(*filter->Action, *Pixel, 0.0f);
}

void ZELFeaturePostClassificationFilter(const ZELMaskParameterType* Parameters,
                                        ZELPixelStruct* Pixel)
{
    if (zel::applyFilters(Parameters->PostClassFilters, *Pixel)) Pixel->Class = 0.0f;
}

void ZELFeaturePrintMaskConditions(const ZELMaskParameterType* Parameters)
{
    const CommandStruct none{};
    zel::printExpressions("Conditions defined in parameter file:\n",
                          Parameters->FilterConditions ? *Parameters->FilterConditions : none);
}

void ZELFeaturePrintPreClassFilters(const ZELMaskParameterType* Parameters)
{
    zel::printFilters("Pre-class filters applied:\n", Parameters->PreClassFilters);
}

void ZELFeaturePrintPostClassFilters(const ZELMaskParameterType* Parameters)
{
    zel::printFilters("Post-class filters applied:\n", Parameters->PostClassFilters);
}

void ZELFeaturePrintMaskComments(const ZELMaskParameterType* Parameters)
{
    zel::printTexts("Comments:\n", Parameters->Comments);
}

void ZELFeaturePrintMaskTitle(const ZELMaskParameterType* Parameters)
{
    zel::printTexts("Title:\n", Parameters->Title);
}
