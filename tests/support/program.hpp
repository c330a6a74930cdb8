// Pixel programs from text, and what they do to a pixel.
#pragma once

#include <string>
#include <vector>

#include "support/parameters.hpp"

namespace zel_test {

// The lines of a text, numbered from 1.
class ProgramText {
public:
    explicit ProgramText(const std::string& lines)
    {
        ProgramLines** end = &first_;
        std::size_t begin = 0;
        for (int number = 1; begin < lines.size(); ++number) {
            const std::size_t newline = std::min(lines.find('\n', begin), lines.size());
            *end = static_cast<ProgramLines*>(std::calloc(1, sizeof(ProgramLines)));
            (*end)->text = strdup(lines.substr(begin, newline - begin).c_str());
            (*end)->lineNumber = number;
            end = &(*end)->next;
            begin = newline + 1;
        }
    }
    ~ProgramText() { ZELFeatureFreeProgramText(first_); }
    ProgramText(const ProgramText&) = delete;
    ProgramText& operator=(const ProgramText&) = delete;

    const ProgramLines* first() const { return first_; }

private:
    ProgramLines* first_ = nullptr;
};

// A program with a pixel of three channels of its own.
class Program {
public:
    explicit Program(const std::string& lines, int processFlag = 0,
                     const CommandListStruct* definitions = nullptr)
    {
        const ProgramText text(lines);
        outcome =
            runFeature([&] { first = compileProgramText(text.first(), processFlag, definitions); });
        pixel.Channels = channels.data();
        pixel.numChannels = 3;
        ZELBindPixel(&pixel);
    }
    ~Program()
    {
        ZELBindPixel(nullptr);
        ZELFeatureFreeProgram(first);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // A line for each statement: its line, kind, expressions and successors.
    std::string listing() const
    {
        return run([this] { printProgram(first); }).out;
    }

    // The class that the program gives to a pixel of class 0 with these channels.
    float classOf(float channel1, float channel2 = 0, float channel3 = 0)
    {
        channels = {channel1, channel2, channel3};
        pixel.Class = 0;
        executed = runFeature([this] { result = executeProgram(first, &pixel); });
        return pixel.Class;
    }

    Outcome outcome;  // of compiling
    ProgramStruct* first = nullptr;
    Outcome executed;  // of the last execution
    int result = -9;
    std::vector<float> channels = {0, 0, 0};
    ZELPixelStruct pixel{};
};

}  // namespace zel_test
