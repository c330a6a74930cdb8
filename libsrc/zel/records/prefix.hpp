// The prefix of a file, which is the directory of a composite.
#ifndef ZEL_RECORDS_PREFIX_HPP
#define ZEL_RECORDS_PREFIX_HPP

#include <cstdint>
#include <cstdio>

#include "ground/memory.hpp"
#include "records/records.hpp"

namespace zel {

struct Directory {
    Prefix prefix;              // zeros for a file without one
    bool isComposite;           // more than one component
    bool isDamaged;             // it has a prefix that is cut short
    Damage damage;              // where
    std::int64_t headerOffset;  // where the header of a plain file begins
    std::int64_t fileSize;
};

// Whether a prefix begins at the reader's place. The reader stays there.
bool hasPrefix(RecordReader& reader);

// Reads the directory of a named file. False, after a message, when the file cannot be opened or
// read.
bool readDirectory(const char* filename, Directory& directory);

// Reads the directory of a stream, which is then where the header of a plain file begins. False
// when it cannot be read.
bool readDirectory(FILE* stream, Directory& directory);

// Opens the file as well: null after the message, which names the function. The stream is then
// where the header of a plain file begins.
OpenedFile openDirectory(const char* function, const char* filename, Directory& directory);

// Refuses, by a Damage that is thrown, a composite with a component that does not lie inside the
// file, or with a base index, where it is used, that names none. Components may overlap, and a size
// of 0 reaches to the end of the file.
void requireComponents(const Directory& directory, bool usesBase);

// The same with a message: false when it is refused.
bool checkDirectory(const char* filename, const Directory& directory, bool usesBase);

// The directory of a file that holds itself alone, in the library's version.
Prefix plainPrefix(float spatialResolution);

}  // namespace zel

#endif
