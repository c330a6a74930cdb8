// Opening the output of a feature file, as created or as a copy.
#ifndef ZEL_FEATURES_FILES_FEATURE_FILE_HPP
#define ZEL_FEATURES_FILES_FEATURE_FILE_HPP

#include "zel_features/zel_feature_file.h"

namespace zel {

// Asks before an existing file is replaced, and opens the output that the parameters name. Ends the
// process (-1) when that fails or is not wanted.
void openFeatureOutput(ZELFeatureFileStruct& file);

// Ends the process (-1): the output would take the place of an input.
[[noreturn]] void failWithInput(const char* filename);

// Room for the feature values of a sample. Ends the process (-1) when memory fails.
void allocateFeatures(ZELFeatureFileStruct& file, const char* function);

// Writes the header of a file that samples are then appended to.
void beginWriting(ZELFeatureFileStruct& file);

}  // namespace zel

#endif
