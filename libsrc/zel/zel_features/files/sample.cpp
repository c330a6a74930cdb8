#include <algorithm>

#include "zel_features/files/records.hpp"
#include "zel_features/language/truncate.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/zel_feature_file.h"

namespace {

bool hasFeatures(const ZELFeatureFileStruct& file)
{
    return file.Features || file.Parameters.Features.num == 0;
}

void requireOpen(const ZELFeatureFileStruct& file, const char* function)
{
    if (!file.fptr || !hasFeatures(file))
        zel::failWithError("%s: the file is not open\n", function);
}

void requireReadable(const ZELFeatureFileStruct& file, const char* function)
{
    if (file.AccessFlag == ZEL_FEATURE_WRITE)
        zel::failWithError(-2, "%s:  error, random access not allowed on this file\n", function);
    requireOpen(file, function);
}

bool isSample(const ZELFeatureFileStruct& file, long long sample)
{
    return sample >= 0 && sample < file.NumberOfSamples;
}

// Whether the stream is right after the sample that was read last. The first read seeks whatever
// the indices say: no sample has been read from a stream that is right after the header.
bool standsAtCurrent(const ZELFeatureFileStruct& file)
{
    return file.CurrentSample - file.PreviousSample == 1 && ftello(file.fptr) != file.HeaderOffset;
}

[[noreturn]] void failReading(const ZELFeatureFileStruct& file)
{
    zel::failWithError("ZELFeatureReadSampleFromFile: read error on sample %d\n",
                       file.CurrentSample);
}

void goToCurrent(ZELFeatureFileStruct& file)
{
    const off_t place =
        file.HeaderOffset + static_cast<off_t>(file.CurrentSample) * file.SampleLength;
    if (fseeko(file.fptr, place, SEEK_SET) != 0) failReading(file);
}

// The fields of the current sample up to where the file ends; the others stay as they are. Whether
// it is whole.
bool readSample(ZELFeatureFileStruct& file)
{
    zel::FeatureReader reader(file.fptr, {0, zel::unknownEnd});
    std::int32_t classNumber = 0;
    bool isWhole = true;
    try {
        zel::walkSample(reader, classNumber, file.Pixel);
        for (int i = 0; i < file.Parameters.Features.num; ++i)
            reader.field("feature", file.Features[i]);
    } catch (const zel::Damage&) {
        isWhole = false;
    }
    if (reader.position() > 0) file.Pixel.Class = static_cast<float>(classNumber);
    if (std::ferror(file.fptr)) failReading(file);
    return isWhole;
}

void count(ZELFeatureFileStruct& file, int classNumber)
{
    if (classNumber >= 0 && classNumber < ZEL_FEATURE_NUM_CLASSES)
        ++file.Parameters.ClassInfo.Count[classNumber];
    ZELFeatureStruct& info = file.Parameters.FeatureInfo;
    for (int i = 0; i < file.Parameters.Features.num; ++i) {
        const float value = file.Features[i];
        if (file.CurrentSample == 0) info.Min[i] = info.Max[i] = value;
        if (value < info.Min[i]) info.Min[i] = value;
        if (value > info.Max[i]) info.Max[i] = value;
    }
}

}  // namespace

void ZELFeatureWriteSampleToFile(ZELFeatureFileStruct* FeatureFile)
{
    if (FeatureFile->AccessFlag == ZEL_FEATURE_READ)
        zel::failWithError(-2,
                           "ZELFeatureWriteSampletoFile:  error, attempted to write to read only "
                           "file\n");
    requireOpen(*FeatureFile, "ZELFeatureWriteSampleToFile");
    std::int32_t classNumber = zel::truncated(FeatureFile->Pixel.Class);
    count(*FeatureFile, classNumber);
    zel::FeatureWriter writer(FeatureFile->fptr);
    zel::walkSample(writer, classNumber, FeatureFile->Pixel);
    writer.array("features", FeatureFile->Features, FeatureFile->Parameters.Features.num);
    ++FeatureFile->CurrentSample;
    ++FeatureFile->PreviousSample;
}

int ZELFeatureReadSampleFromFile(ZELFeatureFileStruct* FeatureFile)
{
    if (FeatureFile->AccessFlag == ZEL_FEATURE_WRITE)
        zel::failWithError(
            -2, "ZELFeatureReadSampleFromFile:  error, Random access not allowed on this "
                "file\n");
    requireOpen(*FeatureFile, "ZELFeatureReadSampleFromFile");
    if (!standsAtCurrent(*FeatureFile)) goToCurrent(*FeatureFile);
    if (!readSample(*FeatureFile)) return 0;
    FeatureFile->PreviousSample = FeatureFile->CurrentSample++;
    return 1;
}

void ZELFeatureSeekSample(ZELFeatureFileStruct* FeatureFile, int sample)
{
    requireReadable(*FeatureFile, "ZELFeatureSeekSample");
    if (!isSample(*FeatureFile, sample))
        zel::failWithError("ZELFeatureSeekSample: Error, sample index %d out of range\n", sample);
    FeatureFile->CurrentSample = sample;
    std::clearerr(FeatureFile->fptr);
}

void ZELFeatureSkipSamples(ZELFeatureFileStruct* FeatureFile, int count)
{
    requireReadable(*FeatureFile, "ZELFeatureSkipSamples");
    const int current = FeatureFile->CurrentSample;
    if (!isSample(*FeatureFile, static_cast<long long>(current) + count))
        zel::failWithError(
            "ZELFeatureSkipSamples: Error, sample index %d out of range: Count = %d\n", current,
            count);
    FeatureFile->CurrentSample = current + count;
}

void ZELFeatureRewindFile(ZELFeatureFileStruct* FeatureFile)
{
    requireReadable(*FeatureFile, "ZELFeatureRewindFile");
    ZELFeatureSeekSample(FeatureFile, 0);
}

void ZELFeatureCopySample(ZELFeatureFileStruct* DestFile, const ZELFeatureFileStruct* SrcFile)
{
    if (!hasFeatures(*DestFile) || !hasFeatures(*SrcFile))
        zel::failWithError("ZELFeatureCopySample: the file is not open\n");
    ZELPixelStruct& to = DestFile->Pixel;
    const ZELPixelStruct& from = SrcFile->Pixel;
    to.Class = from.Class;
    to.ElementaryClass = from.ElementaryClass;
    to.lat = from.lat;
    to.lon = from.lon;
    to.sz = from.sz;
    to.vz = from.vz;
    to.az = from.az;
    to.jday = from.jday;
    to.year = from.year;
    to.BoxIndex = from.BoxIndex;
    to.Priority = from.Priority;
    const int features =
        std::min(DestFile->Parameters.Features.num, SrcFile->Parameters.Features.num);
    std::copy_n(SrcFile->Features, features, DestFile->Features);
}
