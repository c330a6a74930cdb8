// Bands of a dataset whose lines are read for all bands at once.
#pragma once

#include <gdal_pam.h>

namespace zel_gdal {

// Describes a band without what is kept in .aux.xml: that would be written again.
inline void describeBand(GDALRasterBand& band, const char* description)
{
    band.GDALMajorObject::SetDescription(description);
}

class LineBand : public GDALPamRasterBand {
public:
    LineBand(GDALDataset* dataset, int band, GDALDataType type);

protected:
    // Reads the line of all bands. False after a CPLError.
    virtual bool readLine(int line) = 0;
    // The pixels that this band has in the line read last.
    virtual void take(void* pixels) const = 0;

    CPLErr IReadBlock(int column, int line, void* pixels) override;

private:
    void keep(int line);
};

}  // namespace zel_gdal
