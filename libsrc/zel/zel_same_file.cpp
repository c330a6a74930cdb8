#include "zel_same_file.hpp"

#include <sys/stat.h>
#include <unistd.h>

namespace zel {

bool isSameFile(const char* a, const char* b)
{
    struct stat first;
    struct stat second;
    if (stat(a, &first) != 0 || stat(b, &second) != 0) return false;
    return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

bool isReadable(const char* name)
{
    return access(name, R_OK) == 0;
}

}  // namespace zel
