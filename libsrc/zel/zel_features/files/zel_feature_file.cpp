#include "zel_features/zel_feature_file.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <utility>

#include "ground/memory.hpp"
#include "ground/same_file.hpp"
#include "zel_features/files/records.hpp"
#include "zel_features/files/zel_feature_file.hpp"
#include "zel_features/files/zel_feature_header.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/parameters/zel_parameter.hpp"
#include "zel_features/zel_evaluate.h"

int OverwritePrompt = 1;

namespace {

// The name that an output is given in place of the one in its parameter file.
class GivenName {
public:
    explicit GivenName(const char* name) : previous_(zel::outputFilenameOverride())
    {
        if (name) zel::outputFilenameOverride() = {true, zel::Text(name)};
    }
    ~GivenName() { std::swap(zel::outputFilenameOverride(), previous_); }
    GivenName(const GivenName&) = delete;
    GivenName& operator=(const GivenName&) = delete;

    const char* get() const { return zel::outputFilenameOverride().get(); }

private:
    zel::OutputName previous_;
};

void confirmReplacing(const char* filename)
{
    if (OverwritePrompt != 1 || !zel::opensForReading(filename)) return;
    printInfo(zel::message("output file %s exists!  overwrite?\n", filename));
    printInfo(zel::message("(y/n) "));
    std::fflush(stdout);
    const int answer = std::fgetc(stdin);
    if (answer != 'y' && answer != 'Y') zel::terminate(-1);
    printInfo(zel::message("\n"));
}

// Closes the stream and frees what a file object owns beside its parameters, however it is left.
class Closing {
public:
    explicit Closing(ZELFeatureFileStruct& file) : file_(file) {}
    ~Closing()
    {
        closeStream();
        zel::freeFeatureInfo(file_.Parameters);
        zel::discard(file_.Features);
    }
    Closing(const Closing&) = delete;
    Closing& operator=(const Closing&) = delete;

    // False when something that was written before did not reach the file.
    bool closeStream()
    {
        FILE* stream = std::exchange(file_.fptr, nullptr);
        if (!stream) return true;
        const bool failed = std::ferror(stream) != 0;
        return std::fclose(stream) == 0 && !failed;
    }

private:
    ZELFeatureFileStruct& file_;
};

void countSamples(ZELFeatureFileStruct& file)
{
    std::int64_t size = 0;
    zel::readFeatures(file.fptr, [&](zel::FeatureReader& reader) {
        size = reader.position() + reader.remaining();
    });
    const off_t samples = (size - file.HeaderOffset) / file.SampleLength;
    file.NumberOfSamples = static_cast<int>(std::min<off_t>(samples, INT_MAX));
}

}  // namespace

namespace zel {

void failWithInput(const char* filename)
{
    failWithError("error: output file %s is one of the input files\n", filename);
}

void openFeatureOutput(ZELFeatureFileStruct& file)
{
    const char* name = file.Parameters.IO.outputFilename;
    const char* filename = name ? name : "";
    if (isInput(file.Parameters.IO, filename)) failWithInput(filename);
    confirmReplacing(filename);
    // The question covers readable files only; "w+" does not replace a file that cannot be read.
    file.fptr = std::fopen(filename, "w+b");
    if (!file.fptr) failWithError("cannot create output file %s\n", filename);
}

void allocateFeatures(ZELFeatureFileStruct& file, const char* function)
{
    file.Features = allocate<float>(static_cast<std::size_t>(file.Parameters.Features.num));
    if (!file.Features) failWithError("%s: calloc error in features\n", function);
}

void beginWriting(ZELFeatureFileStruct& file)
{
    file.AccessFlag = ZEL_FEATURE_WRITE;
    file.HeaderOffset = ZELFeatureWriteHeader(file.fptr, &file.Parameters);
    file.SampleLength = file.CurrentSample = file.PreviousSample = file.NumberOfSamples = 0;
}

}  // namespace zel

void ZELFeatureSetOverwritePromptOn(void)
{
    OverwritePrompt = 1;
}

void ZELFeatureSetOverwritePromptOff(void)
{
    OverwritePrompt = 0;
}

void ZELFeatureCreateFile(const char* parameterFilename, ZELFeatureFileStruct* FeatureFile,
                          const char* outputFilename)
{
    std::memset(FeatureFile, 0, sizeof *FeatureFile);
    const GivenName output(outputFilename);
    ZELParseParameterFile(parameterFilename, &FeatureFile->Parameters);
    if (output.get()) {
        zel::setString(FeatureFile->Parameters.IO.outputFilename, output.get());
        printInfo(zel::message("Warning:  Parameter file specified outputfilename is being\n"));
        printInfo(zel::message("overridden by command line specified outputfilename\n"));
    }
    const char* name = FeatureFile->Parameters.IO.outputFilename;
    const int error = errno;
    if (name && zel::isSameFile(parameterFilename, name)) zel::failWithInput(name);
    errno = error;
    zel::openFeatureOutput(*FeatureFile);
    zel::allocateFeatures(*FeatureFile, "ZELFeatureCreateFile");
    zel::makeFeatureInfo(
        FeatureFile->Parameters,
        "ZELFeatureCreateFile: FeatureFile->Parameters.FeatureInfo.Max calloc error 1\n",
        "ZELFeatureCreateFile: FeatureFile->Parameters.FeatureInfo.Min calloc error 1\n");
    zel::beginWriting(*FeatureFile);
}

void ZELFeatureOpenFile(const char* filename, ZELFeatureFileStruct* FeatureFile)
{
    std::memset(FeatureFile, 0, sizeof *FeatureFile);
    FeatureFile->fptr = std::fopen(filename, "rb");
    if (!FeatureFile->fptr)
        zel::failWithError("ZELFeatureOpenFile: cannot open file %s\n", filename);
    FeatureFile->HeaderOffset = ZELFeatureReadHeader(FeatureFile->fptr, &FeatureFile->Parameters);
    zel::allocateFeatures(*FeatureFile, "ZELFeatureOpenFile");
    FeatureFile->AccessFlag = ZEL_FEATURE_READ;
    FeatureFile->SampleLength = zel::sampleLength(FeatureFile->Parameters.Features.num);
    countSamples(*FeatureFile);
}

void ZELFeatureCloseFile(ZELFeatureFileStruct* FeatureFile)
{
    Closing closing(*FeatureFile);
    const bool writes = FeatureFile->fptr && FeatureFile->AccessFlag == ZEL_FEATURE_WRITE;
    if (writes && FeatureFile->HeaderOffset > 0)
        ZELFeatureUpdateHeaderInfo(FeatureFile->fptr, &FeatureFile->Parameters);
    if (!closing.closeStream() && writes)
        zel::failWithError("ZELFeatureCloseFile: write error on file %s\n",
                           FeatureFile->Parameters.IO.outputFilename);
}

void ZELFeatureCompute(ZELFeatureFileStruct* FeatureFile)
{
    if (FeatureFile->Parameters.Features.ListHead && !FeatureFile->Features)
        zel::failWithError("ZELFeatureCompute: the file is not open\n");
    float* value = FeatureFile->Features;
    for (const CommandListStruct* feature = FeatureFile->Parameters.Features.ListHead; feature;
         feature = feature->next, ++value)
        *value = feature->Condition ? ZELEvaluateStack(feature->Condition, &FeatureFile->Pixel) : 0;
}
