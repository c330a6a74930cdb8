#include <cstring>

#include "zel_features/language/truncate.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/program/zel_program.hpp"
#include "zel_features/zel_evaluate.h"
#include "zel_features/zel_program.h"

namespace {

int failExecution(const char* text)
{
    printError(zel::message("executeProgram: %s", text));
    return ZEL_PROGRAM_ERROR;
}

// The 32 bits of an operand as a float, whatever the element is. Commas and numbers of channels and
// registers are tiny that way and round to 0.
float operandAsFloat(const StackElementStruct& element)
{
    float value = 0.0f;
    std::memcpy(&value, &element.op, sizeof value);
    return value;
}

// False after an error, which was printed.
bool setWeights(const ProgramStruct& statement, ZELPixelStruct& pixel)
{
    if (!statement.ClassList) {
        failExecution("weightclasses error: missing class list\n");
        return false;
    }
    if (!statement.Statement) {
        failExecution("weightclasses error: missing value\n");
        return false;
    }
    const float weight = ZELEvaluateStack(statement.Statement, &pixel);
    if (pixel.skipPixelFlag) {
        failExecution("invalid statement error:\n"
                      "skip_pixel statement cannot be used in a weightclasses\n");
        return false;
    }
    zel::setListedWeights(*statement.ClassList, pixel, weight);
    return true;
}

}  // namespace

void zel::setListedWeights(const ZELStackStruct& classList, ZELPixelStruct& pixel, float weight)
{
    for (const StackElementStruct* e = classList.stackHead; e; e = e->nextElement) {
        const double number = operandAsFloat(*e);
        ZELFeatureSetClassWeight(&pixel, truncated(number + 0.5), weight);
    }
}

int executeProgram(const ProgramStruct* Program, ZELPixelStruct* Pixel)
{
    for (const ProgramStruct* s = Program; s;) {
        if (s->statementType == RETURN_STATEMENT) return ZEL_PROGRAM_DONE;
        if (s->statementType == WEIGHT_STATEMENT) {
            if (!setWeights(*s, *Pixel)) return ZEL_PROGRAM_ERROR;
            s = s->nextTrue;
            continue;
        }
        if (!s->Statement) {
            if (s->statementType == IF_STATEMENT)
                return failExecution("If error: missing statement\n");
            s = s->nextTrue;
            continue;
        }
        const float value = ZELEvaluateStack(s->Statement, Pixel);
        if (Pixel->skipPixelFlag) {
            Pixel->Class = 0.0f;
            return ZEL_PROGRAM_SKIPPED;
        }
        s = zel::truncatesToZero(value) ? s->nextFalse : s->nextTrue;
    }
    return ZEL_PROGRAM_DONE;
}

int ZELPreProcessPixel(const ZELMaskParameterType* Parameters, ZELPixelStruct* Pixel)
{
    const int result = executeProgram(Parameters->PreProcessHead, Pixel);
    if (result < 0)
        printError(
            zel::message("ZELPreProcessPixel: Error occurred during execution of program\n"));
    return result;
}

// A skipped pixel is reported here, as it is not before classification: by then it has a class.
int ZELPostProcessPixel(const ZELMaskParameterType* Parameters, ZELPixelStruct* Pixel)
{
    const int result = executeProgram(Parameters->PostProcessHead, Pixel);
    if (result != 0)
        printError(
            zel::message("ZELPostProcessPixel: Error occurred during execution of program\n"));
    return result;
}

void ZELFeatureClearClassWeights(ZELPixelStruct* Pixel, float value)
{
    for (float& weight : Pixel->class_weights) weight = value;
}

void ZELFeatureSetClassWeight(ZELPixelStruct* Pixel, int classIndex, float value)
{
    if (classIndex >= 0 && classIndex < ZEL_FEATURE_NUM_CLASSES)
        Pixel->class_weights[classIndex] = value;
}
