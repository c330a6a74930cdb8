#include "zel_histogram.h"

#include <cerrno>
#include <cfloat>
#include <cmath>
#include <cstring>

#include "blocks/zel_histogram.hpp"
#include "blocks/zel_histogram_sum.hpp"
#include "ground/memory.hpp"
#include "ground/zel_door.hpp"
#include "records/records.hpp"
#include "records/slot.hpp"

int16_t NumHistogramBins = 256;
int16_t NumStandardHistogramBins = 256;

namespace {

using zel::fail;
using zel::report;

// One without bins too.
struct Free {
    void operator()(ZELHistogramType* histogram) const
    {
        zel::release(histogram->Histogram);
        zel::release(histogram);
    }
};
using OwnedHistogram = std::unique_ptr<ZELHistogramType, Free>;

ZELHistogramType* allocateHistogram()
{
    auto* histogram = zel::allocate<ZELHistogramType>(1);
    if (!histogram) fail("ZELCreateHistogram: error: cannot allocate memory for histogram\n");
    return histogram;
}

// The bins that the histogram counts, and a spare one.
void allocateBins(ZELHistogramType& histogram)
{
    histogram.Histogram =
        zel::allocate<int32_t>(static_cast<std::size_t>(histogram.NumHistogramBins) + 1);
    if (!histogram.Histogram)
        fail("ZELCreateHistogram: error: cannot allocate memory for histogram bins\n");
}

class HistogramReader : public zel::PassingOn<zel::RecordReader> {
public:
    using PassingOn::PassingOn;

    void items(ZELHistogramType& histogram)
    {
        const int bins = histogram.NumHistogramBins;
        next_.require(bins >= 0, "NumHistogramBins", bins);
        next_.requireBytes("histogram counts",
                           zel::histogramRecordSize(bins) - zel::histogramRecordSize(0));
        allocateBins(histogram);
    }
};

std::size_t binCount(const ZELHistogramType& histogram)
{
    return static_cast<std::size_t>(histogram.NumHistogramBins);
}

// Bins per unit of value; infinite or not a number for a range without extent.
float increment(int numBins, float max, float min)
{
    return static_cast<float>(numBins - 1) / (max - min);
}

// The value at which a bin begins.
float lowerEdge(const ZELHistogramType& histogram, int bin)
{
    return static_cast<float>(bin) / histogram.BinIncrement + histogram.Min;
}

float countedPixels(const ZELHistogramType& histogram)
{
    float sum = 0.0f;
    for (std::size_t i = 0; i < binCount(histogram); ++i)
        sum += static_cast<float>(histogram.Histogram[i]);
    return sum;
}

void computeStatistics(ZELHistogramType& histogram)
{
    histogram.BinIncrement = increment(histogram.NumHistogramBins, histogram.Max, histogram.Min);
    histogram.NumPixels = countedPixels(histogram);
    histogram.Mean = 0.0f;
    histogram.Sigma = 0.0f;
    if (!(histogram.NumPixels > 0.0f)) return;
    for (int i = 0; i < histogram.NumHistogramBins; ++i)
        histogram.Mean += lowerEdge(histogram, i) * static_cast<float>(histogram.Histogram[i]);
    histogram.Mean /= histogram.NumPixels;
    for (int i = 0; i < histogram.NumHistogramBins; ++i) {
        const float deviation = lowerEdge(histogram, i) - histogram.Mean;
        histogram.Sigma =
            zel::addRepeatedly(histogram.Sigma, deviation * deviation, histogram.Histogram[i]);
    }
    const double variance =
        static_cast<double>(histogram.Sigma) / (static_cast<double>(histogram.NumPixels) - 1.0);
    histogram.Sigma = std::sqrt(static_cast<float>(variance));
}

void printHistogram(const char* heading, int channel, const ZELHistogramType& histogram)
{
    report("%s %d:\n", heading, channel);
    report("Max %5.2f,  Min %5.2f,  Numpix %f,  Increment %f\n", static_cast<double>(histogram.Max),
           static_cast<double>(histogram.Min), static_cast<double>(histogram.NumPixels),
           static_cast<double>(histogram.BinIncrement));
    for (int i = 0; i < histogram.NumHistogramBins; ++i) {
        const float value = histogram.Min + static_cast<float>(i) / histogram.BinIncrement;
        report("%5.2f %d, ", static_cast<double>(value), histogram.Histogram[i]);
    }
    report("\b\n");
}

[[noreturn]] void failWriting(const ZELType& file, const char* function)
{
    fail("%s: write error on file %s: %s\n", function, file.ImageFilename, std::strerror(errno));
}

}  // namespace

ZELHistogramType* ZELCreateHistogram(int NumBins)
{
    if (NumBins < 0 || NumBins > INT16_MAX)
        fail("ZELCreateHistogram: error: invalid number of histogram bins %d\n", NumBins);
    OwnedHistogram histogram(allocateHistogram());
    histogram->NumHistogramBins = static_cast<int16_t>(NumBins);
    allocateBins(*histogram);
    histogram->Max = -FLT_MAX;
    histogram->Min = FLT_MAX;
    return histogram.release();
}

void ZELFreeHistogram(ZELHistogramType* histogram)
{
    if (!histogram || !histogram->Histogram) return;
    zel::release(histogram->Histogram);
    zel::release(histogram);
}

void zel::freeHistograms(ZELChannelType& channel)
{
    ZELFreeHistogram(channel.ChannelHistogram);
    ZELFreeHistogram(channel.ChannelStandardHistogram);
    channel.ChannelHistogram = nullptr;
    channel.ChannelStandardHistogram = nullptr;
}

void ZELCreateChannelHistograms(ZELType* ZELdata)
{
    for (int i = 0; i < ZELdata->ZELHeader.MaxNumChan; ++i) {
        ZELChannelType& channel = ZELdata->Channels[i];
        if (!channel.ChannelPresentFlag) {
            channel.ChannelHistogram = nullptr;
        } else if (!channel.ChannelHistogram) {
            channel.ChannelHistogram = ZELCreateHistogram(NumHistogramBins);
            channel.UpdateChannelHistogramFlag = 1;
        }
    }
}

void ZELFreeChannelHistograms(ZELType* ZELdata)
{
    for (const auto [slot, channel] : zel::presentChannels(*ZELdata)) zel::freeHistograms(channel);
}

void ZELRescaleHistogram(ZELHistogramType* histogram, float newMax, float newMin)
{
    const int numBins = histogram->NumHistogramBins;
    const float newIncrement = increment(numBins, newMax, newMin);
    if (histogram->NumPixels != 0.0f) {
        zel::Owned<int32_t> bins(zel::allocate<int32_t>(binCount(*histogram) + 1));
        if (!bins) fail("ZELRescaleHistogram: Cannot allocate memory for new histogram\n");
        const auto oldWidth =
            static_cast<float>(1.0 / static_cast<double>(histogram->BinIncrement));
        for (int i = 0; i < numBins; ++i) {
            const float value = static_cast<float>(i) * oldWidth + histogram->Min;
            const int bin = zel::binAt((value - newMin) * newIncrement);
            // The bound is inclusive: a count that lands on numBins moves to the spare bin.
            if (bin < 0 || bin > numBins) return;
            zel::addToBin(bins.get()[bin], histogram->Histogram[i]);
        }
        zel::release(histogram->Histogram);
        histogram->Histogram = bins.release();
    }
    histogram->Max = newMax;
    histogram->Min = newMin;
    histogram->BinIncrement = newIncrement;
}

void ZELSetHistogramBins(int NumBins)
{
    NumHistogramBins = static_cast<int16_t>(NumBins);
}

void ZELSetStandardHistogramBins(int NumBins)
{
    NumStandardHistogramBins = static_cast<int16_t>(NumBins);
}

void ZELLoadStandardHistogram(ZELType* ZELdata, int channel, int NumBins, float max, float min,
                              const int* counts)
{
    ZELChannelType& owner = zel::slotOf(ZELdata, channel, "ZELLoadStandardHistogram");
    ZELHistogramType* histogram = ZELCreateHistogram(NumBins);
    histogram->Max = max;
    histogram->Min = min;
    histogram->BinIncrement = increment(NumBins, max, min);
    for (int i = 0; i < NumBins; ++i) histogram->Histogram[i] = counts[i];
    histogram->NumPixels = countedPixels(*histogram);
    // A histogram of the same size takes the place of the former one in the file.
    const ZELHistogramType* before = owner.ChannelStandardHistogram;
    if (before && before->NumHistogramBins == NumBins) histogram->fileOffset = before->fileOffset;
    owner.ChannelStandardHistogram = histogram;
}

void ZELCopyHistogram(ZELHistogramType* dest, ZELHistogramType* src)
{
    dest->NumHistogramBins = src->NumHistogramBins;
    dest->Max = src->Max;
    dest->Min = src->Min;
    dest->BinIncrement = src->BinIncrement;
    dest->NumPixels = src->NumPixels;
    for (std::size_t i = 0; i < binCount(*src); ++i) dest->Histogram[i] = src->Histogram[i];
}

ZELHistogramType* zel::duplicateHistogram(ZELHistogramType* histogram)
{
    if (!histogram) return nullptr;
    ZELHistogramType* copy = ZELCreateHistogram(histogram->NumHistogramBins);
    ZELCopyHistogram(copy, histogram);
    return copy;
}

ZELHistogramType* zel::readHistogram(RecordReader& reader, int fileOffset)
{
    OwnedHistogram histogram(allocateHistogram());
    histogram->fileOffset = static_cast<int32_t>(reader.position() - fileOffset);
    HistogramReader histogramReader(reader);
    walkHistogram(histogramReader, *histogram);
    computeStatistics(*histogram);
    return histogram.release();
}

ZELHistogramType* ZELReadHistogram(ZELType* ZELdata)
{
    zel::requireOpen(ZELdata->fptr, "ZELReadHistogram");
    const auto read = [&](zel::RecordReader& reader) {
        return zel::readHistogram(reader, ZELdata->fileOffset);
    };
    return zel::readBlock(ZELdata->fptr, "ZELReadHistogram", read);
}

void ZELWriteHistogram(ZELType* ZELdata, ZELHistogramType* histogram)
{
    zel::requireOpen(ZELdata->fptr, "ZELWriteHistogram");
    const auto place = ftello(ZELdata->fptr);
    if (place < 0) failWriting(*ZELdata, "ZELWriteHistogram");
    histogram->fileOffset = static_cast<int32_t>(place - ZELdata->fileOffset);
    zel::RecordWriter writer(ZELdata->fptr);
    zel::walkHistogram(writer, *histogram);
    if (!writer.isWhole()) failWriting(*ZELdata, "ZELWriteHistogram");
}

bool zel::updateHistogram(ZELType& file, ZELHistogramType& histogram)
{
    if (!file.HistogramFlag) return true;
    // A histogram without a record has place 0, where a file begins with its prefix.
    if (histogram.fileOffset <= 0 && beginsWithPrefix(file.fptr)) {
        zel::reportTo(
            stderr,
            "ZELUpdateHistogram: warning: a histogram of file %s was made after its header "
            "was written and is not kept\n",
            file.ImageFilename);
        return true;
    }
    const std::int64_t place = std::int64_t{file.fileOffset} + histogram.fileOffset;
    return rewriteAt(file.fptr, place, [&] { ZELWriteHistogram(&file, &histogram); });
}

bool zel::updateAllHistograms(ZELType& file)
{
    for (const auto [slot, channel] : presentChannels(file))
        for (ZELHistogramType* histogram :
             {channel.ChannelHistogram, channel.ChannelStandardHistogram})
            if (histogram && !updateHistogram(file, *histogram)) return false;
    return true;
}

void ZELUpdateHistogram(ZELType* ZELdata, ZELHistogramType* histogram)
{
    if (!ZELdata->HistogramFlag) return;
    zel::requireOpen(ZELdata->fptr, "ZELUpdateHistogram");
    if (!zel::updateHistogram(*ZELdata, *histogram)) failWriting(*ZELdata, "ZELUpdateHistogram");
}

void ZELUpdateAllHistograms(ZELType* ZELdata)
{
    if (!ZELdata->HistogramFlag) return;
    zel::requireOpen(ZELdata->fptr, "ZELUpdateAllHistograms");
    if (!zel::updateAllHistograms(*ZELdata)) failWriting(*ZELdata, "ZELUpdateAllHistograms");
}

void ZELPrintHistograms(ZELType* ZELdata)
{
    for (const auto [slot, channel] : zel::presentChannels(*ZELdata)) {
        if (channel.ChannelHistogram)
            printHistogram("Channel Histogram", slot, *channel.ChannelHistogram);
        if (channel.ChannelStandardHistogram)
            printHistogram("Channel Standard Histogram", slot, *channel.ChannelStandardHistogram);
    }
}

void ZELSetHistogramFlag(ZELType* ZELdata, int flag)
{
    ZELdata->HistogramFlag = flag;
}

ZELHistogramType* ZELFetchChannelHistogram(ZELType* ZELdata, int channel)
{
    return zel::slotOf(ZELdata, channel, "ZELFetchChannelHistogram").ChannelHistogram;
}

ZELHistogramType* ZELFetchStandardHistogram(ZELType* ZELdata, int channel)
{
    return zel::slotOf(ZELdata, channel, "ZELFetchStandardHistogram").ChannelStandardHistogram;
}
