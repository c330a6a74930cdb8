// LUT definition files: text with one block for each LUT, its title, its colour scale, its number
// of entries, and a line for each entry.
#ifndef ZEL_COMBINE_LUT_FILE_HPP
#define ZEL_COMBINE_LUT_FILE_HPP

#include <cstdio>

#include "zel.h"

namespace zel_combine {

inline constexpr int lutLineSize = 240;  // 239 characters and the terminator

// 1 when every character is white space, and for an empty line; else 0.
int all_spaces(const char* line);

// Reads a line into line[lutLineSize]. Returns -1 at the end of the file: a last line without a
// newline is lost. Returns 0 for a blank line or a comment, which is left as read. Otherwise
// removes the last character, normally the newline, and returns the length.
int ReadLutLine(FILE* fptr, char* line);

// Adds every LUT of the file to a record, whose LUTs get the keys 0, 1, 2, ... first. Returns the
// last one added, the record's; null, after a message, when the file cannot be read.
ZELDisplayLUTType* ReadLUT(const char* filename, ZELType* ZELdata);

}  // namespace zel_combine

#endif
