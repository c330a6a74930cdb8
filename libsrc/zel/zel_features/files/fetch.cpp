#include "zel_features/language/truncate.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/zel_feature_file.h"

namespace {

const char* textOf(const char* text)
{
    return text ? text : "";
}

}  // namespace

void ZELFeaturePrintClassInfo(const ZELFeatureFileStruct* FeatureFile)
{
    const ZELClassStruct& classes = FeatureFile->Parameters.ClassInfo;
    for (int i = 0; i < ZEL_FEATURE_NUM_CLASSES; ++i)
        if (classes.Count[i] != 0)
            printInfo(zel::message("Class %d -> %s    count = %d  - R %d G %d B %d\n", i,
                                   textOf(classes.name[i]), classes.Count[i], classes.Red[i],
                                   classes.Green[i], classes.Blue[i]));
}

void ZELFeaturePrintFeatureInfo(const ZELFeatureFileStruct* FeatureFile)
{
    const ZELFeatureStruct& info = FeatureFile->Parameters.FeatureInfo;
    const int features = FeatureFile->Parameters.Features.num;
    if (features > 0 && (!info.Label || !info.Max || !info.Min))
        zel::failWithError("ZELFeaturePrintFeatureInfo: the file is not open\n");
    for (int i = 0; i < features; ++i)
        printInfo(zel::message("Feature %d -> %s max = %f, min = %f\n", i + 1,
                               textOf(info.Label[i]), static_cast<double>(info.Max[i]),
                               static_cast<double>(info.Min[i])));
}

int ZELFeatureFetchRandomSeed(const ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->Parameters.RandomSeed;
}

float* ZELFeatureFetchFeatures(const ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->Features;
}

int ZELFeatureFetchNumberOfFeatures(const ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->Parameters.Features.num;
}

int ZELFeatureFetchNumberOfSamples(const ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->NumberOfSamples;
}

char* ZELFeatureFetchOutputFilename(const ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->Parameters.IO.outputFilename;
}

ZELPixelStruct* ZELFeatureFetchPixel(ZELFeatureFileStruct* FeatureFile)
{
    return &FeatureFile->Pixel;
}

int ZELFeatureFetchClass(const ZELFeatureFileStruct* FeatureFile)
{
    return zel::truncated(FeatureFile->Pixel.Class);
}

int ZELFeatureFetchElementaryClass(const ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->Pixel.ElementaryClass;
}

int ZELFeatureFetchBoxIndex(const ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->Pixel.BoxIndex;
}

int ZELFeatureFetchJulianDay(const ZELFeatureFileStruct* FeatureFile)
{
    return zel::truncated(FeatureFile->Pixel.jday + 0.5);
}

int ZELFeatureFetchYear(const ZELFeatureFileStruct* FeatureFile)
{
    return zel::truncated(FeatureFile->Pixel.year + 0.5);
}

unsigned int ZELFeatureFetchPriority(const ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->Pixel.Priority;
}

float* ZELFeatureFetchFeatureMax(const ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->Parameters.FeatureInfo.Max;
}

float* ZELFeatureFetchFeatureMin(const ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->Parameters.FeatureInfo.Min;
}

char** ZELFeatureFetchClassNames(ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->Parameters.ClassInfo.name;
}

int* ZELFeatureFetchClassCount(ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->Parameters.ClassInfo.Count;
}

int ZELFeatureFetchSubsamplingMethod(const ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->Parameters.SubSamplingMethod;
}

int ZELFeatureFetchClassType(const ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->Parameters.ClassType;
}

int ZELFeatureFetchDataType(const ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->Parameters.DataType;
}

char** ZELFeatureFetchLabels(const ZELFeatureFileStruct* FeatureFile)
{
    return FeatureFile->Parameters.FeatureInfo.Label;
}
