// Pixel programs: compiling a text, linking, listing and running it on a few pixels.
//
// The lines of the input that begin with "define " are definitions, "define name:expression"; the
// others are the program.
#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <zel/zel_features/zel_features.h>

#include "fuzz_definitions.hpp"
#include "fuzz_support.hpp"

namespace {

constexpr std::size_t numChannels = 3;

// The lines of a program, which keep their places in the text.
class Lines {
public:
    void add(const std::string& text)
    {
        texts_.push_back(std::make_unique<std::string>(text));
        lines_.push_back(std::make_unique<ProgramLines>());
        lines_.back()->text = texts_.back()->data();
        lines_.back()->lineNumber = static_cast<int>(lines_.size());
        if (lines_.size() > 1) lines_[lines_.size() - 2]->next = lines_.back().get();
    }
    const ProgramLines* first() const { return lines_.empty() ? nullptr : lines_.front().get(); }

private:
    std::vector<std::unique_ptr<std::string>> texts_;
    std::vector<std::unique_ptr<ProgramLines>> lines_;
};

struct Input {
    std::string definitions;
    Lines program;
};

Input split(const std::string& text)
{
    const std::string define = "define ";
    Input input;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        if (line.compare(0, define.size(), define) == 0)
            input.definitions += line.substr(define.size()) + "\n";
        else
            input.program.add(line);
        begin = end + 1;
    }
    return input;
}

// Everything that a program does to a pixel.
struct Pixel {
    explicit Pixel(std::size_t n)
    {
        std::memset(&record, 0, sizeof record);
        for (float& value : channels) value = zel_fuzz::awkwardValue(n++);
        for (float& value : record.Registers) value = zel_fuzz::awkwardValue(n++);
        record.Class = record.lat = record.sz = zel_fuzz::awkwardValue(n);
        record.Channels = channels;
        record.numChannels = static_cast<int>(numChannels);
    }
    void run(const ProgramStruct* program)
    {
        ZELBindPixel(&record);
        int result = 0;
        const bool returned =
            zel_fuzz::guarded([&] { result = executeProgram(program, &record); }, said);
        ZELBindPixel(nullptr);
        if (returned && result == ZEL_PROGRAM_SKIPPED)
            zel_fuzz::require(record.Class == 0.0F, "a skipped pixel has a class");
        if (returned && result == ZEL_PROGRAM_ERROR)
            zel_fuzz::require(!said.empty(), "an error without a word");
    }

    float channels[numChannels];
    ZELPixelStruct record;
    std::string said;
};

void compileAndRun(const ProgramLines* text, int processFlag, const CommandListStruct* definitions)
{
    ProgramStruct* program = nullptr;
    zel_fuzz::guarded([&] { program = compileProgramText(text, processFlag, definitions); });
    if (!program) return;
    zel_fuzz::guarded([&] { printProgram(program); });
    for (std::size_t n = 0; n < 8; ++n) Pixel(n * 7).run(program);
    ZELFeatureFreeProgram(program);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t longest = 3000;
    if (size > longest) return 0;
    const Input input = split(std::string(reinterpret_cast<const char*>(data), size));
    const zel_fuzz::Definitions definitions(input.definitions);
    for (const int processFlag : {0, 1})
        compileAndRun(input.program.first(), processFlag, definitions.first());
    const auto copy = ZELFeatureDuplicateProgramText(input.program.first());
    zel_fuzz::guarded([&] { printProgramText(copy); });
    ZELFeatureFreeProgramText(copy);
    return 0;
}
