// A directory for the files of a scene until they are whole, beside its outputs.
#pragma once

#include <string>

namespace zel_tool {

class ScratchDirectory {
public:
    // Named after the scene, so that the next run of it removes what a killed one has left; where
    // another run has that one now, also after the process. Throws Failure.
    ScratchDirectory(const std::string& parent, const std::string& id);
    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    std::string path(const std::string& name) const { return path_ + "/" + name; }

    // Removes what a killed run of the scene has left, if there is something.
    static void removeLeft(const std::string& parent, const std::string& id);

    // A text without the directory before the names of its files.
    std::string withoutIt(std::string text) const;

private:
    bool take(const std::string& path);

    std::string path_;
    int lock_ = -1;
};

}  // namespace zel_tool
