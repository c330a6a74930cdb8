#include "ground/system_copy.hpp"

#ifdef __linux__
#include <unistd.h>
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
#else
std::int64_t zel::copyInSystem(FILE*, FILE*, std::int64_t)
{
    return 0;
}
#endif
