#include "line_band.hpp"

namespace zel_gdal {

LineBand::LineBand(GDALDataset* dataset, int band, GDALDataType type)
{
    poDS = dataset;
    nBand = band;
    eDataType = type;
    nBlockXSize = dataset->GetRasterXSize();
    nBlockYSize = 1;
}

// A line costs as much for one band as for all: the other bands have theirs too.
CPLErr LineBand::IReadBlock(int, int line, void* pixels)
{
    if (!readLine(line)) return CE_Failure;
    take(pixels);
    for (int number = 1; number <= poDS->GetRasterCount(); ++number) {
        auto* other = dynamic_cast<LineBand*>(poDS->GetRasterBand(number));
        if (other && other != this) other->keep(line);
    }
    return CE_None;
}

void LineBand::keep(int line)
{
    if (GDALRasterBlock* known = TryGetLockedBlockRef(0, line)) {
        known->DropLock();
        return;
    }
    GDALRasterBlock* block = GetLockedBlockRef(0, line, TRUE);
    if (!block) return;
    take(block->GetDataRef());
    block->DropLock();
}

}  // namespace zel_gdal
