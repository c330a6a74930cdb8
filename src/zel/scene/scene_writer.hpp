// A scene file that is written line by line beside one that is read.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/output_file.hpp"
#include "scene/made_channel.hpp"
#include "zel.h"

namespace zel_tool {

class SceneWriter {
public:
    // The header of the scene with the new channels; with keep, its own channels too. Throws
    // Failure.
    SceneWriter(const std::string& name, Overwrite overwrite, ZELType& scene, bool keep);

    // Declares the new channels, after those that are kept, and writes the header.
    void open(const std::vector<MadeChannel>& channels);

    // The values of a new channel for the next line.
    void load(int index, const float* values);

    // Writes the line, with scan time and navigation and kept pixels of the one that the scene
    // holds.
    void writeLine();

    // Gives the file its name.
    void commit();

private:
    struct Finish {
        void operator()(ZELType* record) const;
    };

    ZELType& scene_;
    bool keep_;
    std::string name_;
    OutputFile output_;
    std::unique_ptr<ZELType, Finish> record_;
    int firstNew_ = 0;
    int order_ = 0;  // the byte order of the file
};

}  // namespace zel_tool
