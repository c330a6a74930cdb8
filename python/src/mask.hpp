// Classifier masks as the bytes that they are in a file.
#pragma once

#include <string>

#include "zel.h"

namespace zel_python {

// Within a call of the library. Empty for null.
std::string bytesOf(const ZELFeatureMaskType* mask);

// The caller's. Null for no bytes.
ZELFeatureMaskType* maskFrom(const std::string& bytes);

}  // namespace zel_python
