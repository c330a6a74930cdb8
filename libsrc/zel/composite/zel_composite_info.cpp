// What a file's prefix says, for callers.
#include <algorithm>

#include "ground/zel_door.hpp"
#include "records/prefix.hpp"
#include "zel_composite.h"

namespace {

struct Info {
    int* baseFileIndex;
    int* numComponents;
    int* offsets;
    float* resolution;
    int* size;
};

int give(const zel::Directory& directory, const Info& info)
{
    const zel::Prefix& prefix = directory.prefix;
    std::copy_n(prefix.offsets, ZEL_MAX_COMPONENTS, info.offsets);
    std::copy_n(prefix.resolutions, ZEL_MAX_COMPONENTS, info.resolution);
    std::copy_n(prefix.sizes, ZEL_MAX_COMPONENTS, info.size);
    *info.baseFileIndex = directory.isComposite ? prefix.baseIndex : 0;
    *info.numComponents = directory.isComposite ? prefix.numComponents : 1;
    return directory.isComposite ? 1 : 0;
}

}  // namespace

int ZELReadCompositeInfo(const char* RawFileName, int* baseFileIndex, int* numComponents,
                         int* offsets, float* resolution, int* size)
{
    zel::Directory directory;
    if (!zel::readDirectory(RawFileName, directory)) return -1;
    return give(directory, {baseFileIndex, numComponents, offsets, resolution, size});
}

int ZELReadStreamCompositeInfo(FILE* stream, const char* name, int* baseFileIndex,
                               int* numComponents, int* offsets, float* resolution, int* size)
{
    zel::Directory directory;
    if (!zel::readDirectory(stream, directory)) {
        zel::report("ZELReadStreamCompositeInfo: cannot read file %s\n", name);
        return -1;
    }
    if (directory.isComposite && !zel::checkDirectory(name, directory, true)) return -2;
    return give(directory, {baseFileIndex, numComponents, offsets, resolution, size});
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
