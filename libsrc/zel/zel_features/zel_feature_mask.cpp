#include "zel_feature_mask.h"

#include <algorithm>
#include <cstring>

#include "zel_expression.h"
#include "zel_feature_file.h"
#include "zel_feature_report.hpp"
#include "zel_memory.hpp"
#include "zel_parameter.h"
#include "zel_parameter.hpp"
#include "zel_program.h"

namespace {

ZELStackStruct* copyStack(const ZELStackStruct* source)
{
    if (!source) return nullptr;
    ZELStackStruct* copy = zel::allocate<ZELStackStruct>(1);
    if (!copy) zel::failWithError("ZELFeatureDuplicateMask: cannot allocate memory\n");
    addStack(copy, source);
    copy->expression = zel::copyNullable(source->expression);
    return copy;
}

void copyList(CommandStruct& to, const CommandStruct& from)
{
    for (const CommandListStruct* source = from.ListHead; source; source = source->next) {
        CommandListStruct* entry = allocateNewCommand(&to);
        entry->Label = zel::copyNullable(source->Label);
        entry->Condition = copyStack(source->Condition);
        entry->Action = copyStack(source->Action);
    }
}

void copyFiles(IOStruct& to, const IOStruct& from)
{
    zel::setNullable(to.outputFilename, from.outputFilename);
    for (const InputStruct* input = from.inputListHead; input; input = input->next)
        allocateNewInput(&to)->Filename = zel::copyNullable(input->Filename);
}

void copyInfo(InfoStruct& to, const InfoStruct& from)
{
    zel::setNullable(to.IdentifierString, from.IdentifierString);
    zel::setNullable(to.VersionNumber, from.VersionNumber);
    zel::setNullable(to.DateTimeString, from.DateTimeString);
}

// The copy of a training record also keeps what was counted and measured in it.
void copyTraining(ZELParameterStruct& to, const ZELParameterStruct& from)
{
    ZELFeatureFreeParameters(&to);
    ZELFeatureCopyParameter(&to, &from);
    copyInfo(to.Header, from.Header);
    std::copy(std::begin(from.ClassInfo.Count), std::end(from.ClassInfo.Count),
              std::begin(to.ClassInfo.Count));
    if (from.FeatureInfo.Max && from.FeatureInfo.Min) {
        std::copy_n(from.FeatureInfo.Max, from.Features.num, to.FeatureInfo.Max);
        std::copy_n(from.FeatureInfo.Min, from.Features.num, to.FeatureInfo.Min);
    }
    to.ClassOffset = from.ClassOffset;
    to.FeatureOffset = from.FeatureOffset;
    to.IgnoreRequirementFlag = from.IgnoreRequirementFlag;
}

void copyClassifier(ZELFeatureMaskType& mask, const ZELClassifierList& source)
{
    ZELClassifierList* copy = ZELFeatureNewClassifierListEntry(&mask);
    copyTraining(*copy->Parameters, *source.Parameters);
    copy->ClassifierType = source.ClassifierType;
    copy->ClassifierLevel = source.ClassifierLevel;
    copy->ClassifierIndex = source.ClassifierIndex;
    if (!source.Classifier) return;
    const auto size = static_cast<std::size_t>(source.ClassifierByteCount);
    copy->Classifier = zel::allocate<unsigned char>(size);
    if (!copy->Classifier) zel::failWithError("ZELFeatureDuplicateMask: cannot allocate memory\n");
    std::memcpy(copy->Classifier, source.Classifier, size);
    copy->ClassifierByteCount = source.ClassifierByteCount;
}

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

// The statements of a copied text; a program that did not compile has none.
ProgramStruct* compileAgain(const ProgramStruct* source, const ProgramLines* text, int processFlag,
                            const ZELMaskParameterType& p)
{
    const CommandListStruct* definitions =
        p.FilterConditions ? p.FilterConditions->ListHead : nullptr;
    return source ? compileProgramText(text, processFlag, definitions) : nullptr;
}

}  // namespace

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

void ZELFeatureCopyMaskParameters(ZELMaskParameterType* dest, const ZELMaskParameterType* source)
{
    initializeMaskParameterStruct(dest);
    copyFiles(dest->IO, source->IO);
    if (source->FilterConditions) {
        dest->FilterConditions = zel::allocate<CommandStruct>(1);
        if (!dest->FilterConditions)
            zel::failWithError("ZELFeatureCopyMaskParameters: cannot allocate memory\n");
        copyList(*dest->FilterConditions, *source->FilterConditions);
    }
    copyList(dest->PreClassFilters, source->PreClassFilters);
    copyList(dest->PostClassFilters, source->PostClassFilters);
    copyList(dest->Comments, source->Comments);
    copyList(dest->Title, source->Title);
    dest->PreProcessProgramTextHead =
        ZELFeatureDuplicateProgramText(source->PreProcessProgramTextHead);
    dest->PostProcessProgramTextHead =
        ZELFeatureDuplicateProgramText(source->PostProcessProgramTextHead);
    dest->PreProcessHead =
        compileAgain(source->PreProcessHead, dest->PreProcessProgramTextHead, 0, *dest);
    dest->PostProcessHead =
        compileAgain(source->PostProcessHead, dest->PostProcessProgramTextHead, 1, *dest);
    dest->MaskType = source->MaskType;
}

ZELFeatureMaskType* ZELFeatureDuplicateMask(const ZELFeatureMaskType* mask)
{
    if (!mask) return nullptr;
    ZELFeatureMaskType* copy = ZELFeatureAllocateNewMask(mask->ZELChannelIndex);
    copyInfo(copy->Header, mask->Header);
    zel::setNullable(copy->ZELChannelLabel, mask->ZELChannelLabel);
    zel::setNullable(copy->ZELChannelComment, mask->ZELChannelComment);
    ZELFeatureCopyMaskParameters(&copy->MaskParameters, &mask->MaskParameters);
    for (const ZELClassifierList* c = mask->ClassifierListHead; c; c = c->next)
        copyClassifier(*copy, *c);
    return copy;
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
