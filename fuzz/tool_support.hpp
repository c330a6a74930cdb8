// What the fuzz targets of the tool share.
#ifndef TOOL_SUPPORT_HPP
#define TOOL_SUPPORT_HPP

#include <cstdio>

namespace zel_fuzz {

// The tool writes to the standard streams. The fuzzer and the sanitizers keep theirs, which they
// took before or know by number.
inline void silenceStreams()
{
    static FILE* const nowhere = std::fopen("/dev/null", "w");
    stdout = nowhere;
    stderr = nowhere;
}

}  // namespace zel_fuzz

#endif
