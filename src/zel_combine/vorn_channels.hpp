// Appending the channels of a Vorn raster to the output.
#ifndef ZEL_COMBINE_VORN_CHANNELS_HPP
#define ZEL_COMBINE_VORN_CHANNELS_HPP

#include <vector>

#include "class_map.hpp"
#include "command_line.hpp"
#include "vorn_file.hpp"
#include "zel.h"

namespace zel_combine {

class VornChannels {
public:
    // Opens the raster, which must have the size of the view. Returns 0; else, after a message, the
    // exit status.
    int open(const CommandLineStruct& info, ZELType* in);

    // The files that the run reads for the raster, of those that the command line names: the colour
    // cube replaces a LUT file, and a feature header is read only with a LUT. Without channels
    // there is neither.
    std::vector<const char*> filesRead(const CommandLineStruct& info) const;

    // Reads the files that describe the raster, and declares its channels on out, which has the
    // headers of the view in and is not yet created. False after a message.
    bool declare(const CommandLineStruct& info, ZELType* in, ZELType* out);

    // Loads the next row of each channel into out. Does nothing without a raster. False, after a
    // message, when a row cannot be read.
    bool loadLine(ZELType* out);

private:
    bool findFreeChannels(ZELType* in);
    bool declareChannels(const CommandLineStruct& info, ZELType* out);
    bool addLUTChannel(const CommandLineStruct& info, ZELType* out, int& c, const char* label);

    VornFile file_;
    int firstChannel_ = 0;
    bool translated_ = false;
    ClassMap classes_;
};

}  // namespace zel_combine

#endif
