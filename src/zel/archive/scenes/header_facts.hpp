// What the headers of a file and a few places of its lines say: enough to find its scene. No pixel
// is read.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "archive/scenes/header_stream.hpp"
#include "scene/box.hpp"
#include "zel.h"

namespace zel_tool {

// A plain file, or a part of a container.
struct GridFacts {
    int sensor, satellite, year, julian;
    double time;  // of the first line, in hours
    float resolution;
    int pixels, lines, channels;
    std::int64_t offset, headerBytes, lineBytes;
    std::int64_t left;       // bytes after the last whole line
    std::optional<Box> box;  // nothing without navigation, or where it is invalid
};

struct FileFacts {
    std::string path;
    std::int64_t bytes = 0;
    bool isContainer = false;
    std::int64_t left = 0;         // bytes after the last part of a container
    std::vector<GridFacts> grids;  // in the order of the directory
    std::size_t base = 0;
    // SHA-256 of the bytes before the first line, and of a line of text with the number and the
    // size of lines; of a container that of all parts.
    std::string checksum;

    const GridFacts& baseGrid() const { return grids[base]; }
};

// Whether the first bytes of a file are those of a ZEL file, whole or damaged.
bool beginsLikeScene(const std::string& path);

// A file whose headers have been read, and of which the checksum is to be taken.
struct OpenFile {
    FileFacts facts;
    HeaderStream stream;
};

// Reads one file after the other into the same record.
class HeaderReader {
public:
    // Throws Failure.
    OpenFile open(const std::string& path);

private:
    std::unique_ptr<ZELType> record_ = std::make_unique<ZELType>();
};

}  // namespace zel_tool
