#include "zel_features/mask/copy.hpp"

#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>
#include <map>
#include <utility>

#include "ground/memory.hpp"
#include "zel_features/files/copy.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/mask/zel_feature_mask.hpp"
#include "zel_features/parameters/zel_parameter.hpp"
#include "zel_features/zel_expression.h"
#include "zel_features/zel_program.h"

namespace {

void copyStack(ZELStackStruct*& to, const ZELStackStruct* from)
{
    if (!from) return;
    to = zel::allocate<ZELStackStruct>(1);
    if (!to) zel::failWithError("ZELFeatureDuplicateMask: cannot allocate memory\n");
    addStack(to, from);
    to->expression = zel::copyNullable(from->expression);
}

void copyInfo(InfoStruct& to, const InfoStruct& from)
{
    zel::setNullable(to.IdentifierString, from.IdentifierString);
    zel::setNullable(to.VersionNumber, from.VersionNumber);
    zel::setNullable(to.DateTimeString, from.DateTimeString);
}

// Statements are copied with their flow, which stays inside a program. Compiling the text again
// would print its warnings again.
void copyProgram(ProgramStruct*& to, const ProgramStruct* from)
{
    using Copy = std::pair<const ProgramStruct* const, ProgramStruct*>;
    std::map<const ProgramStruct*, ProgramStruct*, std::less<>, zel::Allocator<Copy>> copies;
    copies.emplace(nullptr, nullptr);
    ProgramStruct* last = nullptr;
    for (const ProgramStruct* source = from; source; source = source->next) {
        last = addProgamStatement(last, source->statementType, source->lineNum);
        if (!to) to = last;
        copyStack(last->Statement, source->Statement);
        copyStack(last->ClassList, source->ClassList);
        copies[source] = last;
    }
    ProgramStruct* copy = to;
    for (; from; from = from->next, copy = copy->next) {
        copy->nextTrue = copies.at(from->nextTrue);
        copy->nextFalse = copies.at(from->nextFalse);
    }
}

void copyList(CommandStruct& to, const CommandStruct& from, const CommandStruct&)
{
    zel::copyCommands(to, from);
}

// The copy of a training record also keeps what was counted and measured in it. Its expressions are
// not compiled again: in a file they may use names that the copy's definitions do not have.
void copyTraining(ZELParameterStruct& to, const ZELParameterStruct& from)
{
    zel::copyParameters(to, from, copyList);
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

}  // namespace

void zel::copyCommands(CommandStruct& to, const CommandStruct& from)
{
    for (const CommandListStruct* source = from.ListHead; source; source = source->next) {
        CommandListStruct* entry = allocateNewCommand(&to);
        entry->Label = copyNullable(source->Label);
        copyStack(entry->Condition, source->Condition);
        copyStack(entry->Action, source->Action);
    }
}

void ZELFeatureCopyMaskParameters(ZELMaskParameterType* dest, const ZELMaskParameterType* source)
{
    initializeMaskParameterStruct(dest);
    zel::copyFiles(dest->IO, source->IO);
    if (source->FilterConditions) {
        CommandStruct& conditions =
            zel::filterConditions(*dest, "ZELFeatureCopyMaskParameters: cannot allocate memory\n");
        zel::copyCommands(conditions, *source->FilterConditions);
    }
    zel::copyCommands(dest->PreClassFilters, source->PreClassFilters);
    zel::copyCommands(dest->PostClassFilters, source->PostClassFilters);
    zel::copyCommands(dest->Comments, source->Comments);
    zel::copyCommands(dest->Title, source->Title);
    dest->PreProcessProgramTextHead =
        ZELFeatureDuplicateProgramText(source->PreProcessProgramTextHead);
    dest->PostProcessProgramTextHead =
        ZELFeatureDuplicateProgramText(source->PostProcessProgramTextHead);
    copyProgram(dest->PreProcessHead, source->PreProcessHead);
    copyProgram(dest->PostProcessHead, source->PostProcessHead);
    dest->MaskType = source->MaskType;
}

ZELFeatureMaskType* ZELFeatureDuplicateMask(const ZELFeatureMaskType* mask)
{
    if (!mask) return nullptr;
    zel::OwnedMask copy(ZELFeatureAllocateNewMask(mask->ZELChannelIndex));
    copyInfo(copy->Header, mask->Header);
    zel::setNullable(copy->ZELChannelLabel, mask->ZELChannelLabel);
    zel::setNullable(copy->ZELChannelComment, mask->ZELChannelComment);
    ZELFeatureCopyMaskParameters(&copy->MaskParameters, &mask->MaskParameters);
    for (const ZELClassifierList* c = mask->ClassifierListHead; c; c = c->next)
        copyClassifier(*copy, *c);
    return copy.release();
}
