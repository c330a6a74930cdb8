// The text header of a Vorn raster: seven lines for each channel, of which the second holds a word,
// a blank and the channel's label.
#ifndef ZEL_COMBINE_TEXT_HEADER_HPP
#define ZEL_COMBINE_TEXT_HEADER_HPP

#include <optional>
#include <string>

#include "stream.hpp"

namespace zel_combine {

class TextHeader {
public:
    // False, after a message, when the file does not open.
    bool open(const char* name);

    // The label of the next channel, with the character that ends its line; nothing, after a
    // message, when the file has no such label.
    std::optional<std::string> nextLabel();

    // Whether a file is open.
    explicit operator bool() const { return stream_ != nullptr; }

private:
    const char* name_ = "";
    Stream stream_;
};

}  // namespace zel_combine

#endif
