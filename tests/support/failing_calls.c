/* Preloaded into a program: makes one of its system calls fail, so that every place that meets a
   failing disk or failing memory can be looked at. ZEL_FAIL is "<call>:<n>:<errno>": the n-th such
   call fails, "<call>:<n>:<errno>:on" that one and all after it. Calls are open, read, write, seek
   and close, of what fopen opens, and memory. "end" is a read of a file that has lost its bytes:
   it, and all reads of that stream after it, return none. ZEL_FAIL_LOG names a file that gets a
   line for each failure, with the file that it happened to. */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum Call { callOpen, callRead, callWrite, callSeek, callClose, callEnd, callMemory, numCalls };
static const char* const callNames[numCalls] = {"open",  "read", "write", "seek",
                                                "close", "end",  "memory"};

static enum Call failing = numCalls;
static long callsLeft = 0;
static int reason = 0;
static int goesOn = 0;
static const char* logName = NULL;

__attribute__((constructor)) static void readOrder(void)
{
    const char* order = getenv("ZEL_FAIL");
    const char* colon = order ? strchr(order, ':') : NULL;
    if (!colon) return;
    int call = 0;
    while (call < numCalls && strncmp(order, callNames[call], (size_t)(colon - order)) != 0) ++call;
    char* rest = NULL;
    const long n = strtol(colon + 1, &rest, 10);
    reason = (int)strtol(rest + 1, &rest, 10);
    goesOn = strcmp(rest, ":on") == 0;
    logName = getenv("ZEL_FAIL_LOG");
    callsLeft = n;
    failing = (enum Call)call;
}

static void note(const char* name)
{
    const int log = logName ? open(logName, O_WRONLY | O_CREAT | O_APPEND, 0666) : -1;
    if (log < 0) return;
    if (write(log, name, strlen(name)) < 0 || write(log, "\n", 1) < 0) _exit(99);
    close(log);
}

static int fails(enum Call call, const char* name)
{
    if (call != failing || callsLeft == 0 || --callsLeft > 0) return 0;
    if (goesOn) callsLeft = 1;
    note(name);
    errno = reason;
    return 1;
}

/* ---- Streams ---- */

struct File {
    int descriptor;
    int atEnd;
    char name[256];
};

static ssize_t readFile(void* cookie, char* buffer, size_t size)
{
    struct File* file = cookie;
    if (fails(callRead, file->name)) return -1;
    if (fails(callEnd, file->name)) file->atEnd = 1;
    return file->atEnd ? 0 : read(file->descriptor, buffer, size);
}

static ssize_t writeFile(void* cookie, const char* buffer, size_t size)
{
    struct File* file = cookie;
    if (fails(callWrite, file->name)) return 0; /* what a stream of this kind takes for a failure */
    const ssize_t written = write(file->descriptor, buffer, size);
    return written < 0 ? 0 : written;
}

static int seekFile(void* cookie, off64_t* offset, int whence)
{
    struct File* file = cookie;
    const int asks = *offset == 0 && whence == SEEK_CUR; /* where it is; that does not fail */
    if (!asks && fails(callSeek, file->name)) return -1;
    const off64_t place = lseek64(file->descriptor, *offset, whence);
    if (place < 0) return -1;
    *offset = place;
    return 0;
}

static int closeFile(void* cookie)
{
    struct File* file = cookie;
    const int open = file->descriptor >= 0;
    const int failed = open && fails(callClose, file->name);
    const int closed = open ? close(file->descriptor) : 0;
    free(file);
    if (!failed) return closed;
    errno = reason;
    return -1;
}

static int flagsOf(const char* mode)
{
    const int reads = strchr(mode, '+') != NULL;
    if (mode[0] == 'r') return reads ? O_RDWR : O_RDONLY;
    return (reads ? O_RDWR : O_WRONLY) | O_CREAT | (mode[0] == 'a' ? O_APPEND : O_TRUNC);
}

FILE* fopen(const char* name, const char* mode)
{
    if (fails(callOpen, name)) return NULL;
    struct File* file = calloc(1, sizeof *file);
    if (!file) return NULL;
    strncpy(file->name, name, sizeof file->name - 1);
    const cookie_io_functions_t functions = {readFile, writeFile, seekFile, closeFile};
    FILE* stream = fopencookie(file, mode, functions);
    if (!stream) {
        free(file);
        return NULL;
    }
    file->descriptor = open(name, flagsOf(mode), 0666);
    if (file->descriptor >= 0) return stream;
    const int error = errno;
    fclose(stream);
    errno = error;
    return NULL;
}

FILE* fopen64(const char* name, const char* mode)
{
    return fopen(name, mode);
}

/* ---- Memory ---- */

extern void* __libc_malloc(size_t size);
extern void* __libc_calloc(size_t count, size_t size);
extern void* __libc_realloc(void* memory, size_t size);

void* malloc(size_t size)
{
    return fails(callMemory, "memory") ? NULL : __libc_malloc(size);
}

void* calloc(size_t count, size_t size)
{
    return fails(callMemory, "memory") ? NULL : __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size)
{
    return fails(callMemory, "memory") ? NULL : __libc_realloc(memory, size);
}
