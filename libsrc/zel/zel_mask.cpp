#include "zel_mask.hpp"

#include "zel_report.hpp"

namespace zel {

// Channels are carried without classifiers so far: a file that has one is refused as a whole, since
// the records behind its mask could not be found.
ZELFeatureMaskType* readMask(RecordReader& reader)
{
    int32_t numClassifiers = 0;
    reader.field("classifier mask", numClassifiers);
    reader.require(numClassifiers == 0, "classifier mask (masks are not supported): count",
                   numClassifiers);
    return nullptr;
}

void writeMask(FILE* stream, ZELFeatureMaskType* mask)
{
    if (mask) fail("ZELOpenWriteOnlyFile: classifier masks are not supported\n");
    RecordWriter writer(stream);
    const int32_t numClassifiers = 0;
    writer.field("classifier mask", numClassifiers);
}

ZELFeatureMaskType* duplicateMask(ZELFeatureMaskType* mask)
{
    if (mask) fail("ZELCopyFileHeaders: classifier masks are not supported\n");
    return nullptr;
}

void freeMask(ZELFeatureMaskType*) {}

}  // namespace zel
