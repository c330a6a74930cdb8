#include "remove.hpp"

#include <memory>

namespace zel_gdal {

// The list of a part's files has the whole file: GDAL would remove it, also when a part's name is
// given to a copy.
CPLErr removeZel(const char* name)
{
    if (STARTS_WITH_CI(name, "ZEL:")) {
        CPLError(CE_Failure, CPLE_NotSupported, "%s: a part of a file cannot be removed", name);
        return CE_Failure;
    }
    const char* drivers[] = {"ZEL", nullptr};
    std::unique_ptr<GDALDataset> dataset(
        GDALDataset::Open(name, GDAL_OF_RASTER | GDAL_OF_VERBOSE_ERROR, drivers, nullptr, nullptr));
    if (!dataset) return CE_Failure;
    const CPLStringList files(dataset->GetFileList());
    dataset.reset();
    for (int i = 0; i < files.size(); ++i) {
        if (VSIUnlink(files[i]) == 0) continue;
        CPLError(CE_Failure, CPLE_FileIO, "%s: cannot be removed: %s", files[i],
                 VSIStrerror(errno));
        return CE_Failure;
    }
    return CE_None;
}

}  // namespace zel_gdal
