// What names lead to, asked without opening anything.
#ifndef ZEL_SAME_FILE_HPP
#define ZEL_SAME_FILE_HPP

#include <cstdio>

namespace zel {

// True when both names exist and are the same file, by whatever path or link.
bool isSameFile(const char* a, const char* b);

// The same of a stream and a name.
bool isSameFile(FILE* a, const char* b);

// Whether there is a file that can be read. A stream could be wanting for other reasons, and the file
// would be taken for a new one.
bool isReadable(const char* name);

}  // namespace zel

#endif
