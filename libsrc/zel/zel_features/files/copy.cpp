#include "zel_features/files/copy.hpp"

#include <cerrno>
#include <cstring>

#include "ground/same_file.hpp"
#include "zel_features/files/zel_feature_file.hpp"
#include "zel_features/files/zel_feature_header.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/parameters/zel_parameter.hpp"
#include "zel_features/zel_expression.h"
#include "zel_features/zel_feature_file.h"

namespace {

using Print = void (*)(const char* text);

ZELStackStruct* compileAgain(const ZELStackStruct* source, const CommandListStruct* definitions,
                             Print print)
{
    if (!source) return nullptr;
    int status = ZEL_PARSE_OK;
    ZELStackStruct* stack = parseCondition(source->expression, &status, 0, definitions);
    if (stack) return stack;
    print(zel::message("expression: %s\n", source->expression));
    print(zel::message("parse error: %s\n", ParseErrorMsgs[status]));
    zel::terminate(-1);
}

void compileAgain(CommandStruct& to, const CommandStruct& from, const CommandStruct& conditions)
{
    for (const CommandListStruct* source = from.ListHead; source; source = source->next) {
        const CommandListStruct* definitions = conditions.ListHead;
        CommandListStruct* entry = allocateNewCommand(&to);
        entry->Label = zel::copyNullable(source->Label);
        entry->Condition = compileAgain(source->Condition, definitions, printError);
        entry->Action = compileAgain(source->Action, definitions, printInfo);
    }
}

void copyClasses(ZELClassStruct& to, const ZELClassStruct& from)
{
    for (int i = 0; i < ZEL_FEATURE_NUM_CLASSES; ++i) {
        to.name[i] = zel::copyNullable(from.name[i]);
        to.Red[i] = from.Red[i];
        to.Green[i] = from.Green[i];
        to.Blue[i] = from.Blue[i];
    }
}

}  // namespace

void zel::copyFiles(IOStruct& to, const IOStruct& from)
{
    to.outputFilename = copyNullable(from.outputFilename);
    for (const InputStruct* input = from.inputListHead; input; input = input->next) {
        InputStruct* copy = allocateNewInput(&to);
        copy->Filename = copyNullable(input->Filename);
    }
}

void zel::copyParameters(ZELParameterStruct& to, const ZELParameterStruct& from, CopyList copyList)
{
    ZELFeatureInitializeParameters(&to);
    to.RandomSeed = from.RandomSeed;
    to.SubSamplingMethod = from.SubSamplingMethod;
    to.ClassType = from.ClassType;
    to.DataType = from.DataType;
    copyFiles(to.IO, from.IO);
    copyClasses(to.ClassInfo, from.ClassInfo);
    for (CommandStruct ZELParameterStruct::*list :
         {&ZELParameterStruct::Conditions, &ZELParameterStruct::Features,
          &ZELParameterStruct::Requirements, &ZELParameterStruct::Filters,
          &ZELParameterStruct::Comments, &ZELParameterStruct::Title, &ZELParameterStruct::Options})
        copyList(to.*list, from.*list, to.Conditions);
    makeFeatureInfo(to, "ZELFeatureCopyHeader: DestParameter->FeatureInfo.Max calloc error\n",
                    "ZELFeatureCopyHeader: DestParameter->FeatureInfo.Min calloc error\n");
}

void ZELFeatureCopyParameter(ZELParameterStruct* DestParameter,
                             const ZELParameterStruct* SrcParameter)
{
    zel::copyParameters(*DestParameter, *SrcParameter, compileAgain);
}

void ZELFeatureCopyFileParameters(ZELFeatureFileStruct* DestFile,
                                  const ZELFeatureFileStruct* SrcFile)
{
    std::memset(DestFile, 0, sizeof *DestFile);
    ZELFeatureCopyParameter(&DestFile->Parameters, &SrcFile->Parameters);
    DestFile->AccessFlag = ZEL_FEATURE_WRITE;
}

void ZELFeatureOpenCopiedFile(ZELFeatureFileStruct* FeatureFile, const char* outputFilename)
{
    if (outputFilename) zel::setString(FeatureFile->Parameters.IO.outputFilename, outputFilename);
    zel::openFeatureOutput(*FeatureFile);
    zel::allocateFeatures(*FeatureFile, "ZELFeatureOpenCopiedFile");
    zel::beginWriting(*FeatureFile);
}

void ZELFeatureCreateCopiedFile(ZELFeatureFileStruct* DestFile, const ZELFeatureFileStruct* SrcFile,
                                const char* outputFilename)
{
    ZELFeatureCopyFileParameters(DestFile, SrcFile);
    const char* name = outputFilename ? outputFilename : DestFile->Parameters.IO.outputFilename;
    const int error = errno;
    if (name && SrcFile->fptr && zel::isSameFile(SrcFile->fptr, name)) zel::failWithInput(name);
    errno = error;
    ZELFeatureOpenCopiedFile(DestFile, outputFilename);
}
