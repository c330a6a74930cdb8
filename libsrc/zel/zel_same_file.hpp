// Whether two names lead to one file.
#ifndef ZEL_SAME_FILE_HPP
#define ZEL_SAME_FILE_HPP

namespace zel {

// True when both names exist and are the same file, by whatever path or link.
bool isSameFile(const char* a, const char* b);

}  // namespace zel

#endif
