// What a file's prefix says, for callers.
#include <algorithm>

#include "records/prefix.hpp"
#include "zel_composite.h"

int ZELReadCompositeInfo(const char* RawFileName, int* baseFileIndex, int* numComponents,
                         int* offsets, float* resolution, int* size)
{
    zel::Directory directory;
    if (!zel::readDirectory(RawFileName, directory)) return -1;
    const zel::Prefix& prefix = directory.prefix;
    std::copy_n(prefix.offsets, ZEL_MAX_COMPONENTS, offsets);
    std::copy_n(prefix.resolutions, ZEL_MAX_COMPONENTS, resolution);
    std::copy_n(prefix.sizes, ZEL_MAX_COMPONENTS, size);
    *baseFileIndex = directory.isComposite ? prefix.baseIndex : 0;
    *numComponents = directory.isComposite ? prefix.numComponents : 1;
    return directory.isComposite ? 1 : 0;
}

int ZELReadCompositeBaseFileIndex(const char* RawFileName, int* baseFileIndex)
{
    int count = 0;
    int offsets[ZEL_MAX_COMPONENTS];
    int sizes[ZEL_MAX_COMPONENTS];
    float resolutions[ZEL_MAX_COMPONENTS];
    return ZELReadCompositeInfo(RawFileName, baseFileIndex, &count, offsets, resolutions, sizes);
}

int ZELIsFileComposite(const char* RawFileName)
{
    int baseFileIndex = 0;
    return ZELReadCompositeBaseFileIndex(RawFileName, &baseFileIndex);
}
