// What zel calc is to compute: a pixel program, and statements of its command line after it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "formula/vocabulary.hpp"

namespace zel_tool {

struct Statement {
    std::string text;   // as it was written, without the channel that it makes
    std::string label;  // of that channel; empty when it writes to a register or the like
    int channel = 0;    // the number of that channel
    Stack stack;
    Stack plain;  // the same in the order of ordinary arithmetic; null where that is too long
};

struct FreeProgram {
    void operator()(ProgramStruct* program) const { ZELFeatureFreeProgram(program); }
};
using Program = std::unique_ptr<ProgramStruct, FreeProgram>;

struct ProgramText {
    std::string file;
    Program program;
    Program plain;
};

struct Sources {
    std::vector<std::string> statements;  // several in one, between semicolons
    std::vector<std::string> definitions;
    std::string program;  // a file
};

struct Formulas {
    explicit Formulas(const ZELType& record, Names names = Names::ofScene)
        : vocabulary(record, names)
    {
    }
    Vocabulary vocabulary;
    ProgramText program;
    std::vector<Statement> statements;

    // The comment of a new channel: the expression that it comes from.
    std::string originOf(const std::string& label) const;
    Uses uses() const;
};

// Throws Failure for what the data do not have, Misuse for what the language does not understand.
void compileAll(const Sources& sources, Formulas& formulas);

// Warnings about readings that may surprise.
std::vector<std::string> surprises(const Formulas& formulas);

}  // namespace zel_tool
