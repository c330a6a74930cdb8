// What names lead to, asked without opening anything.
#ifndef ZEL_GROUND_SAME_FILE_HPP
#define ZEL_GROUND_SAME_FILE_HPP

#include <cstdio>

namespace zel {

// True when both names exist and are the same file, by whatever path or link.
bool isSameFile(const char* a, const char* b);

// The same of a stream and a name.
bool isSameFile(FILE* a, const char* b);

// Whether nothing leads to a stream's file any more, so that it is gone when the stream is closed.
// The name is the one that it was opened by.
bool isGone(FILE* stream, const char* name);

// Whether there is a file that can be read. A stream could be wanting for other reasons, and the
// file would be taken for a new one.
bool isReadable(const char* name);

}  // namespace zel

#endif
