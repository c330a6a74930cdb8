#include "ground/system_copy.hpp"

#ifdef __linux__
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#endif

#ifdef __linux__
std::int64_t zel::copyInSystem(FILE* from, FILE* to, std::int64_t size)
{
    off_t fromPlace = ftello(from);
    off_t toPlace = ftello(to);
    if (fromPlace < 0 || toPlace < 0 || fileno(from) < 0 || fileno(to) < 0) return 0;
    const ssize_t copied = copy_file_range(fileno(from), &fromPlace, fileno(to), &toPlace,
                                           static_cast<std::size_t>(size), 0);
    if (copied <= 0) return 0;
    const bool moved = fseeko(from, fromPlace, SEEK_SET) == 0 && fseeko(to, toPlace, SEEK_SET) == 0;
    return moved ? copied : -1;
}

// Elsewhere than on ext4 a copy may share the blocks of its input, and needs no space.
void zel::reserveSpace(FILE* file, std::int64_t size)
{
    const int before = errno;
    struct statfs system {};
    if (fstatfs(fileno(file), &system) == 0 && system.f_type == EXT4_SUPER_MAGIC)
        static_cast<void>(fallocate(fileno(file), FALLOC_FL_KEEP_SIZE, 0, size));
    errno = before;
}
#else
std::int64_t zel::copyInSystem(FILE*, FILE*, std::int64_t)
{
    return 0;
}

void zel::reserveSpace(FILE*, std::int64_t) {}
#endif
