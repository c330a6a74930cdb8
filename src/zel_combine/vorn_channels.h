// Appending the channels of a Vorn raster to the output.
#ifndef ZEL_COMBINE_VORN_CHANNELS_H
#define ZEL_COMBINE_VORN_CHANNELS_H

#include <vector>

#include "class_map.h"
#include "command_line.h"
#include "vorn_file.h"
#include "zel.h"

namespace zel_combine {

class VornChannels {
public:
    // The files that a set-up opens, of those that the command line names: a colour cube stands for any
    // LUT file, and classes are translated with a LUT only.
    static std::vector<const char*> filesRead(const CommandLineStruct& info);

    // Opens and checks the raster and the files that describe it, and declares its channels on out,
    // which has the headers of the view in and is not yet created. Returns 0; else, after a message, the
    // exit status.
    int setUp(const CommandLineStruct& info, ZELType* in, ZELType* out);

    // Hands the next row of each channel over to out. Nothing is done before a set-up. False, after a
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
