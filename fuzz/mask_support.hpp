// What is done with a mask, wherever it comes from.
#ifndef MASK_SUPPORT_HPP
#define MASK_SUPPORT_HPP

#include "feature_support.hpp"

namespace zel_fuzz {

struct FreeMask {
    void operator()(ZELFeatureMaskType* mask) const { ZELFeatureFreeMask(mask); }
};
using OwnedMask = std::unique_ptr<ZELFeatureMaskType, FreeMask>;

inline void listMask(const ZELMaskParameterType& p)
{
    ZELFeaturePrintMaskTitle(&p);
    ZELFeaturePrintMaskComments(&p);
    ZELFeaturePrintMaskConditions(&p);
    ZELFeaturePrintPreClassFilters(&p);
    ZELFeaturePrintPostClassFilters(&p);
    printProgramText(p.PreProcessProgramTextHead);
    printProgram(p.PreProcessHead);
    printProgramText(p.PostProcessProgramTextHead);
    printProgram(p.PostProcessHead);
}

// The rules of a mask, done to a pixel; each may end at a fault of an expression.
inline void applyMask(const ZELMaskParameterType& p)
{
    guarded([&] { ZELPreProcessPixel(&p, &freshPixel()); });
    guarded([&] { ZELFeaturePreClassificationFilter(&p, &freshPixel()); });
    guarded([&] { ZELFeaturePostClassificationFilter(&p, &freshPixel()); });
    guarded([&] { ZELPostProcessPixel(&p, &freshPixel()); });
}

inline OwnedMask readMask(FILE* stream)
{
    std::rewind(stream);
    ZELFeatureMaskType* mask = nullptr;
    guarded([&] { mask = ZELFeatureReadMask(stream); });
    return OwnedMask(mask);
}

// Nothing is written for a training record without features.
inline bool canBeWritten(const ZELFeatureMaskType* mask)
{
    for (const ZELClassifierList* c = mask->ClassifierListHead; c; c = c->next)
        if (c->Parameters->Features.num == 0) return false;
    return true;
}

// A mask is read as it was written.
inline void writeMaskAndReadAgain(ZELFeatureMaskType* mask)
{
    if (!canBeWritten(mask)) return;
    const Stream stream("");
    require(guarded([&] { ZELFeatureWriteMask(mask, stream.get()); }), "a mask is written");
    const OwnedMask again = readMask(stream.get());
    require(again != nullptr, "a mask that is written is read");
    require(again->numClassifiers == mask->numClassifiers, "it has the same classifiers");
}

inline void useMask(ZELFeatureMaskType* mask)
{
    guarded([&] { listMask(mask->MaskParameters); });
    applyMask(mask->MaskParameters);
    OwnedMask copy;
    guarded([&] { copy.reset(ZELFeatureDuplicateMask(mask)); });
    require(copy != nullptr, "a mask has a copy");
    applyMask(copy->MaskParameters);
    writeMaskAndReadAgain(copy.get());
}

}  // namespace zel_fuzz

#endif
