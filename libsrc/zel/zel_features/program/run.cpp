#include "zel_features/program/run.hpp"

#include <cstring>

#include "zel_features/zel_program.h"

// The 32 bits of an operand as a float, whatever the element is. Commas and numbers of channels and
// registers are tiny that way and round to 0.
int zel::listedClass(const StackElementStruct& element)
{
    float value = 0.0f;
    std::memcpy(&value, &element.op, sizeof value);
    return truncated(static_cast<double>(value) + 0.5);
}

int executeProgram(const ProgramStruct* Program, ZELPixelStruct* Pixel)
{
    zel::RecordPixel pixel(*Pixel);
    return zel::execute(Program, pixel);
}

void zel::reportPreProcess(int result)
{
    if (result < 0)
        printError(message("ZELPreProcessPixel: Error occurred during execution of program\n"));
}

// A skipped pixel is reported here, as it is not before classification: by then it has a class.
void zel::reportPostProcess(int result)
{
    if (result != 0)
        printError(message("ZELPostProcessPixel: Error occurred during execution of program\n"));
}

int ZELPreProcessPixel(const ZELMaskParameterType* Parameters, ZELPixelStruct* Pixel)
{
    const int result = executeProgram(Parameters->PreProcessHead, Pixel);
    zel::reportPreProcess(result);
    return result;
}

int ZELPostProcessPixel(const ZELMaskParameterType* Parameters, ZELPixelStruct* Pixel)
{
    const int result = executeProgram(Parameters->PostProcessHead, Pixel);
    zel::reportPostProcess(result);
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
