// What the rooms that fill a parameter record have in common.
#ifndef ZEL_FEATURES_PARAMETERS_PARAMETER_HPP
#define ZEL_FEATURES_PARAMETERS_PARAMETER_HPP

#include "ground/memory.hpp"
#include "zel_features/language/text.hpp"
#include "zel_features/zel_parameter.h"

namespace zel {

// Date and time of now, for a record to own.
char* currentDateTime();

// Whether a file can be read; errno stays as it was.
bool opensForReading(const char* filename);

// Whether a name leads to one of the inputs of a record; errno stays as it was.
bool isInput(const IOStruct& files, const char* name);

// Frees the labels and ranges of the features; their definitions stay.
void freeFeatureInfo(ZELParameterStruct& parameters);

// What parameter files get instead of an output file name of their own.
struct OutputName {
    bool isGiven = false;
    Text text;
    const char* get() const { return isGiven ? text.c_str() : nullptr; }
};
OutputName& outputFilenameOverride();

}  // namespace zel

#endif
