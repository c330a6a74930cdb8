// A file that is written under a temporary name beside its own and renamed when it is whole: until
// then, and after a failure or a signal, whatever had the name is as it was.
#pragma once

#include <string>
#include <string_view>

namespace zel_tool {

enum class Overwrite { no, yes };

// Whether both names lead to one existing file.
bool isSameFile(const std::string& a, const std::string& b);

// Throws Failure when the output is the input itself, by whatever name.
void requireOther(const std::string& input, const std::string& output);

class OutputFile {
public:
    // Throws Failure when the name is taken, unless it may be overwritten, or no file can be made
    // there.
    OutputFile(const std::string& name, Overwrite overwrite);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // What is written to instead, by others.
    const std::string& temporary() const { return temporary_; }

    // Whether it is written to directly, as /dev/null is.
    bool isDevice() const { return isDevice_; }

    // Writes after what is there, or at a place.
    void write(std::string_view bytes);
    void writeAt(long long offset, std::string_view bytes);

    // Gives the temporary file its name. Throws Failure.
    void commit();

private:
    void forget();

    std::string name_;  // as it was given
    std::string path_;  // where that leads
    std::string temporary_;
    Overwrite overwrite_;
    int descriptor_ = -1;
    bool isDevice_ = false;  // such as /dev/null: written to directly
    int slot_ = -1;          // in the list of what a signal removes
};

}  // namespace zel_tool
