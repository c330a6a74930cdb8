/* The one way out of the library: where messages go, and what happens instead of a process exit. */
#ifndef ZEL_DOOR_H
#define ZEL_DOOR_H

#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Receives each message of the library. stream is stdout, or stderr for warnings and the feature
   layer's errors; text is the formatted message, valid during the call only. */
typedef void (*ZELMessageSink)(void* userData, FILE* stream, const char* text);

/* Called before the process ends; may leave by its own means. When it returns, the process
   ends with status. */
typedef void (*ZELExitHandler)(void* userData, int status);

/* Receives the progress of a long operation; unit is "bytes" or "lines". */
typedef void (*ZELProgressSink)(void* userData, const char* unit, double done, double total);

/* Replaces the sink for messages; a null sink restores the default, which writes to stream. */
void ZELSetMessageSink(ZELMessageSink sink, void* userData);

/* Replaces the exit handler; null restores the default, exit(status). */
void ZELSetExitHandler(ZELExitHandler handler, void* userData);

/* Sets the receiver of progress; null, the default, for none. */
void ZELSetProgressSink(ZELProgressSink sink, void* userData);

/* Runs function(userData) so that a process exit inside it returns here instead. Returns 0 when
   function returned, 1 when the library ended it; *status (status may be null) is then the exit
   status, else 0. Calls may be nested. After such an exit, a file record that was in use is fit
   only for its finish function. function may be C: compile it with -fexceptions, and keep nothing
   in it that only its own return would release. */
int ZELGuardedCall(void (*function)(void* userData), void* userData, int* status);

/* What a call has left to deliver. */
typedef struct ZELDeferredType ZELDeferredType;

/* Runs function(userData) and keeps its messages and its ending for ZELDeliver: a call on a thread
   of its own speaks when the thread that waits for it says so. Sinks and handlers stay those of
   the process and are not called. Null, without a call, when memory fails. */
ZELDeferredType* ZELDefer(void (*function)(void* userData), void* userData);

/* Delivers what the call kept, in order, and releases it; ends the process when the call did, and
   (-1) when given the null of a call for which memory failed. */
void ZELDeliver(ZELDeferredType* deferred);

/* Releases it without a word; null is ignored. */
void ZELDiscard(ZELDeferredType* deferred);

#ifdef __cplusplus
}
#endif
#endif
