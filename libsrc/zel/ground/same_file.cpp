#include "ground/same_file.hpp"

#include <sys/stat.h>
#include <unistd.h>

namespace {

bool isSame(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace

namespace zel {

bool isSameFile(const char* a, const char* b)
{
    struct stat first;
    struct stat second;
    return stat(a, &first) == 0 && stat(b, &second) == 0 && isSame(first, second);
}

bool isSameFile(FILE* a, const char* b)
{
    struct stat first;
    struct stat second;
    return fstat(fileno(a), &first) == 0 && stat(b, &second) == 0 && isSame(first, second);
}

// A file that never had a name is still reached by that of its descriptor.
bool isGone(FILE* stream, const char* name)
{
    struct stat status;
    return fstat(fileno(stream), &status) == 0 && status.st_nlink == 0 && !isSameFile(stream, name);
}

bool isReadable(const char* name)
{
    return access(name, R_OK) == 0;
}

}  // namespace zel
