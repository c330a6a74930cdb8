// A verb: one description from which come its parsing, help, manual page and completion.
#pragma once

#include <functional>
#include <string>
#include <variant>
#include <vector>

namespace zel_tool {

// Where a value goes. A list takes its option several times, or as many operands as there are.
using Target = std::variant<bool*, int*, double*, std::string*, std::vector<std::string>*,
                            std::vector<double>*>;

// What a value is, for completion.
enum class Takes { text, file, choice };

struct Option {
    std::string names;     // "--json" or "-o,--output"
    std::string argument;  // what its value is called, as in "FILE"; empty for a flag
    std::string help;
    Target target;
    Takes takes = Takes::text;
    std::vector<std::string> choices = {};
};

// A list comes first; single operands after it take the last words.
struct Operand {
    std::string name;
    std::string help;
    Target target;
    Takes takes = Takes::file;
    bool required = true;
};

struct Example {
    std::string command;  // without "zel "
    std::string purpose;
};

struct Command {
    std::string name;
    std::string summary;                   // half a sentence: "shows what is in files"
    std::vector<std::string> description;  // paragraphs
    std::vector<Operand> operands;
    std::vector<Option> options;
    std::vector<Example> examples;
    std::string failure;  // when the exit status is 1
    std::function<int()> run;

    // Throws Misuse or Failure for what is wrong whatever the scenes hold; run finds it too.
    std::function<void()> check = {};
};

// Every verb, in the order in which help lists them.
const std::vector<Command>& commands();
const Command* findCommand(const std::string& name);

// The same with options of its own, at their defaults.
Command newCommand(const std::string& name);

// The options that every verb has besides its own: -q, -v, --progress.
const std::vector<Option>& commonOptions();

// Own options, then the common ones.
std::vector<Option> allOptions(const Command& command);

// How a command is written: "zel info [options] FILE...".
std::string synopsis(const Command& command);

}  // namespace zel_tool
