// The files that operands of a command line name, directories gone through.
#pragma once

#include <string>
#include <vector>

namespace zel_tool {

struct NamedFile {
    std::string path;
    bool isNamed;       // not only found in a directory
    std::string error;  // why it cannot be gone through or looked at; empty without
};

// Every file once, in the order of the paths, whatever the order of the operands. "-" stands for
// names on standard input, each ended by that character. Of several paths to a file the one without
// symbolic links counts, then the first. Names that begin with a dot are left out of directories,
// and links that lead nowhere unless they have the name of a scene. Throws Misuse.
std::vector<NamedFile> filesNamed(const std::vector<std::string>& operands, char separator);

// Whether it ends in ".zel".
bool hasNameOfScene(const std::string& path);

}  // namespace zel_tool
