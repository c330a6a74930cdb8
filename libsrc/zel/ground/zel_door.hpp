// Messages and endings, for the rooms of the library.
#ifndef ZEL_GROUND_DOOR_HPP
#define ZEL_GROUND_DOOR_HPP

#include <cstdio>

#include "zel_types.h"

namespace zel {

// A message of the library, to standard output or to the stream named, by way of the sink.
[[gnu::format(printf, 1, 2)]] void report(const char* format, ...);
[[gnu::format(printf, 2, 3)]] void reportTo(FILE* stream, const char* format, ...);

// One character of a text that may hold any, to standard output.
void reportCharacter(char character);

// Text that the caller asked for on a stream of its own, past the sink.
[[gnu::format(printf, 2, 3)]] void print(FILE* stream, const char* format, ...);

// Ends the process, or the guarded call that is active.
[[noreturn]] void terminate(int status);

// A message and an ending, with status -1 or the one given.
[[noreturn, gnu::format(printf, 1, 2)]] void fail(const char* format, ...);
[[noreturn, gnu::format(printf, 2, 3)]] void failWith(int status, const char* format, ...);

// Asks whether an existing file may be overwritten and reads one line of the answer, of which at
// most answerSize characters are looked at; ends the process with status 0 unless it begins with
// "y".
void confirmOverwrite(const char* filename, int answerSize);

// Tells the progress sink, when there is one.
void progress(const char* unit, double done, double total);

// Ends the process with the message when the record is not in the mode that the caller needs.
inline void requireReadOnly(const ZELType& file, const char* message)
{
    if (file.ReadWriteFlag == ZEL_WRITE_ONLY) fail("%s", message);
}
inline void requireWriteOnly(const ZELType& file, const char* message)
{
    if (file.ReadWriteFlag == ZEL_READ_ONLY) fail("%s", message);
}

// Ends the process in the function's name when there is no stream.
inline void requireOpen(const FILE* stream, const char* function)
{
    if (!stream) fail("%s: the file is not open\n", function);
}

}  // namespace zel

#endif
