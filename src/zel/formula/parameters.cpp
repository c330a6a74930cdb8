#include "formula/parameters.hpp"

#include <fstream>
#include <vector>

#include "base/failure.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "scene/library.hpp"

namespace zel_tool {
namespace {

constexpr const char* skippedInput = "cannot open input file ";

// The messages about a file that is refused: what is wrong, not the advice after it.
std::string refusal()
{
    std::vector<std::string> texts;
    for (const std::string& text : heard()) {
        if (text.starts_with(skippedInput)) return printable(text.substr(0, text.find("...")));
        if (text.starts_with("error: ")) return printable(text.substr(7));
        texts.push_back(printable(text));
    }
    return join(texts, ": ");
}

// What is reported and ignored there is no reason to go on with fewer inputs.
void showWarnings(const std::string& parameterFile)
{
    for (const std::string& text : heard()) {
        if (text.starts_with(skippedInput)) throw Failure(refusal());
        if (!text.starts_with("Warning: ") && !text.starts_with("overridden "))
            warn(parameterFile, printable(text.substr(0, text.find('\n'))));
    }
    std::ifstream stream(parameterFile, std::ios::binary);
    stream.seekg(-1, std::ios::end);
    if (stream && stream.get() != '\n')
        warn(parameterFile, "the last line has no newline and is ignored");
}

}  // namespace

void FreeParameters::operator()(ZELParameterStruct* parameters) const
{
    ZELFeatureFreeParameters(parameters);
    delete parameters;
}

Parameters readParameters(const std::string& file, const std::string& output)
{
    requireFile(file);
    Parameters parameters(new ZELParameterStruct());
    ZELFeatureSetOutputFilename(output.empty() ? nullptr : output.c_str());
    try {
        guarded([&] { ZELParseParameterFile(file.c_str(), parameters.get()); });
    } catch (const Failure&) {
        ZELFeatureSetOutputFilename(nullptr);
        throw Failure(refusal());
    }
    ZELFeatureSetOutputFilename(nullptr);
    showWarnings(file);
    return parameters;
}

}  // namespace zel_tool
