// Which files of an archive are of one scene.
#pragma once

#include <string>
#include <vector>

#include "archive/scenes/header_facts.hpp"

namespace zel_tool {

// When the first line of a file was scanned.
struct When {
    bool isKnown = false;  // 0 is a time too, though it often means unknown
    double hours = 0.0;    // since 1970
    long long tenth = 0;   // the tenth of an hour that it falls into
};
When whenOf(const GridFacts& grid);

struct SceneGroup {
    std::vector<FileFacts> files;  // the earliest first
    std::string id;

    const GridFacts& first() const { return files.front().baseGrid(); }
    const GridFacts& last() const { return files.back().baseGrid(); }
};

// Files are of one scene when sensor and satellite are equal and their first lines fall into the
// same tenth of an hour. Where two such tenths follow each other with at most 36 seconds between
// the last file of one and the first of the next, they are one scene too: a limit between tenths
// must not part what began together. Sorted by sensor, satellite and time.
std::vector<SceneGroup> groupScenes(std::vector<FileFacts> files);

}  // namespace zel_tool
