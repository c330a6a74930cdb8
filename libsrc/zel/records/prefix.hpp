// The prefix of a file, which is the directory of a composite.
#ifndef ZEL_RECORDS_PREFIX_HPP
#define ZEL_RECORDS_PREFIX_HPP

#include <cstdint>
#include <cstdio>

#include "records/records.hpp"

namespace zel {

struct Directory {
    Prefix prefix;     // zeros for a file without one
    bool isComposite;  // more than one component
    std::int64_t fileSize;
};

// Reads the directory of a named file. False, after a message, when the file cannot be opened or read.
bool readDirectory(const char* filename, Directory& directory);

// Whether every component of a composite lies inside its file, and the base index names one of them
// where it is used; a message says what does not hold. Components may overlap, and a size of 0 reaches
// to the end of the file.
bool checkDirectory(const char* filename, const Directory& directory, bool usesBase);

// The directory of a file that holds itself alone, in the library's version.
Prefix plainPrefix(float spatialResolution);

}  // namespace zel

#endif
