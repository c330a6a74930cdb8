// A scene that is being written, some lines at a time.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "python.hpp"
#include "scene/made_channel.hpp"
#include "zel.h"

namespace zel_python {

class Writer {
public:
    // header, each of channels and each of luts as zel/writing.py has them. Throws LibraryError.
    Writer(std::string name, const py::dict& header, const py::list& channels,
           const py::list& luts);
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    // Arrays by the names of the fields of a line, [line] or [line][point], and for each channel
    // its pixels, [line][pixel]: stored numbers, or values as float32. Throws LibraryError.
    void writeLines(const py::dict& lines, const py::list& planes);

    // Counts that are written in place of those of the pixels, if the file has as many bins.
    void setHistogram(int slot, float min, float max, const Array<std::int32_t>& counts);

    // Values of a channel that did not fit: (not numbers, outside of the range).
    py::list misfits() const;

    // Throws LibraryError.
    void finish();

private:
    struct Channel {
        int slot;
        bool isRaw;
        zel_tool::MadeChannel made;
        std::vector<float> table;  // values of stored numbers, where these are scaled
        std::vector<float> row;
    };
    void declare(const py::dict& channel);
    void addTables(TableListType& list, const py::list& tables);
    void addLut(const py::dict& lut);
    void load(Channel& channel, const void* pixels);
    void loadNumbers(Channel& channel, const void* pixels);

    std::string name_;
    std::unique_ptr<ZELType> record_;
    std::vector<Channel> channels_;
    int byteOrder_ = 0;
    bool isBegun_ = false;
};

}  // namespace zel_python
