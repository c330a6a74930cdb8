// The filters of a mask, and its listings.
#include "zel_features/parameters/apply.hpp"
#include "zel_features/parameters/print.hpp"
#include "zel_features/program/flow_line.hpp"
#include "zel_features/program/run.hpp"
#include "zel_features/zel_feature_mask.h"

namespace {

using zel::Flow;
using zel::Statement;

template <class Pixel>
void filterBeforeClassification(const CommandStruct& filters, Pixel& pixel)
{
    for (const CommandListStruct* filter = filters.ListHead; filter; filter = filter->next)
        if (filter->Action && zel::filterHolds(*filter, pixel))
            zel::setListedWeights(*filter->Action, pixel, 0.0f);
}

template <class Pixel>
void filterAfterClassification(const CommandStruct& filters, Pixel& pixel)
{
    if (zel::applyFilters(filters, pixel)) pixel.setClass(0.0f);
}

template <class Describer>
void describeFilters(const CommandStruct& filters, Describer& describer)
{
    for (const CommandListStruct* filter = filters.ListHead; filter; filter = filter->next)
        for (const ZELStackStruct* stack : {filter->Condition, filter->Action}) {
            describer.add(stack ? 1 : 0);
            if (stack) zel::describe(stack->stackHead, describer);
        }
}

// Filters as tests, each before what is done where it holds. An entry without a condition does not
// hold, and one without an action changes nothing but what its condition assigns.
void makeFlow(const CommandStruct& filters, Statement::Kind action, Flow& flow)
{
    for (const CommandListStruct* filter = filters.ListHead; filter; filter = filter->next) {
        if (!filter->Condition || (action == Statement::weigh && !filter->Action)) continue;
        const int next = static_cast<int>(flow.size()) + 1;
        const int after = filter->Action ? next + 1 : next;
        flow.push_back({Statement::test, filter->Condition, nullptr, next, after});
        if (!filter->Action) continue;
        if (action == Statement::weigh)
            flow.push_back({action, nullptr, filter->Action, after, after});
        else
            flow.push_back({action, filter->Action, nullptr, after, after});
    }
}

template <class FilterPixel>
void filterLine(const CommandStruct& filters, Statement::Kind action, const zel::Run& run,
                FilterPixel filterPixel)
{
    if (run.line.numPixels <= 0) return;
    const zel::Plan* plan = zel::flowPlanFor(
        &filters, [&filters](auto& describer) { describeFilters(filters, describer); },
        [&filters, action](Flow& flow) {
            makeFlow(filters, action, flow);
            return true;
        },
        run);
    if (plan)
        zel::runPlan(*plan, run);
    else
        zel::runByPixels(run, [&](zel::LinePixel& pixel, int) { filterPixel(filters, pixel); });
}

}  // namespace

void ZELFeaturePreClassificationFilter(const ZELMaskParameterType* Parameters,
                                       ZELPixelStruct* Pixel)
{
    zel::RecordPixel pixel(*Pixel);
    filterBeforeClassification(Parameters->PreClassFilters, pixel);
}

void ZELFeaturePostClassificationFilter(const ZELMaskParameterType* Parameters,
                                        ZELPixelStruct* Pixel)
{
    zel::RecordPixel pixel(*Pixel);
    filterAfterClassification(Parameters->PostClassFilters, pixel);
}

void ZELFeaturePreClassificationFilterLine(const ZELMaskParameterType* Parameters,
                                           ZELPixelStruct* pixel, const ZELLineStruct* line,
                                           const int* passedOver)
{
    filterLine(Parameters->PreClassFilters, Statement::weigh,
               {*line, *pixel, nullptr, passedOver, nullptr},
               filterBeforeClassification<zel::LinePixel>);
}

void ZELFeaturePostClassificationFilterLine(const ZELMaskParameterType* Parameters,
                                            ZELPixelStruct* pixel, const ZELLineStruct* line,
                                            const int* passedOver)
{
    filterLine(Parameters->PostClassFilters, Statement::evaluate,
               {*line, *pixel, nullptr, passedOver, nullptr},
               filterAfterClassification<zel::LinePixel>);
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
