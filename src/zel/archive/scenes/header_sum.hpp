// The checksums of files whose headers have been read.
#pragma once

#include "archive/scenes/header_facts.hpp"

namespace zel_tool {

// Throws Failure.
void takeChecksum(OpenFile& file);

// Those of two files, in less time than one after the other. Throws Failure where one of them
// cannot be read; then neither has a checksum.
void takeChecksums(OpenFile& one, OpenFile& other);

}  // namespace zel_tool
