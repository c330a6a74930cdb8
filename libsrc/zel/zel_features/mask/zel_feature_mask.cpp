#include "zel_features/zel_feature_mask.h"

#include "ground/memory.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/mask/zel_feature_mask.hpp"
#include "zel_features/zel_parameter.h"
#include "zel_features/zel_program.h"

namespace {

void freeClassifier(ZELClassifierList* classifier)
{
    if (classifier->Parameters) ZELFeatureFreeParameters(classifier->Parameters);
    zel::release(classifier->Parameters);
    zel::release(classifier->Classifier);
    zel::release(classifier);
}

void freeParameters(ZELMaskParameterType& p)
{
    freeInputList(&p.IO);
    if (p.FilterConditions) freeCommandList(p.FilterConditions);
    zel::discard(p.FilterConditions);
    for (CommandStruct* list : {&p.PreClassFilters, &p.PostClassFilters, &p.Comments, &p.Title})
        freeCommandList(list);
    ZELFeatureFreeProgramText(p.PreProcessProgramTextHead);
    ZELFeatureFreeProgramText(p.PostProcessProgramTextHead);
    ZELFeatureFreeProgram(p.PreProcessHead);
    ZELFeatureFreeProgram(p.PostProcessHead);
    initializeMaskParameterStruct(&p);
}

}  // namespace

CommandStruct& zel::filterConditions(ZELMaskParameterType& parameters, const char* failure)
{
    if (!parameters.FilterConditions) parameters.FilterConditions = allocate<CommandStruct>(1);
    if (!parameters.FilterConditions) failWithError("%s", failure);
    return *parameters.FilterConditions;
}

ZELFeatureMaskType* ZELFeatureAllocateNewMask(int channelIndex)
{
    ZELFeatureMaskType* mask = zel::allocate<ZELFeatureMaskType>(1);
    if (!mask) zel::failWithError("ZELFeatureAllocateNewMask: cannot allocate memory\n");
    initializeMaskParameterStruct(&mask->MaskParameters);
    mask->ZELChannelIndex = channelIndex;
    return mask;
}

ZELClassifierList* ZELFeatureNewClassifierListEntry(ZELFeatureMaskType* mask)
{
    zel::Owned<ZELParameterStruct> parameters(zel::allocate<ZELParameterStruct>(1));
    ZELClassifierList* entry = parameters ? zel::allocate<ZELClassifierList>(1) : nullptr;
    if (!entry) zel::failWithError("ZELFeatureReadMask: calloc error 1\n");
    entry->Parameters = parameters.release();
    entry->ClassifierIndex = mask->numClassifiers;
    (mask->ClassifierList ? mask->ClassifierList->next : mask->ClassifierListHead) = entry;
    mask->ClassifierList = entry;
    ++mask->numClassifiers;
    return entry;
}

void initializeMaskParameterStruct(ZELMaskParameterType* Parameters)
{
    *Parameters = {};
}

void ZELFeatureFreeMask(ZELFeatureMaskType* mask)
{
    if (!mask) return;
    while (ZELClassifierList* first = mask->ClassifierListHead) {
        mask->ClassifierListHead = first->next;
        freeClassifier(first);
    }
    freeParameters(mask->MaskParameters);
    zel::release(mask->Header.IdentifierString);
    zel::release(mask->Header.VersionNumber);
    zel::release(mask->Header.DateTimeString);
    zel::release(mask->ZELChannelLabel);
    zel::release(mask->ZELChannelComment);
    zel::release(mask);
}

void ZELFeatureInitializeMaskList(ZELFeatureMaskListType* list)
{
    *list = {};
}

void ZELFeatureAddMaskToList(ZELFeatureMaskListType* list, ZELFeatureMaskType* mask)
{
    (list->Mask ? list->Mask->next : list->MaskHead) = mask;
    list->Mask = mask;
    ++list->NumMasks;
}

void ZELFeatureFreeMaskList(ZELFeatureMaskListType* list)
{
    while (ZELFeatureMaskType* first = list->MaskHead) {
        list->MaskHead = first->next;
        ZELFeatureFreeMask(first);
    }
    freeCommandList(&list->Conditions);
    ZELFeatureInitializeMaskList(list);
}
