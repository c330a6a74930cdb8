// The name of a file that is opened into the record that holds the name.
#ifndef ZEL_RECORDS_NAME_KEEPER_HPP
#define ZEL_RECORDS_NAME_KEEPER_HPP

#include <cstring>
#include <functional>

#include "zel_types.h"

namespace zel {

// A record is cleared when it is opened. A program that opens a finished one again may give the
// record's own ImageFilename as the name, or the end of it: that is kept here.
class NameKeeper {
public:
    explicit NameKeeper(const ZELType& file) : own_(file.ImageFilename)
    {
        std::memcpy(copy_, own_, size - 1);
    }

    // The name, or the same text in the copy.
    const char* operator()(const char* name) const
    {
        const bool before = std::less<>{}(name, own_);
        return before || !std::less<>{}(name, own_ + size) ? name : copy_ + (name - own_);
    }

private:
    static constexpr std::size_t size = sizeof(ZELType::ImageFilename);

    const char* own_;
    char copy_[size] = "";
};

}  // namespace zel

#endif
