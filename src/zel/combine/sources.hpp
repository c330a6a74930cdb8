// The files that are combined, open as one view.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "scene/library.hpp"

namespace zel_tool {

// A file and the components that it brings to the view.
struct Source {
    std::string file;
    int parts;
    int basePart;  // that its directory names; 0 in a plain file
    long long bytes;
    long long changed;  // when, in nanoseconds
};

class Sources {
public:
    // base is the index of a file; basePart one of its parts, or -1 for the one that its directory
    // names. Throws Failure with the name of the file that cannot be read.
    Sources(const std::vector<std::string>& files, int base, int basePart);

    const std::vector<Source>& files() const { return files_; }
    Scene& scene() { return *scene_; }
    ZELType& view() { return scene_->view(); }

    // Components of all files, in the order of the view.
    int partCount() const { return static_cast<int>(owners_.size()); }
    ZELType& part(int index) { return scene_->component(index); }
    int basePart() const { return base_; }

    // Of a component: the file, and its index there.
    int fileOf(int part) const { return owners_[static_cast<std::size_t>(part)]; }
    int indexInFile(int part) const;

    // Reads a line of the view, decoded. Throws Failure.
    void readLine(int line);

    // Throws Failure when a file is no longer the one that was opened.
    void requireUnchanged() const;

private:
    std::vector<Source> files_;
    std::vector<int> owners_;
    int base_;
    std::unique_ptr<Scene> scene_;
    int byteOrder_ = 0;  // of a single file; several are all of the machine's
};

// The position of the file that a name means, by the name as it was given or by the file itself.
// Throws Misuse.
int findFile(const std::vector<std::string>& files, const std::string& name);

}  // namespace zel_tool
