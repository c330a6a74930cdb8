// Vorn rasters: a header of four 32-bit words (byte-order word, pixels, lines, channels), then for
// each channel its rows of 32-bit floats.
#ifndef ZEL_COMBINE_VORN_FILE_HPP
#define ZEL_COMBINE_VORN_FILE_HPP

#include <string>
#include <vector>

#include "stream.hpp"

namespace zel_combine {

// fread of Count elements of Size bytes, reversed when files are read in the other byte order.
// Returns the elements read.
int FileRead(void* Buffer, int Size, int Count, FILE* fptr);

class VornFile {
public:
    // Opens a raster that must have these dimensions. Returns 0; else, after a message, the exit
    // status.
    int open(const char* name, int pixels, int lines);

    int channels() const { return channels_; }

    // The next row of a channel, one value per pixel; valid until the next call, for any channel.
    // Pixels beyond the end of the file keep the values of the row read before; a warning says so
    // the first time. Null, after a message, when the file cannot be read.
    std::vector<float>* readRow(int channel);

private:
    int openPlanes(int pixels, int lines);

    std::string name_;
    int channels_ = 0;
    bool cutShort_ = false;
    std::vector<Stream> planes_;  // each at its channel's next row
    std::vector<float> row_;
};

}  // namespace zel_combine

#endif
