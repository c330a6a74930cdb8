#include "archive/run/sample_inputs.hpp"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "base/failure.hpp"
#include "base/output_file.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

// The lines that name inputs become comments, so that the others keep their numbers.
bool namesInput(const std::string& line)
{
    const auto begin = line.find_first_not_of(" \t");
    if (begin == std::string::npos) return false;
    const std::string word = line.substr(begin, line.find_first_of(" \t", begin) - begin);
    for (const char* name : {"inputfilename", "inputdirstr", "inputdirext"})
        if (equalIgnoringCase(word, name)) return true;
    return false;
}

}  // namespace

std::string withInputs(const std::string& parameterFile, const std::vector<std::string>& inputs,
                       const std::string& copy)
{
    std::ifstream stream(parameterFile, std::ios::binary);
    std::string text;
    for (std::string line; std::getline(stream, line);)
        text += (namesInput(line) ? "#" : line) + "\n";
    if (!stream.eof()) throw Failure(printable(parameterFile) + ": " + std::strerror(errno));
    for (const std::string& input : inputs) {
        if (input.find_first_of(" \t\r\n\v\f") != std::string::npos)
            throw Failure("'" + printable(input) + "': the name of a sampled file has no blanks");
        text += "inputfilename " + input + "\n";
    }
    OutputFile file(copy, Overwrite::yes);
    file.write(text);
    file.commit();
    return copy;
}

}  // namespace zel_tool
