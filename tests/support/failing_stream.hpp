// A stream on a file whose calls of one kind fail from a given moment on.
#pragma once

#ifdef __GLIBC__

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace zel_test {

struct Failing {
    bool reads = false, writes = false, seeks = false, closes = false;
    bool seeksAfterAWrite = false;
    int descriptor = -1;
};

// The stream closes the file; the record of what fails belongs to the caller and outlives it.
inline FILE* failingStream(Failing& failing, const std::string& path, const char* mode)
{
    static const auto of = [](void* cookie) -> Failing& { return *static_cast<Failing*>(cookie); };
    cookie_io_functions_t functions{};
    functions.read = [](void* cookie, char* buffer, size_t size) -> ssize_t {
        if (!of(cookie).reads) return read(of(cookie).descriptor, buffer, size);
        errno = EIO;
        return -1;
    };
    functions.write = [](void* cookie, const char* buffer, size_t size) -> ssize_t {
        of(cookie).seeks |= of(cookie).seeksAfterAWrite;
        if (!of(cookie).writes) return write(of(cookie).descriptor, buffer, size);
        errno = ENOSPC;
        return 0;
    };
    functions.seek = [](void* cookie, off64_t* offset, int whence) {
        errno = EIO;
        if (of(cookie).seeks && !(*offset == 0 && whence == SEEK_CUR)) return -1;
        *offset = lseek64(of(cookie).descriptor, *offset, whence);
        return *offset < 0 ? -1 : 0;
    };
    functions.close = [](void* cookie) {
        const int result = close(of(cookie).descriptor);
        if (!of(cookie).closes) return result;
        errno = EDQUOT;
        return -1;
    };
    failing.descriptor = open(path.c_str(), mode[0] == 'r' ? O_RDONLY : O_RDWR);
    return failing.descriptor < 0 ? nullptr : fopencookie(&failing, mode, functions);
}

}  // namespace zel_test

#endif
