// The steps that a recipe may have: verbs of the command, and which of their options name outputs.
#pragma once

#include <string>
#include <vector>

#include "command/command.hpp"

namespace zel_tool {

// What a step writes, by which is known how it holds its provenance.
enum class Form { scene, picture, page, samples, statistics, raster };

struct StepKind {
    std::string name;
    std::string verb;
    struct Output {
        std::string option;  // "--output"; empty for standard output
        std::string key;     // in a recipe
        Form form;
        std::string beside;  // added to its name, that of a second file
    };
    std::vector<Output> outputs;
    std::vector<std::string> fixed;    // words that the verb always gets
    std::vector<std::string> refused;  // options that have no place in a recipe
    bool hasInputs = false;            // a file that names scenes: they are the recipe's
    bool takesOne = false;             // one file only

    const Output* outputOf(const std::string& option) const;
};

const std::vector<StepKind>& stepKinds();
const StepKind* findStepKind(const std::string& name);

// The long name of an option, and how a recipe names it: without "--".
std::string longName(const Option& option);
std::string keyOf(const Option& option);
std::string keyOf(const Operand& operand);

// The options of the verb that a recipe may give, those for outputs not among them.
std::vector<Option> optionsOf(const StepKind& kind, const Command& command);

// Every key that a step may have.
std::vector<std::string> keysOf(const StepKind& kind, const Command& command);

}  // namespace zel_tool
