#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/mask/parameter_commands.hpp"
#include "zel_features/zel_feature_mask.h"

namespace {

void requireComplete(const zel::MaskFile& file)
{
    if (file.block)
        zel::failWithError("End of file\nerror: missing end%s statement\n", file.block->name);
    if (file.mask) zel::failWithError("End of file\nerror: missing endmask statement\n");
}

bool allHaveClassifiers(const ZELFeatureMaskListType& list)
{
    for (const ZELFeatureMaskType* mask = list.MaskHead; mask; mask = mask->next)
        if (mask->numClassifiers == 0) return false;
    return list.NumMasks > 0;
}

void requireClassifiers(const ZELFeatureMaskListType& list)
{
    if (allHaveClassifiers(list)) return;
    printError(zel::message("error: no classifier files specified in parameter file\n"));
    printError(zel::message("add at least one line of the following to the parameter file:\n"));
    zel::failWithError("   classifiername <filename>\n");
}

}  // namespace

void ZELParseMaskParameterFile(const char* filename, ZELFeatureMaskListType* list)
{
    ZELFeatureInitializeMaskList(list);
    zel::ParameterLines lines(filename, zel::SyntaxErrors::afterLine);
    if (!lines.isOpen()) zel::failWithError("cannot open mask parameter filename %s\n", filename);
    zel::MaskFile file{lines, *list};
    while (lines.next()) zel::readMaskLine(file);
    requireComplete(file);
    requireClassifiers(*list);
}
