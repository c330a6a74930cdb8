// The masks of channels, for the floors below.
#include "ground/zel_door.hpp"
#include "records/mask_seam.hpp"
#include "zel_door.h"
#include "zel_features/mask/file.hpp"
#include "zel_features/mask/zel_feature_mask.hpp"

namespace {

// The feature layer ends the process, and its messages do not name the file.
struct Writing {
    FILE* stream;
    ZELFeatureMaskType* mask;
};

void write(void* data)
{
    const auto& writing = *static_cast<Writing*>(data);
    ZELFeatureWriteMask(writing.mask, writing.stream);
}

}  // namespace

namespace zel {

// Nearly every slot is without a mask.
ZELFeatureMaskType* readMask(RecordReader& reader)
{
    std::int32_t classifiers = 0;
    reader.record(Level::block, "mask");
    reader.setNumbers(Numbers::bigEndian);
    reader.field("classifier mask", classifiers);
    reader.setNumbers(Numbers::ofScene);
    if (classifiers == 0) return nullptr;
    FeatureReader features(reader);
    OwnedMask mask(readMaskFile(features, classifiers));
    reader.moveTo(features.position());
    return mask.release();
}

// To a reader a count of 0 is no mask, and what follows the next field: such a mask is left out.
bool writeMask(FILE* stream, ZELFeatureMaskType* mask)
{
    const bool empty = mask && mask->numClassifiers == 0;
    if (empty)
        reportTo(stderr,
                 "ZELOpenWriteOnlyFile: warning: the mask of channel %d has no classifiers "
                 "and is left out\n",
                 mask->ZELChannelIndex);
    Writing writing{stream, empty ? nullptr : mask};
    return ZELGuardedCall(write, &writing, nullptr) == 0;
}

bool isCompleteMask(const ZELFeatureMaskType* mask)
{
    return !mask || isComplete(*mask);
}

ZELFeatureMaskType* duplicateMask(ZELFeatureMaskType* mask)
{
    return ZELFeatureDuplicateMask(mask);
}

void freeMask(ZELFeatureMaskType* mask)
{
    ZELFeatureFreeMask(mask);
}

}  // namespace zel
