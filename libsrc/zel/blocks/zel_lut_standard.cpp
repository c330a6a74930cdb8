#include "ground/text.hpp"
#include "ground/zel_door.hpp"
#include "zel_lut.h"

namespace {

struct StandardLUT {
    int key;
    const char* label;
    const int (*colors)[3];
    const char* const* labels;
};

constexpr StandardLUT collapsed = {1, "Collapsed Classes", collapsed_class_colors,
                                   collapsed_class_labels};
constexpr StandardLUT full = {2, "Full Classes", full_class_colors, full_class_labels};

void loadEntries(ZELDisplayLUTType* lut, const StandardLUT& standard)
{
    for (int i = 0; i < ZEL_NUM_STANDARD_LUT_ENTRIES; ++i) {
        const int* color = standard.colors[i];
        ZELLoadLUTEntry(lut, i, static_cast<unsigned char>(color[0]),
                        static_cast<unsigned char>(color[1]), static_cast<unsigned char>(color[2]),
                        standard.labels[i]);
    }
}

bool addTo(ZELType* file, const StandardLUT& standard)
{
    ZELDisplayLUTType* lut =
        ZELAddLUT(file, standard.key, ZEL_NUM_STANDARD_LUT_ENTRIES, standard.label);
    if (lut) loadEntries(lut, standard);
    return lut != nullptr;
}

ZELDisplayLUTType* createDetached(const StandardLUT& standard)
{
    ZELDisplayLUTType* lut = ZELAllocateLUT(ZEL_NUM_STANDARD_LUT_ENTRIES);
    lut->DisplayLUTKeyValue = static_cast<int16_t>(standard.key);
    zel::copyText(lut->DisplayLUTLabel, standard.label);
    loadEntries(lut, standard);
    return lut;
}

}  // namespace

void ZELAddStandardLUTs(ZELType* ZELdata)
{
    if (!addTo(ZELdata, collapsed))
        zel::report("ZELAddStandardLUTs: Lut already allocated\n");
    else
        addTo(ZELdata, full);
}

ZELDisplayLUTType* ZELCreateFullStandardLUT(void)
{
    return createDetached(full);
}

ZELDisplayLUTType* ZELCreateCollapsedStandardLUT(void)
{
    return createDetached(collapsed);
}
