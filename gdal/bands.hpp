// The bands: a channel's stored numbers, or their values.
#pragma once

#include <rawdataset.h>

#include <memory>
#include <string>
#include <vector>

#include "navigation.hpp"
#include "zel.h"

namespace zel_gdal {

struct Buckets {
    double min = 0;
    double max = 0;
    std::vector<GUIntBig> counts;
};

// What a band says of its numbers.
struct BandFacts {
    std::string unit;
    bool isScaled = false;
    double offset = 0;
    double scale = 1;
    Buckets histogram;  // without counts: none is stored
    std::unique_ptr<GDALColorTable> colours;
    CPLStringList classNames;
};

// What a user has asked for.
struct OpenOptions {
    bool unscale = false;
    bool colourTable = false;
    bool controlPoints = false;

    static OpenOptions from(CSLConstList list);
};

// The facts of a channel whose stored numbers a band shows, or their values.
BandFacts bandFacts(ZELType& record, int slot, const OpenOptions& options);

// Whether the channel's numbers are classes: not steps of a scale, and with a LUT.
bool isClassChannel(ZELType& record, int slot);

// The values of all numbers of a scaled channel; empty for one that is not.
std::vector<float> valuesOf(ZELType& record, int slot);

// The type of the stored numbers.
GDALDataType storedType(const ZELChannelType& channel);

// Sets what a band has as metadata.
void describeBand(GDALRasterBand& band, const ZELChannelType& channel, int slot);

// A band with facts on top of one that reads pixels.
template <class Base>
class Described : public Base {
public:
    template <class... Arguments>
    explicit Described(BandFacts facts, Arguments&&... arguments)
        : Base(std::forward<Arguments>(arguments)...), facts_(std::move(facts))
    {
    }
    const char* GetUnitType() override { return facts_.unit.c_str(); }
    double GetOffset(int* isKnown) override
    {
        if (isKnown) *isKnown = facts_.isScaled;
        return facts_.offset;
    }
    double GetScale(int* isKnown) override
    {
        if (isKnown) *isKnown = facts_.isScaled;
        return facts_.scale;
    }
    GDALColorTable* GetColorTable() override { return facts_.colours.get(); }
    GDALColorInterp GetColorInterpretation() override
    {
        return facts_.colours ? GCI_PaletteIndex : GCI_Undefined;
    }
    char** GetCategoryNames() override { return facts_.classNames.List(); }
    CPLErr GetDefaultHistogram(double* min, double* max, int* count, GUIntBig** counts, int force,
                               GDALProgressFunc progress, void* data) override
    {
        const Buckets& stored = facts_.histogram;
        if (stored.counts.empty())
            return Base::GetDefaultHistogram(min, max, count, counts, force, progress, data);
        const std::size_t size = stored.counts.size() * sizeof(GUIntBig);
        *counts = static_cast<GUIntBig*>(VSI_MALLOC_VERBOSE(size));
        if (!*counts) return CE_Failure;
        std::copy(stored.counts.begin(), stored.counts.end(), *counts);
        *min = stored.min;
        *max = stored.max;
        *count = static_cast<int>(stored.counts.size());
        return CE_None;
    }

private:
    BandFacts facts_;
};

// Stored numbers. Windows of local files are read with one call of the system for a line, where the
// file allows that: the pixels of a window lie far apart, and a buffer would be filled for each
// line in vain. From far away each call would be a request of its own.
class WindowReader : public RawRasterBand {
public:
    WindowReader(GDALDataset* dataset, int band, VSILFILE* file, vsi_l_offset place, int pixelSize,
                 const LinePlaces& places, GDALDataType type);

protected:
    CPLErr IRasterIO(GDALRWFlag direction, int x, int y, int width, int height, void* data,
                     int dataWidth, int dataHeight, GDALDataType type, GSpacing pixelSpace,
                     GSpacing lineSpace, GDALRasterIOExtraArg* more) override;

private:
    bool readLine(int x, int line, int width, void* numbers) const;

    bool isDirect_;
};
using RawBand = Described<WindowReader>;

// The values of another band's numbers.
class ValueReader : public GDALPamRasterBand {
public:
    // The table has a value for each number; it is empty where the numbers are the values.
    ValueReader(GDALDataset* dataset, int band, std::unique_ptr<WindowReader> numbers,
                std::vector<float> table);

protected:
    CPLErr IReadBlock(int column, int line, void* values) override;

private:
    std::unique_ptr<WindowReader> numbers_;
    std::vector<float> table_;
    std::vector<GUInt16> row_;
};
using ValueBand = Described<ValueReader>;

}  // namespace zel_gdal
